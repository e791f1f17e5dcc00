// The handle of a browser: each operation changes the settings and says what becomes of the update.
#include "asset_browser.h"

#include "asset_browser/browser_state.h"
#include "browser_filter/smart_search_text.h"
#include "kernel/app/log.h"

namespace talvo {

namespace {

Bool IsSame(const HashSet<Id>& first, const HashSet<Id>& second) {
    return first.GetCount() == second.GetCount() &&
           std::all_of(first.begin(), first.end(), [&](const Id& id) { return second.Contains(id); });
}

Bool IsSame(const BaseArray<AssetDescription>& first, const BaseArray<AssetDescription>& second) { return first == second; }

class AssetBrowserImpl final : public AssetBrowserInterface {
public:
    explicit AssetBrowserImpl(ASSET_BROWSE_MODE mode) : _state(BrowserStateRef::Create(mode)) {}
    ~AssetBrowserImpl() override { _state->jobs.Close(); }
    BrowserState& GetState() { return *_state; }

    void SkipWatchfolders(Bool skip) override { Put(&BrowserSettings::skipWatchfolders, skip); }
    void SkipCommandAssets(Bool skip) override { Put(&BrowserSettings::skipCommandAssets, skip); }
    void ShowHiddenFlaggedCommandAssets(Bool show) override { Put(&BrowserSettings::showHiddenCommands, show); }
    Bool GetShowHiddenFlaggedCommandAssets() const override { return Take(&BrowserSettings::showHiddenCommands); }
    void SetLengthUnitSystem(Int32 system) override { Put(&BrowserSettings::lengthUnitSystem, system); }
    void SetRelevantMasterFilter(Int32 filter) override { Put(&BrowserSettings::relevantMasterFilter, filter); }
    void SetActiveManager(Int32 managerId) override { Put(&BrowserSettings::activeManager, managerId); }
    void SetRowLimit(Int limit) override { Put(&BrowserSettings::rowLimit, limit); }
    void SetReferenceTime(UniversalDateTime now) override { Put(&BrowserSettings::referenceTime, now); }
    void SetInitDataDelegate(Delegate<Result<void>()> delegate) override { Put(&BrowserSettings::initData, std::move(delegate)); }
    void SetGetCommandRestrictionManagerDelegate(CommandRestrictionDelegate delegate) override {
        Put(&BrowserSettings::commandRestriction, std::move(delegate));
    }
    void SetGetAssetDefaultPresetPluginTypeDelegate(DefaultPresetPluginTypeDelegate delegate) override {
        Put(&BrowserSettings::defaultPresetPluginType, std::move(delegate));
    }

    void EnableUpdates(Bool enableUpdates) override;
    AssetRepositoryRef GetLookupRepository() const override {
        auto settings = _state->settings.Read();
        return settings->lookupRepository.Promote();
    }
    Result<void> SetGraphModel(const NodesGraphModelRef& nodesGraphRef) override;
    Result<void> SetBuildEntryDelegate(BuildEntryDelegate builderDelegate) override;

    Result<void> SetAssetTypesFilter(const HashSet<Id>& assetTypes) override {
        return Change(&BrowserSettings::assetTypes, assetTypes);
    }
    Result<void> GetAssetTypesFilter(HashSet<Id>& assetTypes) const override {
        return Copy(&BrowserSettings::assetTypes, assetTypes);
    }
    Result<void> SetParentSelection(const HashSet<Id>& parentSelection, const HashSet<Id>& selectOnNextUpdate) override;
    Result<void> SetSelectionOnNextUpdate(const HashSet<Id>& selectOnNextUpdate) override;
    Result<void> GetParentSelection(Receiver<Id> receiver) const override;
    Result<void> GetParentSelection(FunctionRef<Result<void>(const IdAndVersion&)> receiver) const override;
    HashSet<Id> GetAndClearSelectionOnNextUpdate() override {
        auto settings = _state->settings.Write();
        return std::exchange(settings->selectOnNextUpdate, {});
    }
    Result<void> SetDatabaseMasterfilter(const HashSet<Id>& masterFilterDatabaseIds) override {
        return Change(&BrowserSettings::filteredDatabases, masterFilterDatabaseIds);
    }
    Result<void> GetDatabaseMasterfilter(HashSet<Id>& filteredDatabases) const override {
        return Copy(&BrowserSettings::filteredDatabases, filteredDatabases);
    }
    Result<void> SetSmartSearch(const BaseArray<AssetDescription>& smartSearch) override {
        return Change(&BrowserSettings::smartSearches, smartSearch);
    }
    BaseArray<AssetDescription> GetSmartSearches() const override { return Take(&BrowserSettings::smartSearches); }
    Result<String> GetSmartSearchString() const override;
    Bool GetAndResetClearState() override {
        auto settings = _state->settings.Write();
        return std::exchange(settings->clearState, false);
    }
    void JobRefReset(Bool wait) override { _state->jobs.Reset(wait); }
    void DoFiltering(const String& masterFilter, const String& groupFilter, const String& sortFilter, const String& filterString,
                     Bool localFilterMode, Bool showUnavailable) override;
    void DoFilteringPreScan(const String& masterFilter, const String& groupFilter, const String& sortFilter,
                            const String& filterString, Bool localFilterMode, Bool showUnavailable) override;
    void GetFilterStrings(String& masterFilter, String& groupFilter, String& sortFilter, String& filterString,
                          Bool& localFilterMode) const override;
    String GetFilterString() const override { return Take(&BrowserSettings::filter).filterString; }
    BaseArray<String> GetSearchStrings() const override { return Take(&BrowserSettings::searchStrings); }
    Result<void> RequestAssetBrowserUpdate() override { return _state->RequestUpdate(); }
    ASSET_BROWSE_MODE GetBrowseMode() const override { return _state->mode; }
    Result<void> CopySettingsFrom(const AssetBrowserRef& source) override;

private:
    /// What was there goes after the lock.
    template <typename T>
    void Put(T BrowserSettings::* member, T value) {
        auto settings = _state->settings.Write();
        std::swap((*settings).*member, value);
    }
    template <typename T>
    T Take(T BrowserSettings::* member) const {
        auto settings = _state->settings.Read();
        return (*settings).*member;
    }
    template <typename T>
    Result<void> Copy(T BrowserSettings::* member, T& target) const {
        return CatchOutOfMemory([&]() -> Result<void> {
            target = Take(member);
            return OK;
        });
    }
    /// A changing setter of one member.
    template <typename T>
    Result<void> Change(T BrowserSettings::* member, const T& value) {
        return CatchOutOfMemory([&]() -> Result<void> {
            T copy = value;
            {
                auto settings = _state->settings.Write();
                if (IsSame((*settings).*member, copy)) return OK;
                std::swap((*settings).*member, copy);
                settings->clearState = true;
            }
            return _state->RequestUpdate();
        });
    }
    Bool SetFilter(BrowserFilter filter);

