// Colour categories: assets that stand for a named colour, which others choose.
#pragma once

#include "assets.h"

#include <tuple>

namespace talvo {

/// Assets of this type have no content: their name and colour are metadata.
inline constexpr LiteralId ASSETTYPE_COLORCATEGORY{"net.talvo.assettype.colorcategory"};
/// Metadata of a colour category, Color.
inline constexpr LiteralId COLORCATEGORY_COLOR{"net.talvo.assetmetadata.colorcategory.color"};

/// A colour category as an asset object.
class ColorCategoryAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<ColorCategoryAssetInterface>> Create();
    /// The colour category of `asset` and its colour. The null id and the zero colour if it has none, if `lookupRepository` doesn't hold it,
    /// and if anything can't be read; the zero colour alone for a category without one.
    static std::tuple<Id, Color> GetColorCategory(const AssetDescription& asset, const AssetRepositoryRef& lookupRepository);
    /// Stores it. Errors: NullptrError for a null `asset`; those of AssetDescription::StoreMetaData.
    static Result<void> SetColorCategory(const AssetDescription& asset, const Id& category);
};
using ColorCategoryAsset = StrongRef<ColorCategoryAssetInterface>;

}  // namespace talvo
