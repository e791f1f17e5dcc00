// The logic behind one view of assets: the host says what to look at, and gets sorted rows through a delegate.
#pragma once

#include "asset_browser_types.h"
#include "asset_presentation.h"
#include "assets.h"
#include "kernel/base/hash_map.h"

namespace talvo {

class AssetBrowserInterface;
using AssetBrowserRef = StrongRef<AssetBrowserInterface>;

/// The host's graph of nodes, as far as a browser looks at it.
/// Threads: called on the main thread and on that of an update.
class NodesGraphModelInterface : public ObjectInterface {
public:
    /// Where the view looks assets up; may be null.
    virtual AssetRepositoryRef GetLookupRepository() const = 0;
    /// Class of the graph's node system; null if there is none.
    virtual NodeSystemClassRef GetNodeSystemClass() const = 0;
};
using NodesGraphModelRef = StrongRef<NodesGraphModelInterface>;
/// The model of a host without graphs: its views look assets up in `repository`. Errors: OutOfMemoryError.
Result<NodesGraphModelRef> CreateRepositoryGraphModel(const AssetRepositoryRef& repository);

/// What the host gets for one row.
struct BuildEntryRecord {
    AssetDescription asset;         ///< null for a header
    AssetRepositoryRef repository;  ///< of rows of repositories
    Id groupId;                     ///< key of a group
    String name;
    String matchText;  ///< why the asset matched
    String detail;
    String subtitle;   ///< type and place
    String shortcuts;  ///< of commands, like `help`
    String help;
    Bool isGroup = false;   ///< rows under it follow
    Bool isMarked = false;  ///< a favourite
    Bool relevant = false;
    Int32 stateFlags = 0;
    Int32 indexState = 0;
};

/// When the host's delegate is called in one update; each update runs through them in this order.
namespace BUILD_STAGE {

inline constexpr Int BEGIN =
    0;  ///< `userData` is the Bool that the list starts from nothing; the answer is `userData` from now on
inline constexpr Int ROOT = 2;  ///< the answer is the entry of the rows of the top level
inline constexpr Int ROW = 3;   ///< the answer is the row's entry; the Bool false for a group ends its level in an asset list
inline constexpr Int SELECTION = 4;  ///< `parentEntry` holds a BaseArray<Id> of what is to be selected now

}  // namespace BUILD_STAGE

using BuildEntryDelegate = Delegate<Result<Data>(const AssetBrowserRef& browser, Int stage, const Data& userData,
                                                 const Data& parentEntry, const BuildEntryRecord& record)>;
/// The manager that a command is restricted to; 0 for none.
using CommandRestrictionDelegate = Delegate<Result<Int32>(const AssetDescription& command)>;
/// The plug-in type that a preset of defaults is for.
using DefaultPresetPluginTypeDelegate = Delegate<Result<Int32>(const AssetDescription& preset)>;

/// One view: it keeps what to show, decides when an update runs, runs it as one job, and cancels it whenever what to show changes. A new one lists
/// nothing until SetBuildEntryDelegate and EnableUpdates(true) were called.
///
/// Setters compare: the same value again does nothing; another one cancels the running update, starts the list from nothing and asks for an update,
/// if updates are enabled. Requests are joined: what is set before the main thread's queue runs costs one update. Those called plain stores count
/// from the next update on.
///
/// Threads:    any. The delegates are called on a worker, never two at once for one browser, and may call back into it or drop it; they must not wait
///             for an update. No lock is held then.
/// Ownership:  the end of the last reference cancels the update and waits for it, unless that happens inside of the update itself.
/// Errors:     those of an update never reach the host but in the log; it sees the rows delivered so far.
class AssetBrowserInterface : public ObjectInterface {
public:
    /// A browser that lists what `mode` says. Errors: UnsupportedOperationError for modes that list nothing yet; OutOfMemoryError.
    static Result<AssetBrowserRef> Create(ASSET_BROWSE_MODE mode);
    /// How rows of a grouping are sorted unless the user says otherwise; 0 for what is no grouping.
    static ASSET_SORT_BY GetDefaultSortByFromGroupBy(ASSET_GROUP_BY groupBy);
    /// Makes what lets searches that begin at `repository` be answered at once, and waits for it. Else the first update of a browser does so and takes
    /// that much longer; changes are followed. Errors: NullptrError for null; those of the lookup.
    static Result<void> PrepareSearch(const AssetRepositoryRef& repository);
    /// Despite its name: true means that the node may be listed in a view of the class, null: of any.
    static Result<Bool> IsNodeHidden(const AssetDescription& asset, const NodeSystemClassRef& cls);

    // Plain stores.

