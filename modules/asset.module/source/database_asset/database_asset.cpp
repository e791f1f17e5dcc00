#include "database_asset.h"

#include "asset_types/contentless_asset.h"
#include "assets/asset_repository.h"

namespace talvo {

namespace {

const LiteralId& TYPE = ASSETTYPE_DATABASE;

/// The information asset of `repositoryId` as a lookup in `repository` finds it, or null.
Result<AssetDescription> FindInformation(const AssetRepositoryRef& repository, const Id& repositoryId, ASSET_FIND_MODE findMode) {
    const Id id = TRY(DatabaseAssetInterface::GetInformationId(repositoryId));
    AssetDescription information;
    TRY(FindAssets(repository, {{TYPE}}, id, Id(), findMode, [&](const AssetDescription& found) -> Result<Bool> {
        information = found;
        return false;
    }));
    return information;
}

}  // namespace

Result<DatabaseAsset> DatabaseAssetInterface::Create() { return CreateContentlessAsset<DatabaseAssetInterface>(TYPE); }

Result<Id> DatabaseAssetInterface::GetInformationId(const Id& repositoryId) {
    return CatchOutOfMemory([&] { return Id::Create("databaseinfo_" + std::string(repositoryId.GetView())); });
}

Result<String> DatabaseAssetInterface::GetRepositoryName(const AssetRepositoryRef& repository, LanguageRef language,
                                                         const String& fallbackName, Bool) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!repository) return NullptrError::Create("The name of a repository was asked for without one.");
        const String fallback = fallbackName.IsPopulated() ? fallbackName : String::FromId(repository->GetId());
        const AssetRepositoryRef holder =
            repository->GetId() == REPOSITORY_BUILTIN ? AssetInterface::GetApplicationRepository() : repository;
        if (!holder) return fallback;
        const AssetDescription information = TRY(FindInformation(holder, repository->GetId(), ASSET_FIND_MODE::LATEST));
        if (!information) return fallback;
        return information->GetMetaString(InternedId(OBJECT_BASE_NAME), language, fallback);
    });
}

Result<void> DatabaseAssetInterface::SetRepositoryName(const AssetRepositoryRef& repository, const String& name,
                                                       LanguageRef language) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!repository) return NullptrError::Create("A repository was to be named, but there is none.");
        AssetDescription information =
            TRY(FindInformation(repository, repository->GetId(), ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES));
        if (!information) {
            const DatabaseAsset asset = TRY(Create());
            const Id id = TRY(GetInformationId(repository->GetId()));
            information = TRY(repository->StoreAsset(id, Asset(StrongRef<AssetInterface>(asset)), nullptr));
        }
        return information->StoreMetaString(InternedId(OBJECT_BASE_NAME), name, language);
    });
}

}  // namespace talvo
