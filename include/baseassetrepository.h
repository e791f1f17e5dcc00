// The two classes on which every repository stands, and what a storage backend gives to them. `memoryassetrepository.h` is
// the example of a backend.
#pragma once

#include "assets/asset_repository.h"
#include "assets/asset_type.h"

#include <memory>
#include <utility>
#include <vector>

namespace talvo {

/// What a store gave back. Publishing may change url and vdata.
struct AssetStoreResult {
    Url url;  ///< where the content lies now; may be empty
    Id versionId;
    Data vdata;                   ///< the backend's data of the version
    AssetStoreMetaData metaData;  ///< metadata that arose from storing
    /// The number is in use already: nothing was written, the engine loads the versions again and comes with the next number.
    Bool numberTaken = false;
};

/// `counter` and `origin` of a new version.
struct AssetVersionNumber {
    UInt counter = 0;
    UInt origin = 0;
};

/// What LoadVersionsImpl reports: key, description (may be null at first) and the backend's data of the version.
using AssetVersionReceiver =
    FunctionRef<Result<Bool>(const AssetVersionKey& key, const AssetDescription& description, const Data& vdata)>;
/// What LoadExistingIdsImpl reports; gives back the id's `adata` for the backend to fill.
using AssetIdReceiver = FunctionRef<Result<Data*>(const Id& aid, const Id& type)>;

/// A stored value in the tagged form of documents: equal bytes of one type are equal values. Points into memory of the backend.
struct StoredValue {
    const Id* type = nullptr;  ///< null: there is no such value
    std::string_view bytes;
};

/// What a backend has stored of assets that nobody has loaded, a few values of each: for who looks at all of them.
/// Threads: one at a time. Must not outlive the repository.
class AssetOutlines {
public:
    virtual ~AssetOutlines() = default;
    /// Sets `values`, one for each key that it was made for.
    /// @return false: the asset has to be loaded, since it has several versions, none, or values that lie elsewhere. Errors: as LoadVersionsImpl.
    virtual Result<Bool> Read(const Id& aid, const Data& adata, Block<StoredValue> values) = 0;
};

/// What a storage backend does, called by BaseAssetRepository. Calls come from many threads; for one asset id, CreateDataForIdImpl, StoreImpl,
/// PublishVersionImpl, DiscardVersionImpl, EraseImpl and HandleAssetErasedCompletely run one at a time. No lock of the engine is held but the store lock of
/// that id, and in LoadVersionsImpl and the metadata operations the one lock of the versions or the metadata object at hand.
class BaseAssetRepositoryInterface : public UpdatableAssetRepositoryInterface {
public:
    /// First load of the asset ids; the class calls it once when it is ready. @param tempRepository no description database.
    virtual Result<void> InitImpl(const Id& rid, Bool tempRepository) = 0;
    /// Reports each asset id with its type. Touches no version.
    virtual Result<void> LoadExistingIdsImpl(AssetIdReceiver receiver) = 0;
    /// Reports each version of one asset, in any order.
    virtual Result<void> LoadVersionsImpl(const Id& aid, const Id& type, const Data& adata, AssetVersionReceiver receiver) = 0;
    /// Makes the `adata` of a new asset id.
    virtual Result<Data> CreateDataForIdImpl(const Id& aid, const Id& type) = 0;
    /// Writes one version, unseen by others until it is published. @param overwrittenHash the version id that is replaced, or null.
    /// @param asset what to store, or null with `deleteAsset` or a `source`.
    virtual Result<AssetStoreResult> StoreImpl(const Asset& asset, Bool deleteAsset, const Id& overwrittenHash,
                                               const AssetDescription& source, Data& adata, const AssetVersionNumber& version,
                                               Bool addEncryption) = 0;
    /// Removes one version. @param vdata of that version. An error means that nothing was removed.
    virtual Result<void> EraseImpl(const AssetDescription& asset, const Data& vdata) = 0;
    /// The last version of an asset is gone. @return true: drop the id from memory too.
    virtual Result<Bool> HandleAssetErasedCompletely(const Id& aid, const Data& adata) = 0;
    /// The stored value; empty if there is none. IoError counts as none.
    virtual Result<Data> LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) = 0;
    /// Outlines with the values of these keys. Null, as by default: each asset has to be loaded. Throws std::bad_alloc.
    virtual std::unique_ptr<AssetOutlines> MakeOutlinesImpl(Block<const InternedId>) { return nullptr; }
    /// One text out of a stored description of texts, for a backend that can tell it without reading all of it.
    struct StoredText {
        Bool isKnown = false;         ///< false: the backend can't tell, the description must be loaded
        Bool hasDescription = false;  ///< there is a description; it may have no text under the key
        String text;
    };
    /// The text of a key (third) in the description that a metadata id (second) has in a version. The default knows nothing. Errors: as LoadMetaDataImpl.
    virtual Result<StoredText> FindTextImpl(const Data&, const InternedId&, const Id&) { return StoredText(); }
    /// Writes one value; an empty one deletes it. @param source in `urlMode` the file to copy, empty to delete. @return the value to keep in memory.
    /// Errors: UnsupportedOperationError where there is no place for a derived or user value.
    virtual Result<Data> StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data,
                                           const IdAndVersion& asset, const Url& source, ASSET_METADATA_KIND kind,
                                           Bool urlMode) = 0;
    /// An asset was loaded. The default registers its references.
    virtual Result<void> AssetLoadedImpl(const Asset& asset, Bool updateLinks) = 0;
    /// A store needs the versions loaded first.
    virtual Bool NeedsLoadVersionsBeforeStore() const = 0;
    /// A fresh number.
    virtual Result<AssetVersionNumber> GetNextVersionImpl() = 0;
    /// Raises the repository's counter to at least this.
    virtual Result<void> UpdateNextVersionImpl(UInt currentVersion) = 0;
    /// Makes a stored version, with the metadata written since, seen by all at once. The default does nothing.
    virtual Result<void> PublishVersionImpl(AssetStoreResult& stored) = 0;
    /// Takes back a stored version that is not to be published. Never fails: what can't be removed now stays hidden. The default does nothing.
    virtual void DiscardVersionImpl(const AssetStoreResult& stored) = 0;
    /// Where the content of a version lies, for one that was delivered without a url. Empty: it has none, or it is found by a lookup.
    virtual Result<Url> GetUrlImpl(const Data& vdata) = 0;
};
using BaseAssetRepositoryRef = StrongRef<BaseAssetRepositoryInterface>;

