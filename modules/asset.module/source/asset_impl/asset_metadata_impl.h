// The metadata object of one version, with its lazy reads and its write through the backend.
#pragma once

#include "asset_impl/engine_locks.h"
#include "asset_impl/metadata_kinds.h"
#include "baseassetrepository.h"
#include "kernel/thread/locks.h"

namespace talvo {

/// Threads:    any.
/// Lock order: below everything of the engine. The backend's reads and writes of one value run under it, so that two writers of one
///             version come one after the other and no reader sees a value between disk and table. Types compute outside of it.
class AssetMetaDataImpl final : public AssetMetaDataInterface {
public:
    /// Without a repository: values only.
    explicit AssetMetaDataImpl(AssetMetaDataTable entries);
    AssetMetaDataImpl(const AssetRepositoryRef& repository, Id type, IdAndVersion identity, Data vdata,
                      AssetMetaDataTable entries);

    Result<BaseArray<AssetMetaDataExistingEntry>> GetExistingEntries() const override;
    Result<Opt<Data>> Get(const InternedId& metaId) const override;
    UInt GetTimeStamp(const InternedId& metaId) const override;
    Result<void> PrivateGet(const InternedId& metaId, DataType type, void* mem, Bool& isSet) const override;

    /// The stored value for a store that takes it over: unlike Get, never computed, and a read that failed is tried again and its error returned,
    /// since a store must not forget a value. Empty if there is none.
    Result<Data> GetForCarry(const InternedId& metaId) const;

    /// One text of a stored description that was not loaded yet, if the backend can tell it so; nothing is kept. Errors: as Get.
    Result<BaseAssetRepositoryInterface::StoredText> FindText(const InternedId& metaId, const Id& key) const;

    /// The backend's data of the version.
    const Data& GetVersionData() const { return _vdata; }

    /// Sets an entry. @return what was there. Errors: IllegalArgumentError for a read-only entry unless `kind` has OVERRIDE_READ_ONLY; only derived
    /// entries are gone then.
    Result<Data> Set(const InternedId& metaId, Data value, KIND kind);

    struct Change {
        Data previous;
        Data current;
        KIND kind;  // under which it was written
    };
    enum class CHANGE { SET, REMOVE };
    /// One write through the backend: `write` is called under the lock with the backend's data of the version and the kind to write, and gives the
    /// value to keep. A refused change is refused before `write` is called.
    Result<Change> StoreThrough(const InternedId& metaId, CHANGE change, KIND kind,
                                FunctionRef<Result<Data>(const Data& vdata, KIND kind)> write);

private:
    static Result<void> CheckChange(const AssetMetaDataTable& entries, const InternedId& metaId, CHANGE change, KIND kind);
    static Result<Data> SetEntry(AssetMetaDataTable& entries, const InternedId& metaId, Data value, KIND kind);
    Result<Data> Resolve(const InternedId& metaId) const;
    /// Reads an entry from the backend. Nothing: there is no value to be had, so that the type is asked.
    Result<Opt<Data>> LoadEntry(const InternedId& metaId) const;
    Result<Data> ReadFromBackend(const InternedId& metaId, KIND kind) const;
    Result<Data> Compute(const InternedId& metaId) const;
    Result<AssetRepositoryRef> GetRepository() const;

    const Bool _hasRepository;
    const WeakRef<AssetRepositoryInterface> _repository;
    const Id _type;
    const IdAndVersion _identity;
    const Data _vdata{};
    mutable Guarded<AssetMetaDataTable, ARWLock> _entries;
};

}  // namespace talvo
