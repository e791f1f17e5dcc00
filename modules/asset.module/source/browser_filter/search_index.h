// The search table of a repository, kept with it and up to date: what changed since it was made is known and looked at exactly.
#pragma once

#include "browser_filter/search_table.h"

namespace talvo {

/// A table and what it doesn't tell rightly any more.
struct SearchSnapshot {
    SearchTableRef table;  ///< null: there is none
    HashSet<Id> changed;   ///< assets that are to be looked up instead

    /// All keywords and subtypes. Errors: those of the lookup.
    Result<std::vector<AssetDescription>> FindReferences(const AssetRepositoryRef& repository) const;
};

/// There is one for each repository that searches begin at and each language.
/// Threads:    any.
/// Lock order: a leaf; tables are built and let go of without it.
class SearchIndex final : public DerivedAssetRepositoryDataInterface {
public:
    /// Errors: those of GetCachedData.
    static Result<StrongRef<SearchIndex>> Of(const AssetRepositoryRef& repository);

    SearchSnapshot GetSnapshot() const;
    /// Makes a table now. Errors: those of the lookup; OperationCancelledError.
    Result<void> Build(const AssetRepositoryRef& repository);
    /// Makes a table in a job of its own, unless there is a good one or one is being made. A failure is logged; searches go on without.
    void BuildInBackground(const AssetRepositoryRef& repository);

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
        Bool isBuilding = false;
        UInt generation = 0;  // grows whenever a table in the making is of no use any more
    };
    void NoteChange(const AssetBase& asset);
    void Drop();

    Guarded<State, Spinlock> _state;
};
using SearchIndexRef = StrongRef<SearchIndex>;

}  // namespace talvo
