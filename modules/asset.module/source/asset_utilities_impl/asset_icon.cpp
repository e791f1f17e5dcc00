#include "asset_utilities.h"
#include "assets/asset_repository.h"

namespace talvo {

Result<Url> AssetUtilities::GetAssetIcon(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        if (!asset) return NullptrError::Create("An icon was asked for without an asset.");
        const AssetMetaData& metaData = asset->GetMetaData();
        const Opt<Url> preview = TRY(metaData.Get<Url>(InternedId(ASSETMETADATA::PREVIEWIMAGEURL)));
        if (preview && preview->IsPopulated()) return *preview;
        const AssetType type = FindAssetType(asset->GetTypeId());
        return type ? type->GetDefaultIcon(asset->GetRepository(), asset->GetIdAndVersion(), metaData) : Result<Url>(Url());
    });
}

}  // namespace talvo
