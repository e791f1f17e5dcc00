// The index of a repository in its life: whether there is one, what takes it away, and when another one is written.
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

constexpr Float COMPACT_DELAY_SECONDS = 10.0;

}  // namespace

Int32 UrlAssetRepositoryImpl::GetIndexState() const {
    if (_hasIndex.load(std::memory_order_acquire)) return 3;
    if (_background.IsRunning()) return 2;
    return _background.IsPending() ? 1 : 0;
}

Result<void> UrlAssetRepositoryImpl::RemoveIndex(IndexDirectory::REMOVE what) {
    _hasIndex.store(false, std::memory_order_release);
    if (!IsWritable()) return OK;
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    return _indexDirectory.Remove(what);
}

Result<void> UrlAssetRepositoryImpl::DeleteIndexFiles() {
    return CatchOutOfMemory([&]() -> Result<void> {
        _background.CancelAndWait();
        const Bool hadIndex = _hasIndex.load(std::memory_order_acquire);
        _hadIndex.store(false, std::memory_order_release);
        TRY(RemoveIndex(IndexDirectory::REMOVE::DROPPED_TOO));
        if (hadIndex) HandleBaseChanged(GetSelf(), false);
        return OK;
    });
}

// The index was dropped before the change; here is only told that another one follows.
void UrlAssetRepositoryImpl::HandleContentChanged() {
    const Bool isWanted = GetIndexState() != 0 || _hadIndex.load(std::memory_order_acquire);
    _hasIndex.store(false, std::memory_order_release);
    if (isWanted) CompactInBackground(COMPACT_DELAY_SECONDS, nullptr).Ignore("an index is a cache");
}

Result<void> UrlAssetRepositoryImpl::CompactInBackground(Float delay, const BackgroundEntryRef& backgroundJob) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!IsWritable()) return IllegalStateError::Create(FormatMessage("Repository @ isn't writable", GetId()));
        if (!(delay > 0)) return _background.StartNow(backgroundJob);
        TRY(_background.StartLater(delay, backgroundJob));
        HandleBaseChanged(GetSelf(), false);
        return OK;
    });
}

}  // namespace talvo