    /// Rows of watch folders are left out of the tree.
    virtual void SkipWatchfolders(Bool skip) = 0;
    /// Commands are left out.
    virtual void SkipCommandAssets(Bool skip) = 0;
    /// Commands that are flagged as hidden are listed.
    virtual void ShowHiddenFlaggedCommandAssets(Bool show) = 0;
    virtual Bool GetShowHiddenFlaggedCommandAssets() const = 0;
    /// 1: lengths in miles, yards, feet and inches; else metric.
    virtual void SetLengthUnitSystem(Int32 system) = 0;
    /// Which items a smart search means by "relevant": an ASSET_RELEVANT_ITEMS, 0 for none.
    virtual void SetRelevantMasterFilter(Int32 filter) = 0;
    /// Commands of this manager come first under relevance.
    virtual void SetActiveManager(Int32 managerId) = 0;
    /// At most as many rows without rows under them, then one named "..."; 0: all.
    virtual void SetRowLimit(Int limit) = 0;
    /// "Today" of groups and dates; empty: the clock.
    virtual void SetReferenceTime(UniversalDateTime now) = 0;
    /// Called once an update, before the rows are looked for.
    virtual void SetInitDataDelegate(Delegate<Result<void>()> delegate) = 0;
    virtual void SetGetCommandRestrictionManagerDelegate(CommandRestrictionDelegate delegate) = 0;
    virtual void SetGetAssetDefaultPresetPluginTypeDelegate(DefaultPresetPluginTypeDelegate delegate) = 0;

    // What the view is bound to.

    /// False stops the update that runs.
    virtual void EnableUpdates(Bool enableUpdates) = 0;
    /// Of the graph model, when the main thread looked last; null if it has gone.
    virtual AssetRepositoryRef GetLookupRepository() const = 0;
    /// Null: assets are looked up in the user's repository.
    virtual Result<void> SetGraphModel(const NodesGraphModelRef& nodesGraphRef) = 0;
    virtual Result<void> SetBuildEntryDelegate(BuildEntryDelegate builderDelegate) = 0;

    // Setters and what reads them.

    /// Only assets of these types; empty: all.
    virtual Result<void> SetAssetTypesFilter(const HashSet<Id>& assetTypes) = 0;
    virtual Result<void> GetAssetTypesFilter(HashSet<Id>& assetTypes) const = 0;
    /// What to list under in local filter mode, as identities in text form.
    virtual Result<void> SetParentSelection(const HashSet<Id>& parentSelection, const HashSet<Id>& selectOnNextUpdate) = 0;
    /// What is to be selected when the next update ends; the list goes on from what it holds.
    virtual Result<void> SetSelectionOnNextUpdate(const HashSet<Id>& selectOnNextUpdate) = 0;
    /// Hands out a snapshot, with no lock held.
    virtual Result<void> GetParentSelection(Receiver<Id> receiver) const = 0;
    /// The same, parsed. Errors: IllegalArgumentError for a text that is no identity; the receiver's.
    virtual Result<void> GetParentSelection(FunctionRef<Result<void>(const IdAndVersion&)> receiver) const = 0;
    virtual HashSet<Id> GetAndClearSelectionOnNextUpdate() = 0;
    /// Despite its name: the assets of these repositories are left out.
    virtual Result<void> SetDatabaseMasterfilter(const HashSet<Id>& masterFilterDatabaseIds) = 0;
    virtual Result<void> GetDatabaseMasterfilter(HashSet<Id>& filteredDatabases) const = 0;
    /// Smart searches, keywords and categories that narrow the list.
    virtual Result<void> SetSmartSearch(const BaseArray<AssetDescription>& smartSearch) = 0;
    virtual BaseArray<AssetDescription> GetSmartSearches() const = 0;
    /// The filter text that they stand for. Errors: those of reading a smart search.
    virtual Result<String> GetSmartSearchString() const = 0;
    virtual Bool GetAndResetClearState() = 0;
    /// Cancels the update. @param wait until it has ended, unless the caller is inside of it.
    virtual void JobRefReset(Bool wait) = 0;
    /// Sets what to look for. @param localFilterMode list what lies in the selected categories only. @param showUnavailable assets of other versions
    /// of the application, too.
    virtual void DoFiltering(const String& masterFilter, const String& groupFilter, const String& sortFilter,
                             const String& filterString, Bool localFilterMode, Bool showUnavailable) = 0;
    /// The same, and runs one update to its end. Not from inside of an update.
    virtual void DoFilteringPreScan(const String& masterFilter, const String& groupFilter, const String& sortFilter,
                                    const String& filterString, Bool localFilterMode, Bool showUnavailable) = 0;
    virtual void GetFilterStrings(String& masterFilter, String& groupFilter, String& sortFilter, String& filterString,
                                  Bool& localFilterMode) const = 0;
    virtual String GetFilterString() const = 0;
    /// What was looked for by the last update: the values of all conditions.
    virtual BaseArray<String> GetSearchStrings() const = 0;
    /// Asks for an update even if nothing changed.
    virtual Result<void> RequestAssetBrowserUpdate() = 0;
    virtual ASSET_BROWSE_MODE GetBrowseMode() const = 0;
    /// Takes over texts, sets and selections, but no flags and no delegates; asks for no update. Errors: IllegalArgumentError for null.
    virtual Result<void> CopySettingsFrom(const AssetBrowserRef& source) = 0;
};

}  // namespace talvo
