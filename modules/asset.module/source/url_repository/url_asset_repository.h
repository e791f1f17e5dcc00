// The backend that keeps assets as files and directories below one url. docs/formats.md tells what lies where.
#pragma once

#include "asset_impl/metadata_kinds.h"
#include "baseassetrepository.h"
#include "url_repository/asset_info.h"
#include "url_repository/background_compaction.h"
#include "url_repository/compacted_metadata.h"
#include "url_repository/index_directory.h"
#include "url_repository/repository_lock.h"
#include "url_repository/side_tree_names.h"
#include "url_repository/url_data.h"
#include "url_repository/version_counter.h"
#include "url_repository/version_scan.h"
#include "urlassetrepository.h"

#include <atomic>

namespace talvo {

class CompactedIndex;
class LoadedIndex;
struct IndexPlace;

/// A repository on a directory tree. Each operation stands in a file of its own.
///
/// A version is written into a hidden directory beside its final place and renamed when it is whole; single files are replaced by rename.
/// So no reader, in this process or another one, ever meets half of anything, and a stop at any moment leaves hidden names only.
///
/// Threads:    any. What one asset needs to have in order is the engine's store lock and metadata lock.
/// Lock order: that of compactions; version counter, then the lock between processes, then that of the index.
class UrlAssetRepositoryImpl final : public BaseAssetRepository,
                                     public UrlAssetRepositoryInterface,
                                     public CompactableAssetRepositoryInterface {
public:
    /// Where the trees of a repository lie. Empty: it has no such tree. Derived and user values may lie below the root itself.
    struct Places {
        Url root;
        Url derived;
        Url user;
    };
    enum class ACCESS { READ_ONLY, WRITABLE };
    UrlAssetRepositoryImpl(Places places, ACCESS access);
    ~UrlAssetRepositoryImpl() override;

    // AssetRepositoryInterface
    Bool IsWritable() const override { return _access == ACCESS::WRITABLE; }
    Result<String> GetRepositoryName(LanguageRef language, Bool addDetails) override;
    Result<void> SetRepositoryName(const String& name, LanguageRef language) override;

    // UrlAssetRepositoryInterface
    Url GetUrl(Bool getOrigin) const override;
    Result<Url> GetVersionDirectory(const AssetDescription& asset) override;
    Result<void> Sync() override;

    // CompactableAssetRepositoryInterface
    Result<void> Compact() override;
    /// The same for a range of version numbers.
    Result<void> Compact(UInt first, UInt last);
    Result<void> DeleteIndexFiles() override;
    Result<void> CompactInBackground(Float delay, const BackgroundEntryRef& backgroundJob) override;
    Int32 GetIndexState() const override;
    void HandleContentChanged() override;

    // BaseAssetRepositoryInterface
    Result<void> LoadExistingIdsImpl(AssetIdReceiver receiver) override;
    Result<void> LoadVersionsImpl(const Id& aid, const Id& type, const Data& adata, AssetVersionReceiver receiver) override;
    Result<Data> CreateDataForIdImpl(const Id& aid, const Id& type) override;
    Result<AssetStoreResult> StoreImpl(const Asset& asset, Bool deleteAsset, const Id& overwrittenHash,
                                       const AssetDescription& source, Data& adata, const AssetVersionNumber& version,
                                       Bool addEncryption) override;
    Result<void> PublishVersionImpl(AssetStoreResult& stored) override;
    void DiscardVersionImpl(const AssetStoreResult& stored) override;
    Result<Url> GetUrlImpl(const Data& vdata) override;
    std::unique_ptr<AssetOutlines> MakeOutlinesImpl(Block<const InternedId> keys) override;
    Result<StoredText> FindTextImpl(const Data& vdata, const InternedId& metaId, const Id& key) override;
    Result<void> EraseImpl(const AssetDescription& asset, const Data& vdata) override;
    Result<Bool> HandleAssetErasedCompletely(const Id& aid, const Data& adata) override;
    Result<Data> LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) override;
    Result<Data> StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data, const IdAndVersion& asset,
                                   const Url& source, ASSET_METADATA_KIND kind, Bool urlMode) override;
    Bool NeedsLoadVersionsBeforeStore() const override { return true; }
    Result<AssetVersionNumber> GetNextVersionImpl() override;
    Result<void> UpdateNextVersionImpl(UInt currentVersion) override;

