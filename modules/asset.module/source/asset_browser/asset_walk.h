// The walk of an update over the assets of a repository and its bases.
#pragma once

#include "asset_browser/acceptance.h"
#include "browser_filter/search_index.h"

namespace talvo {

/// Takes an asset that a view lists. @param facts what is known of it; may be null.
using ListedReceiver = FunctionRef<Result<void>(const AssetDescription& asset, AcceptResult accepted, const AssetFacts* facts)>;

/// What stands in for an asset of a repository that is left out, only a walk can tell.
inline Bool UsesTable(const ListingRequest& request) { return request.settings.filteredDatabases.GetCount() == 0; }

/// Calls `take` for each asset that a view lists, in no order. What is wrong with one asset costs that asset only.
/// @param snapshot a table to find candidates in; without one all assets are walked over. Both ways list the same.
/// Errors: `take`'s; those of the lookup; OperationCancelledError.
Result<void> WalkAssets(const ListingRequest& request, Acceptance& acceptance, const SearchSnapshot& snapshot,
                        ListedReceiver take);

}  // namespace talvo
