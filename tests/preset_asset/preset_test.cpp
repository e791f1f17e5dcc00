// What a kind of presets gets without saying anything, and how presets are stored.
#include "base_preset_asset.h"

#include "kernel/io/file_utilities.h"
#include "memoryassetrepository.h"
#include "support/asset_preset_support.h"

namespace talvo {

namespace {

AssetType FindPresetType(const Id& id) {
    MakePreset(id, "");  // registers the types
    return FindAssetType(id);
}
const BasePresetAssetType& GetPresetType(const AssetType& type) { return dynamic_cast<BasePresetAssetType&>(*type); }

}  // namespace

TEST(PresetType, thatSaysNothingOfItself) {
    const AssetType type = FindPresetType(ASSETTYPE_BAREPRESET);
    const BasePresetAssetType& preset = GetPresetType(type);
    EXPECT_EQ(preset.GetName(), String());
    EXPECT_FALSE(preset.LoadPreset());
    EXPECT_FALSE(preset.DoesSupportSetAsDefault());
    EXPECT_EQ(preset.GetFilterString(), String("type:net.talvo.assettype.preset.test.bare"));
    EXPECT_EQ(preset.GetSuggestedCategory(), "category@2468666d866a481886c91c7155440264"_id);
    EXPECT_THAT(preset.CreateNewPresetSettings(Data()), FailsWith<FunctionNotImplementedError>());
    EXPECT_EQ(Need(type->GetUrlSuffix(Asset())), String());
    EXPECT_EQ(*Need(type->GetProperty(ASSETTYPE_SUPPORT_VERSIONS)).GetPtr<Bool>(), false);
    EXPECT_THAT(type->GetProperty("other"_id), FailsWith<IllegalArgumentError>());
    const auto [tags, doNotKeep] = Need(type->ComputeMetaData(nullptr, {}, nullptr, InternedId(OBJECT_BASE_TAGS)));
    ASSERT_TRUE(tags.GetPtr<String>());
    EXPECT_TRUE(tags.GetPtr<String>()->IsEmpty());
    EXPECT_TRUE(doNotKeep);
    EXPECT_TRUE(std::get<0>(Need(type->ComputeMetaData(nullptr, {}, nullptr, MakeMetaId("other")))).IsEmpty());
}

TEST(Presets, areStoredAsTheyWriteThemselves) {
    const auto repository = Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const AssetDescription stored = Need(repository->StoreAsset("p"_id, MakePreset(ASSETTYPE_SWATCH, "red"), nullptr));
    EXPECT_EQ(ReadPayload(stored), "red");
    const auto preset = Cast<BasePresetAssetInterface>(StrongRef<AssetInterface>(Need(stored->Load(false))));
    ASSERT_TRUE(preset);
    EXPECT_THAT(preset->GetPresetInternalData(), FailsWith<FunctionNotImplementedError>());
    EXPECT_THAT(preset->GetPresetInternalConstDataPtr(), FailsWith<FunctionNotImplementedError>());
    EXPECT_THAT(repository->StoreAsset("q"_id, MakePreset(ASSETTYPE_SWATCH, "unwritable"), nullptr),
                FailsWith<IllegalStateError>("can't be written"));
    EXPECT_FALSE(FindLatest(repository, "q"_id));
}

TEST(PresetType, refusesWhatIsNoPresetBeforeItWritesAnything) {
    const ScratchDirectory scratch;
    const AssetType type = FindPresetType(ASSETTYPE_SWATCH);
    std::string digest;
    for (const Asset& asset : {Asset(), MakeNote("no preset", {})}) {
        EXPECT_THAT(type->Store(asset, scratch.GetUrl() + "x", {}, digest),
                    FailsWith<IllegalArgumentError>("Illegal argument: Condition basePreset not fulfilled. "));
    }
    EXPECT_EQ(scratch.List(), "");
    Int wraps = 0;
    const AssetHashStream wrap = [&](const OutputStreamRef& target, std::string&) -> Result<OutputStreamRef> {
        ++wraps;
        return target;
    };
    EXPECT_TRUE(Need(type->Store(MakePreset(ASSETTYPE_SWATCH, "red"), scratch.GetUrl() + "x", wrap, digest)).IsEmpty());
    EXPECT_EQ(scratch.Read("x"), "red");
    EXPECT_EQ(wraps, 1);
    const AssetHashStream fail = [](const OutputStreamRef&, std::string&) -> Result<OutputStreamRef> {
        return UnknownError::Create("no hash");
    };
    EXPECT_THAT(type->Store(MakePreset(ASSETTYPE_SWATCH, "red"), Url(), fail, digest), FailsWith<UnknownError>("no hash"));
}

TEST(PresetRecords, areValuesThatCanBeHandedOn) {
    const auto repository = Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const Data store(StoreAssetStruct{"a"_id, repository, nullptr});
    const Data copy = store;
    EXPECT_EQ(copy.GetPtr<StoreAssetStruct>()->storeRepository, repository);
    for (const char* name : {"storeassetstruct", "resolveassetdependenciesstruct", "addassetdepencendystruct"})
        EXPECT_TRUE(DataTypes::Find(MakeId(std::string("net.talvo.datatype.") + name))) << name;
}

}  // namespace talvo
