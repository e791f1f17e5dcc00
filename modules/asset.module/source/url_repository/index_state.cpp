// The index of a repository in its life: whether there is one, what takes it away, and when another one is written.
#include "url_repository/url_asset_repository.h"

namespace talvo {

Int32 UrlAssetRepositoryImpl::GetIndexState() const { return _hasIndex.load(std::memory_order_acquire) ? 3 : 0; }

Result<void> UrlAssetRepositoryImpl::RemoveIndex() {
    _hasIndex.store(false, std::memory_order_release);
    if (!IsWritable()) return OK;
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    TRY(_indexDirectory.Delete());
    return OK;
}

Result<void> UrlAssetRepositoryImpl::DeleteIndexFiles() {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Bool hadIndex = _hasIndex.load(std::memory_order_acquire);
        TRY(RemoveIndex());
        if (hadIndex) HandleBaseChanged(GetSelf(), false);
        return OK;
    });
}

void UrlAssetRepositoryImpl::HandleContentChanged() { _hasIndex.store(false, std::memory_order_release); }

Result<void> UrlAssetRepositoryImpl::CompactInBackground(Float, const BackgroundEntryRef&) { return OK; }

}  // namespace talvo
