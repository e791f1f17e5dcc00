// The filter text that selected smart searches, keywords and categories stand for, and the text that all pieces make together.
#pragma once

#include "asset_filter.h"

namespace talvo {

/// @param relevantMasterFilter 1 to 7: what smart searches that put the relevant first mean by it. Errors: those of reading a smart search.
Result<String> MakeSmartSearchText(Block<const AssetDescription> selection, Int32 relevantMasterFilter);

/// One text: a typed text takes the place of the smart search, or narrows it in local filter mode.
String JoinFilterPieces(const FilterPieces& pieces);

}  // namespace talvo
