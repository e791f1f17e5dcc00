// Opening and making of repositories on directories.
#pragma once

#include "assets/asset_repository.h"

namespace talvo {

struct UrlRepositoryRequest {
    Id id;  ///< empty: the one it has, or a fresh one
    Block<const AssetRepositoryRef> bases;
    Url url;
    enum class ACCESS { READ_ONLY, WRITABLE } access = ACCESS::READ_ONLY;
    enum class DERIVED { AT_ROOT, IN_GENERATED_FILES } derived = DERIVED::AT_ROOT;
    enum class LIFETIME { LASTING, TEMPORARY } lifetime = LIFETIME::LASTING;
};

/// Errors: IllegalArgumentError if the url is no directory or the id is none that `databaseid` can hold; IllegalStateError if there is no identifier
/// and none may be written, and for the id of a standard repository that lies elsewhere; FileFormatError that names a `databaseid` that holds none;
/// IoError.
Result<UpdatableAssetRepositoryRef> OpenUrlRepository(const UrlRepositoryRequest& request);
/// The same, and sees that a writable one has the asset that holds its name.
Result<UpdatableAssetRepositoryRef> CreateUrlRepository(const UrlRepositoryRequest& request);

/// Where the application repository lies, where it is installed.
Result<Url> GetApplicationRepositoryPlace();
/// Where the user preferences repository lies.
Result<Url> GetUserRepositoryPlace();
/// Stands for the built-in repository in the names of trees.
inline constexpr LiteralId BUILTIN_TREE{"builtinrepository"};
/// Where derived values of a repository lie that keeps them out of its root.
Result<Url> GetGeneratedTree(const Id& repositoryId);
/// Where user values of all repositories lie.
Result<Url> GetUserTree();

}  // namespace talvo
