// From the word REPO to an opened repository.
#pragma once

#include "apps/talvo/options.h"
#include "assets.h"

#include <string>

namespace talvo::RepositoryOpener {

/// Opens the repository at `path`; the repositories of `--base` stand behind it. Opening stores nothing. One that is marked as read-only refuses
/// changes itself.
/// Errors: those of AssetInterface::CreateRepositoryFromUrl; UnresolvedError for a standard repository.
Result<UpdatableAssetRepositoryRef> Open(const std::string& path, const CommonOptions& options);
/// The url of REPO. Errors: UnresolvedError for a standard repository.
Result<Url> GetUrl(const std::string& path);
/// True if there is a repository at `url`.
Bool IsRepository(const Url& url);

enum class SYNC { ALWAYS, IF_DURABLE };
/// Makes what was stored survive a loss of power, where that was asked for.
Result<void> Sync(const AssetRepositoryRef& repository, SYNC sync);

}  // namespace talvo::RepositoryOpener
