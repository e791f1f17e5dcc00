// How lookups find built-in assets: those that are known by id, the others by asking the loaders.
#include "asset_impl/repository_graph.h"
#include "builtin_repository/builtin_repository.h"

namespace talvo {

namespace {

Bool IsExact(const RepositoryEngine::Walk& walk) { return walk.aid.IsPopulated() && !walk.Has(ASSET_FIND_MODE::ID_PREFIX); }

Bool WantsId(const RepositoryEngine::Walk& walk, const Id& aid) {
    return IsExact(walk) ? aid == walk.aid : aid.GetView().starts_with(walk.aid.GetView());
}

}  // namespace

/// One walk over the loaders. They may bring more than is wanted, and the same asset twice.
class BuiltinRepository::LoaderWalk {
public:
    LoaderWalk(BuiltinRepository& self, const Walk& walk) : _self(self), _walk(walk) {}

    /// @return false if the receiver of the walk, or a loader, has enough.
    Result<Bool> Run() {
        const Bool goOn = TRY(AskAll(GetBuiltinAssetLoaders(), ROOT::TAKE));
        if (!goOn || _isDone) return goOn;
        return AskAll(GetBuiltinAssetLoaders2(), ROOT::LEAVE);
    }

private:
    enum class ROOT { TAKE, LEAVE };

    Result<Bool> AskAll(const Registry<BuiltinAssetLoader>& loaders, ROOT root) {
        for (const auto& entry : loaders.GetEntries()) {
            TRY(_walk.CheckCancelled());
            CheckNoLockHeld(LOCK_USE::CALLBACK, "a loader of built-in assets");
            const Bool goOn = TRY(entry->value(
                _walk.types, _walk.aid, _walk.version, _walk.mode,
                [&](const Id& aid, const Asset& asset, const DataDictionary& metaData, const Url& metaRoot) -> Result<Bool> {
                    return Take({aid, asset, metaData, root == ROOT::TAKE ? metaRoot : _noRoot});
                }));
            // What the receiver said counts, whatever a loader makes of it.
            if (_isStopped) return false;
            if (_isDone) return true;
            if (!goOn) return false;
        }
        return true;
    }

    Result<Bool> Take(const Delivery& delivery) {
        const EntryRef entry = TRY(_self.Ensure(delivery));
        if (_isStopped || _isDone || !WantsId(_walk, delivery.aid)) return !_isStopped && !_isDone;
        const Bool isNew = TRY(_met.Insert(delivery.aid));
        if (!isNew) return true;
        const Bool goOn = TRY(Deliver(_walk, *entry));
        _isStopped = !goOn;
        _isDone = IsExact(_walk);
        return !_isStopped && !_isDone;
    }

    BuiltinRepository& _self;
    const Walk& _walk;
    const Url _noRoot;
    HashSet<Id> _met;
    Bool _isStopped = false;
    Bool _isDone = false;
};

Result<Bool> BuiltinRepository::PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version,
                                                  ASSET_FIND_MODE findMode, AssetFindReceiver assets,
                                                  VisitedRepositories& visited, LatestAssets& latestMap) {
    const Id renamed = TRY(GetRenamedAssetId(aid));
    const Walk walk{types, renamed, version, findMode, assets, visited, latestMap};
    Bool lookHere = !RepositoryGraph::Of(*this).isSkippedInSearch.load(std::memory_order_acquire);
    if (lookHere && walk.Has(ASSET_FIND_MODE::ASK_REPOSITORY)) lookHere = TRY(assets(AssetFindItem(GetSelf())));
    if (lookHere) {
        const Bool goOn = TRY(FindOwn(walk));
        if (!goOn) return false;
    }
    if (walk.Has(ASSET_FIND_MODE::WITHOUT_BASES)) return true;
    return RepositoryEngine::FindInBases(*this, walk);
}

Result<Bool> BuiltinRepository::FindOwn(const Walk& walk) {
    // With neither a version nor a choice of versions a walk delivers nothing.
    const Bool choosesVersions = walk.Has(ASSET_FIND_MODE::LATEST) || walk.Has(ASSET_FIND_MODE::ALL_VERSIONS);
    if (walk.version.IsEmpty() && !choosesVersions) return true;
    if (IsExact(walk)) {
        if (const EntryRef known = Find(walk.aid)) return Deliver(walk, *known);
    }
    return LoaderWalk(*this, walk).Run();
}

Result<Bool> BuiltinRepository::Deliver(const Walk& walk, const Entry& entry) {
    const AssetDescription& description = entry.GetDescription();
    if (!walk.AcceptsType(entry.type)) return true;
    if (walk.version.IsPopulated() && walk.version != description->GetIdAndVersion().second) return true;
    if (!walk.CollectsLatest()) {
        CheckNoLockHeld(LOCK_USE::CALLBACK, "a receiver of assets");
        return walk.receiver(AssetFindItem(description));
    }
    walk.latest.Offer(entry.hash, entry.versions.GetBlock(), *entry.versions.GetLast());
    return true;
}

BuiltinRepository::EntryRef BuiltinRepository::Find(const Id& aid) {
    const auto assets = _assets.Read();
    const EntryRef* entry = assets->Find(aid);
    return entry ? *entry : nullptr;
}

// Two threads may make an entry at once; the first one in the table counts.
Result<BuiltinRepository::EntryRef> BuiltinRepository::Ensure(const Delivery& delivery) {
    if (EntryRef known = Find(delivery.aid)) return known;
    const EntryRef made = TRY(MakeEntry(delivery));
    const auto assets = _assets.Write();
    if (const EntryRef* known = assets->Find(delivery.aid)) return *known;
    TRY(assets->Insert(delivery.aid, made));
    return made;
}

}  // namespace talvo
