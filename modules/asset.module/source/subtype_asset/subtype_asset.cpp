#include "subtype_asset.h"

#include "asset_types/contentless_asset.h"

namespace talvo {

Result<SubTypeAsset> SubTypeAssetInterface::Create() { return CreateContentlessAsset<SubTypeAssetInterface>(ASSETTYPE_SUBTYPE); }

Result<void> SubTypeAssetInterface::SetSubType(const AssetDescription& target, const Id& subtype) {
    return CatchOutOfMemory(
        [&] { return target.StoreMetaData(InternedId(ASSETMETADATA::SUBTYPE), Data(subtype), ASSET_METADATA_KIND::PERSISTENT); });
}

}  // namespace talvo
