#include "asset_browser/asset_walk.h"

#include "asset_impl/config.h"
#include "kernel/thread/job.h"

namespace talvo {

namespace {

constexpr Int ASSETS_BETWEEN_LOOKS = 500;
constexpr std::size_t ASSETS_AHEAD = 8;

class Walk {
public:
    Walk(const ListingRequest& request, Acceptance& acceptance, ListedReceiver take)
        : _request(request), _acceptance(acceptance), _take(take) {}

    Result<void> Run() {
        std::vector<Id> types(_request.settings.assetTypes.begin(), _request.settings.assetTypes.end());
        const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::RANDOM_ORDER | ASSET_FIND_MODE::CANCELLABLE |
                          ASSET_FIND_MODE::ASK_REPOSITORY;
        TRY(_request.lookupRepository->FindAssets(types, Id(), Id(), mode, [&](const AssetFindItem& item) -> Result<Bool> {
            if (const AssetRepositoryRef* repository = item.GetRepository()) return !IsFiltered((*repository)->GetId());
            return Visit(*item.GetDescription());
        }));
        return OK;
    }

    Result<void> RunOver(const SearchTable& table, const HashSet<Id>& changed) {
        const Candidates candidates = TRY(FindCandidates(table));
        const Bool isFilteredTree = IsTree() && _acceptance.GetExpression() && !_request.categoryOnly;
        if (isFilteredTree) _content = TRY(table.FindCandidates(*_acceptance.GetExpression(), _acceptance.GetCaches()));
        _hasContent.assign(table.GetIdCount(), false);
        const std::vector<UInt32> numbers = candidates.List();
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (++_count % ASSETS_BETWEEN_LOOKS == 0 && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            if (i + ASSETS_AHEAD < numbers.size()) table.FetchAhead(numbers[i + ASSETS_AHEAD]);
            const Bool isChanged = changed.GetCount() != 0 && changed.Contains(table.GetAssetId(numbers[i]));
            if (!isChanged) TRY(VisitRow(table, numbers[i]));
        }
        for (const Id& aid : changed) {
            const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::CANCELLABLE;
            const AssetDescription asset = TRY(_request.lookupRepository->FindLatestAsset(Id(), aid, Id(), mode));
            if (asset && HasWantedType(asset->GetTypeId())) TRY(Visit(asset));
        }
        return OK;
    }

private:
    Result<Candidates> FindCandidates(const SearchTable& table) const {
        const FilterExpressionRef& expression = _acceptance.GetExpression();
        Candidates candidates(table.GetCount(), true);
        // What has a row of its own in a tree need not meet the filter.
        if (IsTree()) return candidates;
        if (_request.restrictToParents)
            candidates = TRY(table.FindByCategory([&](const Id& category) { return _acceptance.IsSelectedCategory(category); }));
        if (expression) candidates.Intersect(TRY(table.FindCandidates(*expression, _acceptance.GetCaches())));
        return candidates;
    }

    Result<void> VisitRow(const SearchTable& table, std::size_t number) {
        if (!HasWantedType(table.GetTypeId(number))) return OK;
        const Bool hasFacts = table.HasFacts(number);
        if (hasFacts && !IsShown(table.IsValid(number))) return OK;
        // All that most assets do to a tree is to make their category appear, which one of them does as well as many.
        const Bool isContent = hasFacts && IsTree() && Acceptance::IsContent(table.GetTypeId(number));
        const Bool isNeeded = !_hasContent[table.GetCategoryNumber(number)] && (!_content || _content->Contains(number));
        if (isContent && !isNeeded) return OK;
        const AssetDescription asset = TRY(table.GetAsset(number, _request.lookupRepository));
        if (!asset) return OK;
        if (!hasFacts) {
            TRY(Visit(asset));
            return OK;
        }
        const AssetFacts facts = table.GetFacts(number);
        const Bool isListed = TRY(Decide(asset, &facts));
        if (isContent && isListed) _hasContent[table.GetCategoryNumber(number)] = true;
        return OK;
    }

    Bool IsTree() const { return _request.mode == ASSET_BROWSE_MODE::CATEGORY_TREE; }

    Bool HasWantedType(const Id& type) const {
        const HashSet<Id>& types = _request.settings.assetTypes;
        return types.GetCount() == 0 || types.Contains(type);
    }

    /// @return whether it is listed.
    Result<Bool> Decide(const AssetDescription& asset, const AssetFacts* facts) {
        Result<AcceptResult> accepted = _acceptance.Accept(asset, false, facts);
        if (accepted.IsError() || accepted.GetValue().kind == AcceptResult::KIND::HIDDEN) return false;
        TRY(_take(asset, std::move(accepted).GetValue(), facts));
        return true;
    }

    Bool IsFiltered(const Id& repositoryId) const {
        return _request.settings.filteredDatabases.GetCount() != 0 && _request.settings.filteredDatabases.Contains(repositoryId);
    }

    Result<Bool> Visit(const AssetDescription& found) {
        if (++_count % ASSETS_BETWEEN_LOOKS == 0 && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        AssetDescription asset = found;
        if (IsFiltered(asset->GetRepositoryId())) {
            asset = TRY(FindElsewhere(found));
            if (!asset) return true;
        }
        if (!IsWanted(asset)) return true;
        TRY(Decide(asset, nullptr));
        return true;
    }

    /// The newest version in a repository that isn't left out; null if there is none.
    Result<AssetDescription> FindElsewhere(const AssetDescription& asset) const {
        AssetDescription other;
        const Id types[] = {asset->GetTypeId()};
        const auto mode = ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::CANCELLABLE;
        TRY(FindAssets(_request.lookupRepository, types, asset->GetIdAndVersion().first, Id(), mode,
                       [&](const AssetDescription& candidate) -> Result<Bool> {
                           const Id& repository = candidate->GetRepositoryId();
                           if (repository == asset->GetRepositoryId() || IsFiltered(repository)) return true;
                           other = candidate;
                           return false;
                       }));
        return other;
    }

    /// An asset is visible if it is valid, so one answer does.
    Bool IsWanted(const AssetDescription& asset) const { return IsShown(AssetInterface::IsAssetValid(asset).GetValueOr(false)); }
    Bool IsShown(Bool isValid) const {
        return isValid || (_request.settings.filter.showUnavailable && g_assetBuilderSettings.Get());
    }

    const ListingRequest& _request;
    Acceptance& _acceptance;
    const ListedReceiver _take;
    Int _count = 0;
    // Of a tree.
    std::vector<Bool> _hasContent;  // categories, by their numbers in the table
    Opt<Candidates> _content;       // assets that may meet the filter; nothing if there is none
};

}  // namespace

Result<void> WalkAssets(const ListingRequest& request, Acceptance& acceptance, const SearchSnapshot& snapshot,
                        ListedReceiver take) {
    Walk walk(request, acceptance, take);
    return snapshot.table && UsesTable(request) ? walk.RunOver(*snapshot.table, snapshot.changed) : walk.Run();
}

}  // namespace talvo
