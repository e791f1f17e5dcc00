#include "browser_filter/text_order.h"

#include "kernel/text/casing.h"

#include <array>
#include <numeric>

namespace talvo {

Result<void> SortByRank(std::vector<RankedRow>& rows) {
    constexpr int DIGIT_BITS = 11, DIGITS = 3;
    constexpr UInt32 MASK = (1 << DIGIT_BITS) - 1;
    const auto getDigit = [](const RankedRow& row, int digit) { return row.rank >> digit * DIGIT_BITS & MASK; };
    std::array<std::array<UInt32, MASK + 1>, DIGITS> places{};
    for (const RankedRow& row : rows) {
        for (int digit = 0; digit < DIGITS; ++digit) ++places[std::size_t(digit)][getDigit(row, digit)];
    }
    std::vector<RankedRow> sorted(rows.size());
    for (int digit = 0; digit < DIGITS; ++digit) {
        TRY(CheckGoesOn());
        auto& place = places[std::size_t(digit)];
        const Bool isSame = !rows.empty() && place[getDigit(rows[0], digit)] == rows.size();
        if (isSame) continue;
        std::exclusive_scan(place.begin(), place.end(), place.begin(), UInt32(0));
        for (const RankedRow& row : rows) sorted[place[getDigit(row, digit)]++] = row;
        rows.swap(sorted);
    }
    return OK;
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
