#include "url_repository/create_repository.h"

#include "asset_impl/config.h"
#include "asset_impl/repository_engine.h"
#include "database_asset.h"
#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/database_id.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

constexpr LiteralId MODULE_ID{"net.talvo.asset"};
using Access = UrlAssetRepositoryImpl::ACCESS;

/// What is known of the identifier of a directory.
struct Identity {
    Id id;
    Access access = Access::READ_ONLY;
};

/// The ids of the standard repositories belong to their own places: what else has one would be taken for them.
Result<void> CheckClaim(const Url& root, const Id& id) {
    Bool isTheirs = id == REPOSITORY_BUILTIN;
    if (id == REPOSITORY_APPLICATION || id == REPOSITORY_USERPREFS) {
        const Result<Url> place = id == REPOSITORY_USERPREFS ? GetUserRepositoryPlace() : GetApplicationRepositoryPlace();
        isTheirs = place.IsError() || !(root == place.GetValue());
    }
    if (!isTheirs) return OK;
    return IllegalStateError::Create(FormatMessage(
        "@ can't be the repository @, since that is the program's own and lies elsewhere. Put another identifier in @.", root, id,
        root + REPOSITORY_IDENTIFIER_FILE));
}

/// A `databaseid` marked as read-only protects the repository, and its id as well.
Result<Access> GetAccess(const UrlRepositoryRequest& request, const Opt<Id>& stored) {
    if (request.access != UrlRepositoryRequest::ACCESS::WRITABLE || RefusesWrites(request.url)) return Access::READ_ONLY;
    if (!stored || g_applicationRepositoryWritable) return Access::WRITABLE;
    const Bool isProtected = TRY(IsDatabaseIdReadOnly(request.url));
    return isProtected ? Access::READ_ONLY : Access::WRITABLE;
}

Result<Identity> EnsureIdentity(const UrlRepositoryRequest& request) {
    const Opt<Id> stored = TRY(ReadDatabaseId(request.url));
    const Access access = TRY(GetAccess(request, stored));
    if (stored && (request.id.IsEmpty() || request.id == *stored)) {
        TRY(CheckClaim(request.url, *stored));
        return Identity{*stored, access};
    }
    if (access == Access::READ_ONLY) {
        return IllegalStateError::Create(
            FormatMessage("The repository at path @ has no identifier, so this is not a valid repository path.", request.url));
    }
    TRY(CheckClaim(request.url, request.id));
    Id wanted = request.id;
    if (wanted.IsEmpty()) wanted = TRY(AssetInterface::MakeUuid("database", true));
    if (stored) {
        TRY(ReplaceDatabaseId(request.url, wanted));
        return Identity{wanted, access};
    }
    const Id given = TRY(CreateDatabaseId(request.url, wanted));
    if (request.id.IsPopulated() && given != request.id) {
        return IllegalStateError::Create(FormatMessage(
            "The repository at path @ was given the identifier @ meanwhile. Open it with that one.", request.url, given));
    }
    return Identity{given, access};
}

Result<UrlAssetRepositoryImpl::Places> GetPlaces(const UrlRepositoryRequest& request, const Identity& identity) {
    UrlAssetRepositoryImpl::Places places;
    places.root = request.url;
    const Bool writable = identity.access == Access::WRITABLE;
    const Bool isTemporary = request.lifetime == UrlRepositoryRequest::LIFETIME::TEMPORARY;
    if (writable && request.derived == UrlRepositoryRequest::DERIVED::AT_ROOT) {
        places.derived = request.url;
    } else if (writable || !isTemporary) {
        places.derived = TRY(GetGeneratedTree(identity.id));
    }
    places.user = TRY(GetUserTree());
    return places;
}

/// Makes the asset that holds the repository's name, so that whoever names it finds it. The user's repository and those of documents take the name of
/// a base as well.
Result<void> EnsureInformation(const UpdatableAssetRepositoryRef& repository) {
    const Id& rid = repository->GetId();
    const Bool takesBases = rid == REPOSITORY_USERPREFS || rid == REPOSITORY_SCENE;
    const ASSET_FIND_MODE own = takesBases ? ASSET_FIND_MODE::NONE : ASSET_FIND_MODE::WITHOUT_BASES;
    const Id id = TRY(DatabaseAssetInterface::GetInformationId(rid));
    const Id type = ASSETTYPE_DATABASE;
    const Bool isMissing = TRY(FindAssets(repository, Block<const Id>(&type, 1), id, Id(), ASSET_FIND_MODE::LATEST | own,
                                          [](const AssetDescription&) -> Result<Bool> { return false; }));
    if (!isMissing || !repository->IsWritable()) return OK;
    const DatabaseAsset information = TRY(DatabaseAssetInterface::Create());
    TRY(repository->StoreAsset(id, Asset(StrongRef<AssetInterface>(information)), nullptr));
    return OK;
}

}  // namespace

