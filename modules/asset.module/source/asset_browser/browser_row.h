// One line of a browser's result, before the host gets it. There may be a million: what few rows have lies beside them.
#pragma once

#include "asset_browser_types.h"
#include "assets.h"

#include <array>
#include <memory>
#include <vector>

namespace talvo {

/// How the rows of one level are sorted.
struct RowConfig {
    ASSET_SORT_BY sortBy = ASSET_SORT_BY::NAME;
    Int32 sortOrder = 1;  ///< 1 ascending, 2 descending, 0: relevance decides
    ASSET_FIRST_ITEMS firstItems = ASSET_FIRST_ITEMS::NONE;
    ASSET_RELEVANT_ITEMS relevantItems = ASSET_RELEVANT_ITEMS::NONE;
    ASSET_CONTEXT context = ASSET_CONTEXT::OTHER;
};

/// What a row is ordered by: nothing, a number or a text. Values of two forms are ordered by form.
class SortValue {
public:
    SortValue() = default;
    explicit SortValue(Int64 number) : _form(FORM::NUMBER), _number(number) {}
    explicit SortValue(String text) : _form(FORM::TEXT), _text(std::move(text)) {}

    enum class FORM : UChar { NONE, NUMBER, TEXT };
    FORM GetForm() const { return _form; }
    Int64 GetNumber() const { return _number; }
    const String& GetText() const { return _text; }

private:
    FORM _form = FORM::NONE;
    Int64 _number = 0;
    String _text;
};

struct BrowserRow;

/// Ordered keys under relevance, the smallest first: found in the name, rank, position of the match, favourite, renderer.
using RelevanceKeys = std::array<Int64, 5>;

/// What only some rows have.
struct RowDetails {
    String shortcuts, help;
    Id groupId;
    RelevanceKeys relevanceKeys{};
    RowConfig childConfig;  ///< of `children`
    std::vector<BrowserRow> children;
};

struct BrowserRow {
    /// Keys that come before everything else.
    enum class KEYS : UChar { NONE, NAME, RELEVANCE };

    String name;
    String matchText;
    String subtitle;
    SortValue sortValue;  ///< with KEYS::NAME the name in lower case
    AssetDescription asset;
    std::unique_ptr<RowDetails> details;
    UInt32 rank = 0;  ///< of the name in lower case among all; 0: not known
    KEYS keys = KEYS::NONE;
    Bool needsNoRenderer = true;
    Bool isGroup = false;
    Bool isMarked = false;
    Bool relevant = false;

    RowDetails& EnsureDetails() {
        if (!details) details = std::make_unique<RowDetails>();
        return *details;
    }
};
static_assert(sizeof(BrowserRow) <= 150);

}  // namespace talvo
