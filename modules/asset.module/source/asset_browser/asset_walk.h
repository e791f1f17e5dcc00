// The walk of an update over the assets of a repository and its bases.
#pragma once

#include "asset_browser/acceptance.h"

namespace talvo {

/// Calls `take(asset, accepted)` for each asset that a view lists, in no order. What is wrong with one asset costs that asset only.
/// Errors: `take`'s; those of the lookup; OperationCancelledError.
Result<void> WalkAssets(const ListingRequest& request, Acceptance& acceptance,
                        FunctionRef<Result<void>(const AssetDescription& asset, AcceptResult accepted)> take);

}  // namespace talvo
