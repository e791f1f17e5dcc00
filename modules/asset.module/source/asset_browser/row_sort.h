// The order of the rows of one level.
#pragma once

#include "asset_browser/browser_row.h"

namespace talvo {

/// The order of the rows of a level: by their keys, else by what comes first, by value, by name and by asset id; or leaves them as they are where the config
/// says neither ascending nor descending. Rows that differ in anything shown have one order.
/// Errors: OperationCancelledError; OutOfMemoryError.
Result<std::vector<UInt32>> OrderRows(const std::vector<BrowserRow>& rows, const RowConfig& config);

}  // namespace talvo
