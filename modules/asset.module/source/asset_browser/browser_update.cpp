// One update of a browser, from its first word to the host to its last.
#include "asset_browser/asset_walk.h"
#include "asset_browser/browser_state.h"
#include "asset_browser/host_calls.h"
#include "asset_browser/row_builder.h"
#include "asset_browser/row_delivery.h"
#include "asset_browser/tree_rows.h"
#include "kernel/app/log.h"
#include "kernel/thread/job.h"

namespace talvo {

namespace {

void LogError(const Result<void>& result) {
    if (result.IsError() && !OperationCancelledError::IsClassOf(result.GetError()))
        Log(LOG_LEVEL::WARNING, "AssetBrowser Error: @", result.GetError()->GetMessage());
}

class BrowserUpdate {
public:
    explicit BrowserUpdate(BrowserState& state) : _state(state) {}

    Result<void> Run() {
        _state.jobs.WaitForEarlier();
        if (!_state.jobs.IsCurrent()) return OK;
        {
            auto settings = _state.settings.Write();
            _settings = *settings;
            settings->clearState = false;
        }
        const Bool clearState = _settings.clearState;
        HostCalls host(_state, _settings.buildEntry);
        const Result<void> listed = CatchOutOfMemory([&] { return List(host); });
        LogError(listed);
        // Whoever was told that the list starts from nothing, and then got none, has to be told again.
        if (listed.IsError() && !host.HasBegunRows() && clearState) {
            auto settings = _state.settings.Write();
            settings->clearState = true;
        }
        if (_hasBegun && _state.jobs.IsCurrent()) LogError(CatchOutOfMemory([&] { return Select(host); }));
        return OK;
    }

private:
    Result<void> List(HostCalls& host) {
        if (_settings.graphModel) _settings.nodeSystemClass = _settings.graphModel->GetNodeSystemClass();
        TRY(host.Begin(_settings.clearState));
        _hasBegun = true;
        AssetRepositoryRef repository = _settings.graphModel ? _settings.graphModel->GetLookupRepository() : nullptr;
        if (!repository) repository = AssetInterface::GetUserPrefsRepository();
        if (_settings.initData) {
            if (!_state.jobs.IsCurrent()) return OperationCancelledError::Create();
            TRY(_settings.initData());
        }
        if (!repository)
            return IllegalStateError::Create("There is no repository to list. Set a graph model, or start the asset module.");
        const ListingRequest request = TRY(ListingRequest::Create(_state.mode, std::move(_settings), std::move(repository)));
        return ListAssets(request, host);
    }

    Result<void> ListAssets(const ListingRequest& request, HostCalls& host) {
        SetSearchStrings({});
        const SearchIndexRef index = TRY(SearchIndex::Of(request.lookupRepository));
        // Categories are few: a walk meets them before a table of everything is made.
        if (UsesTable(request) && !request.categoryOnly) {
            const Result<void> made = index->EnsureTable(request.lookupRepository);
            // Why there is none was told; the walk does without.
            if (made.IsError() && OperationCancelledError::IsClassOf(made.GetError())) return made;
        }
        const SearchSnapshot snapshot = index->GetSnapshot();
        FilterCaches caches;
        FilterExpressionRef expression;
        if (request.IsNarrowed() && !request.termText.empty()) {
            const FilterContext context{request.lookupRepository, request.settings.nodeSystemClass,
                                        request.settings.lengthUnitSystem};
            std::vector<AssetDescription> references;
            if (snapshot.table) references = TRY(snapshot.FindReferences(request.lookupRepository));
            expression = TRY(FilterExpression::Create(context, request.termText, caches, snapshot.table ? &references : nullptr));
            SetSearchStrings(expression->GetSearchStrings());
        }
        const Bool hasNoPlace = request.restrictToParents && request.settings.parentSelection.GetCount() == 0;
        if (hasNoPlace) return host.BeginRows();
        ListingTexts texts(request.lookupRepository, request.settings.referenceTime);
        Acceptance acceptance(request, texts, expression, caches);
        TRY(acceptance.PrepareParents());
        const Bool isTree = request.mode == ASSET_BROWSE_MODE::CATEGORY_TREE;
        TRY(isTree ? ListTree(request, acceptance, snapshot, texts, host) : ListRows(request, acceptance, snapshot, texts, host));
        caches.tags.Store();
        // The rows are out: what makes the next search fast may be prepared, where one is to be expected.
        if (request.settings.updatesEnabled) index->RefreshInBackground(request.lookupRepository);
        return OK;
    }

