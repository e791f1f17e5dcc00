#include "browser_filter/filter_caches.h"

#include "category_asset.h"
#include "keyword_asset.h"

namespace talvo {

Result<const String&> FilterCaches::GetKeywordName(const AssetRepositoryRef& repository, const Id& keyword) {
    if (const String* known = _keywordNames.Find(keyword)) return *known;
    String name;
    const AssetDescription asset =
        keyword.IsEmpty() ? AssetDescription()
                          : TRY(repository->FindLatestAsset(ASSETTYPE_KEYWORD, keyword, Id(), ASSET_FIND_MODE::NONE));
    if (asset) {
        // One without a name is told by its id, which is none.
        name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
        if (name.GetView() == keyword.GetView()) name = String();
    }
    String* const kept = TRY(_keywordNames.InsertKey(keyword));
    *kept = std::move(name);
    return *kept;
}

Result<const Id&> FilterCaches::GetParentCategory(const AssetRepositoryRef& repository, const Id& category) {
    if (const Id* known = _parents.Find(category)) return *known;
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::CANCELLABLE;
    const AssetDescription asset = TRY(repository->FindLatestAsset(ASSETTYPE_CATEGORY, category, Id(), mode));
    Id* const kept = TRY(_parents.InsertKey(category));
    *kept = CategoryAssetInterface::GetParentCategory(asset);
    return *kept;
}

}  // namespace talvo
