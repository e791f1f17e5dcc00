// What a host told a browser: the state that an update takes a copy of.
#pragma once

#include "asset_browser.h"

namespace talvo {

/// The texts and switches of DoFiltering.
struct BrowserFilter {
    String masterFilter, groupFilter, sortFilter, filterString;
    Bool localFilterMode = false;
    Bool showUnavailable = false;

    Bool operator==(const BrowserFilter&) const = default;
};

/// Threads: as a plain value.
struct BrowserSettings {
    NodesGraphModelRef graphModel;
    BuildEntryDelegate buildEntry;
    Delegate<Result<void>()> initData;
    CommandRestrictionDelegate commandRestriction;
    DefaultPresetPluginTypeDelegate defaultPresetPluginType;
    // As seen when the main thread looked last.
    NodeSystemClassRef nodeSystemClass;
    WeakRef<AssetRepositoryInterface> lookupRepository;

    BrowserFilter filter;
    Bool clearState = false;
    Bool updatesEnabled = false;
    Bool skipWatchfolders = false;
    Bool skipCommandAssets = false;
    Bool showHiddenCommands = false;
    Int32 relevantMasterFilter = 0;
    Int32 activeManager = 0;
    Int32 lengthUnitSystem = 0;
    Int rowLimit = 0;
    UniversalDateTime referenceTime;
    HashSet<Id> assetTypes;
    HashSet<Id> parentSelection;
    HashSet<Id> selectOnNextUpdate;
    HashSet<Id> filteredDatabases;
    BaseArray<AssetDescription> smartSearches;
    BaseArray<String> searchStrings;
};

/// `text` in upper case with one blank between words: what relevance looks for.
String MakeUpperFilterText(const String& text);

}  // namespace talvo
