// The way from an asset up through its categories, the one place that follows it.
#pragma once

#include "category_asset.h"

namespace talvo {

/// Hands out the category of `asset`, then that one's, and so on. A category that isn't in `repository` ends the chain, and so does one that was met
/// before: categories may stand in a circle. @return false if the receiver ended it.
/// Errors: NullptrError for a null `repository`; those of the lookup and of the receiver.
Result<Bool> WalkCategories(const AssetDescription& asset, const AssetRepositoryRef& repository,
                            Receiver<AssetDescription> receiver);

}  // namespace talvo
