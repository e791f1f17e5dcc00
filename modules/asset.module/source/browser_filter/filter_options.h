// The options of a filter text: how rows are grouped and ordered. They are cut out of the text before it is split into terms.
#pragma once

#include "asset_filter.h"

#include <string>

namespace talvo {

/// Cuts the options out of a text in upper case, wherever in it they stand, quotes and words notwithstanding. Of several tokens of one option the last
/// counts; one with an unknown word stays in the text. Takes time in proportion to the text.
/// @return the options; `upperText` is what is left, trimmed.
FilterOptions TakeFilterOptions(std::string& upperText, ASSET_BROWSE_MODE mode);

/// Text without characters of code 32 or less at its ends.
std::string_view TrimBlanks(std::string_view text);

/// The words of one option, for help texts. @return empty for a name that is no option.
std::vector<std::string_view> GetOptionWords(std::string_view option);
/// All options with their colons.
std::vector<std::string_view> GetOptionNames();

}  // namespace talvo
