#include "apps/talvo/repository_opener.h"

#include "asset_module.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_system.h"
#include "urlassetrepository.h"

#include <vector>

namespace talvo::RepositoryOpener {

namespace {

Bool IsStandardName(const std::string& path) { return path == "user" || path == "app" || path == "builtin"; }

/// The module is started for those alone who ask for one of its repositories: it needs a home that can be written.
Result<AssetRepositoryRef> GetStandard(const std::string& name) {
    TRY(AssetModule::Start());
    const AssetRepositoryRef& repository = name == "user"  ? AssetInterface::GetUserPrefsRepository()
                                           : name == "app" ? AssetInterface::GetApplicationRepository()
                                                           : AssetInterface::GetBuiltinRepository();
    if (repository) return repository;
    return UnresolvedError::Create("There is no application repository: its folder isn't installed.");
}

Result<UpdatableAssetRepositoryRef> OpenStandard(const std::string& name, Block<const AssetRepositoryRef> bases) {
    const AssetRepositoryRef repository = TRY(GetStandard(name));
    for (const AssetRepositoryRef& base : bases) TRY(repository->AddBase(base));
    return UpdatableAssetRepositoryRef(Cast<UpdatableAssetRepositoryInterface>(repository));
}

Result<UpdatableAssetRepositoryRef> OpenOne(const std::string& path, Block<const AssetRepositoryRef> bases) {
    if (IsStandardName(path)) return OpenStandard(path, bases);
    const Url url = TRY(GetUrl(path));
    // To open a folder for writing makes a repository of it; that is for `init` alone to do. A repository is opened for writing by commands
    // that only read, too: else its derived values would be looked for at another place.
    return AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, bases, url, IsRepository(url), false, false);
}

}  // namespace

Result<Url> GetUrl(const std::string& path) {
    if (path.empty()) return IllegalArgumentError::Create("The path of the repository is empty.");
    if (IsStandardName(path)) {
        const AssetRepositoryRef repository = TRY(GetStandard(path));
        const Opt<Url> url = FindUrl(repository);
        if (url) return *url;
        return UnsupportedOperationError::Create("The repository \"" + path +
                                                 "\" has no folder. For a folder of this name write \"./" + path + "\".");
    }
    return Url::FromSystemPath(path);
}

Opt<Url> FindUrl(const AssetRepositoryRef& repository) {
    const auto* onUrl = dynamic_cast<const UrlAssetRepositoryInterface*>(repository.GetPointer());
    return onUrl ? Opt<Url>(onUrl->GetUrl(false)) : std::nullopt;
}

Bool IsRepository(const Url& url) { return (url + REPOSITORY_IDENTIFIER_FILE).IoDetect() == IO_DETECT::FILE; }

Result<UpdatableAssetRepositoryRef> Open(const std::string& path, const CommonOptions& options) {
    std::vector<AssetRepositoryRef> bases;
    for (const std::string& base : options.bases) {
        AssetRepositoryRef repository = TRY(OpenOne(base, {}));
        bases.push_back(std::move(repository));
    }
    return OpenOne(path, bases);
}

Result<void> Sync(const AssetRepositoryRef& repository, SYNC sync) {
    if (sync == SYNC::IF_DURABLE && GetDurability() != DURABILITY::DURABLE) return OK;
    auto* onDisk = dynamic_cast<UrlAssetRepositoryInterface*>(repository.GetPointer());
    return onDisk ? onDisk->Sync() : OK;
}

}  // namespace talvo::RepositoryOpener
