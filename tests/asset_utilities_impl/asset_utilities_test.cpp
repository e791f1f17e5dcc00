#include "asset_utilities.h"

#include "category_asset.h"
#include "kernel/app/application.h"
#include "kernel/data/enum_type.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;

class AssetUtilitiesTest : public testing::Test {
protected:
    static BaseAssetRepositoryRef Make(const Id& id, std::vector<AssetRepositoryRef> bases) {
        return Need(MemoryAssetRepository::Create(id, bases, MemoryAssetRepository::ACCESS::WRITABLE));
    }
    AssetDescription Put(const Id& id) { return Need(_repository->StoreAsset(id, MakeNote("text", {}), nullptr)); }
    template <typename T>
    static Opt<T> Get(const AssetDescription& asset, const Id& id) {
        return Need(asset->GetMetaData().Get<T>(InternedId(id)));
    }
    static std::string GetChoices(const AssetRepositoryRef& repository, const Id& type, const Id& asset) {
        const DataType choices = Need(AssetUtilities::GetEnumTypeForVersions(repository, type, asset));
        std::string text;
        for (const EnumEntry& entry : *DataTypeLib::FindEnumEntries(choices)) {
            text += ToText(entry.name) + "=" + entry.value.ToString() + ";";
        }
        return text;
    }
    static std::string GetOrigin(const AssetDescription& asset, const AssetLink& link) {
        const DataDictionary origin = Need(AssetUtilities::GetMergedAssetOriginData(asset, link, nullptr));
        std::string text;
        for (const Id& key : {Id(ASSETLINK_ORIGIN::NAME), Id(ASSETLINK_ORIGIN::REPONAME), Id(ASSETLINK_ORIGIN::VERSIONTAG)}) {
            text += ToText(origin.Get<String>(key).value_or("-")) + ";";
        }
        return text + std::string(origin.Get<Id>(ASSETLINK_ORIGIN::REPOID).value_or("-"_id).GetView());
    }

    const BaseAssetRepositoryRef _base = Make("base"_id, {});
    const BaseAssetRepositoryRef _repository = Make("r"_id, {_base});
};

}  // namespace

