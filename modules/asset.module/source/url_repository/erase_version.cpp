// Removing a version, and an asset without versions.
#include "kernel/app/log.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

struct Hidden {
    Url directory;
    Url hidden;
};

/// Hides all of them, or none.
Result<void> HideAll(const Url& assetDirectory, const std::vector<VersionDirectory>& versions, std::vector<Hidden>& done) {
    Result<void> outcome;
    // The one that counts comes first in the list and is hidden last: until then nothing that is seen has changed.
    for (auto version = versions.rbegin(); version != versions.rend() && outcome.IsOk(); ++version) {
        const Url directory = assetDirectory + version->name;
        Result<Url> hidden = HideDirectory(directory);
        if (hidden.IsError()) {
            outcome = hidden.GetError();
        } else {
            done.push_back({directory, std::move(hidden).GetValue()});
        }
    }
    if (outcome.IsOk()) outcome = SyncNames(assetDirectory);
    if (outcome.IsOk()) return outcome;
    for (const Hidden& each : done)
        each.hidden.IoRename(each.directory, RENAME_MODE::NO_REPLACE).Ignore("the error at hand tells more");
    done.clear();
    return outcome;
}

/// Whether other processes have versions in it, or are about to, or it is none of this asset: an index may name any.
Result<Bool> IsInUse(const Url& assetDirectory, const Id& aid) {
    const Opt<AssetInfo> info = TRY(ReadAssetInfo(assetDirectory));
    if (!info || info->id != aid) return true;
    const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(assetDirectory));
    if (!versions.empty()) return true;
    const IoConnectionRef connection = TRY(assetDirectory.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        const Bool isReservation = IsWorkName(entry.name) && ParseVersionDirectoryName(entry.name.substr(2));
        if (isReservation) return true;
    }
    return false;
}

}  // namespace

Result<void> UrlAssetRepositoryImpl::EraseImpl(const AssetDescription&, const Data& vdata) {
    CHECK_STATE(IsWritable(), "_writable");
    const Url directory = TRY(GetVersionUrl(vdata));
    const Opt<VersionDirectoryName> meaning = ParseVersionDirectoryName(directory.GetName());
    if (!meaning) return IllegalStateError::Create(FormatMessage("@ is not erased, since it is no version.", directory));
    const Url assetDirectory = directory.GetDirectory();
    TRY(CheckNoLink(GetRoot(), directory));
    std::vector<Hidden> hidden;
    {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        TRY(_indexDirectory.NoteChange(assetDirectory.GetName()));
        // Other directories of this number were never seen; they would be, once this one is gone.
        const std::vector<VersionDirectory> same = TRY(FindVersionDirectories(assetDirectory, meaning->number));
        TRY(HideAll(assetDirectory, same, hidden));
    }
    NoteChange();
    for (const Hidden& each : hidden) DeleteHidden(GetRoot(), each.hidden);
    for (const Url& tree : GetSideTrees()) DeleteHidden(tree, GetSideDirectory(tree, directory));
    return OK;
}

// The versions are gone already, so a failure here is no failure of the erase: an empty asset is left, on disk as in memory.
Result<Bool> UrlAssetRepositoryImpl::HandleAssetErasedCompletely(const Id& aid, const Data& adata) {
    CHECK_STATE(IsWritable(), "_writable");
    const Id name = TRY(GetAssetDirectory(adata));
    const Url directory = GetRoot() + name.GetView();
    Result<Opt<Url>> hidden = HideAsset(directory, aid);
    if (hidden.IsError()) {
        Log(LOG_LEVEL::WARNING, "Asset @ stays known, without versions: @", aid, hidden.GetError()->GetMessage());
        return false;
    }
    if (!hidden.GetValue()) return directory.IoDetect() == IO_DETECT::NOT_THERE;
    NoteChange();
    DeleteHidden(GetRoot(), *hidden.GetValue());
    // Only empty ones: in a tree that repositories share another one may have values of an asset with this id.
    for (const Url& tree : GetSideTrees()) {
        const Url side = tree + name.GetView();
        const Result<BaseArray<IoEntry>> left = BrowseTreeIfThere(side);
        if (left.IsOk() && left.GetValue().IsEmpty()) DeleteHidden(tree, side);
    }
    return true;
}

/// Nothing if the directory isn't there, is another one's, or other processes have versions in it.
Result<Opt<Url>> UrlAssetRepositoryImpl::HideAsset(const Url& directory, const Id& aid) {
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    if (directory.IoDetect() == IO_DETECT::NOT_THERE) return Opt<Url>();
    TRY(CheckNoLink(GetRoot(), directory));
    const Bool inUse = TRY(IsInUse(directory, aid));
    if (inUse) return Opt<Url>();
    TRY(_indexDirectory.NoteChange(directory.GetName()));
    Url hidden = TRY(HideDirectory(directory));
    const Result<void> synced = SyncNames(GetRoot());
    if (synced.IsError())
        Log(LOG_LEVEL::WARNING, "@ may come back after a loss of power: @", directory, synced.GetError()->GetMessage());
    return Opt<Url>(std::move(hidden));
}

}  // namespace talvo
