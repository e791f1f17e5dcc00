#include "nodespace_asset.h"

#include "asset_types/contentless_asset.h"

namespace talvo {

Result<NodeSpaceAsset> NodeSpaceAssetInterface::Create() {
    return CreateContentlessAsset<NodeSpaceAssetInterface>(ASSETTYPE_NODESPACE);
}

}  // namespace talvo
