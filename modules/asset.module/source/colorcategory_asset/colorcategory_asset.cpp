#include "colorcategory_asset.h"

#include "asset_types/contentless_asset.h"
#include "assets/asset_repository.h"

namespace talvo {

namespace {

Result<std::tuple<Id, Color>> FindColorCategory(const AssetDescription& asset, const AssetRepositoryRef& lookupRepository) {
    const std::tuple<Id, Color> none;
    const Opt<Id> id = TRY(asset->GetMetaData().Get<Id>(InternedId(ASSETMETADATA::COLORCATEGORY)));
    if (!id || id->IsEmpty()) return none;
    const AssetDescription category =
        TRY(lookupRepository->FindLatestAsset(ASSETTYPE_COLORCATEGORY, *id, Id(), ASSET_FIND_MODE::NONE));
    if (!category) return none;
    const Opt<Color> color = TRY(category->GetMetaData().Get<Color>(InternedId(COLORCATEGORY_COLOR)));
    return std::tuple(*id, color.value_or(Color()));
}

}  // namespace

Result<ColorCategoryAsset> ColorCategoryAssetInterface::Create() {
    return CreateContentlessAsset<ColorCategoryAssetInterface>(ASSETTYPE_COLORCATEGORY);
}

std::tuple<Id, Color> ColorCategoryAssetInterface::GetColorCategory(const AssetDescription& asset,
                                                                    const AssetRepositoryRef& lookupRepository) {
    if (!asset || !lookupRepository) return {};
    return CatchOutOfMemory([&] { return FindColorCategory(asset, lookupRepository); }).GetValueOr({});
}

Result<void> ColorCategoryAssetInterface::SetColorCategory(const AssetDescription& asset, const Id& category) {
    return CatchOutOfMemory([&] {
        return asset.StoreMetaData(InternedId(ASSETMETADATA::COLORCATEGORY), Data(category), ASSET_METADATA_KIND::PERSISTENT);
    });
}

}  // namespace talvo
