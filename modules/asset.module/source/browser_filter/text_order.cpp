#include "browser_filter/text_order.h"

#include "kernel/text/casing.h"

#include <numeric>

namespace talvo {

Result<std::vector<RankedRow>> RankOrder::Sort() {
    std::vector<RankedRow> sorted(_rows.size());
    for (int digit = 0; digit < DIGITS; ++digit) {
        TRY(CheckGoesOn());
        auto& places = _places[std::size_t(digit)];
        const Bool isSame = _rows.empty() || places[GetDigit(_rows[0].rank, digit)] == _rows.size();
        if (isSame) continue;
        std::exclusive_scan(places.begin(), places.end(), places.begin(), UInt32(0));
        for (const RankedRow& row : _rows) sorted[places[GetDigit(row.rank, digit)]++] = row;
        _rows.swap(sorted);
    }
    return std::move(_rows);
}

Result<void> TextOrder::Add(const String& text) {
    if (_begins.size() % ROWS_OF_A_RUN == 0) TRY(CheckGoesOn());
    _bytes += MakeSortKey(text);
    _begins.push_back(_bytes.size());
    return OK;
}

UInt TextOrder::GetHead(std::size_t row) const {
    UInt head = 0;
    const std::string_view key = Get(row);
    for (std::size_t i = 0; i < sizeof(head); ++i) head = head << 8 | (i < key.size() ? UChar(key[i]) : 0);
    return head;
}

Result<std::vector<UInt32>> TextOrder::Sort() const {
    std::vector<OrderItem> items(_begins.size() - 1);
    for (std::size_t i = 0; i < items.size(); ++i) items[i] = {GetHead(i), UInt32(i)};
    TRY(SortInRuns(items, [&](const OrderItem& first, const OrderItem& second) {
        return first.head != second.head ? first.head < second.head : Compare(first.row, second.row) < 0;
    }));
    std::vector<UInt32> sorted(items.size());
    std::transform(items.begin(), items.end(), sorted.begin(), [](const OrderItem& item) { return item.row; });
    return sorted;
}

}  // namespace talvo
