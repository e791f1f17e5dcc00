// Removing one version for good, and the id with its last one.
#include "asset_impl/repository_engine.h"

namespace talvo {

Result<void> RepositoryEngine::Erase(const AssetDescription& asset) {
    CHECK_ARGUMENT(Bool(asset), "asset");
    TRY(CheckWritable());
    const Id& aid = asset->GetIdAndVersion().first;
    AssetIdData* record = _table.Find(aid);
    if (!record) return IllegalStateError::Create(FormatMessage("No asset to erase for asset id @.", aid));

    AssetVersionEntry erased;
    {
        const ScopedLock store(record->storeLock);
        TRY(EnsureVersions(*record));
        erased = TRY(TakeEntry(*record, asset));
        Result<void> removed = CatchOutOfMemory([&] { return _self.EraseImpl(erased.description, erased.vdata); });
        if (removed.IsError()) {
            // Nothing was removed, so the version is known again; the backend tells of it.
            record->SetVersions(nullptr);
            return removed.GetError();
        }
    }
    _self.HandleAssetErased(erased.description);
    return EraseRecordIfEmpty(*record);
}

Result<AssetVersionEntry> RepositoryEngine::TakeEntry(AssetIdData& record, const AssetDescription& asset) {
    const auto& [aid, version] = asset->GetIdAndVersion();
    auto versions = record.versions.Write();
    // Equal content has equal version ids, so the version itself is named by its key.
    const AssetVersionEntry* entry = asset->GetRepositoryId() == _id ? (*versions)->FindKey(asset.GetVersionKey()) : nullptr;
    const Bool isSame = entry && entry->description && entry->description->GetIdAndVersion().second == version;
    if (!isSame) entry = (*versions)->FindVersion(version);
    if (!entry) return IllegalStateError::Create(FormatMessage("No asset version @ to erase for asset id @.", version, aid));
    AssetVersionEntry taken = *entry;
    StrongRef<AssetVersionTable> fresh = AssetVersionTable::CopyOf(versions->GetPointer());
    TRY(fresh->Remove(taken.key));
    *versions = fresh;
    return taken;
}

// Observers ran meanwhile and may have stored again: the id goes only if it is still empty.
Result<void> RepositoryEngine::EraseRecordIfEmpty(AssetIdData& record) {
    const ScopedLock store(record.storeLock);
    if (record.erased.load(std::memory_order_acquire)) return OK;
    const AssetVersionTableRef table = TRY(EnsureVersions(record));
    if (table->GetCount() != 0) return OK;
    const Bool drop = TRY(_self.HandleAssetErasedCompletely(record.id, record.adata));
    if (drop) _table.Erase(record);
    return OK;
}

}  // namespace talvo
