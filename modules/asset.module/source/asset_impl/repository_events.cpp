// Events run on the calling thread: index first, own observers, up the graph depth first, then data cached on the repository.
#include "asset_impl/metadata_kinds.h"
#include "asset_impl/repository_graph.h"

namespace talvo {

// A change in a repository makes its index stale at once; where it had one, a new one follows later.
void RepositoryBase::DropIndex(const AssetBase& asset) {
    auto* compactable = dynamic_cast<CompactableAssetRepositoryInterface*>(this);
    if (compactable && asset && asset->GetRepository().GetPointer() == this) compactable->HandleContentChanged();
}

void RepositoryBase::HandleBaseChanged(const AssetRepositoryRef& base, Bool added) {
    if (auto* observable = ObservableBaseChanged(false)) observable->Notify(GetSelf(), base, added);
    _graph->Propagate([&](AssetRepositoryInterface& derived) { derived.HandleBaseChanged(base, added); },
                      [&](DerivedAssetRepositoryDataInterface& data) { data.HandleBaseChanged(GetSelf(), base, added); });
}

void RepositoryBase::HandleAssetStored(const AssetBase& asset) {
    DropIndex(asset);
    if (auto* observable = ObservableAssetStored(false)) observable->Notify(asset);
    _graph->Propagate([&](AssetRepositoryInterface& derived) { derived.HandleAssetStored(asset); },
                      [&](DerivedAssetRepositoryDataInterface& data) { data.HandleAssetStored(asset); });
}

void RepositoryBase::HandleAssetErased(const AssetBase& asset) {
    DropIndex(asset);
    if (auto* observable = ObservableAssetErased(false)) observable->Notify(asset);
    _graph->Propagate([&](AssetRepositoryInterface& derived) { derived.HandleAssetErased(asset); },
                      [&](DerivedAssetRepositoryDataInterface& data) { data.HandleAssetErased(asset); });
}

void RepositoryBase::HandleAssetUpdated(const AssetBase& asset) {
    DropIndex(asset);
    if (auto* observable = ObservableAssetUpdated(false)) observable->Notify(asset);
    _graph->Propagate([&](AssetRepositoryInterface& derived) { derived.HandleAssetUpdated(asset); },
                      [&](DerivedAssetRepositoryDataInterface& data) { data.HandleAssetUpdated(asset); });
}

void RepositoryBase::HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId, ASSET_METADATA_KIND kind,
                                          const Data& prevData, const Data& newData) {
    if (IsRepositoryContent(kind)) DropIndex(asset);
    if (auto* observable = ObservableMetaDataStored(false)) observable->Notify(asset, metaId, kind, prevData, newData);
    _graph->Propagate(
        [&](AssetRepositoryInterface& derived) { derived.HandleMetaDataStored(asset, metaId, kind, prevData, newData); },
        [&](DerivedAssetRepositoryDataInterface& data) { data.HandleMetaDataStored(asset, metaId, kind, prevData, newData); });
}

void RepositoryBase::HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) {
    if (auto* observable = ObservableDownloadStateChanged(false)) observable->Notify(repository, finished);
    _graph->Propagate([&](AssetRepositoryInterface& derived) { derived.HandleDownloadStateChanged(repository, finished); },
                      [&](DerivedAssetRepositoryDataInterface& data) { data.HandleDownloadStateChanged(repository, finished); });
}

RepositoryBase::ObserverBaseChanged* RepositoryBase::ObservableBaseChanged(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableBaseChanged, create);
}

RepositoryBase::ObserverAsset* RepositoryBase::ObservableAssetStored(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableAssetStored, create);
}

RepositoryBase::ObserverAsset* RepositoryBase::ObservableAssetErased(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableAssetErased, create);
}

RepositoryBase::ObserverAsset* RepositoryBase::ObservableAssetUpdated(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableAssetUpdated, create);
}

RepositoryBase::ObserverMetaDataStored* RepositoryBase::ObservableMetaDataStored(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableMetaDataStored, create);
}

RepositoryBase::ObserverDownload* RepositoryBase::ObservableDownloadStateChanged(Bool create) {
    return RepositoryGraph::GetObservable(_graph->observableDownloadStateChanged, create);
}

}  // namespace talvo
