#include "browser_filter/search_index.h"

#include "kernel/app/log.h"
#include "kernel/thread/job.h"
#include "keyword_asset.h"
#include "subtype_asset.h"

namespace talvo {

namespace {

/// With more changes than this share of its assets a table is made anew.
constexpr std::size_t CHANGED_SHARE = 16;
constexpr std::size_t CHANGED_MINIMUM = 1000;

}  // namespace

Result<std::vector<AssetDescription>> SearchSnapshot::FindReferences(const AssetRepositoryRef& repository) const {
    std::vector<AssetDescription> references;
    for (const UInt32 number : table->GetReferences()) {
        const AssetDescription& asset = table->GetAsset(number);
        if (!changed.Contains(asset->GetIdAndVersion().first)) references.push_back(asset);
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
                return DerivedAssetRepositoryDataRef(SearchIndexRef::Create());
            }));
        return SearchIndexRef(static_cast<SearchIndex*>(data.GetPointer()));
    });
}

SearchSnapshot SearchIndex::GetSnapshot() const {
    auto state = _state.Read();
    return {state->table, state->changed};
}

Result<void> SearchIndex::Build(const AssetRepositoryRef& repository) {
    UInt generation = 0;
    {
        auto state = _state.Write();
        state->isBuilding = true;
        state->changedWhileBuilt = {};
        generation = ++state->generation;
    }
    Result<SearchTableRef> built = SearchTable::Build(repository);
    SearchTableRef table = built.IsOk() ? std::move(built).GetValue() : nullptr;
    HashSet<Id> before;
    {
        auto state = _state.Write();
        if (state->generation != generation) return OK;  // somebody makes another one
        state->isBuilding = false;
        if (table) {
            std::swap(state->table, table);
            std::swap(before, state->changed);
            std::swap(state->changed, state->changedWhileBuilt);
        }
    }
    return built.IsError() ? Result<void>(built.GetError()) : Result<void>(OK);
}

void SearchIndex::BuildInBackground(const AssetRepositoryRef& repository) {
    {
        auto state = _state.Write();
        const std::size_t limit = state->table ? state->table->GetCount() / CHANGED_SHARE + CHANGED_MINIMUM : 0;
        const Bool isGood = state->table && std::size_t(state->changed.GetCount()) <= limit;
        if (isGood || state->isBuilding) return;
        state->isBuilding = true;
    }
    const SearchIndexRef self(this);
    const WeakRef<AssetRepositoryInterface> weak(repository.GetPointer());
    const Result<JobRef> job = JobQueue::GetDefaultQueue().Enqueue([self, weak]() -> Result<void> {
        const AssetRepositoryRef alive = weak.Promote();
        return alive ? self->Build(alive) : Result<void>(OK);
    });
    if (job.IsOk()) return;
    Log(LOG_LEVEL::WARNING, "Searches stay slow, since no search table can be made: @", job.GetError()->GetMessage());
    auto state = _state.Write();
    state->isBuilding = false;
}

void SearchIndex::Drop() {
    SearchTableRef table;
    auto state = _state.Write();
    std::swap(state->table, table);
    state->isBuilding = false;
    ++state->generation;
}

void SearchIndex::HandleBaseChanged(const AssetRepositoryRef&, const AssetRepositoryRef&, Bool) { Drop(); }

void SearchIndex::NoteChange(const AssetBase& asset) {
    const Id aid = asset->GetIdAndVersion().first;
    const Result<void> noted = CatchOutOfMemory([&]() -> Result<void> {
        auto state = _state.Write();
        if (state->table) TRY(state->changed.Insert(aid));
        if (state->isBuilding) TRY(state->changedWhileBuilt.Insert(aid));
        return OK;
    });
    if (noted.IsError()) Drop();
}

}  // namespace talvo