    static Result<void> ListTree(const ListingRequest& request, Acceptance& acceptance, const SearchSnapshot& snapshot,
                                 ListingTexts& texts, HostCalls& host) {
        TreeRows tree(acceptance, texts);
        const auto add = [&](const AssetDescription& asset, AcceptResult accepted, const AssetFacts*) -> Result<void> {
            return tree.Add(asset, accepted.kind);
        };
        TRY(WalkAssets(request, acceptance, snapshot, add));
        std::vector<BrowserRow> rows = tree.TakeRows();
        TRY(host.BeginRows());
        return RowDelivery(request, host).Deliver(rows, RowConfig(), nullptr);
    }

    static Result<void> ListRows(const ListingRequest& request, Acceptance& acceptance, const SearchSnapshot& snapshot,
                                 ListingTexts& texts, HostCalls& host) {
        const FilterExpressionRef& expression = acceptance.GetExpression();
        RowBuilder builder(request, texts, expression ? expression->GetSearchStrings() : BaseArray<String>());
        const auto add = [&](const AssetDescription& asset, AcceptResult accepted, const AssetFacts* facts) -> Result<void> {
            return builder.Add(asset, std::move(accepted.matchText), facts);
        };
        const Result<void> walked = WalkAssets(request, acceptance, snapshot, add);
        std::vector<BrowserRow> groups = builder.TakeGroups();
        const Result<void> delivered = walked.IsOk() ? DeliverGroups(request, groups, host) : walked;
        LetGo(std::move(groups));
        return delivered;
    }

    static Result<void> DeliverGroups(const ListingRequest& request, std::vector<BrowserRow>& groups, HostCalls& host) {
        TRY(host.BeginRows());
        RowConfig top = MakeRowConfig(request.options);
        const Bool isAscending =
            request.options.groupBy == ASSET_GROUP_BY::CATEGORY || request.options.groupBy == ASSET_GROUP_BY::TYPE;
        top.sortOrder = isAscending ? 1 : 2;
        return RowDelivery(request, host).Deliver(groups, top, nullptr);
    }

    /// To give back the memory of very many rows takes a while, and whoever types on waits for the end of this update.
    static void LetGo(std::vector<BrowserRow> groups) {
        auto hold = [rows = std::make_shared<std::vector<BrowserRow>>(std::move(groups))]() -> Result<void> { return OK; };
        JobQueue::GetDefaultQueue().Enqueue(std::move(hold)).Ignore("they go here then");
    }

    void SetSearchStrings(BaseArray<String> strings) {
        auto settings = _state.settings.Write();
        std::swap(settings->searchStrings, strings);
    }

    Result<void> Select(HostCalls& host) {
        HashSet<Id> selection;
        {
            auto settings = _state.settings.Write();
            std::swap(settings->selectOnNextUpdate, selection);
        }
        return selection.GetCount() == 0 ? Result<void>(OK) : host.Select(selection);
    }

    BrowserState& _state;
    BrowserSettings _settings;
    Bool _hasBegun = false;
};

}  // namespace

Result<void> RunBrowserUpdate(BrowserState& state) {
    return CatchOutOfMemory([&] { return BrowserUpdate(state).Run(); });
}

}  // namespace talvo
