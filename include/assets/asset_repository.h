// A repository: holds assets, knows its bases, and looks in itself and then through them.
#pragma once

#include "assets/asset.h"
#include "assets/asset_walk.h"
#include "kernel/app/background_progress.h"
#include "kernel/description/description.h"
#include "kernel/thread/observable.h"

namespace talvo {

/// How a lookup walks; a flag word.
enum class ASSET_FIND_MODE : UInt32 {
    NONE = 0,
    LATEST = 1,           ///< of each id only the newest version
    ALL_VERSIONS = 2,     ///< of each id every version, newest first; ignored with LATEST
    WITHOUT_BASES = 4,    ///< this repository only
    WITH_DELETED = 8,     ///< deleted versions and ids count
    ID_PREFIX = 16,       ///< the id is a prefix of those looked for
    RANDOM_ORDER = 32,    ///< ids of a repository in shuffled order
    CANCELLABLE = 64,     ///< ends with OperationCancelledError once the current job is cancelled
    ASK_REPOSITORY = 128  ///< the receiver is asked about each repository first; false skips its own assets, not its bases
};
constexpr ASSET_FIND_MODE operator|(ASSET_FIND_MODE first, ASSET_FIND_MODE second) {
    return ASSET_FIND_MODE(UInt32(first) | UInt32(second));
}
/// Whether any bit of `flag` is set.
constexpr Bool HasFlag(ASSET_FIND_MODE mode, ASSET_FIND_MODE flag) { return (UInt32(mode) & UInt32(flag)) != 0; }

/// What a lookup hands out: a version, or with ASK_REPOSITORY a repository in its place.
class AssetFindItem {
public:
    explicit AssetFindItem(const AssetDescription& description) : _description(&description) {}
    explicit AssetFindItem(const AssetRepositoryRef& repository) : _repository(&repository) {}
    /// Null if this is a repository.
    const AssetDescription* GetDescription() const { return _description; }
    /// Null if this is a version.
    const AssetRepositoryRef* GetRepository() const { return _repository; }

private:
    const AssetDescription* _description = nullptr;
    const AssetRepositoryRef* _repository = nullptr;
};

using AssetReceiver = Receiver<AssetDescription>;
using AssetFindReceiver = Receiver<AssetFindItem>;

/// Attributes of repositories.
inline constexpr LiteralId REPOSITORY_SKIPINSEARCH{"net.talvo.assetrepository.skipinsearch"};
inline constexpr LiteralId REPOSITORY_EXPORTONSAVEPROJECT{"net.talvo.assetrepository.exportonsaveproject"};
/// Repositories with rules of their own.
inline constexpr LiteralId REPOSITORY_BUILTIN{"net.talvo.repository.builtin"};
inline constexpr LiteralId REPOSITORY_APPLICATION{"net.talvo.repository.application"};
inline constexpr LiteralId REPOSITORY_USERPREFS{"net.talvo.repository.userprefs"};
inline constexpr LiteralId REPOSITORY_SCENE{"net.talvo.repository.scene"};
/// Types of repositories.
inline constexpr LiteralId REPOSITORYTYPE_DATABASE{"net.talvo.assets.repositorytype.database"};
inline constexpr LiteralId REPOSITORYTYPE_WATCHFOLDER{"net.talvo.assets.repositorytype.watchfolder"};

/// What a client caches on a repository in order to be told of changes.
/// Threads: called on the thread of the change, with no lock held.
class DerivedAssetRepositoryDataInterface : public ObjectInterface {
public:
    /// A base came or went, at `repo` or below it.
    virtual void HandleBaseChanged(const AssetRepositoryRef& repo, const AssetRepositoryRef& base, Bool added) = 0;
    /// A version was stored.
    virtual void HandleAssetStored(const AssetBase& asset) = 0;
    /// A version was erased, or a deletion marker stored.
    virtual void HandleAssetErased(const AssetBase& asset) = 0;
    /// A loaded asset was updated in memory.
    virtual void HandleAssetUpdated(const AssetBase& asset) = 0;
    /// A metadata value was written.
    virtual void HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind,
                                      const Data& prevData, const Data& newData) = 0;
    /// A download went on or ended.
    virtual void HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) = 0;
};
using DerivedAssetRepositoryDataRef = StrongRef<DerivedAssetRepositoryDataInterface>;

/// A repository. Lookups, stores and events may come from any thread. Receivers and observers run with no lock of the repository held, so they may look
/// up and store themselves.
/// Ownership: bases are held strongly, derived repositories weakly.
class AssetRepositoryInterface : public ObjectInterface {
public:
    using ObserverBaseChanged = Observable<const AssetRepositoryRef&, const AssetRepositoryRef&, Bool>;
    using ObserverAsset = Observable<const AssetBase&>;
    using ObserverMetaDataStored = Observable<const AssetBase&, const InternedId&, ASSET_METADATA_KIND, const Data&, const Data&>;
    using ObserverDownload = Observable<const AssetRepositoryRef&, Bool>;

