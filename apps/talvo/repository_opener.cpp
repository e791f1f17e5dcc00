#include "apps/talvo/repository_opener.h"

#include "kernel/io/connection.h"
#include "kernel/io/file_system.h"
#include "urlassetrepository.h"

#include <vector>

namespace talvo::RepositoryOpener {

namespace {

Bool IsStandardName(const std::string& path) { return path == "user" || path == "app" || path == "builtin"; }

Result<UpdatableAssetRepositoryRef> OpenOne(const std::string& path, Block<const AssetRepositoryRef> bases) {
    const Url url = TRY(GetUrl(path));
    // To open a folder for writing makes a repository of it; that is for `init` alone to do. A repository is opened for writing by commands
    // that only read, too: else its derived values would be looked for at another place.
    return AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, bases, url, IsRepository(url), false, false);
}

}  // namespace

Result<Url> GetUrl(const std::string& path) {
    if (path.empty()) return IllegalArgumentError::Create("The path of the repository is empty.");
    if (IsStandardName(path)) {
        return UnresolvedError::Create("The standard repository \"" + path +
                                       "\" doesn't exist in this version. For a folder of this name write \"./" + path + "\".");
    }
    return Url::FromSystemPath(path);
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
