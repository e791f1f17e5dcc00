// Categories: assets that stand for the nodes of a tree. Every asset, a category too, names the category that it stands in.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content: their name and parent are metadata.
inline constexpr LiteralId ASSETTYPE_CATEGORY{"net.talvo.assettype.category"};
/// The built-in category above the folders that are watched.
inline constexpr LiteralId CATEGORY_WATCHFOLDERS{"category@5846c0689c0248cfa54bffed866571ce"};
/// The built-in category that presets come into.
inline constexpr LiteralId CATEGORY_PRESETS{"category@2468666d866a481886c91c7155440264"};

/// A category as an asset object.
class CategoryAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<CategoryAssetInterface>> Create();
    /// The id of the category that `asset` stands in; the null id for none, for a null `asset`, and if it can't be read.
    static Id GetParentCategory(const AssetDescription& asset);
    /// Stores it. Errors: NullptrError for a null `asset`; those of AssetDescription::StoreMetaData.
    static Result<void> SetAssetCategory(const AssetDescription& asset, const Id& category);
    /// Names of the categories above `asset`, the root first. A parent that isn't there ends the chain, and so does one that was met before.
    /// Errors: NullptrError for a null `repository`; those of the lookup. An error is all there is then: no part of the names comes with it.
    static Result<BaseArray<String>> GetAssetBreadcrumbString(const AssetDescription& asset,
                                                              const AssetRepositoryRef& repository);
};
using CategoryAsset = StrongRef<CategoryAssetInterface>;

}  // namespace talvo