    /// The repository's id.
    virtual const Id& GetId() const = 0;
    /// The bases in the order in which they are searched: a snapshot.
    virtual Array<AssetRepositoryRef> GetBases() const = 0;
    /// Hands out the living repositories that have this one as a base.
    virtual Result<Bool> GetDerived(Receiver<AssetRepositoryRef> receiver) const = 0;
    /// Sets the bases of a repository that has no edges yet. Fires nothing. Errors: IllegalStateError if it has edges; as AddBase.
    virtual Result<void> InitBases(Block<const AssetRepositoryRef> bases) = 0;
    /// Adds a base behind the others; one that is there already is fine and fires nothing.
    /// Errors: IllegalArgumentError for null, a foreign object, or a base from which this repository can be reached.
    virtual Result<void> AddBase(const AssetRepositoryRef& base) = 0;
    /// Removes a base; one that isn't there is fine and fires nothing.
    virtual Result<void> RemoveBase(const AssetRepositoryRef& base) = 0;
    /// This repository or one below it with this id, or null.
    virtual AssetRepositoryRef FindRepository(const Id& repoId) = 0;
    /// Whether versions can be stored.
    virtual Bool IsWritable() const = 0;
    /// One repository's step of a lookup; `FindAssets` is what clients call.
    virtual Result<Bool> PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                           AssetFindReceiver assets, VisitedRepositories& visited, LatestAssets& latestMap) = 0;
    /// Gives each repository the chance to load one metadata id for all its assets at once.
    virtual Result<void> PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind, ASSET_FIND_MODE findMode,
                                                 VisitedRepositories& visited) = 0;
    /// Walks this repository and then, depth first, its bases. @param types empty, or the null id first: every type. @param aid null: every asset.
    /// @param version null: as `findMode` says; else exactly that version. @return false if the receiver stopped the walk.
    /// With neither LATEST nor ALL_VERSIONS and no version nothing is delivered. Errors: the receiver's, a backend's, OperationCancelledError.
    virtual Result<Bool> FindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                    AssetFindReceiver receiver) = 0;
    /// The newest version of an asset, or the version asked for, over the graph; null if there is none.
    /// Errors: IllegalArgumentError "Asset ID cannot be null."; those of FindAssets.
    virtual Result<AssetDescription> FindLatestAsset(const Id& type, const Id& aid, const Id& version,
                                                     ASSET_FIND_MODE findMode) = 0;
    /// The description of an asset of this repository whose versions were loaded. Errors: IllegalArgumentError.
    virtual Result<AssetDescription> GetDescription(const AssetBase& asset) = 0;
    /// Order of two versions of one asset; INCOMPARABLE for two assets. "*" is greater than any stored version.
    virtual Result<COMPARERESULT> CompareVersions(const AssetBase& first, const AssetBase& second) = 0;
    /// Stores a new version of `aid`. Persistent values of `asset` that aren't versioned come along, then those of `metaData` (may be null).
    /// When it returns, the version is whole in the backend; on an error nothing of it is left.
    virtual Result<AssetDescription> StoreAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) = 0;
    /// Stores in place of the newest version, under its version id; a new version where there is none or the asset is deleted.
    virtual Result<AssetDescription> OverwriteAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) = 0;
    /// Stores a deletion marker; the versions before it stay. Errors: IllegalStateError for an unknown asset.
    virtual Result<AssetDescription> DeleteAsset(const Id& aid) = 0;
    /// Removes one version for good. Errors: IllegalStateError for an unknown asset or version.
    virtual Result<void> EraseAsset(const AssetDescription& asset) = 0;
    /// Copies a version from any repository, with its persistent and versioned values, keeping its version id.
    virtual Result<AssetDescription> CopyAsset(const Id& aid, const AssetDescription& source, Bool addEncryption,
                                               Bool overwrite) = 0;
    /// Writes one metadata value of a version; an empty one removes it. Adds no version.
    /// Errors: IllegalStateError if the kind needs a writable repository; IllegalArgumentError for an illegal id or a read-only entry; the backend's.
    virtual Result<void> StoreMetaData(const AssetDescription& asset, const InternedId& metaId, const Data& data,
                                       ASSET_METADATA_KIND kind) = 0;
    /// Copies the file at `source` into the repository as a metadata value; an empty url removes it.
    virtual Result<void> StoreUrlMetaData(const AssetDescription& asset, const InternedId& metaId, const Url& source,
                                          ASSET_METADATA_KIND kind) = 0;
    // Observables, made on the first request with `create` true; null while there is none. They live as long as the repository.
    /// A base came or went here or below.
    virtual ObserverBaseChanged* ObservableBaseChanged(Bool create) = 0;
    /// A version was stored here or below.
    virtual ObserverAsset* ObservableAssetStored(Bool create) = 0;
    /// A version was erased or marked as deleted, here or below.
    virtual ObserverAsset* ObservableAssetErased(Bool create) = 0;
    /// A loaded asset was updated, here or below.
    virtual ObserverAsset* ObservableAssetUpdated(Bool create) = 0;
    /// A metadata value was written, here or below.
    virtual ObserverMetaDataStored* ObservableMetaDataStored(Bool create) = 0;
    /// A download went on, here or below.
    virtual ObserverDownload* ObservableDownloadStateChanged(Bool create) = 0;
    /// The value of `key`, made by `callback` at first need, outside any lock; a second caller waits. Errors: the callback's, and then nothing is
    /// kept; IllegalStateError if a callback asks for its own key.
    virtual Result<Data> GetCachedData(const Data& key, FunctionRef<Result<Data>()> callback) = 0;
    /// Id of the repository's description database. Errors: IllegalStateError if it has none.
    virtual Result<Id> GetDescriptionDatabaseId() const = 0;
    /// The description that belongs to an asset.
    virtual Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const AssetIdentifier& asset) = 0;
    /// The description of a data type or asset id.
    virtual Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const Id& dataType) = 0;
    /// The definition that an asset holds; this repository is asked first.
    virtual Result<DataDescriptionDefinition> LoadDescriptionDefinition(Int32 mode, const Id& category, LanguageRef language,
                                                                        const AssetIdentifier& asset) = 0;
    /// Name of the repository for people.
    virtual Result<String> GetRepositoryName(LanguageRef language, Bool addDetails) = 0;
    /// Sets that name.
    virtual Result<void> SetRepositoryName(const String& name, LanguageRef language) = 0;
    /// Like the other GetCachedData, for objects that are told of changes.
    virtual Result<DerivedAssetRepositoryDataRef> GetCachedData(
        const Data& key, FunctionRef<Result<DerivedAssetRepositoryDataRef>()> callback) = 0;
    // Events: each fires the own observable, then goes up to each derived repository, then to the derived data.
    /// A base came or went.
    virtual void HandleBaseChanged(const AssetRepositoryRef& base, Bool added) = 0;
    /// A version was stored.
    virtual void HandleAssetStored(const AssetBase& asset) = 0;
    /// A version was erased, or a deletion marker stored.
    virtual void HandleAssetErased(const AssetBase& asset) = 0;
    /// A loaded asset was updated.
    virtual void HandleAssetUpdated(const AssetBase& asset) = 0;
    /// A metadata value was written.
    virtual void HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind,
                                      const Data& prevData, const Data& newData) = 0;
    /// A download went on or ended.
    virtual void HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) = 0;
    /// Asks the repository to give back what it can load again.
    virtual void RequestUnloadRepository() = 0;
    /// An attribute of the repository; empty if it isn't set.
    virtual Data GetAttribute(const Id& key) const = 0;
    /// Sets an attribute; empty removes it.
    virtual Result<void> SetAttribute(const Id& key, const Data& value) = 0;
};