private:
    // Loading
    /// One directory below the root, and what it says it is.
    struct FoundAsset {
        std::string directory;
        Opt<AssetInfo> info{};
        Bool isUnreadable = false;  ///< it may be an asset
    };
    class TypeIds;
    Result<void> OpenIndex();
    Result<void> LoadIdsOfIndex(UInt32 number, TypeIds& types, AssetIdReceiver receiver);
    Result<std::vector<FoundAsset>> ListAssetDirectories();
    Result<std::vector<FoundAsset>> ListChangedDirectories(const HashSet<std::string>& names) const;
    enum class UNREADABLE { LEAVE_OUT, FAIL };
    Result<void> ReadInfos(std::vector<FoundAsset>& assets, UNREADABLE policy);
    struct LoadedVersion;
    Result<Opt<LoadedVersion>> LoadVersion(const Id& aid, const Url& assetDirectory, const VersionDirectory& version);
    Result<void> LoadVersionId(const VersionDirectory& version, const VersionContent& content, LoadedVersion& loaded);
    Result<Id> ComputeVersionId(const Url& versionDirectory, const Url& payload);
    Result<void> LoadTime(LoadedVersion& loaded);
    Result<void> LoadTreeVersions(const Id& aid, const Id& type, const Id& assetDirectory, const HashSet<UInt>& known,
                                  AssetVersionReceiver receiver);
    Result<Bool> LoadIndexedVersions(const Id& aid, const Id& type, const IndexedAssetData& first, AssetVersionReceiver receiver,
                                     HashSet<UInt>& numbers);
    Result<Bool> LoadIndexedVersions(const Id& aid, const Id& type, const IndexPlace& place, AssetVersionReceiver receiver,
                                     HashSet<UInt>& numbers);
    Result<LoadedVersion> LoadIndexedVersion(const Id& aid, const CompactedIndex& index, const IndexText::Version& version,
                                             const Data& vdata);
    Result<void> AddSideMetaData(const Id& aid, const Data& vdata, LoadedVersion& loaded);
    class Outlines;
    Result<Bool> DeliverVersion(const Data& vdata, const Id& aid, const Id& type, LoadedVersion& loaded,
                                AssetVersionReceiver receiver);
    /// Name of an asset's directory. Errors: IllegalArgumentError if `adata` is none of this backend's.
    Result<Id> GetAssetDirectory(const Data& adata) const;
    Result<Data> LoadIndexedTime(const Data& vdata, KIND kind);
    /// The stored form of a value that an index holds; nothing if it holds none.
    Result<Opt<CompactedMetaData::RawValue>> FindIndexedValue(const Data& vdata, const InternedId& metaId) const;
    Result<Data> ReadValue(const Data& vdata, const InternedId& metaId, KIND kind) const;
    /// The directory of a version. Errors: as GetAssetDirectory.
    Result<Url> GetVersionUrl(const Data& vdata) const;

    // Index
    class Compaction;
    friend BackgroundCompaction;
    /// One try. @param progress is told how far it is, from 0 to 1; its error ends the work.
    /// @return false if an asset was changed meanwhile; the index then is as it was.
    Result<Bool> CompactOnce(UInt first, UInt last, FunctionRef<Result<void>(Float64)> progress);
    Result<void> RemoveIndex(IndexDirectory::REMOVE what);

    // Storing
    struct Staging;
    struct PayloadRequest;
    struct SideTreeMove;
    Result<Opt<Staging>> ReserveNewVersion(const Url& assetDirectory, UInt number, Bool deleted);
    Result<Staging> StageOverwrite(const Url& assetDirectory, UInt number);
    Result<AssetStoreResult> WriteVersion(const PayloadRequest& request, const Staging& staging);
    Result<void> PublishWithSideTrees(const Url& hidden, const StagedVersion& staged, std::vector<SideTreeMove>& moves);
    Result<void> PublishSideTree(const Url& tree, const Url& hidden, const StagedVersion& staged,
                                 std::vector<SideTreeMove>& moves);
    void TakeBack(const std::vector<SideTreeMove>& moves);
    Result<Opt<Url>> HideAsset(const Url& directory, const Id& aid);
    /// Whether this process made the directory and nobody has looked into it since. True once only.
    Bool TakeFresh(const Id& assetDirectory);

    // Metadata
    /// The directory for values of `kind`, which need not exist. Nothing where this repository has no tree for them.
    Opt<Url> FindMetaDataDirectory(const Url& versionDirectory, KIND kind) const;
    Result<Url> GetMetaDataDirectory(const Url& versionDirectory, KIND kind) const;
    Result<void> CheckMetaDataWrite(const InternedId& metaId, KIND kind) const;
    Result<void> DropDerivedValues(const Url& versionDirectory);
    Result<void> WriteDocument(const Url& directory, const Bool staged, const InternedId& metaId, const Data& data, KIND kind);
    Result<Data> WriteFileValue(const Url& directory, const Bool staged, const InternedId& metaId, const Url& source,
                                const IdAndVersion& asset, KIND kind);
    /// Directory of a version in the derived or user tree: `<tree>/<asset directory>/<n>`.
    static Url GetSideDirectory(const Url& tree, const Url& versionDirectory);
    /// The derived and the user tree, where they are trees of their own.
    std::vector<Url> GetSideTrees() const;
    Bool IsOwnTree(const Url& tree) const { return tree.IsPopulated() && !(tree == _places.root); }
    const Url& GetRoot() const { return _places.root; }
    void NoteChange() { _changedSinceSync.store(true, std::memory_order_release); }

    const Places _places;
    const ACCESS _access;
    RepositoryLock _lock;                 // self-synchronised
    IndexDirectory _indexDirectory;       // self-synchronised
    VersionCounter _counter;              // self-synchronised
    SideTreeNames _derivedNames;          // self-synchronised
    SideTreeNames _userNames;             // self-synchronised
    std::unique_ptr<LoadedIndex> _index;  // constant once the ids are loaded
    /// The index with which memory agrees, but for what was changed by this object.
    struct KnownGeneration {
        std::string generation;  // empty: none
        VersionFileState counter;
    };
    Guarded<KnownGeneration, Spinlock> _knownGeneration;
    static LockClass compactionLockClass;
    ARWLock _compactionLock{compactionLockClass};  // two at once would make each other void
    std::atomic<Bool> _hasIndex{false};
    std::atomic<Bool> _hadIndex{false};  // it was opened from one, be it one that a change had dropped
    BackgroundCompaction _background;    // self-synchronised
    std::atomic<Bool> _changedSinceSync{false};
    Guarded<String, Spinlock> _repositoryName;
    /// Names of asset directories that were made just now: the first look for versions, which follows at once, needs no listing.
    Guarded<HashSet<Id>, Spinlock> _freshDirectories;
};

/// The way in which payloads are hashed: SHA-256 over what goes by.
AssetHashStream MakePayloadHashStream();

}  // namespace talvo
