// What a backend sees of the engine's records, for work over all of them.
#include "asset_impl/repository_engine.h"

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
