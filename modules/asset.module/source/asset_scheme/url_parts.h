// What stands in the text of urls of assets: id, inner path and version, and how each of them is masked.
//
// The id is the first component of the path. What would end it there is percent-coded in it, and decoded once when it is read; the rest of the path names
// a file as it is called.
#pragma once

#include "assets/asset_identity.h"
#include "kernel/io/url.h"

#include <string>
#include <string_view>
#include <vector>

namespace talvo {

inline constexpr LiteralId URLSCHEME_ASSET{"asset"};
inline constexpr LiteralId URLSCHEME_META{"meta"};
inline constexpr LiteralId URLSCHEME_WATCHFOLDERSTORE{"metasq"};
inline constexpr LiteralId URLSCHEME_ASSETDATABASE{"assetdb"};

/// What a url of the scheme `asset` or `meta` names.
struct AssetUrlParts {
    std::vector<Id> ids;       ///< to be looked up in this order: without a suffix that was put behind the id, then with it
    std::vector<Id> versions;  ///< in this order; null: the latest
    std::string_view inner;    ///< what stands behind the id, a view of the url's path
    Bool hasInner = false;     ///< also if it is empty
};

/// Errors: IllegalArgumentError for an id that is none.
Result<AssetUrlParts> ParseAssetUrl(const Url& url);
/// Path of an `asset` url. ParseAssetUrl gives `aid` as the first id, whatever characters it has. @param suffix for code that looks at suffixes; may be empty.
std::string MakeAssetPath(const Id& aid, std::string_view suffix);
/// The url of a metadata value that is a file, which lies at `file`.
Url MakeMetaUrl(const IdAndVersion& asset, std::string_view name, const Url& file);
/// Errors: IoError for an inner path that doesn't lead plainly down: with a component that is empty, "." or "..", or a separator in disguise.
Result<void> CheckInnerPath(const Url& url, std::string_view inner);

/// The query of `url`; empty if there is none.
std::string GetUrlQuery(const Url& url);
/// What stands behind `name=` in a query, still masked, or nothing.
Opt<std::string_view> FindQueryValue(std::string_view query, std::string_view name);
/// A version id as it stands behind `rev=`; percent-coding undoes it.
Result<String> MaskVersion(const Id& version);

}  // namespace talvo
