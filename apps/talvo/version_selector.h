// Which version of an asset a command means.
#pragma once

#include "assets.h"

#include <string>

namespace talvo::VersionSelector {

enum class SCOPE { WITH_BASES, REPOSITORY_ONLY };

/// The version of the asset `id` that `version` names: `#COUNTER`, a version id, or a unique prefix of at least 4 characters of one. Of
/// several versions with one id, the newest. Nothing: the newest version.
/// Errors: UnresolvedError for an unknown or deleted asset or an unknown version; IllegalArgumentError with the candidates if several fit.
Result<AssetDescription> Select(const AssetRepositoryRef& repository, const std::string& id, const Opt<std::string>& version,
                                SCOPE scope);

/// Order of the versions of one asset, the newest first; of copies of one version by repository.
Bool IsNewer(const AssetDescription& first, const AssetDescription& second);

/// All versions of an asset with its deletion markers, newest first; none for an unknown asset.
Result<BaseArray<AssetDescription>> GetVersions(const AssetRepositoryRef& repository, const Id& id, SCOPE scope);

}  // namespace talvo::VersionSelector
