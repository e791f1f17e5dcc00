// What the graph of repositories keeps per repository: edges, observables, cached data and attributes.
#pragma once

#include "asset_impl/engine_locks.h"
#include "asset_impl/make_once_map.h"
#include "baseassetrepository.h"

#include <atomic>

namespace talvo {

/// Threads:    any.
/// Lock order: `bases` of a repository before `derived` of its base; nothing else is taken under either.
class RepositoryGraph {
public:
    using Observables = AssetRepositoryInterface;

    ~RepositoryGraph();

    /// The graph of a repository that can be a base. Errors: IllegalArgumentError for null and for objects of another class.
    static Result<RepositoryBase*> GetBaseClass(const AssetRepositoryRef& base);
    /// Adds both directions of the edge. @return false if it was there.
    Result<Bool> Link(RepositoryBase& self, const AssetRepositoryRef& base);
    /// Removes both directions. @return false if it wasn't there.
    Result<Bool> Unlink(const RepositoryBase& self, const AssetRepositoryRef& base);
    /// Errors: IllegalStateError if there is an edge in either direction.
    Result<void> CheckNoEdges() const;
    Bool HasBases() const {
        const auto own = bases.Read();
        return !own->IsEmpty();
    }
    /// At the end of the repository: takes it out of what its bases know, by identity.
    void LeaveBases(const RepositoryBase& self);

    template <typename OBSERVABLE>
    static OBSERVABLE* GetObservable(std::atomic<OBSERVABLE*>& slot, Bool create);
    /// Calls `action` for each living derived repository, then for each piece of derived data.
    template <typename UP, typename DATA>
    void Propagate(UP&& up, DATA&& toData);

    static RepositoryGraph& Of(const RepositoryBase& repository) { return *repository._graph; }

    Guarded<Array<AssetRepositoryRef>, ARWLock> bases{BASES_LOCK};
    Guarded<Array<WeakRef<AssetRepositoryInterface>>, ARWLock> derived{DERIVED_LOCK};
    MakeOnceMap<Data> cachedData;
    MakeOnceMap<DerivedAssetRepositoryDataRef> derivedData;
    Guarded<DataDictionary, ARWLock> attributes{ID_TABLE_LOCK};
    std::atomic<Bool> isSkippedInSearch{false};  // what the attribute says, for lookups; written under the lock of the attributes

    std::atomic<Observables::ObserverBaseChanged*> observableBaseChanged{nullptr};
    std::atomic<Observables::ObserverAsset*> observableAssetStored{nullptr};
    std::atomic<Observables::ObserverAsset*> observableAssetErased{nullptr};
    std::atomic<Observables::ObserverAsset*> observableAssetUpdated{nullptr};
    std::atomic<Observables::ObserverMetaDataStored*> observableMetaDataStored{nullptr};
    std::atomic<Observables::ObserverDownload*> observableDownloadStateChanged{nullptr};

private:
    static Result<void> CheckNoCycle(const RepositoryBase& self, const AssetRepositoryRef& base);
    static void RemoveDerived(RepositoryGraph& baseGraph, const RepositoryBase& self);
};

template <typename OBSERVABLE>
OBSERVABLE* RepositoryGraph::GetObservable(std::atomic<OBSERVABLE*>& slot, Bool create) {
    OBSERVABLE* observable = slot.load(std::memory_order_acquire);
    if (observable || !create) return observable;
    auto made = std::make_unique<OBSERVABLE>();
    if (slot.compare_exchange_strong(observable, made.get(), std::memory_order_acq_rel)) return made.release();
    return observable;
}

template <typename UP, typename DATA>
void RepositoryGraph::Propagate(UP&& up, DATA&& toData) {
    CheckNoLockHeld(LOCK_USE::CALLBACK, "an event on its way up");
    const Array<WeakRef<AssetRepositoryInterface>> snapshot = [&] {
        auto scope = derived.Read();
        return *scope;
    }();
    for (const WeakRef<AssetRepositoryInterface>& entry : snapshot) {
        if (const AssetRepositoryRef repository = entry.Promote()) up(*repository);
    }
    for (const DerivedAssetRepositoryDataRef& data : derivedData.GetValues()) toData(*data);
}

}  // namespace talvo
