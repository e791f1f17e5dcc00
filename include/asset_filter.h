// How a filter text is understood, and why a view lists an asset or not: for those who show it to people.
#pragma once

#include "asset_browser_types.h"
#include "assets.h"

namespace talvo {

/// How rows are grouped and ordered.
struct FilterOptions {
    ASSET_GROUP_BY groupBy = ASSET_GROUP_BY::CATEGORY;
    ASSET_SORT_BY sortBy = ASSET_SORT_BY::NAME;
    Int32 sortOrder = 1;  ///< 1 ascending, 2 descending, 0: relevance decides
    ASSET_FIRST_ITEMS firstItems = ASSET_FIRST_ITEMS::FAVORITES;
    ASSET_RELEVANT_ITEMS relevantItems = ASSET_RELEVANT_ITEMS::NONE;
    ASSET_CONTEXT context = ASSET_CONTEXT::OTHER;
    Bool showSubContent = false;
    Bool reverseOrder = false;
    Bool missingAssets = false;
};

/// The options as the filter text that gives them. Throws std::bad_alloc.
String WriteFilterOptions(const FilterOptions& options);

/// One condition: one of the values has to match.
struct FilterCondition {
    BaseArray<String> values;  ///< alternatives, in upper case
    InternedId key;            ///< none: free text; "undefined": a key that nobody knows
    /// Equality of key and values.
    Bool operator==(const FilterCondition&) const = default;
};
/// The condition for people, such as `polygons: "<5000"`. @param lengthUnitSystem 1: lengths in miles, yards, feet and inches; else metric.
/// Throws std::bad_alloc.
String DescribeFilterCondition(const FilterCondition& condition, Int32 lengthUnitSystem);

/// The pieces of a filter.
struct FilterPieces {
    String groupFilter, sortFilter, masterFilter;
    String smartSearch;   ///< what selected smart searches stand for
    String filterString;  ///< what the user typed: in the place of the smart search, or narrowing it in local filter mode
    Bool localFilterMode = false;
};

/// A filter as it is understood. Every text is.
struct FilterReading {
    /// A key that nobody knows, in upper case, and the one that may have been meant; that may be empty.
    struct UnknownKey {
        String word;
        String suggestion;
    };
    FilterOptions options;
    BaseArray<FilterCondition> conditions;
    BaseArray<UnknownKey> unknownKeys;
};
/// Takes time in proportion to the texts. Errors: OutOfMemoryError. Threads: any.
Result<FilterReading> ReadFilter(const FilterPieces& pieces, ASSET_BROWSE_MODE mode);

/// Why a view lists an asset, or doesn't.
struct ListingExplanation {
    /// The layer that decided.
    enum class LAYER { WALK, RULES, FILTER, LISTED };
    /// How one condition judged.
    struct Condition {
        FilterCondition condition;
        Bool isMet = false;
        String matchText;
        BaseArray<std::pair<String, String>> reads;  ///< what was read of the asset, and its value
    };
    LAYER decidedBy = LAYER::LISTED;
    String reason;  ///< for people
    BaseArray<Condition> conditions;
};
/// Why an asset list over a repository with this filter shows the asset. Errors: NullptrError for null; those of reading metadata and of the lookups.
Result<ListingExplanation> ExplainListing(const AssetDescription& asset, const FilterPieces& pieces,
                                          const AssetRepositoryRef& lookupRepository);

}  // namespace talvo