class RepositoryGraph;
class RepositoryEngine;

/// The graph, the events and the cached data of a repository (class `net.talvo.class.repositorybase`).
class RepositoryBase : public BaseAssetRepositoryInterface {
public:
    ~RepositoryBase() override;

    Array<AssetRepositoryRef> GetBases() const override;
    Result<Bool> GetDerived(Receiver<AssetRepositoryRef> receiver) const override;
    Result<void> InitBases(Block<const AssetRepositoryRef> bases) override;
    Result<void> AddBase(const AssetRepositoryRef& base) override;
    Result<void> RemoveBase(const AssetRepositoryRef& base) override;
    Result<void> PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind, ASSET_FIND_MODE findMode,
                                         VisitedRepositories& visited) override;
    Result<Bool> FindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                            AssetFindReceiver receiver) override;
    Result<AssetDescription> FindLatestAsset(const Id& type, const Id& aid, const Id& version, ASSET_FIND_MODE findMode) override;
    ObserverBaseChanged* ObservableBaseChanged(Bool create) override;
    ObserverAsset* ObservableAssetStored(Bool create) override;
    ObserverAsset* ObservableAssetErased(Bool create) override;
    ObserverAsset* ObservableAssetUpdated(Bool create) override;
    ObserverMetaDataStored* ObservableMetaDataStored(Bool create) override;
    ObserverDownload* ObservableDownloadStateChanged(Bool create) override;
    Result<Data> GetCachedData(const Data& key, FunctionRef<Result<Data>()> callback) override;
    Result<DerivedAssetRepositoryDataRef> GetCachedData(const Data& key,
                                                        FunctionRef<Result<DerivedAssetRepositoryDataRef>()> callback) override;
    Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const AssetIdentifier& asset) override;
    Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const Id& dataType) override;
    Result<DataDescriptionDefinition> LoadDescriptionDefinition(Int32 mode, const Id& category, LanguageRef language,
                                                                const AssetIdentifier& asset) override;
    Result<String> GetRepositoryName(LanguageRef language, Bool addDetails) override;
    Result<void> SetRepositoryName(const String& name, LanguageRef language) override;
    void HandleBaseChanged(const AssetRepositoryRef& base, Bool added) override;
    void HandleAssetStored(const AssetBase& asset) override;
    void HandleAssetErased(const AssetBase& asset) override;
    void HandleAssetUpdated(const AssetBase& asset) override;
    void HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind, const Data& prevData,
                              const Data& newData) override;
    void HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) override;
    void RequestUnloadRepository() override {}
    Data GetAttribute(const Id& key) const override;
    Result<void> SetAttribute(const Id& key, const Data& value) override;

protected:
    RepositoryBase();
    AssetRepositoryRef GetSelf() { return AssetRepositoryRef(this); }

private:
    friend class RepositoryGraph;
    void DropIndex(const AssetBase& asset);

    const std::unique_ptr<RepositoryGraph> _graph;
};

