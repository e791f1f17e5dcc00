// Filter texts: any bytes are understood, the same way each time, and judged the same way as a whole and term by term.
#include "browser_filter/filter_expression.h"
#include "browser_filter/filter_options.h"
#include "fuzz/filter_library.h"
#include "fuzz/fuzz_target.h"

namespace talvo {

namespace {

/// Conditions that are looked at one by one; more would only take time.
constexpr Int LOOKED_AT = 16;

void CheckOptions(const FilterOptions& options) {
    FilterPieces pieces;
    pieces.filterString = WriteFilterOptions(options);
    const FilterReading again = MUST(ReadFilter(pieces, ASSET_BROWSE_MODE::CATEGORY_TREE));
    FUZZ_EXPECT(again.conditions.IsEmpty(), pieces.filterString.GetView());
    FUZZ_EXPECT(WriteFilterOptions(again.options) == pieces.filterString, pieces.filterString.GetView());
    FUZZ_EXPECT(again.options.sortOrder == options.sortOrder, pieces.filterString.GetView());
}

void CheckAsset(const FilterExpression& expression, const AssetDescription& asset, FilterCaches& caches, std::string_view text) {
    String match;
    const Bool isOut = MUST(expression.IsFilteredOut(asset, match, caches, nullptr));
    const Int count = expression.GetConditions().GetCount();
    Bool meetsEach = count > 0;
    for (Int i = 0; i < std::min(count, LOOKED_AT); ++i) {
        DescribeFilterCondition(expression.GetConditions()[i], 1);
        meetsEach = MUST(expression.Explain(asset, i, caches)).isMet && meetsEach;
    }
    if (!meetsEach) FUZZ_EXPECT(isOut, text);
    if (count <= LOOKED_AT) FUZZ_EXPECT(isOut == !meetsEach, text);
}

}  // namespace

FUZZ_TARGET(filter_text, bytes) {
    static const FilterLibrary& library = *new FilterLibrary;
    FilterPieces pieces;
    pieces.filterString = String(bytes);
    const Result<FilterReading> reading = ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST);
    FUZZ_EXPECT(reading.IsOk(), "");
    CheckOptions(reading.GetValue().options);
    std::string text(pieces.filterString.ToUpper().Trim().GetView());
    TakeFilterOptions(text, ASSET_BROWSE_MODE::ASSET_LIST);
    FUZZ_EXPECT(TrimBlanks(text) == text, text);
    FilterCaches caches;
    const auto expression = FilterExpression::Create({library.repository, nullptr, 0}, text, caches);
    FUZZ_EXPECT(expression.IsOk(), text);
    FUZZ_EXPECT(expression.GetValue()->GetConditions() == reading.GetValue().conditions, text);
    for (const Id& aid : {Id("oak"_id), Id("run"_id), Id("former"_id), Id("chairs"_id)})
        CheckAsset(*expression.GetValue(), library.Get(aid), caches, text);
}

}  // namespace talvo