Result<Url> GetApplicationRepositoryPlace() {
    const Url resources = TRY(Application::PrivateGetUrl(MODULE_ID, APPLICATION_DIRECTORY::APPLICATION_RESOURCES));
    return resources + "assets" + "application";
}

Result<Url> GetUserRepositoryPlace() {
    const Url generated = TRY(Application::PrivateGetUrl(MODULE_ID, APPLICATION_DIRECTORY::GENERATED));
    return generated + "userrepository";
}

Result<Url> GetGeneratedTree(const Id& repositoryId) {
    const Url generated = TRY(Application::PrivateGetUrl(MODULE_ID, APPLICATION_DIRECTORY::GENERATED));
    const std::string name = TRY(MakeDirectoryName(repositoryId));
    return generated + "dc" + name;
}

Result<Url> GetUserTree() {
    const Url preferences = TRY(Application::PrivateGetUrl(MODULE_ID, APPLICATION_DIRECTORY::PREFERENCES));
    return preferences + "_assets" + "user.db";
}

Result<UpdatableAssetRepositoryRef> OpenUrlRepository(const UrlRepositoryRequest& request) {
    if (request.url.IoDetect() != IO_DETECT::DIRECTORY) {
        return IllegalArgumentError::Create(FormatMessage("@ doesn't point to a directory.", request.url));
    }
    TRY(CheckDatabaseId(request.id));
    const Identity identity = TRY(EnsureIdentity(request));
    UrlAssetRepositoryImpl::Places places = TRY(GetPlaces(request, identity));
    const StrongRef<UrlAssetRepositoryImpl> repository(new UrlAssetRepositoryImpl(std::move(places), identity.access));
    TRY(repository->InitBases(request.bases));
    TRY(repository->InitImpl(identity.id, request.lifetime == UrlRepositoryRequest::LIFETIME::TEMPORARY));
    return UpdatableAssetRepositoryRef(repository);
}

Result<UpdatableAssetRepositoryRef> CreateUrlRepository(const UrlRepositoryRequest& request) {
    const UpdatableAssetRepositoryRef opened = TRY(OpenUrlRepository(request));
    const Result<void> informed = EnsureInformation(opened);
    if (informed.IsError() && OutOfMemoryError::IsClassOf(informed.GetError())) return informed.GetError();
    // What the repository holds can be read without, on a full disk too.
    if (informed.IsError()) Log(LOG_LEVEL::WARNING, "@ goes without a name: @", request.url, informed.GetError()->GetMessage());
    return opened;
}

Result<UpdatableAssetRepositoryRef> AssetInterface::CreateRepositoryFromUrl(const Id& rid, const Id& repoType,
                                                                            Block<const AssetRepositoryRef> bases, const Url& url,
                                                                            Bool writable, Bool derivedInPrefs,
                                                                            Bool tempRepository) {
    return CatchOutOfMemory([&]() -> Result<UpdatableAssetRepositoryRef> {
        if (repoType == REPOSITORYTYPE_WATCHFOLDER) {
            return UnsupportedOperationError::Create(
                FormatMessage("@ can't be opened: watch folders are not part of this version.", url));
        }
        if (repoType != REPOSITORYTYPE_DATABASE) {
            return IllegalArgumentError::Create(FormatMessage("Undefined repository type for url: @", url));
        }
        using Request = UrlRepositoryRequest;
        return CreateUrlRepository({.id = rid,
                                    .bases = bases,
                                    .url = url,
                                    .access = writable ? Request::ACCESS::WRITABLE : Request::ACCESS::READ_ONLY,
                                    .derived = derivedInPrefs ? Request::DERIVED::IN_GENERATED_FILES : Request::DERIVED::AT_ROOT,
                                    .lifetime = tempRepository ? Request::LIFETIME::TEMPORARY : Request::LIFETIME::LASTING});
    });
}

}  // namespace talvo
