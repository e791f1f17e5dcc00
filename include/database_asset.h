// The database information asset: what people call a repository, in each language.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content. Their id is "databaseinfo_" and the repository's id, their name is the repository's.
inline constexpr LiteralId ASSETTYPE_DATABASE{"net.talvo.assettype.database"};

/// A database information asset as an asset object.
class DatabaseAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<DatabaseAssetInterface>> Create();
    /// The id that the information asset of a repository has. Errors: IllegalArgumentError if it gets too long for an id.
    static Result<Id> GetInformationId(const Id& repositoryId);
    /// What people call `repository`. The name may lie in a base; that of the built-in repository lies in the application repository.
    /// @param language null: the current one. @param fallbackName empty: the repository's id. @param addDetails changes nothing here.
    /// Errors: NullptrError for a null `repository`; those of the lookup.
    static Result<String> GetRepositoryName(const AssetRepositoryRef& repository, LanguageRef language,
                                            const String& fallbackName, Bool addDetails);
    /// Sets that name, and makes the asset at need. A second language goes into the same version.
    /// Errors: NullptrError for a null `repository`; those of StoreAsset and of the store of the text.
    static Result<void> SetRepositoryName(const AssetRepositoryRef& repository, const String& name, LanguageRef language);
};
using DatabaseAsset = StrongRef<DatabaseAssetInterface>;

}  // namespace talvo
