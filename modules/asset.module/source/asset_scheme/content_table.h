// From the place of a content to the asset whose content lies there.
#pragma once

#include "assets/asset_repository.h"

namespace talvo {

/// The asset whose newest version lies at `url`, or null. The first question of a repository walks through all its assets; from then on changes are
/// followed as they are told.
/// Errors: those of the lookup.
Result<AssetDescription> FindAssetByContent(const Url& url, const AssetRepositoryRef& repository);

}  // namespace talvo
