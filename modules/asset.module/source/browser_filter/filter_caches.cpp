#include "browser_filter/filter_caches.h"

#include "category_asset.h"
#include "keyword_asset.h"

namespace talvo {

Result<const String&> FilterCaches::GetKeywordName(const AssetRepositoryRef& repository, const Id& keyword) {
    std::string key(keyword.GetView());
    if (const auto known = _keywordNames.find(key); known != _keywordNames.end()) return known->second;
    String name;
    const AssetDescription asset =
        keyword.IsEmpty() ? AssetDescription()
                          : TRY(repository->FindLatestAsset(ASSETTYPE_KEYWORD, keyword, Id(), ASSET_FIND_MODE::NONE));
    if (asset) {
        // One without a name is told by its id, which is none.
        name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
        if (name.GetView() == keyword.GetView()) name = String();
    }
    return _keywordNames.emplace(std::move(key), std::move(name)).first->second;
}

Result<const Id&> FilterCaches::GetParentCategory(const AssetRepositoryRef& repository, const Id& category) {
    std::string key(category.GetView());
    if (const auto known = _parents.find(key); known != _parents.end()) return known->second;
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::CANCELLABLE;
    const AssetDescription asset = TRY(repository->FindLatestAsset(ASSETTYPE_CATEGORY, category, Id(), mode));
    Id parent = CategoryAssetInterface::GetParentCategory(asset);
    return _parents.emplace(std::move(key), std::move(parent)).first->second;
}

}  // namespace talvo
