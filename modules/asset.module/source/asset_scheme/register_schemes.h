// The handlers of urls of assets, as the start of the module makes them known.
#pragma once

#include "kernel/base/result.h"

namespace talvo {

// Threads: one at a time, as start and stop of the module.

/// `asset`, `meta`, `metasq` and `assetdb`. Once they are known another call does nothing; after an error none of them is.
/// Errors: IllegalStateError if somebody else serves one of them.
Result<void> RegisterAssetUrlSchemes();
/// Without a registration it does nothing.
void UnregisterAssetUrlSchemes();

}  // namespace talvo
