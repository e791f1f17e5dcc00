// What one update was asked for: a copy of the settings, and what follows from the texts.
#pragma once

#include "asset_browser/browser_settings.h"
#include "browser_filter/filter_options.h"

namespace talvo {

/// Constant once an update has begun.
struct ListingRequest {
    ASSET_BROWSE_MODE mode;
    BrowserSettings settings;
    AssetRepositoryRef lookupRepository;
    FilterOptions options;
    std::string termText;  ///< what is left of the joined texts behind the options
    Bool hasSmartSearch = false;
    Bool masterOnly = false;         ///< nothing but the master filter narrows
    Bool categoryOnly = false;       ///< a tree of nothing but categories
    Bool restrictToParents = false;  ///< only what lies in the selected categories

    /// Joins and reads the texts. Errors: those of reading smart searches.
    static Result<ListingRequest> Create(ASSET_BROWSE_MODE mode, BrowserSettings settings, AssetRepositoryRef lookupRepository);
    /// Whether the texts narrow what is listed; else the tree is shown whole.
    Bool IsNarrowed() const {
        return masterOnly || settings.filter.localFilterMode || mode == ASSET_BROWSE_MODE::ASSET_LIST || categoryOnly;
    }
};

}  // namespace talvo
