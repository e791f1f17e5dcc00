// Many texts in display order: each is compared by the bytes of its key, and a long sort is given up as soon as nobody wants it any more.
#pragma once

#include "kernel/base/array.h"
#include "kernel/text/string.h"
#include "kernel/thread/job.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace talvo {

/// So many rows are worked on between two looks at whether anybody still wants them.
inline constexpr std::size_t ROWS_OF_A_RUN = 16384;

/// Errors: OperationCancelledError if this job was cancelled.
inline Result<void> CheckGoesOn() {
    return Job::IsCurrentCancelled() ? Result<void>(OperationCancelledError::Create()) : Result<void>(OK);
}

/// A row, and a number that decides about its place unless another row has the same.
struct OrderItem {
    UInt head;
    UInt32 row;
};

/// std::sort in runs that are merged, with a look in between. Errors: OperationCancelledError.
template <typename LESS>
Result<void> SortInRuns(std::vector<OrderItem>& items, LESS&& less) {
    for (std::size_t begin = 0; begin < items.size(); begin += ROWS_OF_A_RUN) {
        TRY(CheckGoesOn());
        const std::size_t end = std::min(begin + ROWS_OF_A_RUN, items.size());
        std::sort(items.begin() + Int(begin), items.begin() + Int(end), less);
    }
    std::vector<OrderItem> merged(items.size());
    for (std::size_t width = ROWS_OF_A_RUN; width < items.size(); width *= 2) {
        for (std::size_t begin = 0; begin < items.size(); begin += 2 * width) {
            TRY(CheckGoesOn());
            const auto at = [&](std::size_t position) { return items.begin() + Int(std::min(position, items.size())); };
            std::merge(at(begin), at(begin + width), at(begin + width), at(begin + 2 * width), merged.begin() + Int(begin), less);
        }
        items.swap(merged);
    }
    return CheckGoesOn();
}

/// A row and its place among all; several may share one.
struct RankedRow {
    UInt32 rank;
    UInt32 row;
};

/// Numbered rows with ranks, sorted by counting, digit by digit. Threads: as a plain value. Members throw std::bad_alloc.
class RankOrder {
public:
    explicit RankOrder(std::size_t count) { _rows.reserve(count); }
    /// Takes the next row.
    void Add(UInt32 rank) {
        for (int digit = 0; digit < DIGITS; ++digit) ++_places[std::size_t(digit)][GetDigit(rank, digit)];
        _rows.push_back({rank, UInt32(_rows.size())});
    }
    /// The rows by rank, those of one rank in the order in which they came. Called once. Errors: OperationCancelledError.
    Result<std::vector<RankedRow>> Sort();

private:
    static constexpr int DIGIT_BITS = 11, DIGITS = 3;
    static constexpr UInt32 DIGIT_MASK = (1 << DIGIT_BITS) - 1;
    static UInt32 GetDigit(UInt32 rank, int digit) { return rank >> digit * DIGIT_BITS & DIGIT_MASK; }

    std::vector<RankedRow> _rows;
    std::array<std::array<UInt32, DIGIT_MASK + 1>, DIGITS>
        _places{};  // how many rows have each digit; then where the next one goes
};

/// The keys of numbered texts, side by side in one block of memory. Threads: as a plain value. Members throw std::bad_alloc.
class TextOrder {
public:
    TextOrder() : _begins(1) {}
    /// Takes the next text. Errors: OperationCancelledError.
    Result<void> Add(const String& text);
    /// Negative, 0 or positive.
    int Compare(std::size_t first, std::size_t second) const { return Get(first).compare(Get(second)); }
    /// The first bytes of a key, which decide most comparisons.
    UInt GetHead(std::size_t row) const;
    /// The numbers of the texts in their order. Errors: OperationCancelledError.
    Result<std::vector<UInt32>> Sort() const;

private:
    std::string_view Get(std::size_t row) const {
        return std::string_view(_bytes).substr(_begins[row], _begins[row + 1] - _begins[row]);
    }
    std::string _bytes;
    std::vector<std::size_t> _begins;
};

}  // namespace talvo