    const BrowserStateRef _state;
};

void AssetBrowserImpl::EnableUpdates(Bool enableUpdates) {
    {
        auto settings = _state->settings.Write();
        if (settings->updatesEnabled == enableUpdates) return;
        settings->updatesEnabled = enableUpdates;
    }
    if (!enableUpdates) {
        _state->jobs.Reset(false);
    } else if (!_state->jobs.IsStarted()) {
        const Result<void> fired = CatchOutOfMemory([&] { return _state->Fire(); });
        if (fired.IsError()) Log(LOG_LEVEL::WARNING, "AssetBrowser Error: @", fired.GetError()->GetMessage());
    }
}

Result<void> AssetBrowserImpl::SetGraphModel(const NodesGraphModelRef& nodesGraphRef) {
    NodesGraphModelRef model = nodesGraphRef;
    {
        auto settings = _state->settings.Write();
        if (settings->graphModel == model) return OK;
        std::swap(settings->graphModel, model);
    }
    return CatchOutOfMemory([&] { return _state->RequestUpdate(); });
}

Result<void> AssetBrowserImpl::SetBuildEntryDelegate(BuildEntryDelegate builderDelegate) {
    _state->jobs.Reset(false);
    Put(&BrowserSettings::buildEntry, std::move(builderDelegate));
    return CatchOutOfMemory([&] { return _state->RequestUpdate(); });
}

Result<void> AssetBrowserImpl::SetParentSelection(const HashSet<Id>& parentSelection, const HashSet<Id>& selectOnNextUpdate) {
    return CatchOutOfMemory([&]() -> Result<void> {
        HashSet<Id> parents = parentSelection;
        HashSet<Id> selection = selectOnNextUpdate;
        {
            auto settings = _state->settings.Write();
            const Bool isSame = IsSame(settings->parentSelection, parents) && IsSame(settings->selectOnNextUpdate, selection);
            if (isSame) return OK;
            std::swap(settings->parentSelection, parents);
            std::swap(settings->selectOnNextUpdate, selection);
            settings->clearState = true;
        }
        return _state->RequestUpdate();
    });
}

Result<void> AssetBrowserImpl::SetSelectionOnNextUpdate(const HashSet<Id>& selectOnNextUpdate) {
    return CatchOutOfMemory([&]() -> Result<void> {
        HashSet<Id> selection = selectOnNextUpdate;
        {
            auto settings = _state->settings.Write();
            if (IsSame(settings->selectOnNextUpdate, selection)) return OK;
            std::swap(settings->selectOnNextUpdate, selection);
        }
        return _state->RequestUpdate();
    });
}

Result<void> AssetBrowserImpl::GetParentSelection(Receiver<Id> receiver) const {
    return CatchOutOfMemory([&]() -> Result<void> {
        const HashSet<Id> parents = Take(&BrowserSettings::parentSelection);
        for (const Id& id : parents) {
            const Bool goOn = TRY(receiver(id));
            if (!goOn) break;
        }
        return OK;
    });
}

Result<void> AssetBrowserImpl::GetParentSelection(FunctionRef<Result<void>(const IdAndVersion&)> receiver) const {
    return GetParentSelection([&](const Id& id) -> Result<Bool> {
        const IdAndVersion identity = TRY(AssetIdentityText::Read(id));
        TRY(receiver(identity));
        return true;
    });
}

Result<String> AssetBrowserImpl::GetSmartSearchString() const {
    return CatchOutOfMemory([&]() -> Result<String> {
        const BaseArray<AssetDescription> smartSearches = Take(&BrowserSettings::smartSearches);
        return MakeSmartSearchText(smartSearches, Take(&BrowserSettings::relevantMasterFilter));
    });
}

/// @return whether it was another one.
Bool AssetBrowserImpl::SetFilter(BrowserFilter filter) {
    auto settings = _state->settings.Write();
    if (settings->filter == filter) return false;
    std::swap(settings->filter, filter);
    settings->clearState = true;
    return true;
}

void AssetBrowserImpl::DoFiltering(const String& masterFilter, const String& groupFilter, const String& sortFilter,
                                   const String& filterString, Bool localFilterMode, Bool showUnavailable) {
    const Result<void> set = CatchOutOfMemory([&]() -> Result<void> {
        const Bool hasChanged =
            SetFilter({masterFilter, groupFilter, sortFilter, filterString, localFilterMode, showUnavailable});
        return hasChanged ? _state->RequestUpdate() : Result<void>(OK);
    });
    if (set.IsError()) Log(LOG_LEVEL::WARNING, "AssetBrowser Error: @", set.GetError()->GetMessage());
}

void AssetBrowserImpl::DoFilteringPreScan(const String& masterFilter, const String& groupFilter, const String& sortFilter,
                                          const String& filterString, Bool localFilterMode, Bool showUnavailable) {
    const Result<void> run = CatchOutOfMemory([&]() -> Result<void> {
        const Bool hasChanged =
            SetFilter({masterFilter, groupFilter, sortFilter, filterString, localFilterMode, showUnavailable});
        if (!hasChanged) return OK;
        _state->jobs.Reset(true);
        return _state->UpdateAndWait();
    });
    if (run.IsError()) Log(LOG_LEVEL::WARNING, "DoFilteringPreScan: @", run.GetError()->GetMessage());
}

void AssetBrowserImpl::GetFilterStrings(String& masterFilter, String& groupFilter, String& sortFilter, String& filterString,
                                        Bool& localFilterMode) const {
    BrowserFilter filter = Take(&BrowserSettings::filter);
    masterFilter = std::move(filter.masterFilter);
    groupFilter = std::move(filter.groupFilter);
    sortFilter = std::move(filter.sortFilter);
    filterString = std::move(filter.filterString);
    localFilterMode = filter.localFilterMode;
}

Result<void> AssetBrowserImpl::CopySettingsFrom(const AssetBrowserRef& source) {
    if (!source) return IllegalArgumentError::Create("");
    if (source.GetPointer() == this) return OK;
    return CatchOutOfMemory([&]() -> Result<void> {
        AssetBrowserImpl* other = dynamic_cast<AssetBrowserImpl*>(source.GetPointer());
        if (!other) return IllegalArgumentError::Create("The source is no browser of this module.");
        // Never two locks at once: what is copied is of one moment, what it replaces goes without a lock.
        BrowserSettings copy;
        {
            auto settings = other->_state->settings.Read();
            copy = *settings;
        }
        auto settings = _state->settings.Write();
        const Bool showUnavailable = settings->filter.showUnavailable;
        std::swap(settings->filter, copy.filter);
        settings->filter.showUnavailable = showUnavailable;
        std::swap(settings->parentSelection, copy.parentSelection);
        std::swap(settings->searchStrings, copy.searchStrings);
        std::swap(settings->smartSearches, copy.smartSearches);
        std::swap(settings->filteredDatabases, copy.filteredDatabases);
        std::swap(settings->assetTypes, copy.assetTypes);
        std::swap(settings->selectOnNextUpdate, copy.selectOnNextUpdate);
        return OK;
    });
}

}  // namespace

Result<AssetBrowserRef> AssetBrowserInterface::Create(ASSET_BROWSE_MODE mode) {
    if (mode != ASSET_BROWSE_MODE::CATEGORY_TREE && mode != ASSET_BROWSE_MODE::ASSET_LIST)
        return UnsupportedOperationError::Create(
            "Browsers of this mode list nothing yet. Make one of a category tree or an asset list.");
    return CatchOutOfMemory([&]() -> Result<AssetBrowserRef> {
        const auto browser = StrongRef<AssetBrowserImpl>::Create(mode);
        browser->GetState().SetHandle(browser);
        return AssetBrowserRef(browser);
    });
}

String MakeUpperFilterText(const String& text) {
    String joined;
    for (const String& word : text.ToUpper().Split(String(" "), String::SPLIT::DROP_EMPTY)) {
        if (joined.IsPopulated()) joined.Append(String(" "));
        joined.Append(word);
    }
    return joined;
}

}  // namespace talvo
