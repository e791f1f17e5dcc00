// The database of descriptions that a repository registers: what it holds is stored in the repository's assets.
#pragma once

#include "assets/asset_repository.h"
#include "kernel/description/description_database.h"

namespace talvo {

/// Makes the database of `repository`, which it knows weakly, and registers it; one that an earlier repository of the id left there gives way.
/// Errors: those of ReplaceDatabase.
Result<StrongRef<DataDescriptionDefinitionDatabaseImplInterface>> CreateAssetDescriptionDatabase(
    const Id& databaseId, const AssetRepositoryRef& repository);

}  // namespace talvo
