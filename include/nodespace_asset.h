// Node spaces: an asset of this kind says that a node space of its id exists.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content.
inline constexpr LiteralId ASSETTYPE_NODESPACE{"net.talvo.assettype.nodespace"};

/// A node space as an asset object.
class NodeSpaceAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<NodeSpaceAssetInterface>> Create();
};
using NodeSpaceAsset = StrongRef<NodeSpaceAssetInterface>;

}  // namespace talvo
