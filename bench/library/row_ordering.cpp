#include "bench/library/row_ordering.h"

#include "asset_browser/row_sort.h"

#include <numeric>
#include <random>

namespace talvo::bench {

Comparison CompareOrdering(Int runs, Int count) {
    std::vector<UInt32> ranks(static_cast<std::size_t>(count));
    std::iota(ranks.begin(), ranks.end(), UInt32(1));
    std::shuffle(ranks.begin(), ranks.end(), std::mt19937(1));
    std::vector<BrowserRow> rows(ranks.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].keys = BrowserRow::KEYS::NAME;
        rows[i].rank = ranks[i];
    }
    const auto order = [&] { return MeasureHere([&] { Keep(Need(OrderRows(rows, RowConfig()))); }); };
    const auto pass = [&] {
        return MeasureHere([&] {
            std::vector<UInt32> places(rows.size());
            for (std::size_t i = 0; i < rows.size(); ++i) places[rows[i].rank - 1] = UInt32(i);
            Keep(places);
        });
    };
    return Compare(runs, order, pass);
}

}  // namespace talvo::bench
