// The search table of a repository, kept with it and up to date: what changed since it was made is known and looked at exactly.
#pragma once

#include "browser_filter/search_table.h"
#include "kernel/thread/job.h"

namespace talvo {

/// A table and what it doesn't tell rightly any more.
struct SearchSnapshot {
    SearchTableRef table;  ///< null: there is none
    HashSet<Id> changed;   ///< assets that are to be looked up instead

    /// All keywords and subtypes. Errors: those of the lookup.
    Result<std::vector<AssetDescription>> FindReferences(const AssetRepositoryRef& repository) const;
};

/// There is one for each repository that searches begin at and each language.
/// Threads:    any. Tables are made and ranked one after the other, by a thread of the index.
/// Lock order: a leaf; tables are built and let go of without it.
class SearchIndex final : public DerivedAssetRepositoryDataInterface {
public:
    /// Errors: those of GetCachedData.
    static Result<StrongRef<SearchIndex>> Of(const AssetRepositoryRef& repository);
    explicit SearchIndex(JobQueueRef queue) : _queue(std::move(queue)) {}

    SearchSnapshot GetSnapshot() const;
    /// Waits for a table, be it that it is made now. The table is made on even if nobody waits any more.
    /// Errors: those of the lookup; OperationCancelledError if this job was cancelled.
    Result<void> EnsureTable(const AssetRepositoryRef& repository);
    /// Makes a table of all there is now, with ranks, and waits for it. Errors: those of the lookup.
    Result<void> Prepare(const AssetRepositoryRef& repository);
    /// Makes the table anew if much was changed, else its ranks if it has none, in a job of its own. A failure is logged; searches go on without.
    void RefreshInBackground(const AssetRepositoryRef& repository);

    void HandleBaseChanged(const AssetRepositoryRef& repo, const AssetRepositoryRef& base, Bool added) override;
    void HandleAssetStored(const AssetBase& asset) override { NoteChange(asset); }
    void HandleAssetErased(const AssetBase& asset) override { NoteChange(asset); }
    void HandleAssetUpdated(const AssetBase&) override {}
    void HandleMetaDataStored(const AssetBase& asset, const InternedId&, ASSET_METADATA_KIND, const Data&, const Data&) override {
        NoteChange(asset);
    }
    void HandleDownloadStateChanged(const AssetRepositoryRef&, Bool) override {}

private:
    struct State {
        SearchTableRef table;
        HashSet<Id> changed;            // since `table` was begun
        HashSet<Id> changedWhileBuilt;  // since the one that is being made was begun
        JobRef building;                // makes a table; null: nobody does
        Bool areRanksAsked = false;     // of `table`
        UInt generation = 0;            // grows whenever a table in the making is of no use any more
    };
    /// Lets a table be made until one is right. @param wait for the job. Errors: those of the lookup; `wait`'s; IllegalStateError if bases never stop changing.
    Result<void> MakeTable(const AssetRepositoryRef& repository, FunctionRef<Result<void>(const JobRef&)> wait);
    Result<JobRef> StartBuilding(const AssetRepositoryRef& repository);
    Result<void> Install(UInt generation, Result<SearchTableRef> built);
    /// @return the job that gives the table ranks; null if there is no table. Ranks are made by the thread of the queue only.
    Result<JobRef> StartRanking();
    void NoteChange(const AssetBase& asset);
    void Drop();

    const JobQueueRef _queue;
    Guarded<State, Spinlock> _state;
};
using SearchIndexRef = StrongRef<SearchIndex>;

}  // namespace talvo
