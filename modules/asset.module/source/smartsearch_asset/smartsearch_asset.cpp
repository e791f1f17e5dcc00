#include "smartsearch_asset.h"

#include "asset_types/contentless_asset.h"

namespace talvo {

Result<SmartSearchAsset> SmartSearchAssetInterface::Create() {
    return CreateContentlessAsset<SmartSearchAssetInterface>(ASSETTYPE_SMARTSEARCH);
}

Result<void> SmartSearchAssetInterface::SetFilterString(const AssetDescription& asset, const String& filter) {
    return CatchOutOfMemory([&] {
        return asset.StoreMetaData(InternedId(ASSETMETADATA::SMARTSEARCH), Data(filter), ASSET_METADATA_KIND::PERSISTENT);
    });
}

String SmartSearchAssetInterface::GetFilterString() const {
    const auto read = [&]() -> Result<String> {
        const AssetMetaData metaData = TRY(GetMetaData());
        const Opt<String> filter = TRY(metaData.Get<String>(InternedId(ASSETMETADATA::SMARTSEARCH)));
        return filter.value_or(String());
    };
    return CatchOutOfMemory(read).GetValueOr(String());
}

}  // namespace talvo
