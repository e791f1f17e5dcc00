#include "asset_browser/listing_request.h"

#include "browser_filter/smart_search_text.h"
#include "category_asset.h"

namespace talvo {

Result<ListingRequest> ListingRequest::Create(ASSET_BROWSE_MODE mode, BrowserSettings settings,
                                              AssetRepositoryRef lookupRepository) {
    ListingRequest request;
    request.mode = mode;
    const BrowserFilter& filter = settings.filter;
    const String smartSearch = TRY(MakeSmartSearchText(settings.smartSearches, settings.relevantMasterFilter));
    const String joined = JoinFilterPieces(
        {filter.groupFilter, filter.sortFilter, filter.masterFilter, smartSearch, filter.filterString, filter.localFilterMode});
    request.termText = std::string(joined.ToUpper().GetView());
    request.options = TakeFilterOptions(request.termText, mode);
    request.hasSmartSearch = smartSearch.IsPopulated();
    const Bool hasMaster = filter.masterFilter.IsPopulated() || settings.filteredDatabases.GetCount() != 0;
    request.masterOnly = hasMaster && filter.filterString.IsEmpty() && smartSearch.IsEmpty();
    request.categoryOnly = mode == ASSET_BROWSE_MODE::CATEGORY_TREE && settings.assetTypes.GetCount() == 1 &&
                           settings.assetTypes.Contains(ASSETTYPE_CATEGORY);
    request.restrictToParents = filter.localFilterMode && mode == ASSET_BROWSE_MODE::ASSET_LIST && smartSearch.IsEmpty();
    request.settings = std::move(settings);
    request.lookupRepository = std::move(lookupRepository);
    return request;
}

}  // namespace talvo
