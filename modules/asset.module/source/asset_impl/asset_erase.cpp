// Removing one version for good, and the id with its last one.
#include "asset_impl/repository_engine.h"
#include "asset_types/asset_description_impl.h"

namespace talvo {

Result<void> RepositoryEngine::Erase(const AssetDescription& asset) {
    CHECK_ARGUMENT(Bool(asset), "asset");
    TRY(CheckWritable());
    const Id& aid = asset->GetIdAndVersion().first;
    AssetIdData* record = _table.Find(aid);
    if (!record) return IllegalStateError::Create(FormatMessage("No asset to erase for asset id @.", aid));

    AssetDescription erased;
    {
        const ScopedLock store(record->storeLock);
        TRY(EnsureVersions(*record));
        erased = TRY(TakeVersion(*record, asset));
        Result<void> removed =
            CatchOutOfMemory([&] { return _self.EraseImpl(erased, AssetDescriptionImpl::Of(erased).GetVersionData()); });
        if (removed.IsError()) {
            // Nothing was removed, so the version is known again; the backend tells of it.
            record->SetVersions({});
            return removed.GetError();
        }
    }
    _self.HandleAssetErased(erased);
    return EraseRecordIfEmpty(*record);
}

Result<AssetDescription> RepositoryEngine::TakeVersion(AssetIdData& record, const AssetDescription& asset) {
    const auto& [aid, version] = asset->GetIdAndVersion();
    AssetVersionTable old;  // released after the lock
    auto versions = record.versions.Write();
    // Equal content has equal version ids, so the version itself is named by its key.
    const AssetVersionEntry* entry = asset->GetRepositoryId() == _id ? versions->FindKey(asset.GetVersionKey()) : nullptr;
    const Bool isSame = entry && entry->description && entry->description->GetIdAndVersion().second == version;
    if (!isSame) entry = versions->FindVersion(version);
    if (!entry) return IllegalStateError::Create(FormatMessage("No asset version @ to erase for asset id @.", version, aid));
    AssetDescription taken = entry->description;
    AssetVersionTable::Entries entries = versions->CopyEntries();
    AssetVersionTable::Remove(entries, entry->key);
    old = std::exchange(*versions, AssetVersionTable(std::move(entries), versions->GetState()));
    return taken;
}

// Observers ran meanwhile and may have stored again: the id goes only if it is still empty.
Result<void> RepositoryEngine::EraseRecordIfEmpty(AssetIdData& record) {
    const ScopedLock store(record.storeLock);
    if (record.erased.load(std::memory_order_acquire)) return OK;
    const AssetVersionTable table = TRY(EnsureVersions(record));
    if (table.GetCount() != 0) return OK;
    const Bool drop = TRY(_self.HandleAssetErasedCompletely(record.id, record.adata));
    if (drop) _table.Erase(record);
    return OK;
}

}  // namespace talvo
