// What a url repository says of itself.
#include "url_repository/url_asset_repository.h"

#include "kernel/io/posix_files.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/loaded_index.h"
#include "url_repository/tree_access.h"

namespace talvo {

namespace {

Result<void> SyncFileSystem(const Url& directory) {
    if (directory.GetScheme() != URLSCHEME_FILESYSTEM || directory.IoDetect() != IO_DETECT::DIRECTORY) return OK;
    const std::string path = TRY(directory.GetSystemPath());
    return CheckFile(PosixFiles::SyncFileSystem(path), "sync", path);
}

}  // namespace

UrlAssetRepositoryImpl::UrlAssetRepositoryImpl(Places places, ACCESS access)
    : _places(std::move(places)),
      _access(access),
      _lock(_places.root),
      _indexDirectory(_places.root),
      _counter(_places.root, _lock, _indexDirectory),
      _derivedNames(IsOwnTree(_places.derived) ? _places.derived : Url()),
      _userNames(IsOwnTree(_places.user) ? _places.user : Url()),
      _index(std::make_unique<LoadedIndex>()),
      _background(*this) {}

UrlAssetRepositoryImpl::~UrlAssetRepositoryImpl() = default;

Url UrlAssetRepositoryImpl::GetUrl(Bool getOrigin) const {
    if (!getOrigin) return GetRoot();
    Opt<Url> origin = GetRoot().GetData<Url>(URLFLAGS::ORIGINURL);
    return origin && origin->IsPopulated() ? std::move(*origin) : GetRoot();
}

Result<Url> UrlAssetRepositoryImpl::GetVersionDirectory(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        CHECK_ARGUMENT(Bool(asset), "asset");
        if (asset->GetRepositoryId() != GetId()) {
            return IllegalArgumentError::Create(FormatMessage("@ is no version of repository @.", asset, GetId()));
        }
        const AssetDescription known = TRY(GetDescription(asset));
        if (!known->IsDeleted()) {
            const Url payload = TRY_REF(known->GetUrl());
            return payload.GetDirectory();
        }
        // A deletion mark has no payload that could tell; its directory was made by us under one of these names.
        const Id& aid = asset->GetIdAndVersion().first;
        const std::string first = TRY(MakeDirectoryName(aid));
        const std::string second = TRY(MakeHashedDirectoryName(aid));
        for (const std::string* name : {&first, &second}) {
            const Url directory = GetRoot() + *name;
            const Opt<AssetInfo> info = TRY(ReadAssetInfo(directory));
            if (info && info->id == aid) return directory + MakeDeletedDirectoryName(asset.GetVersionKey().counter);
        }
        return IllegalArgumentError::Create(FormatMessage("The directory of @ in repository @ is not known.", asset, GetId()));
    });
}

Result<void> UrlAssetRepositoryImpl::Sync() {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!_changedSinceSync.exchange(false, std::memory_order_acq_rel)) return OK;
        Result<void> synced = SyncFileSystem(GetRoot());
        for (const Url& tree : GetSideTrees()) {
            if (synced.IsOk()) synced = SyncFileSystem(tree);
        }
        if (synced.IsError()) NoteChange();
        return synced;
    });
}

Result<AssetVersionNumber> UrlAssetRepositoryImpl::GetNextVersionImpl() {
    const UInt number = TRY(_counter.GetNext());
    return AssetVersionNumber{number, GetId().GetWord()};
}

Result<void> UrlAssetRepositoryImpl::UpdateNextVersionImpl(UInt currentVersion) { return _counter.Update(currentVersion); }

Url UrlAssetRepositoryImpl::GetSideDirectory(const Url& tree, const Url& versionDirectory) {
    const Opt<VersionDirectoryName> meaning = ParseVersionDirectoryName(versionDirectory.GetName());
    // A hidden version is hidden there too, by the same name.
    const std::string name = meaning ? MakeVersionDirectoryName(meaning->number) : std::string(versionDirectory.GetName());
    return tree + versionDirectory.GetDirectory().GetName() + name;
}

std::vector<Url> UrlAssetRepositoryImpl::GetSideTrees() const {
    std::vector<Url> trees;
    if (IsOwnTree(_places.derived)) trees.push_back(_places.derived);
    if (IsOwnTree(_places.user)) trees.push_back(_places.user);
    return trees;
}

}  // namespace talvo
