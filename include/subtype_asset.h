// Subtypes: assets that name a value of the metadata `net.talvo.asset.subtype`.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content: the id is the subtype, the name is what people call it.
inline constexpr LiteralId ASSETTYPE_SUBTYPE{"net.talvo.assettype.subtype"};

/// The subtypes that the asset system itself knows.
namespace ASSETSUBTYPE {

inline constexpr LiteralId MATERIAL{"net.talvo.asset.subtype.material"};
inline constexpr LiteralId OBJECT{"net.talvo.asset.subtype.object"};
inline constexpr LiteralId SCENE{"net.talvo.asset.subtype.scene"};
inline constexpr LiteralId MEDIAIMAGE{"net.talvo.asset.subtype.mediaimage"};
inline constexpr LiteralId MEDIAMOVIE{"net.talvo.asset.subtype.mediamovie"};
inline constexpr LiteralId NODE_OPERATOR{"net.talvo.asset.subtype.node.operator"};
/// With the suffix of a file behind it: the subtype of files that are none of the others.
inline constexpr LiteralId FILE_PREFIX{"net.talvo.asset.subtype.file."};
/// With a name behind it: the subtype of a preset.
inline constexpr LiteralId PRESET_PREFIX{"net.talvo.subtype.preset."};

}  // namespace ASSETSUBTYPE

/// A subtype as an asset object.
class SubTypeAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<SubTypeAssetInterface>> Create();
    /// Stores the subtype of `target`. Errors: NullptrError for a null `target`; those of AssetDescription::StoreMetaData.
    static Result<void> SetSubType(const AssetDescription& target, const Id& subtype);
};
using SubTypeAsset = StrongRef<SubTypeAssetInterface>;

}  // namespace talvo