/// The usual lookup: every version handed to `receiver` is a description.
/// `FindAssets(repository, {types}, aid, version, mode, receiver)` for receivers that don't want to be asked about repositories.
Result<Bool> FindAssets(const AssetRepositoryRef& repository, Block<const Id> types, const Id& aid, const Id& version,
                        ASSET_FIND_MODE findMode, AssetReceiver receiver);

/// An asset that refers to updated ones (version "*"), and those.
using AssetUpdateRecord = std::pair<AssetDescription, BaseArray<AssetDescription>>;

/// A repository whose loaded assets follow updates of what they refer to.
class UpdatableAssetRepositoryInterface : public AssetRepositoryInterface {
public:
    /// Assets that refer, directly or not, to what was stored or updated since the last reset; dependencies first.
    /// Errors: IllegalArgumentError "Circular node dependency involving @ and @".
    virtual Result<BaseArray<AssetUpdateRecord>> GetPendingUpdates(Bool reset) = 0;
    /// Lets each of them take its newer targets, in memory. Errors: UnexpectedError for a record of another repository; the assets'.
    virtual Result<void> Update(Block<const AssetUpdateRecord> updates) = 0;
};

/// A repository that can write and read index files, by which it opens without a look at its assets.
/// Threads: any.
class CompactableAssetRepositoryInterface {
public:
    virtual ~CompactableAssetRepositoryInterface() = default;
    /// Writes an index of all versions, on this thread. Stores go on meanwhile; one that does makes it begin again, a few times.
    /// Errors: IllegalStateError if the repository isn't writable, is changed all the time, or has a version that an index can't tell;
    /// OperationCancelledError if the current job is cancelled; IoError. There is no index then.
    virtual Result<void> Compact() = 0;
    /// Takes the index away and ends the writing of one. Nothing but time is lost.
    virtual Result<void> DeleteIndexFiles() = 0;
    /// Writes an index after `delay` seconds, at once for 0; a pending delay begins anew. @param backgroundJob what shows the progress; null: an entry
    /// of its own in the background progress.
    virtual Result<void> CompactInBackground(Float delay, const BackgroundEntryRef& backgroundJob) = 0;
    /// 3: there is an index; 2: one is being written; 1: one will be, after a delay; 0: none of these. The first that fits.
    virtual Int32 GetIndexState() const = 0;
    /// An asset was changed: the index no longer counts, and another one follows if there was one or will be.
    virtual void HandleContentChanged() = 0;
};

}  // namespace talvo
