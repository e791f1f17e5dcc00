#include "database_asset.h"

#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

LanguageRef GetLanguage(const Id& code) { return Need(Resource::GetLanguage(code)); }

class DatabaseAssetTest : public testing::Test {
protected:
    static BaseAssetRepositoryRef Make(const Id& id, std::vector<AssetRepositoryRef> bases,
                                       MemoryAssetRepository::ACCESS access = MemoryAssetRepository::ACCESS::WRITABLE) {
        return Need(MemoryAssetRepository::Create(id, bases, access));
    }
    static std::string Get(const AssetRepositoryRef& repository, const Id& language) {
        return ToText(Need(repository->GetRepositoryName(GetLanguage(language), false)));
    }
};

}  // namespace

TEST_F(DatabaseAssetTest, aRepositoryIsCalledByItsIdUntilItHasAName) {
    const auto repository = Make("shop"_id, {});
    EXPECT_EQ(Get(repository, "en"_id), "shop");
    EXPECT_EQ(Need(DatabaseAssetInterface::GetRepositoryName(repository, nullptr, "Fallback", true)), String("Fallback"));
    Need(repository->SetRepositoryName("The Shop", GetLanguage("en"_id)));
    EXPECT_EQ(Get(repository, "en"_id), "The Shop");
    EXPECT_EQ(Need(DatabaseAssetInterface::GetRepositoryName(repository, nullptr, "Fallback", true)), String("The Shop"));
}

TEST_F(DatabaseAssetTest, namesOfAllLanguagesLieInOneVersion) {
    const auto repository = Make("shop"_id, {});
    Need(repository->SetRepositoryName("The Shop", GetLanguage("en"_id)));
    Need(repository->SetRepositoryName("Laden", GetLanguage("de"_id)));
    Need(repository->SetRepositoryName("Der Laden", GetLanguage("de"_id)));
    EXPECT_EQ(Get(repository, "de"_id), "Der Laden");
    EXPECT_EQ(Get(repository, "fr"_id), "The Shop") << "what French falls back to";
    EXPECT_THAT(Find(repository, "", "", ASSET_FIND_MODE::ALL_VERSIONS), testing::ElementsAre("databaseinfo_shop/v1"));
    EXPECT_EQ(FindLatest(repository, "databaseinfo_shop"_id)->GetTypeId(), ASSETTYPE_DATABASE);
}

TEST_F(DatabaseAssetTest, aNameMayLieInABaseButIsSetInTheRepositoryItself) {
    const auto base = Make("base"_id, {});
    const auto repository = Make("shop"_id, {base});
    const DatabaseAsset information = Need(DatabaseAssetInterface::Create());
    const AssetDescription inBase =
        Need(base->StoreAsset("databaseinfo_shop"_id, Asset(StrongRef<AssetInterface>(information)), nullptr));
    Need(inBase->StoreMetaString(InternedId(OBJECT_BASE_NAME), "From below", GetLanguage("en"_id)));
    EXPECT_EQ(Get(repository, "en"_id), "From below");
    EXPECT_EQ(Get(base, "en"_id), "base") << "the base has a name of its own, or none";
    Need(repository->SetRepositoryName("Own", GetLanguage("en"_id)));
    EXPECT_EQ(Get(repository, "en"_id), "Own");
    EXPECT_EQ(ToText(Need(inBase->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, ""))), "From below");
}

TEST_F(DatabaseAssetTest, saysWhyItCanNotBeNamed) {
    const auto repository = Make("shop"_id, {}, MemoryAssetRepository::ACCESS::READ_ONLY);
    EXPECT_THAT(repository->SetRepositoryName("x", nullptr), FailsWith<IllegalStateError>("shop isn't writable"));
    EXPECT_THAT(DatabaseAssetInterface::SetRepositoryName(nullptr, "x", nullptr), FailsWith<NullptrError>());
    EXPECT_THAT(DatabaseAssetInterface::GetRepositoryName(nullptr, nullptr, "x", false), FailsWith<NullptrError>());
}

TEST_F(DatabaseAssetTest, withoutAnApplicationRepositoryTheBuiltInOneHasNoName) {
    EXPECT_EQ(Get(Make(REPOSITORY_BUILTIN, {}), "en"_id), REPOSITORY_BUILTIN.GetView());
}

}  // namespace talvo
