// The file `asset.info`, by which a scan of the tree learns which asset a directory holds.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"
#include "kernel/io/url.h"

#include <string>
#include <string_view>

namespace talvo {

inline constexpr const char* ASSET_INFO_NAME = "asset.info";

/// Id and type of the asset in a directory.
struct AssetInfo {
    Id id;
    Id type;
};

/// Two lines: id and type.
std::string WriteAssetInfoText(const AssetInfo& info);
/// Nothing for less than two lines, and for an id or type that no store would have accepted.
Opt<AssetInfo> ParseAssetInfo(std::string_view text);
/// What `asset.info` of that directory says; nothing where there is none, or one that says nothing.
/// Errors: IoError, if it may say something that can't be read.
Result<Opt<AssetInfo>> ReadAssetInfo(const Url& assetDirectory);

/// The id on a line of a file of a repository; nothing if it is empty, too long or has control characters.
Opt<Id> ParseIdLine(std::string_view line);
/// The type on such a line; it may be empty.
Opt<Id> ParseTypeLine(std::string_view line);

}  // namespace talvo
