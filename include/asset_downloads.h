// What of an asset is here. Everything on disk is; loading from elsewhere is not part of this module yet.
#pragma once

#include "assets.h"
#include "kernel/base/hash_map.h"

namespace talvo {

/// Whether an asset is here.
enum class ASSET_DOWNLOAD_STATE : Int32 {
    NOT_CACHED = 0,
    CACHED = 1,  ///< usable now
    QUEUED = 2,
    FAILED = 3,
    INVALID = 4  ///< not for this version of the application, or without a url
};

/// Threads: any.
namespace AssetDownloads {

/// Whether it can be used without loading anything. True also for what is not valid here.
Bool IsAssetCached(const AssetDescription& ad);
/// Bytes of a file or node; -1 if that isn't known. Errors: those of reading its metadata.
Result<Int64> GetAssetFileSize(const AssetDescription& ad);
/// Errors: those of asking whether it is valid.
Result<ASSET_DOWNLOAD_STATE> GetDownloadState(const AssetDescription& ad);

}  // namespace AssetDownloads

}  // namespace talvo
