#include "browser_filter/search_index.h"

#include "kernel/app/log.h"
#include "keyword_asset.h"
#include "subtype_asset.h"

#include <chrono>
#include <thread>

namespace talvo {

namespace {

/// With more changes than this share of its assets a table is made anew.
constexpr std::size_t CHANGED_SHARE = 16;
constexpr std::size_t CHANGED_MINIMUM = 1000;
constexpr std::chrono::milliseconds LOOK_AGAIN{1};
/// How often a table is made anew because bases changed meanwhile.
constexpr int MOST_TRIES = 3;

Bool HasEnded(const JobRef& job) { return job->GetState() == JOB_STATE::DONE || job->GetState() == JOB_STATE::CANCELLED; }

}  // namespace

Result<std::vector<AssetDescription>> SearchSnapshot::FindReferences(const AssetRepositoryRef& repository) const {
    std::vector<AssetDescription> references;
    for (const UInt32 number : table->GetReferences()) {
        if (changed.Contains(table->GetAssetId(number))) continue;
        AssetDescription asset = TRY(table->GetAsset(number, repository));
        if (asset) references.push_back(std::move(asset));
    }
    for (const Id& aid : changed) {
        const AssetDescription asset = TRY(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::LATEST));
        const Bool isOne = asset && (asset->GetTypeId() == ASSETTYPE_KEYWORD || asset->GetTypeId() == ASSETTYPE_SUBTYPE);
        if (isOne) references.push_back(asset);
    }
    return references;
}

Result<SearchIndexRef> SearchIndex::Of(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<SearchIndexRef> {
        const std::string key = "searchindex " + std::string(Resource::GetCurrentLanguage()->GetIdentifier().GetView());
        const DerivedAssetRepositoryDataRef data =
            TRY(repository->GetCachedData(Data(String(key)), []() -> Result<DerivedAssetRepositoryDataRef> {
                JobQueueRef queue = TRY(JobQueue::Create(1));
                return DerivedAssetRepositoryDataRef(SearchIndexRef::Create(std::move(queue)));
            }));
        return SearchIndexRef(static_cast<SearchIndex*>(data.GetPointer()));
    });
}

SearchSnapshot SearchIndex::GetSnapshot() const {
    auto state = _state.Read();
    return {state->table, state->changed};
}

/// @return the job that makes a table, be it one that was started before.
Result<JobRef> SearchIndex::StartBuilding(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<JobRef> {
        const SearchIndexRef self(this);
        const WeakRef<AssetRepositoryInterface> weak(repository.GetPointer());
        JobRef job;
        HashSet<Id> before;
        {
            auto state = _state.Write();
            if (state->building) return state->building;
            const UInt generation = ++state->generation;
            job = Job::Create([self, weak, generation]() -> Result<void> {
                const AssetRepositoryRef alive = weak.Promote();
                if (!alive) return self->Install(generation, OperationCancelledError::Create());
                return self->Install(generation, SearchTable::Build(alive));
            });
            state->building = job;
            std::swap(state->changedWhileBuilt, before);
        }
        const Result<void> enqueued = _queue->Enqueue(job);
        // Dropped meanwhile, it has ended.
        if (enqueued.IsOk() || job->IsCancelled()) return job;
        job->Cancel();  // somebody may wait for it
        auto state = _state.Write();
        if (state->building == job) state->building = nullptr;
        return enqueued.GetError();
    });
}

Result<void> SearchIndex::Install(UInt generation, Result<SearchTableRef> built) {
    SearchTableRef table = built.IsOk() ? std::move(built).GetValue() : nullptr;
    HashSet<Id> before;
    JobRef done;
    {
        auto state = _state.Write();
        if (state->generation != generation) return OperationCancelledError::Create();
        std::swap(state->building, done);
        if (table) {
            std::swap(state->table, table);
            std::swap(before, state->changed);
            std::swap(state->changed, state->changedWhileBuilt);
            state->areRanksAsked = false;
        }
    }
    if (built.IsOk()) return OK;
    if (!OperationCancelledError::IsClassOf(built.GetError()))
        Log(LOG_LEVEL::WARNING, "Searches stay slow, since no search table can be made: @", built.GetError()->GetMessage());
    return built.GetError();
}

Result<void> SearchIndex::EnsureTable(const AssetRepositoryRef& repository) {
    if (GetSnapshot().table) return OK;
    return MakeTable(repository, [](const JobRef& job) -> Result<void> {
        // The waiting job must be able to end at once, so that it can't simply wait.
        while (!HasEnded(job)) {
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            std::this_thread::sleep_for(LOOK_AGAIN);
        }
        return OK;
    });
}

Result<void> SearchIndex::MakeTable(const AssetRepositoryRef& repository, FunctionRef<Result<void>(const JobRef&)> wait) {
    for (int tries = 0; tries < MOST_TRIES; ++tries) {
        const JobRef job = TRY(StartBuilding(repository));
        TRY(wait(job));
        const Result<void> built = job->GetResult();
        if (built.IsOk() || !OperationCancelledError::IsClassOf(built.GetError())) return built;
        // What it was made of has changed.
    }
    return IllegalStateError::Create(FormatMessage(
        "The bases of @ change all the time, so that searches can't be prepared. Try again later.", repository->GetId()));
}

Result<JobRef> SearchIndex::StartRanking() {
    const SearchTableRef table = GetSnapshot().table;
    if (!table) return JobRef();
    return _queue->Enqueue([table] { return table->MakeRanks(); });
}

Result<void> SearchIndex::Prepare(const AssetRepositoryRef& repository) {
    TRY(MakeTable(repository, [](const JobRef& job) { return job->Wait(); }));
    const JobRef ranking = TRY(StartRanking());
    if (!ranking) return OK;
    TRY(ranking->Wait());
    return ranking->GetResult();
}

void SearchIndex::RefreshInBackground(const AssetRepositoryRef& repository) {
    Bool isOutdated = false;
    {
        auto state = _state.Write();
        const std::size_t limit = state->table ? state->table->GetCount() / CHANGED_SHARE + CHANGED_MINIMUM : 0;
        isOutdated = !state->table || std::size_t(state->changed.GetCount()) > limit;
        if (!isOutdated && std::exchange(state->areRanksAsked, true)) return;
    }
    const Result<JobRef> job = isOutdated ? StartBuilding(repository) : StartRanking();
    if (job.IsError()) Log(LOG_LEVEL::WARNING, "Searches stay slow: @", job.GetError()->GetMessage());
}

void SearchIndex::Drop() {
    SearchTableRef table;
    JobRef building;
    {
        auto state = _state.Write();
        std::swap(state->table, table);
        std::swap(state->building, building);
        state->areRanksAsked = false;
        ++state->generation;
    }
    if (building) building->Cancel();
}

// A repository tells this of itself, and so to all that are based on it, when the state of its index changes. Its assets are as before.
void SearchIndex::HandleBaseChanged(const AssetRepositoryRef& repo, const AssetRepositoryRef& base, Bool added) {
    const Bool isStillThere = !added && base && (repo == base || repo->FindRepository(base->GetId()) == base);
    if (!isStillThere) Drop();
}

void SearchIndex::NoteChange(const AssetBase& asset) {
    const Id aid = asset->GetIdAndVersion().first;
    const Result<void> noted = CatchOutOfMemory([&]() -> Result<void> {
        auto state = _state.Write();
        if (state->table) TRY(state->changed.Insert(aid));
        if (state->building) TRY(state->changedWhileBuilt.Insert(aid));
        return OK;
    });
    if (noted.IsError()) Drop();
}

}  // namespace talvo
