#include "asset_downloads.h"

#include "kernel/io/connection.h"
#include "node_library.h"

namespace talvo {

namespace {

constexpr Int64 UNKNOWN_SIZE = -1;

}  // namespace

// Nothing is loaded from elsewhere yet, so there is no scheme whose files may be missing.
Bool AssetDownloads::IsAssetCached(const AssetDescription&) { return true; }

Result<Int64> AssetDownloads::GetAssetFileSize(const AssetDescription& ad) {
    return CatchOutOfMemory([&]() -> Result<Int64> {
        if (!ad) return NullptrError::Create("There is no asset whose size could be told.");
        if (ad->GetTypeId() != ASSETTYPE_FILE && ad->GetTypeId() != ASSETTYPE_NODETEMPLATE) return UNKNOWN_SIZE;
        const Opt<Int64> stored = TRY(ad->GetMetaData().Get<Int64>(ASSETMETADATA::SIZE));
        if (stored && *stored != UNKNOWN_SIZE) return *stored;
        const Result<const Url&> url = ad->GetUrl();
        return url.IsOk() ? url.GetValue().GetContentLength().GetValueOr(UNKNOWN_SIZE) : UNKNOWN_SIZE;
    });
}

Result<ASSET_DOWNLOAD_STATE> AssetDownloads::GetDownloadState(const AssetDescription& ad) {
    return CatchOutOfMemory([&]() -> Result<ASSET_DOWNLOAD_STATE> {
        const Bool isValid = TRY(AssetInterface::IsAssetValid(ad));
        if (!isValid || !ad) return ASSET_DOWNLOAD_STATE::INVALID;
        const Result<const Url&> url = ad->GetUrl();
        const Bool hasUrl = url.IsOk() && url.GetValue().IsPopulated();
        return hasUrl ? ASSET_DOWNLOAD_STATE::CACHED : ASSET_DOWNLOAD_STATE::INVALID;
    });
}

}  // namespace talvo
