// Repositories that stand in front of another one.
#pragma once

#include "assets/asset_repository.h"

namespace talvo {

/// Hands every operation over to the decorated repository; a subclass overrides those that it changes.
/// Without one, operations that can fail give NullptrError, the others what an empty repository gives.
/// A decorator is no base of other repositories. Threads: as the decorated one.
class AssetRepositoryDecoratorBase : public AssetRepositoryInterface {
public:
    /// The repository behind this one, or null.
    virtual AssetRepositoryRef GetDecoratedObject() const = 0;

    const Id& GetId() const override { return _id; }
    Array<AssetRepositoryRef> GetBases() const override;
    Result<Bool> GetDerived(Receiver<AssetRepositoryRef> receiver) const override;
    Result<void> InitBases(Block<const AssetRepositoryRef> bases) override;
    Result<void> AddBase(const AssetRepositoryRef& base) override;
    Result<void> RemoveBase(const AssetRepositoryRef& base) override;
    AssetRepositoryRef FindRepository(const Id& repoId) override;
    Bool IsWritable() const override;
    Result<Bool> PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                   AssetFindReceiver assets, VisitedRepositories& visited, LatestAssets& latestMap) override;
    Result<void> PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind, ASSET_FIND_MODE findMode,
                                         VisitedRepositories& visited) override;
    Result<Bool> FindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                            AssetFindReceiver receiver) override;
    Result<AssetDescription> FindLatestAsset(const Id& type, const Id& aid, const Id& version, ASSET_FIND_MODE findMode) override;
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
    ObserverBaseChanged* ObservableBaseChanged(Bool create) override;
    ObserverAsset* ObservableAssetStored(Bool create) override;
    ObserverAsset* ObservableAssetErased(Bool create) override;
    ObserverAsset* ObservableAssetUpdated(Bool create) override;
    ObserverMetaDataStored* ObservableMetaDataStored(Bool create) override;
    ObserverDownload* ObservableDownloadStateChanged(Bool create) override;
    Result<Data> GetCachedData(const Data& key, FunctionRef<Result<Data>()> callback) override;
    Result<Id> GetDescriptionDatabaseId() const override;
    Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const AssetIdentifier& asset) override;
    Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const Id& dataType) override;
    Result<DataDescriptionDefinition> LoadDescriptionDefinition(Int32 mode, const Id& category, LanguageRef language,
                                                                const AssetIdentifier& asset) override;
    Result<String> GetRepositoryName(LanguageRef language, Bool addDetails) override;
    Result<void> SetRepositoryName(const String& name, LanguageRef language) override;
    Result<DerivedAssetRepositoryDataRef> GetCachedData(const Data& key,
                                                        FunctionRef<Result<DerivedAssetRepositoryDataRef>()> callback) override;
    void HandleBaseChanged(const AssetRepositoryRef& base, Bool added) override;
    void HandleAssetStored(const AssetBase& asset) override;
    void HandleAssetErased(const AssetBase& asset) override;
    void HandleAssetUpdated(const AssetBase& asset) override;
    void HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind, const Data& prevData,
                              const Data& newData) override;
    void HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) override;
    void RequestUnloadRepository() override;
    Data GetAttribute(const Id& key) const override;
    Result<void> SetAttribute(const Id& key, const Data& value) override;

protected:
    /// @param id of the decorated repository; stays known when it has gone.
    explicit AssetRepositoryDecoratorBase(Id id) : _id(std::move(id)) {}

private:
    const Id _id;
};

/// Stands for a repository without keeping it alive (component `net.talvo.component.weakdecorator`).
class WeakAssetRepositoryDecorator : public AssetRepositoryDecoratorBase {
public:
    explicit WeakAssetRepositoryDecorator(const AssetRepositoryRef& repository)
        : AssetRepositoryDecoratorBase(repository ? repository->GetId() : Id()), _repository(repository) {}
    AssetRepositoryRef GetDecoratedObject() const override { return _repository.Promote(); }

private:
    const WeakRef<AssetRepositoryInterface> _repository;
};

}  // namespace talvo
