#include "asset_browser/row_sort.h"

#include "browser_filter/text_order.h"
#include "kernel/text/casing.h"

#include <numeric>

namespace talvo {

namespace {

template <typename T>
int Compare(const T& first, const T& second) {
    return first < second ? -1 : second < first ? 1 : 0;
}

int CompareNames(const String& first, const String& second) { return CompareText(first, second, COMPARE_MODE::DISPLAY); }

/// A row with a rank has its name only, since others of its level rarely have none.
String GetSortText(const BrowserRow& row) {
    const Bool isName = row.keys == BrowserRow::KEYS::NAME && row.sortValue.GetForm() == SortValue::FORM::NONE;
    return isName ? row.name.ToLower() : row.sortValue.GetText();
}

std::string_view GetAssetId(const BrowserRow& row) {
    return row.asset ? row.asset->GetIdAndVersion().first.GetView() : std::string_view();
}

/// @param texts compares the texts of the two sort values.
template <typename TEXTS>
int CompareValues(const BrowserRow& first, const BrowserRow& second, TEXTS&& texts) {
    const SortValue& left = first.sortValue;
    const SortValue& right = second.sortValue;
    if (left.GetForm() != right.GetForm()) return Compare(left.GetForm(), right.GetForm());
    return left.GetForm() == SortValue::FORM::TEXT ? texts() : Compare(left.GetNumber(), right.GetNumber());
}

template <typename TEXTS>
int CompareKeys(const BrowserRow& first, const BrowserRow& second, TEXTS&& texts) {
    if (first.keys == BrowserRow::KEYS::RELEVANCE) return Compare(first.details->relevanceKeys, second.details->relevanceKeys);
    const int names = texts();
    return names != 0 ? names : Compare(first.needsNoRenderer, second.needsNoRenderer);
}

/// Whether `first` comes before `second`: a strict weak order in which two rows are equal only if names and asset ids are.
/// @param descending turns values and names around, but never what comes first among equals. @param texts compares what GetSortText gives.
template <typename TEXTS>
Bool ComesBefore(const BrowserRow& first, const BrowserRow& second, ASSET_FIRST_ITEMS firstItems, Bool descending,
                 TEXTS&& texts) {
    const int direction = descending ? -1 : 1;
    // Rows of one level have keys of one form, or none.
    const Bool hasKeys = first.keys != BrowserRow::KEYS::NONE;
    if (first.keys != second.keys) return hasKeys == (second.keys != BrowserRow::KEYS::NONE) ? first.keys < second.keys : hasKeys;
    int order = 0;
    if (hasKeys) {
        order = CompareKeys(first, second, texts);
    } else {
        if (firstItems == ASSET_FIRST_ITEMS::RELEVANT && first.relevant != second.relevant) return first.relevant;
        if (firstItems == ASSET_FIRST_ITEMS::FAVORITES && first.isMarked != second.isMarked) return first.isMarked;
        order = CompareValues(first, second, texts);
    }
    if (order == 0 && first.keys != BrowserRow::KEYS::NAME) order = CompareNames(first.name, second.name);
    if (order == 0) order = Compare(GetAssetId(first), GetAssetId(second));
    return order * direction < 0;
}

/// Sorts rows of one rank, which may be all there are.
template <typename LESS>
Result<void> SortEqual(Block<UInt32> rows, LESS&& less) {
    std::vector<OrderItem> items(rows.size());
    std::transform(rows.begin(), rows.end(), items.begin(), [](UInt32 row) { return OrderItem{0, row}; });
    TRY(SortInRuns(items, [&](const OrderItem& first, const OrderItem& second) { return less(first.row, second.row); }));
    std::transform(items.begin(), items.end(), rows.begin(), [](const OrderItem& item) { return item.row; });
    return OK;
}

/// The rows in the order of their ranks, equal ones sorted by `less`; nothing if not each row has one. Errors: OperationCancelledError.
template <typename LESS>
Result<Opt<std::vector<UInt32>>> OrderByRank(const std::vector<BrowserRow>& rows, Bool isAscending, LESS&& less) {
    RankOrder ranks(rows.size());
    for (const BrowserRow& row : rows) {
        if (row.keys != BrowserRow::KEYS::NAME || row.rank == 0) return Opt<std::vector<UInt32>>();
        ranks.Add(isAscending ? row.rank : ~row.rank);
    }
    const std::vector<RankedRow> ranked = TRY(ranks.Sort());
    std::vector<UInt32> order(rows.size());
    for (std::size_t begin = 0, end = 0; begin < ranked.size(); begin = end) {
        for (; end < ranked.size() && ranked[end].rank == ranked[begin].rank; ++end) order[end] = ranked[end].row;
        if (end - begin > 1) TRY(SortEqual(Block<UInt32>(order).subspan(begin, end - begin), less));
    }
    return Opt<std::vector<UInt32>>(std::move(order));
}

/// The same by the keys of their texts.
template <typename LESS>
Result<std::vector<UInt32>> OrderByKeys(const std::vector<BrowserRow>& rows, const TextOrder& keys, Bool isAscending,
                                        LESS&& less) {
    const Bool hasHeads =
        std::all_of(rows.begin(), rows.end(), [](const BrowserRow& row) { return row.keys == BrowserRow::KEYS::NAME; });
    std::vector<OrderItem> items(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) items[i] = {hasHeads ? keys.GetHead(i) : 0, UInt32(i)};
    TRY(SortInRuns(items, [&](const OrderItem& first, const OrderItem& second) {
        if (first.head != second.head) return (first.head < second.head) == isAscending;
        return less(first.row, second.row);
    }));
    std::vector<UInt32> order(rows.size());
    std::transform(items.begin(), items.end(), order.begin(), [](const OrderItem& item) { return item.row; });
    return order;
}

}  // namespace

Result<std::vector<UInt32>> OrderRows(const std::vector<BrowserRow>& rows, const RowConfig& config) {
    TRY(CheckGoesOn());
    const Bool isByRelevance = config.sortBy == ASSET_SORT_BY::RELEVANCE && !rows.empty() && !rows.front().isGroup;
    const Bool isAscending = config.sortOrder == 1 || isByRelevance;
    return CatchOutOfMemory([&]() -> Result<std::vector<UInt32>> {
        if (rows.size() < 2 || (!isAscending && config.sortOrder != 2)) {
            std::vector<UInt32> order(rows.size());
            std::iota(order.begin(), order.end(), UInt32(0));
            return order;
        }
        TextOrder keys;
        Bool hasKeys = false;
        const auto less = [&](UInt32 first, UInt32 second) {
            return ComesBefore(rows[first], rows[second], config.firstItems, !isAscending,
                               [&] { return hasKeys ? keys.Compare(first, second) : 0; });
        };
        Opt<std::vector<UInt32>> ranked = TRY(OrderByRank(rows, isAscending, less));
        if (ranked) return std::move(*ranked);
        for (const BrowserRow& row : rows) TRY(keys.Add(row.keys == BrowserRow::KEYS::RELEVANCE ? String() : GetSortText(row)));
        hasKeys = true;
        return OrderByKeys(rows, keys, isAscending, less);
    });
}

}  // namespace talvo
