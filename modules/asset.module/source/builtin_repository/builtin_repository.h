// The repository of what is built into the program: loaders bring its assets, and on disk lie only values that were added to them.
#pragma once

#include "asset_impl/asset_table.h"
#include "asset_impl/repository_engine.h"
#include "builtin_asset_loaders.h"

namespace talvo {

/// `vdata` of a built-in asset. Never stored.
struct BuiltinVersionData {
    Id directory;  ///< name of the asset's directory in each tree
    Url metaRoot;  ///< the loader's own tree; may be empty

    Bool operator==(const BuiltinVersionData&) const = default;
};
template <>
struct DataTraits<BuiltinVersionData> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.builtinversiondata"};
};

/// Each asset has one version, which never changes. What a loader brought once is kept; loaders are asked again by each walk that looks for
/// more than one known id.
///
/// Threads:    any. Loaders run without any lock, several threads may be in one at once.
/// Lock order: the table of assets is a leaf.
class BuiltinRepository final : public RepositoryBase {
public:
    /// Where values lie that were added.
    struct Places {
        Url derived;
        Url user;
    };
    explicit BuiltinRepository(Places places) : _places(std::move(places)) {}

    // AssetRepositoryInterface
    const Id& GetId() const override { return REPOSITORY_BUILTIN; }
    AssetRepositoryRef FindRepository(const Id& repoId) override;
    Bool IsWritable() const override { return false; }
    Result<Bool> PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                   AssetFindReceiver assets, VisitedRepositories& visited, LatestAssets& latestMap) override;
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

    // UpdatableAssetRepositoryInterface: nothing here refers to what changes.
    Result<BaseArray<AssetUpdateRecord>> GetPendingUpdates(Bool) override { return BaseArray<AssetUpdateRecord>(); }
    Result<void> Update(Block<const AssetUpdateRecord>) override { return OK; }

    // BaseAssetRepositoryInterface: reading values is all that is asked of it, the rest belongs to repositories that store.
    Result<void> InitImpl(const Id&, Bool) override { return OK; }
    Result<void> LoadExistingIdsImpl(AssetIdReceiver) override { return OK; }
    Result<void> LoadVersionsImpl(const Id&, const Id&, const Data&, AssetVersionReceiver) override { return OK; }
    Result<Data> CreateDataForIdImpl(const Id& aid, const Id& type) override;
    Result<AssetStoreResult> StoreImpl(const Asset& asset, Bool deleteAsset, const Id& overwrittenHash,
                                       const AssetDescription& source, Data& adata, const AssetVersionNumber& version,
                                       Bool addEncryption) override;
    Result<void> EraseImpl(const AssetDescription& asset, const Data& vdata) override;
    Result<Bool> HandleAssetErasedCompletely(const Id&, const Data&) override { return false; }
    Result<Data> LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) override;
    Result<Data> StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data, const IdAndVersion& asset,
                                   const Url& source, ASSET_METADATA_KIND kind, Bool urlMode) override;
    Result<void> AssetLoadedImpl(const Asset&, Bool) override { return OK; }
    Bool NeedsLoadVersionsBeforeStore() const override { return false; }
    Result<AssetVersionNumber> GetNextVersionImpl() override;
    Result<void> UpdateNextVersionImpl(UInt) override { return OK; }
    Result<void> PublishVersionImpl(AssetStoreResult&) override { return OK; }
    void DiscardVersionImpl(const AssetStoreResult&) override {}
    Result<Url> GetUrlImpl(const Data&) override { return Url(); }

private:
    /// One asset; constant.
    struct Entry : ObjectInterface {
        Entry(Id entryType, UInt idHash, AssetVersionTable table)
            : type(std::move(entryType)), hash(idHash), versions(std::move(table)) {}
        const AssetDescription& GetDescription() const { return versions.GetLast()->description; }

        const Id type;
        const UInt hash;                   // of the id's text
        const AssetVersionTable versions;  // one version, with no key: whatever is stored anywhere is newer
    };
    using EntryRef = StrongRef<const Entry>;
    using Walk = RepositoryEngine::Walk;
    class LoaderWalk;
    /// What a loader hands out.
    struct Delivery {
        const Id& aid;
        const Asset& asset;
        const DataDictionary& metaData;
        const Url& metaRoot;
    };

    EntryRef Find(const Id& aid);
    Result<EntryRef> Ensure(const Delivery& delivery);
    Result<EntryRef> MakeEntry(const Delivery& delivery);
    Result<AssetMetaDataTable> ListMetaData(const IdAndVersion& identity, const BuiltinVersionData& places,
                                            const DataDictionary& given) const;
    Result<Bool> FindOwn(const Walk& walk);
    static Result<Bool> Deliver(const Walk& walk, const Entry& entry);
    /// The directory for values of `kind` of one asset. Errors: those of a value that isn't writable.
    Result<Url> GetWriteDirectory(const BuiltinVersionData& places, const Id& aid, KIND kind) const;

    const Places _places;
    Guarded<HashMap<Id, EntryRef>, ARWLock> _assets{ID_TABLE_LOCK};
};

}  // namespace talvo