/// A repository that holds assets (class `net.talvo.class.baseassetrepository`): lookup, versions, storing, erasing and metadata on top of
/// the backend that a subclass gives. A subclass calls `InitBases`, then `InitImpl`, before it hands itself out.
///
/// Threads:    any member from any thread.
/// Lock order: id table; store lock of an id, then version table of that id; then metadata of a version; reference table. No lock is held while
///             receivers, observers or the event chain run, with the exception of the store lock, which is given up before events.
class BaseAssetRepository : public RepositoryBase {
public:
    ~BaseAssetRepository() override;

    const Id& GetId() const override;
    AssetRepositoryRef FindRepository(const Id& repoId) override;
    Result<Bool> PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                   AssetFindReceiver assets, VisitedRepositories& visited, LatestAssets& latestMap) override;
    Result<void> PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind, ASSET_FIND_MODE findMode,
                                         VisitedRepositories& visited) override;
    Result<AssetDescription> GetDescription(const AssetBase& asset) override;
    Result<COMPARERESULT> CompareVersions(const AssetBase& first, const AssetBase& second) override;
    Result<AssetDescription> StoreAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) override;
    Result<AssetDescription> OverwriteAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) override;
    Result<AssetDescription> DeleteAsset(const Id& aid) override;
    Result<void> EraseAsset(const AssetDescription& asset) override;
    Result<AssetDescription> CopyAsset(const Id& aid, const AssetDescription& source, Bool addEncryption,
                                       Bool overwrite) override;
    Result<void> StoreMetaData(const AssetDescription& asset, const InternedId& metaId, const Data& data,
                               ASSET_METADATA_KIND kind) override;
    Result<void> StoreUrlMetaData(const AssetDescription& asset, const InternedId& metaId, const Url& source,
                                  ASSET_METADATA_KIND kind) override;
    Result<Id> GetDescriptionDatabaseId() const override;
    void HandleAssetStored(const AssetBase& asset) override;
    void HandleAssetUpdated(const AssetBase& asset) override;
    Result<BaseArray<AssetUpdateRecord>> GetPendingUpdates(Bool reset) override;
    Result<void> Update(Block<const AssetUpdateRecord> updates) override;

    /// What is stored of an asset; nothing if it has to be loaded. Ids and what values point to live as long as the repository.
    using OutlineReceiver = FunctionRef<Result<void>(const Id& aid, const Id& type, Opt<Block<const StoredValue>> values)>;
    /// Tells of each asset of this repository, bases apart, the values of `keys`, in the order in which they were entered. Called with no lock held.
    /// Errors: the receiver's and the backend's; OperationCancelledError.
    Result<void> ReadOutlines(Block<const InternedId> keys, OutlineReceiver receiver);
    /// Whether the repository, bases apart, has an entry of the asset, be it one without versions.
    Bool HasEntry(const Id& aid) const;

    Result<void> InitImpl(const Id& rid, Bool tempRepository) override;
    Result<void> AssetLoadedImpl(const Asset& asset, Bool updateLinks) override;
    Result<void> PublishVersionImpl(AssetStoreResult& stored) override;
    void DiscardVersionImpl(const AssetStoreResult& stored) override;
    Result<Url> GetUrlImpl(const Data& vdata) override;

protected:
    BaseAssetRepository();

    /// One asset as memory has it.
    struct Record {
        const Id& aid;
        const Id& type;
        const Data& adata;
        Block<const AssetVersionEntry> versions;  ///< oldest first
    };
    /// For LoadExistingIdsImpl, before it reports many ids at once. Errors: OutOfMemoryError.
    Result<void> ExpectRecords(Int count);
    /// Likewise, a few ids before this one is reported: what is needed for it is fetched meanwhile.
    void ExpectRecord(const Id& aid) const;
    /// Ids and types of all assets, sorted by the bytes of the ids, those without versions too.
    Result<std::vector<std::pair<Id, Id>>> ListRecords() const;
    /// Hands out an asset at a moment at which no version of it is being stored or erased; its versions are loaded if they weren't.
    /// @return false if that moment isn't now, or the asset is gone. Errors: those of loading and of the receiver.
    Result<Bool> ReadRecord(const Id& aid, FunctionRef<Result<void>(const Record& record)> receiver);
    /// Whether the versions of an asset are in memory.
    Bool IsRecordLoaded(const Id& aid) const;
    /// The value of a version as it is stored: never computed, and a read that fails is an error. Empty if there is none.
    static Result<Data> ReadStoredValue(const AssetDescription& asset, const InternedId& metaId);

private:
    friend class RepositoryEngine;
    const std::unique_ptr<RepositoryEngine> _engine;
};

}  // namespace talvo
