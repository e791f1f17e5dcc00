// From what is left of a filter text to its conditions.
#pragma once

#include "asset_filter.h"
#include "browser_filter/filter_keywords.h"

namespace talvo {

/// What the values of "type:" say about the content that is looked for.
struct FilterTypeFlags {
    Bool hasNodeTemplate = false;
    Bool hasModel = false;
    Bool hasMaterial = false;
    Bool hasScene = false;
    Bool hasPreset = false;
};

/// A filter text understood. Every text is: unknown keys give conditions that never match.
struct FilterTerms {
    BaseArray<FilterCondition> conditions;  ///< in the order of the terms; all of them have to be met
    FilterTypeFlags types;
    BaseArray<String> unknownKeys;  ///< in upper case, the first few, for those who want to help the user
};

/// Reads a text in upper case without options. Takes time in proportion to the text. Throws std::bad_alloc.
FilterTerms ParseFilterTerms(std::string_view upperText);

}  // namespace talvo
