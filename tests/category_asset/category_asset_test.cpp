#include "category_asset.h"

#include "category_asset/category_chain.h"
#include "colorcategory_asset.h"
#include "memoryassetrepository.h"
#include "smartsearch_asset.h"
#include "subtype_asset.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

/// A repository with categories that are called like their ids.
class CategoryTest : public testing::Test {
protected:
    AssetDescription Put(const Id& id, const Asset& asset) { return Need(_repository->StoreAsset(id, asset, nullptr)); }
    AssetDescription PutCategory(const Id& id, const Id& parent) {
        const AssetDescription category = Put(id, Asset(StrongRef<AssetInterface>(Need(CategoryAssetInterface::Create()))));
        Need(CategoryAssetInterface::SetAssetCategory(category, parent));
        return category;
    }
    std::string GetBreadcrumbs(const AssetDescription& asset) {
        std::string text;
        for (const String& name : Need(CategoryAssetInterface::GetAssetBreadcrumbString(asset, _repository))) {
            text += "/" + ToText(name);
        }
        return text;
    }

    const BaseAssetRepositoryRef _repository =
        Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const AssetDescription _note = Put("note"_id, MakeNote("text", {}));
};

using ColorCategoryTest = CategoryTest;
using SmallKinds = CategoryTest;

}  // namespace

TEST_F(CategoryTest, breadcrumbsLeadFromTheRootToTheAssetsOwnCategory) {
    PutCategory("c"_id, Id());
    PutCategory("b"_id, "c"_id);
    const AssetDescription lowest = PutCategory("a"_id, "b"_id);
    EXPECT_EQ(GetBreadcrumbs(lowest), "/c/b") << "without its own name";
    Need(CategoryAssetInterface::SetAssetCategory(_note, "a"_id));
    EXPECT_EQ(GetBreadcrumbs(_note), "/c/b/a");
    Need(lowest->StoreMetaString(InternedId(OBJECT_BASE_NAME), "Chairs", nullptr));
    EXPECT_EQ(GetBreadcrumbs(_note), "/c/b/Chairs");
    EXPECT_EQ(CategoryAssetInterface::GetParentCategory(_note), "a"_id);
}

TEST_F(CategoryTest, aChainEndsWhereAParentIsMissingOrWasMetBefore) {
    EXPECT_EQ(GetBreadcrumbs(_note), "") << "in no category";
    Need(CategoryAssetInterface::SetAssetCategory(_note, "b"_id));
    EXPECT_EQ(GetBreadcrumbs(_note), "") << "in one that isn't there";
    PutCategory("b"_id, "gone"_id);
    EXPECT_EQ(GetBreadcrumbs(_note), "/b");
    Put("gone"_id, MakeNote("no category", {}));
    EXPECT_EQ(GetBreadcrumbs(_note), "/b") << "an asset of another kind is no category";
    Need(CategoryAssetInterface::SetAssetCategory(FindLatest(_repository, "b"_id), "a"_id));
    const AssetDescription other = PutCategory("a"_id, "b"_id);
    EXPECT_EQ(GetBreadcrumbs(_note), "/a/b") << "a circle is gone round once";
    EXPECT_EQ(GetBreadcrumbs(other), "/b") << "and doesn't come back to where it began";
    Need(CategoryAssetInterface::SetAssetCategory(other, "a"_id));
    EXPECT_EQ(GetBreadcrumbs(other), "") << "a category in itself";
}

TEST_F(CategoryTest, saysWhatIsMissing) {
    EXPECT_THAT(CategoryAssetInterface::SetAssetCategory(nullptr, "a"_id), FailsWith<NullptrError>());
    EXPECT_TRUE(CategoryAssetInterface::GetParentCategory(nullptr).IsEmpty());
    Need(CategoryAssetInterface::SetAssetCategory(_note, "a"_id));
    EXPECT_THAT(CategoryAssetInterface::GetAssetBreadcrumbString(_note, nullptr), FailsWith<NullptrError>());
    PutCategory("a"_id, Id());
    const auto stop = [](const AssetDescription&) -> Result<Bool> { return UnknownError::Create("stop"); };
    EXPECT_THAT(WalkCategories(_note, _repository, stop), FailsWith<UnknownError>("stop"));
}

TEST_F(ColorCategoryTest, everyFailureGivesNoCategory) {
    const auto get = [&] { return ColorCategoryAssetInterface::GetColorCategory(_note, _repository); };
    const std::tuple<Id, Color> none;
    EXPECT_EQ(get(), none);
    Need(ColorCategoryAssetInterface::SetColorCategory(_note, "red"_id));
    EXPECT_EQ(get(), none) << "not there";
    const AssetDescription red = Put("red"_id, Asset(StrongRef<AssetInterface>(Need(ColorCategoryAssetInterface::Create()))));
    EXPECT_EQ(get(), std::tuple("red"_id, Color())) << "a category without a colour";
    const InternedId key(COLORCATEGORY_COLOR);
    Need(red.StoreMetaData(key, Data(Color{1, 0.25, 0}), ASSET_METADATA_KIND::PERSISTENT));
    EXPECT_EQ(get(), std::tuple("red"_id, Color{1, 0.25, 0}));
    EXPECT_EQ(ColorCategoryAssetInterface::GetColorCategory(_note, nullptr), none);
    EXPECT_EQ(ColorCategoryAssetInterface::GetColorCategory(nullptr, _repository), none);
    Need(_repository->EraseAsset(red));
    EXPECT_EQ(get(), none);
    EXPECT_THAT(ColorCategoryAssetInterface::SetColorCategory(nullptr, "red"_id), FailsWith<NullptrError>());
}

TEST_F(SmallKinds, keepWhatTheyAreForInMetadata) {
    const AssetDescription search = Put("s"_id, Asset(StrongRef<AssetInterface>(Need(SmartSearchAssetInterface::Create()))));
    const auto getFilter = [&] {
        return Cast<SmartSearchAssetInterface>(StrongRef<AssetInterface>(Need(search->Load(false))))->GetFilterString();
    };
    EXPECT_EQ(getFilter(), String());
    EXPECT_EQ(Need(SmartSearchAssetInterface::Create())->GetFilterString(), String()) << "not stored, without metadata";
    Need(SmartSearchAssetInterface::SetFilterString(search, "name:chair"));
    EXPECT_EQ(getFilter(), String("name:chair"));
    Need(SubTypeAssetInterface::SetSubType(_note, ASSETSUBTYPE::SCENE));
    EXPECT_EQ(Need(_note->GetMetaData().Get<Id>(InternedId(ASSETMETADATA::SUBTYPE))), Id(ASSETSUBTYPE::SCENE));
    EXPECT_THAT(SmartSearchAssetInterface::SetFilterString(nullptr, "x"), FailsWith<NullptrError>());
    EXPECT_THAT(SubTypeAssetInterface::SetSubType(nullptr, "x"_id), FailsWith<NullptrError>());
}

}  // namespace talvo
