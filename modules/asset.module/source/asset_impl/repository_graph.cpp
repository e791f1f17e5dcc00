#include "asset_impl/repository_graph.h"

namespace talvo {

namespace {

// Edges are added one at a time in the whole process, so that two threads can't close a cycle together.
ARWLock g_edgeLock{GRAPH_CHANGE_LOCK};

Bool CanReach(const AssetRepositoryRef& from, const AssetRepositoryInterface* target, VisitedRepositories& visited) {
    if (from.GetPointer() == target) return true;
    const Result<Bool> isNew = visited.Insert(from.GetPointer());
    if (isNew.IsOk() && !isNew.GetValue()) return false;
    for (const AssetRepositoryRef& base : from->GetBases()) {
        if (CanReach(base, target, visited)) return true;
    }
    return false;
}

template <typename OBSERVABLE>
void End(std::atomic<OBSERVABLE*>& slot) {
    if (OBSERVABLE* observable = slot.exchange(nullptr)) {
        observable->DisconnectAll();
        delete observable;
    }
}

}  // namespace

RepositoryGraph::~RepositoryGraph() {
    End(observableBaseChanged);
    End(observableAssetStored);
    End(observableAssetErased);
    End(observableAssetUpdated);
    End(observableMetaDataStored);
    End(observableDownloadStateChanged);
}

Result<RepositoryBase*> RepositoryGraph::GetBaseClass(const AssetRepositoryRef& base) {
    auto* found = dynamic_cast<RepositoryBase*>(base.GetPointer());
    if (!found) return IllegalArgumentError::Create("The given base repository has no RepositoryBaseClass component.");
    return found;
}

Result<void> RepositoryGraph::CheckNoCycle(const RepositoryBase& self, const AssetRepositoryRef& base) {
    VisitedRepositories visited;
    if (!CanReach(base, &self, visited)) return OK;
    return IllegalArgumentError::Create(
        FormatMessage("Repository @ can't be a base of @, since @ looks into it already. Remove that link first.", base->GetId(),
                      self.GetId(), base->GetId()));
}

Result<Bool> RepositoryGraph::Link(RepositoryBase& self, const AssetRepositoryRef& base) {
    RepositoryBase* baseClass = TRY(GetBaseClass(base));
    const ScopedWriteLock edge(g_edgeLock);
    TRY(CheckNoCycle(self, base));
    auto own = bases.Write();
    for (const AssetRepositoryRef& known : *own) {
        if (known == base) return false;
    }
    BaseArray<AssetRepositoryRef> newBases = own->CopyValues();
    TRY(newBases.Append(base));
    auto up = Of(*baseClass).derived.Write();
    BaseArray<WeakRef<AssetRepositoryInterface>> newDerived = up->CopyValues();
    TRY(newDerived.Append(WeakRef<AssetRepositoryInterface>(&self)));
    Array<WeakRef<AssetRepositoryInterface>> published(std::move(newDerived));
    *own = Array<AssetRepositoryRef>(std::move(newBases));
    *up = std::move(published);
    return true;
}

Result<Bool> RepositoryGraph::Unlink(const RepositoryBase& self, const AssetRepositoryRef& base) {
    RepositoryBase* baseClass = TRY(GetBaseClass(base));
    Array<AssetRepositoryRef> old;  // released after the lock: it may hold the last reference to the base
    auto own = bases.Write();
    BaseArray<AssetRepositoryRef> left;
    for (const AssetRepositoryRef& known : *own) {
        if (!(known == base)) TRY(left.Append(known));
    }
    if (left.GetCount() == own->GetCount()) return false;
    old = std::exchange(*own, Array<AssetRepositoryRef>(std::move(left)));
    RemoveDerived(Of(*baseClass), self);
    return true;
}

void RepositoryGraph::RemoveDerived(RepositoryGraph& baseGraph, const RepositoryBase& self) {
    auto up = baseGraph.derived.Write();
    BaseArray<WeakRef<AssetRepositoryInterface>> left;
    for (const WeakRef<AssetRepositoryInterface>& entry : *up) {
        if (entry.Refers(&self) || !entry.IsAlive()) continue;
        left.Append(entry).Ignore("without memory the list stays as it is; its dead entries are passed over");
    }
    *up = Array<WeakRef<AssetRepositoryInterface>>(std::move(left));
}

Result<void> RepositoryGraph::CheckNoEdges() const {
    auto own = const_cast<RepositoryGraph*>(this)->bases.Read();
    auto up = const_cast<RepositoryGraph*>(this)->derived.Read();
    CHECK_STATE(own->IsEmpty() && up->IsEmpty(), "w->IsEmpty() && _derived.Read()->IsEmpty()");
    return OK;
}

void RepositoryGraph::LeaveBases(const RepositoryBase& self) {
    for (const AssetRepositoryRef& base : self.GetBases()) {
        if (auto* baseClass = dynamic_cast<RepositoryBase*>(base.GetPointer())) RemoveDerived(Of(*baseClass), self);
    }
}

}  // namespace talvo
