// The walk of one repository: which ids, which versions of each, and the choice of the newest over several repositories.
#include "asset_impl/repository_engine.h"
#include "asset_types/asset_description_impl.h"
#include "kernel/thread/job.h"
#include "kernel/thread/side_by_side.h"

#include <numeric>
#include <thread>

namespace talvo {

namespace {

constexpr Int MOST_RECORDS_AHEAD = 4096;
/// Fewer are loaded sooner than a thread is made.
constexpr Int RECORDS_OF_A_THREAD = 256;

/// Output stage of SplitMix64 (Steele, Lea, Flood: Fast Splittable Pseudorandom Number Generators, 2014) on a running word.
class ShuffleSource {
public:
    ShuffleSource() : _word(UInt(UniversalDateTime::GetNow().GetValue()) ^ UInt(reinterpret_cast<std::uintptr_t>(this))) {}
    UInt GetNext() {
        UInt z = (_word += 0x9e3779b97f4a7c15);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }

private:
    UInt _word;
};

void Shuffle(std::vector<Int>& order) {
    ShuffleSource source;
    const std::size_t count = order.size();
    for (std::size_t i = 0; i + 1 < count; ++i) std::swap(order[i], order[i + source.GetNext() % (count - i)]);
}

}  // namespace

Bool RepositoryEngine::Walk::AcceptsType(const Id& type) const {
    return types.empty() || std::find(types.begin(), types.end(), type) != types.end();
}

Result<void> RepositoryEngine::Walk::CheckCancelled() const {
    if (Has(ASSET_FIND_MODE::CANCELLABLE) && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
    return OK;
}

Result<AssetVersionTable> RepositoryEngine::EnsureVersions(AssetIdData& record) {
    if (AssetVersionTable table = record.GetVersions(); table.IsLoaded()) return table;
    AssetVersionTable old;  // released after the lock
    auto versions = record.versions.Write();
    if (versions->IsLoaded()) return AssetVersionTable(*versions);
    // An id that the backend doesn't know yet has no versions; they are not marked as loaded, so that it is asked later.
    if (!record.created.load(std::memory_order_acquire)) return AssetVersionTable(*versions);
    AssetVersionTable::Entries entries = versions->CopyEntries();
    TRY(_self.LoadVersionsImpl(
        record.id, record.type.GetId(), record.adata,
        [&](const AssetVersionKey& key, const AssetDescription& description, const Data& vdata) -> Result<Bool> {
            if (const AssetDescriptionImpl* impl = AssetDescriptionImpl::Find(description)) impl->SetVersionData(vdata);
            TRY(AssetVersionTable::Merge(entries, key, description));
            return true;
        }));
    AssetVersionTable loaded(std::move(entries), AssetVersionTable::STATE::LOADED);
    old = std::exchange(*versions, loaded);
    record.wasLoaded.store(true, std::memory_order_relaxed);
    return loaded;
}

// Reading versions is waiting for the system, mostly, and in a walk over everything no record waits for another one. What fails is told when the
// walk comes to it.
void RepositoryEngine::LoadAhead(Int begin, Int end) {
    const Int threads = std::min(Int(std::thread::hardware_concurrency()), (end - begin) / RECORDS_OF_A_THREAD);
    if (threads < 2) return;
    DoSideBySide(end - begin, threads, [&](Int index) -> Result<void> {
        AssetIdData& record = _table.GetRecord(begin + index);
        if (!record.erased.load(std::memory_order_acquire)) EnsureVersions(record).Ignore("the walk asks again");
        return OK;
    }).Ignore("it is the walk that is cancelled, and looks itself");
}

Result<Bool> RepositoryEngine::FindOwn(const Walk& walk) {
    const Bool exact = walk.aid.IsPopulated() && !walk.Has(ASSET_FIND_MODE::ID_PREFIX);
    if (!exact) return WalkRecords(walk);
    TRY(walk.CheckCancelled());
    AssetIdData* record = _table.Find(walk.aid);
    return record ? FindInRecord(walk, *record) : Result<Bool>(true);
}

Result<Bool> RepositoryEngine::WalkRecords(const Walk& walk) {
    const Int count = _table.GetRecordCount();
    const Bool wantsMost = walk.aid.IsEmpty() && walk.types.empty();
    if (wantsMost && walk.CollectsLatest()) walk.latest.Expect(count);
    std::vector<Int> order;
    if (walk.Has(ASSET_FIND_MODE::RANDOM_ORDER)) {
        order.resize(std::size_t(count));
        std::iota(order.begin(), order.end(), Int(0));
        Shuffle(order);
    }
    const Bool mayLoadAhead = wantsMost && order.empty();
    Int loadedAhead = 0;
    for (Int i = 0; i < count; ++i) {
        TRY(walk.CheckCancelled());
        AssetIdData& record = _table.GetRecord(order.empty() ? i : order[std::size_t(i)]);
        if (mayLoadAhead && i >= loadedAhead && !record.wasLoaded.load(std::memory_order_relaxed)) {
            // No more than was walked already: the receiver may have enough any time.
            loadedAhead = std::min(count, i + std::clamp(i, Int(1), MOST_RECORDS_AHEAD));
            LoadAhead(i, loadedAhead);
        }
        if (walk.aid.IsPopulated() && !record.id.GetView().starts_with(walk.aid.GetView())) continue;
        const Bool goOn = TRY(FindInRecord(walk, record));
        if (!goOn) return false;
    }
    return true;
}

Result<Bool> RepositoryEngine::FindInRecord(const Walk& walk, AssetIdData& record) {
    if (record.erased.load(std::memory_order_acquire) || !walk.AcceptsType(record.type.GetId())) return true;
    const AssetVersionTable table = TRY(EnsureVersions(record));
    if (walk.version.IsPopulated()) {
        const AssetVersionEntry* entry = table.FindVersion(walk.version);
        return entry ? DeliverEntry(walk, record, table, *entry) : Result<Bool>(true);
    }
    const AssetVersionEntry* last = table.GetLast();
    if (!last) return true;
    // A deleted newest version means a deleted asset, whatever versions are older.
    const Bool deleted = last->description && last->description->IsDeleted();
    if (deleted && !walk.Has(ASSET_FIND_MODE::WITH_DELETED)) return true;
    if (walk.Has(ASSET_FIND_MODE::LATEST)) return DeliverEntry(walk, record, table, *last);
    if (!walk.Has(ASSET_FIND_MODE::ALL_VERSIONS)) return true;
    for (Int i = table.GetCount() - 1; i >= 0; --i) {
        const Bool goOn = TRY(DeliverEntry(walk, record, table, table[i]));
        if (!goOn) return false;
    }
    return true;
}

Result<Bool> RepositoryEngine::DeliverEntry(const Walk& walk, const AssetIdData& record, const AssetVersionTable& table,
                                            const AssetVersionEntry& entry) {
    if (!entry.description) return true;
    if (entry.description->IsDeleted() && !walk.Has(ASSET_FIND_MODE::WITH_DELETED)) return true;
    if (!walk.CollectsLatest()) {
        CheckNoLockHeld(LOCK_USE::CALLBACK, "a receiver of assets");
        return walk.receiver(AssetFindItem(entry.description));
    }

    walk.latest.Offer(record.hash, table.GetBlock(), entry);
    return true;
}

Result<Bool> RepositoryEngine::FindInBases(const AssetRepositoryInterface& self, const Walk& walk) {
    for (const AssetRepositoryRef& base : self.GetBases()) {
        TRY(walk.CheckCancelled());
        if (!base) return NullptrError::Create(FormatMessage("Repository @ has a null base.", self.GetId()));
        const Bool isNew = TRY(walk.visited.Insert(base.GetPointer()));
        if (!isNew) continue;
        const Bool goOn =
            TRY(base->PrivateFindAssets(walk.types, walk.aid, walk.version, walk.mode, walk.receiver, walk.visited, walk.latest));
        if (!goOn) return false;
    }
    return true;
}

Result<AssetDescription> RepositoryEngine::GetDescription(const AssetBase& asset) {
    const IdAndVersion identity = asset ? asset->GetIdAndVersion() : IdAndVersion();
    if (AssetIdData* record = _table.Find(identity.first)) {
        const AssetVersionTable table = record->GetVersions();
        const AssetVersionEntry* entry = table.FindVersion(identity.second);
        if (entry && entry->description) return AssetDescription(entry->description);
    }
    return IllegalArgumentError::Create(FormatMessage("No asset description for @ found in @.", ToIdentityText(identity), _id));
}

AssetVersionKey RepositoryEngine::GetVersionKey(const AssetBase& asset) {
    if (asset->GetIdAndVersion().second == g_newVersion) return AssetVersionKey::GetMax();
    if (const auto description = Cast<AssetDescriptionInterface>(asset)) return AssetDescription(description).GetVersionKey();
    const auto loaded = Cast<AssetInterface>(asset);
    if (!loaded) return {};
    const Result<AssetDescription> description = loaded->GetDescription();
    return description.IsOk() ? description.GetValue().GetVersionKey() : AssetVersionKey{};
}

}  // namespace talvo