TEST_F(AssetUtilitiesTest, theNextVersionCarriesOverWhateverPartsTheNumbers) {
    const std::pair<const char*, const char*> cases[] = {{"", "1.0"},
                                                         {"abc", "abc"},
                                                         {"1.0", "1.1"},
                                                         {"1.9", "2.0"},
                                                         {"9", "10"},
                                                         {"1.9.9", "2.0.0"},
                                                         {"9.9", "10.0"},
                                                         {"v9", "v10"},
                                                         {"v9 beta", "v10 beta"},
                                                         {"1.0-rc9", "1.1-rc0"},
                                                         {"a9b9c", "a10b0c"},
                                                         {"007", "008"},
                                                         {"Fassung ü9", "Fassung ü10"},
                                                         {"٣", "٣"},
                                                         {"99999999999999999999", "100000000000000000000"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(Need(AssetUtilities::IncreaseAssetVersion(text)), String(expected)) << text;
}

TEST_F(AssetUtilitiesTest, aNewAssetGetsItsSortKeyFromItsName) {
    struct Case {
        const char* given;
        const char* sort;
        const char* name;
    };
    const Case cases[] = {{"#$12Wood", "#$12", "Wood"}, {"Wood #$12", "-", "Wood #$12"}, {"#$Wood", "#$", "Wood"},
                          {"#12Wood", "-", "#12Wood"},  {"Wood", "-", "Wood"},           {"#$", "#$", "asset"}};
    for (const Case& c : cases) {
        const auto repository = Make("fresh"_id, {});
        const AssetDescription asset = Need(repository->StoreAsset("asset"_id, MakeNote("text", {}), nullptr));
        Need(AssetUtilities::AssetSetMetaData(asset, c.given, "", "wood"_id));
        EXPECT_EQ(Get<String>(asset, ASSETMETADATA::SORT).value_or("-"), String(c.sort)) << c.given;
        EXPECT_EQ(Need(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, "")), String(c.name)) << c.given;
        EXPECT_EQ(CategoryAssetInterface::GetParentCategory(asset), "wood"_id);
        EXPECT_FALSE(Get<String>(asset, ASSETMETADATA::VERSIONTAG)) << "an empty tag is none";
    }
    EXPECT_THAT(AssetUtilities::AssetSetMetaData(nullptr, "x", "1.0", Id()), FailsWith<NullptrError>());
}

TEST_F(AssetUtilitiesTest, theTagBelongsToItsVersion) {
    Need(AssetUtilities::AssetSetMetaData(Put("asset"_id), "Wood", "1.0", Id()));
    EXPECT_EQ(Get<String>(FindLatest(_repository, "asset"_id), ASSETMETADATA::VERSIONTAG), String("1.0"));
    const AssetDescription next = Put("asset"_id);
    EXPECT_FALSE(Get<String>(next, ASSETMETADATA::VERSIONTAG));
}

TEST_F(AssetUtilitiesTest, creationDataReplacesWhatIsReadOnlyToOthersAndKeepsOtherKeys) {
    const AssetDescription asset = Put("asset"_id);
    DataDictionary present;
    present.Set("more"_id, Int(7));
    const InternedId key(ASSETMETADATA::CREATIONPROPERTIES);
    Need(asset.StoreMetaData(key, Data(present), KIND(7)));
    Need(AssetUtilities::AssetSetCreationData(asset, 1025, "build", 3));
    Need(AssetUtilities::AssetSetCreationData(asset, 1030, "later", 4));
    DataDictionary stored = *Get<DataDictionary>(asset, key.GetId());
    EXPECT_EQ(stored.Get<Int64>(CREATIONPROPERTIES::TV3VERSION), Int64(1030));
    EXPECT_EQ(stored.Get<String>(CREATIONPROPERTIES::TV3BUILDID), String("later"));
    EXPECT_EQ(stored.Get<Int64>(CREATIONPROPERTIES::RELEASETYPE), Int64(4));
    EXPECT_EQ(stored.Get<Int>("more"_id), Int(7));
    EXPECT_THAT(asset.StoreMetaData(key, Data(present), KIND(7)), FailsWith<IllegalArgumentError>());
    Need(AssetUtilities::AssetSetCreationData(asset));
    stored = *Get<DataDictionary>(asset, key.GetId());
    EXPECT_EQ(stored.Get<Int64>(CREATIONPROPERTIES::TV3VERSION), Int64(Need(Application::GetVersion()).number));
    EXPECT_EQ(stored.Get<Int64>(CREATIONPROPERTIES::RELEASETYPE), Int64(0));
    EXPECT_THAT(AssetUtilities::AssetSetCreationData(nullptr), FailsWith<NullptrError>());
}

TEST_F(AssetUtilitiesTest, theIconIsThePreviewOrThatOfTheType) {
    const AssetDescription asset = Put("asset"_id);
    EXPECT_EQ(Need(AssetUtilities::GetAssetIcon(asset)).GetName(), "genericasset.svg");
    const Url preview = Url::FromSystemPath("/preview.png");
    Need(asset.StoreMetaData(InternedId(ASSETMETADATA::PREVIEWIMAGEURL), Data(preview), KIND::PERSISTENT));
    EXPECT_EQ(Need(AssetUtilities::GetAssetIcon(asset)), preview);
    AssetDescription::Parts parts;
    parts.type = "unknown"_id;
    EXPECT_TRUE(Need(AssetUtilities::GetAssetIcon(Need(AssetDescription::Create(_repository, std::move(parts))))).IsEmpty());
    EXPECT_THAT(AssetUtilities::GetAssetIcon(nullptr), FailsWith<NullptrError>());
}

TEST_F(AssetUtilitiesTest, versionsAreChoicesThatNameTheirRepositories) {
    const auto put = [&](const BaseAssetRepositoryRef& repository, const char* tag) {
        AssetDescription asset = Need(repository->StoreAsset("asset"_id, MakeNote("text", {}), nullptr));
        Need(asset.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(String(tag)), KIND(6)));
        return asset;
    };
    const SteppedClock clock(0);
    EXPECT_EQ(GetChoices(_repository, Id(), "none"_id), "latest=latest;");
    EXPECT_EQ(GetChoices(_repository, Id(), Id()), "latest=latest;");
    const AssetDescription first = put(_repository, "1.0");
    const std::string text = ToText(Need(AssetInterface::GetVersionString(first)));
    Need(_repository->SetRepositoryName("The Shop", nullptr));
    EXPECT_EQ(GetChoices(_repository, ASSETTYPE_NOTE, "asset"_id), "latest=latest;" + text + " (The Shop)=v1;");
    EXPECT_EQ(GetChoices(_repository, ASSETTYPE_FILE, "asset"_id), "latest=latest;") << "of another type";
    put(_base, "1.0");
    EXPECT_EQ(GetChoices(_repository, Id(), "asset"_id), "latest=latest;" + text + " (The Shop, base)=v1;");
    put(_repository, "1.0");
    EXPECT_EQ(GetChoices(_repository, Id(), "asset"_id),
              "latest=latest;" + text + " (The Shop)=v2;" + text + " (The Shop, base)=v1;");
    put(_repository, "1.0");
    EXPECT_EQ(GetChoices(_repository, Id(), "asset"_id),
              "latest=latest;" + text + " (The Shop)=v3;" + text + " (The Shop) #2=v2;" + text + " (The Shop, base)=v1;");
}

TEST_F(AssetUtilitiesTest, whatALinkKnowsWinsOverWhatIsNow) {
    const AssetDescription asset = Put("asset"_id);
    EXPECT_EQ(GetOrigin(asset, nullptr), "asset;r;-;r");
    Need(asset->StoreMetaString(InternedId(OBJECT_BASE_NAME), "Chair", nullptr));
    Need(asset.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(String("1.2")), KIND(6)));
    Need(_repository->SetRepositoryName("The Shop", nullptr));
    EXPECT_EQ(GetOrigin(asset, nullptr), "Chair;The Shop;1.2;r");
    const AssetLink link = Need(AssetLink::Create(ASSETTYPE_NOTE, IdAndVersion("asset"_id, Id()), ASSET_UPDATE_POLICY::EXPLICIT));
    EXPECT_EQ(GetOrigin(asset, link), "Chair;The Shop;1.2;r") << "it knows nothing";
    DataDictionary known;
    known.Set(ASSETLINK_ORIGIN::NAME, String("Old Chair"));
    link->SetOriginData(known);
    EXPECT_EQ(GetOrigin(asset, link), "Old Chair;The Shop;1.2;r");
    EXPECT_EQ(GetOrigin(nullptr, link), "-;-;-;-");
    const auto builtin = Make(REPOSITORY_BUILTIN, {});
    const Application::Version version = Need(Application::GetVersion());
    EXPECT_EQ(GetOrigin(Need(builtin->StoreAsset("x"_id, MakeNote("text", {}), nullptr)), nullptr),
              FormatMessage("x;@;@ - @;@", REPOSITORY_BUILTIN, version.number, version.build, REPOSITORY_BUILTIN))
        << "its version is the application's";
}

}  // namespace talvo
