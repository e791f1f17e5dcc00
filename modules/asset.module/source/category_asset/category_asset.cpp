#include "category_asset.h"

#include "asset_types/contentless_asset.h"
#include "category_asset/category_chain.h"

#include <algorithm>

namespace talvo {

Result<CategoryAsset> CategoryAssetInterface::Create() {
    return CreateContentlessAsset<CategoryAssetInterface>(ASSETTYPE_CATEGORY);
}

Result<void> CategoryAssetInterface::SetAssetCategory(const AssetDescription& asset, const Id& category) {
    return CatchOutOfMemory([&] {
        return asset.StoreMetaData(InternedId(ASSETMETADATA::CATEGORY), Data(category), ASSET_METADATA_KIND::PERSISTENT);
    });
}

Result<BaseArray<String>> CategoryAssetInterface::GetAssetBreadcrumbString(const AssetDescription& asset,
                                                                           const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<BaseArray<String>> {
        BaseArray<String> names;
        TRY(WalkCategories(asset, repository, [&](const AssetDescription& category) -> Result<Bool> {
            String name = TRY(category->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
            TRY(names.Append(std::move(name)));
            return true;
        }));
        std::reverse(names.begin(), names.end());
        return names;
    });
}

}  // namespace talvo
