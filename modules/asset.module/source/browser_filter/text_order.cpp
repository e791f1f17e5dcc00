#include "browser_filter/text_order.h"

#include "kernel/text/casing.h"

namespace talvo {

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
