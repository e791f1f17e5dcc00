// What a backend sees of the engine's records, for work over all of them.
#include "asset_impl/repository_engine.h"
#include "kernel/thread/job.h"

#include <algorithm>

namespace talvo {

std::vector<std::pair<Id, Id>> RepositoryEngine::ListRecords() const {
    std::vector<std::pair<Id, Id>> records;
    const Int count = _table.GetRecordCount();
    records.reserve(std::size_t(count));
    for (Int i = 0; i < count; ++i) {
        const AssetIdData& record = _table.GetRecord(i);
        if (!record.erased.load(std::memory_order_acquire)) records.emplace_back(record.id, record.type.GetId());
    }
    std::sort(records.begin(), records.end());
    return records;
}

// What was changed since the opening is loaded, or the backend knows that its outlines are behind.
Result<void> RepositoryEngine::ReadOutlines(Block<const InternedId> keys, BaseAssetRepository::OutlineReceiver receiver) {
    constexpr Int RECORDS_BETWEEN_LOOKS = 1024;
    const std::unique_ptr<AssetOutlines> outlines = _self.MakeOutlinesImpl(keys);
    std::vector<StoredValue> values(keys.size());
    const Int count = _table.GetRecordCount();
    for (Int i = 0; i < count; ++i) {
        if (i % RECORDS_BETWEEN_LOOKS == 0 && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        AssetIdData& record = _table.GetRecord(i);
        if (record.erased.load(std::memory_order_acquire)) continue;
        Bool isTold = false;
        if (outlines) {
            const auto versions = record.versions.Read();
            const Bool isLoaded = versions->IsLoaded() || !record.created.load(std::memory_order_acquire);
            if (!isLoaded) isTold = TRY(outlines->Read(record.id, record.adata, values));
        }
        TRY(receiver(record.id, record.type.GetId(), isTold ? Opt<Block<const StoredValue>>(values) : std::nullopt));
    }
    return OK;
}

Result<void> BaseAssetRepository::ReadOutlines(Block<const InternedId> keys, OutlineReceiver receiver) {
    return CatchOutOfMemory([&] { return _engine->ReadOutlines(keys, receiver); });
}

Bool BaseAssetRepository::HasEntry(const Id& aid) const { return _engine->FindRecord(aid) != nullptr; }

Result<void> BaseAssetRepository::ExpectRecords(Int count) {
    return CatchOutOfMemory([&]() -> Result<void> {
        _engine->ExpectRecords(count);
        return OK;
    });
}

void BaseAssetRepository::ExpectRecord(const Id& aid) const { _engine->ExpectRecord(aid); }

Result<std::vector<std::pair<Id, Id>>> BaseAssetRepository::ListRecords() const {
    return CatchOutOfMemory([&]() -> Result<std::vector<std::pair<Id, Id>>> { return _engine->ListRecords(); });
}

// The store lock is held from the backend's first write to the moment when memory knows the version.
Result<Bool> BaseAssetRepository::ReadRecord(const Id& aid, FunctionRef<Result<void>(const Record& record)> receiver) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        AssetIdData* record = _engine->FindRecord(aid);
        if (!record) return false;
        const auto store = ScopedWriteLock<Spinlock>::TryWrite(record->storeLock);
        if (!store || record->erased.load(std::memory_order_acquire)) return false;
        const AssetVersionTable versions = TRY(_engine->EnsureVersions(*record));
        const AssetVersionBlock& block = versions.GetBlock();
        TRY(receiver(Record{record->id, record->type.GetId(), record->adata,
                            Block<const AssetVersionEntry>(block.begin(), std::size_t(block.GetCount()))}));
        return true;
    });
}

Bool BaseAssetRepository::IsRecordLoaded(const Id& aid) const {
    AssetIdData* record = _engine->FindRecord(aid);
    return record && record->wasLoaded.load(std::memory_order_relaxed);
}

Result<Data> BaseAssetRepository::ReadStoredValue(const AssetDescription& asset, const InternedId& metaId) {
    const auto* metaData = dynamic_cast<const AssetMetaDataImpl*>(asset->GetMetaData().GetPointer());
    return metaData ? metaData->GetForCarry(metaId) : Result<Data>(Data());
}

}  // namespace talvo
