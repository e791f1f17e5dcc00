// The order of the rows of one level.
#pragma once

#include "asset_browser/browser_row.h"

namespace talvo {

/// Whether `first` comes before `second`: a strict weak order in which two rows are equal only if names and asset ids are.
/// @param descending turns values and names around, but never what comes first among equals.
Bool ComesBefore(const BrowserRow& first, const BrowserRow& second, ASSET_FIRST_ITEMS firstItems, Bool descending);

/// Sorts the rows of a level as ComesBefore says, or leaves them as they are where the config says neither ascending nor descending.
/// Errors: OperationCancelledError; OutOfMemoryError.
Result<void> SortRows(std::vector<BrowserRow>& rows, const RowConfig& config);

}  // namespace talvo
