// From the word REPO to an opened repository.
#pragma once

#include "apps/talvo/options.h"
#include "assets.h"

#include <string>

namespace talvo::RepositoryOpener {

/// Opens the repository at `path`, or a standard one by its name; the repositories of `--base` stand behind it. One that is marked as read-only
/// refuses changes itself.
/// Errors: those of AssetInterface::CreateRepositoryFromUrl; for a standard repository those of AssetModule::Start, UnresolvedError if it isn't installed.
Result<UpdatableAssetRepositoryRef> Open(const std::string& path, const CommonOptions& options);
/// The url of REPO. Errors: for a standard repository those of Open, UnsupportedOperationError if it has none.
Result<Url> GetUrl(const std::string& path);
/// The url of an opened repository, if it lies at one.
Opt<Url> FindUrl(const AssetRepositoryRef& repository);
/// True if there is a repository at `url`.
Bool IsRepository(const Url& url);

enum class SYNC { ALWAYS, IF_DURABLE };
/// Makes what was stored survive a loss of power, where that was asked for.
Result<void> Sync(const AssetRepositoryRef& repository, SYNC sync);

}  // namespace talvo::RepositoryOpener
