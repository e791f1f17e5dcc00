// The engine behind BaseAssetRepository: its tables, and the operations that work on them, one file an operation.
#pragma once

#include "asset_impl/asset_metadata_impl.h"
#include "asset_impl/asset_table.h"
#include "baseassetrepository.h"
#include "kernel/description/description_database.h"

namespace talvo {

/// What a store is asked to do. Just one of `asset`, `source` and `deleteAsset` says what the version is.
struct StoreRequest {
    Id aid;
    Asset asset{};
    AssetMetaData metaData{};   // additional persistent values, may be null
    AssetDescription source{};  // a version to copy
    enum class CONTENT { ASSET, SOURCE, DELETION } content = CONTENT::ASSET;
    enum class PLACE { NEW_VERSION, NEWEST_VERSION } place = PLACE::NEW_VERSION;
    enum class ENCRYPTION { KEEP, ADD } encryption = ENCRYPTION::KEEP;
};

/// Who refers to whom: for each referenced id, the referring ids and their references.
struct AssetReferenceEntry {
    WeakRef<AssetInterface> asset;  // the referring asset
    BaseArray<AssetReference> references;
};
using AssetReferenceTable = HashMap<Id, HashMap<Id, AssetReferenceEntry>>;

/// Threads:    any.
/// Lock order: `storeLock` of an id, then its `versions`, then `references`; the table of ids and `updatedAssets` are leaves.
class RepositoryEngine {
public:
    explicit RepositoryEngine(BaseAssetRepository& self) : _self(self) {}
    ~RepositoryEngine();

    const Id& GetId() const { return _id; }
    const Id& GetDescriptionDatabaseId() const { return _descriptionDatabaseId; }

    Result<void> Init(const Id& rid, Bool tempRepository);

    // Lookup
    struct Walk {
        Block<const Id> types;
        const Id& aid;
        const Id& version;
        ASSET_FIND_MODE mode;
        AssetFindReceiver receiver;
        VisitedRepositories& visited;
        LatestAssets& latest;

        Bool Has(ASSET_FIND_MODE flag) const { return HasFlag(mode, flag); }
        Bool AcceptsType(const Id& type) const;
        /// The newest version over several repositories is wanted, so candidates are kept until the walk ends.
        Bool CollectsLatest() const { return Has(ASSET_FIND_MODE::LATEST) && !Has(ASSET_FIND_MODE::WITHOUT_BASES); }
        Result<void> CheckCancelled() const;
    };
    Result<Bool> FindOwn(const Walk& walk);
    /// Goes on with the bases of `self`, each once in a walk.
    static Result<Bool> FindInBases(const AssetRepositoryInterface& self, const Walk& walk);
    Result<AssetDescription> GetDescription(const AssetBase& asset);
    AssetVersionKey GetVersionKey(const AssetBase& asset);
    /// The versions of a record, loaded from the backend at first need.
    Result<AssetVersionTable> EnsureVersions(AssetIdData& record);
    void ExpectRecords(Int count) { _table.Expect(count); }
    void ExpectRecord(const Id& aid) const { _table.Prefetch(aid); }
    AssetIdData* FindRecord(const Id& aid) { return _table.Find(aid); }
    std::vector<std::pair<Id, Id>> ListRecords() const;
    Result<void> ReadOutlines(Block<const InternedId> keys, BaseAssetRepository::OutlineReceiver receiver);

    // Changes
    Result<AssetDescription> Store(const StoreRequest& request);
    Result<void> Erase(const AssetDescription& asset);
    struct MetaDataWrite {
        const AssetDescription& asset;
        const InternedId& metaId;
        const Data& data;
        const Url& source;
        KIND kind;
        enum class FORM { DOCUMENT, FILE } form;
    };
    Result<void> WriteMetaData(const MetaDataWrite& write);

    // References
    Result<void> RegisterReferences(AssetIdData& record, const Asset& asset);
    Result<void> RegisterLoadedAsset(const Asset& asset);
    void NoteUpdated(const AssetBase& asset);
    Result<BaseArray<AssetUpdateRecord>> GetPendingUpdates(Bool reset);
    Result<void> Update(const AssetUpdateRecord& update);

private:
    struct NewVersion;

    Result<Bool> FindInRecord(const Walk& walk, AssetIdData& record);
    Result<Bool> DeliverEntry(const Walk& walk, const AssetIdData& record, const AssetVersionTable& table,
                              const AssetVersionEntry& entry);
    Result<Bool> WalkRecords(const Walk& walk);
    /// Loads the versions of these records on several threads.
    void LoadAhead(Int begin, Int end);

    Result<void> CheckStore(const StoreRequest& request) const;
    Result<void> CheckWritable() const;
    Result<AssetIdData*> GetRecordToStore(const StoreRequest& request);
    Result<AssetDescription> StoreInRecord(AssetIdData& record, const StoreRequest& request);
    Result<void> CreateRecordData(AssetIdData& record);
    Result<void> ChooseNumber(AssetIdData& record, const StoreRequest& request, NewVersion& version);
    Result<void> WriteVersion(AssetIdData& record, const StoreRequest& request, NewVersion& version);
    Result<void> CollectMetaData(const StoreRequest& request, NewVersion& version);
    Result<void> CarryMetaData(const AssetMetaData& from, const StoreRequest& request, NewVersion& version);
    Result<void> WriteVersionMetaData(const AssetIdData& record, NewVersion& version);
    Result<AssetDescription> PublishVersion(AssetIdData& record, const StoreRequest& request, NewVersion& version);
    Result<void> RegisterStored(AssetIdData& record, const StoreRequest& request, const AssetDescription& description);
    Result<AssetDescription> MakeDescription(const AssetIdData& record, const StoreRequest& request, NewVersion& version);

    Result<AssetDescription> TakeVersion(AssetIdData& record, const AssetDescription& asset);
    Result<void> EraseRecordIfEmpty(AssetIdData& record);
    static Bool IsNewest(AssetIdData& record, const IdAndVersion& identity);

    BaseAssetRepository& _self;

    Id _id;                     // constant after Init
    Id _descriptionDatabaseId;  // constant after Init
    StrongRef<DataDescriptionDefinitionDatabaseImplInterface> _descriptionDatabase;

    AssetTable _table;  // self-synchronised
    Guarded<HashMap<Id, AssetDescription>, Spinlock> _updatedAssets{ID_TABLE_LOCK};
    Guarded<AssetReferenceTable, ARWLock> _references{REFERENCES_LOCK};
};

/// Errors: IllegalArgumentError that shows `text` escaped, for control characters, and for a null id where `what` must be one.
Result<void> CheckIdText(const Id& id, const char* what);
/// Errors: IllegalArgumentError that names the first character that ids of metadata don't have.
Result<void> CheckMetaId(const InternedId& metaId);
/// The id as the registered renamings have it; the first one that answers counts.
Result<Id> GetRenamedAssetId(const Id& aid);

}  // namespace talvo
