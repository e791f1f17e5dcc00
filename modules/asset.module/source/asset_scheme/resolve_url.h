// From a url of an asset or of its metadata to the place where the bytes lie.
#pragma once

#include "asset_scheme/resolve_info.h"
#include "assets/asset_repository.h"

#include <string>

namespace talvo {

/// Where a url leads.
struct ResolvedUrl {
    Url target;                    ///< where the bytes lie; empty for a url with an empty path
    AssetDescription description;  ///< null if the url carried its target without one
    Bool fromInfo = false;         ///< no search was needed

    /// How to open `target` without following a link: a place that is trusted, and the way down from there. Empty if the target is the payload itself.
    Url trusted;
    std::string way;
};

/// @param repository where assets are looked up.
/// Errors: IoError "No asset found for Url @.", and for an inner path that doesn't lead plainly down; IllegalArgumentError "Meta Url without meta data
/// identifier: @."; UnsupportedOperationError for urls into stores of watch folders; NullptrError for a null repository, if it is needed; those of the lookup.
Result<ResolvedUrl> ResolveUrl(const Url& url, const AssetRepositoryRef& repository);
/// For the schemes `asset` and `meta` the url with what it resolves to attached; others come back as they are.
Result<Url> ResolveAndAttach(const Url& url, const AssetRepositoryRef& repository);

}  // namespace talvo
