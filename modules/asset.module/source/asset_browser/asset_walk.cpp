#include "asset_browser/asset_walk.h"

#include "asset_impl/config.h"
#include "kernel/thread/job.h"

namespace talvo {

namespace {

constexpr Int ASSETS_BETWEEN_LOOKS = 500;

using Take = FunctionRef<Result<void>(const AssetDescription& asset, AcceptResult accepted)>;

class Walk {
public:
    Walk(const ListingRequest& request, Acceptance& acceptance, Take take)
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

private:
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
        Result<AcceptResult> accepted = _acceptance.Accept(asset, false);
        if (accepted.IsError() || accepted.GetValue().kind == AcceptResult::KIND::HIDDEN) return true;
        TRY(_take(asset, std::move(accepted).GetValue()));
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

    Bool IsWanted(const AssetDescription& asset) const {
        if (!g_assetBuilderSettings.Get() && !AssetInterface::IsAssetVisible(asset).GetValueOr(false)) return false;
        return _request.settings.filter.showUnavailable || AssetInterface::IsAssetValid(asset).GetValueOr(false);
    }

    const ListingRequest& _request;
    Acceptance& _acceptance;
    const Take _take;
    Int _count = 0;
};

}  // namespace

Result<void> WalkAssets(const ListingRequest& request, Acceptance& acceptance, Take take) {
    return Walk(request, acceptance, take).Run();
}

}  // namespace talvo
