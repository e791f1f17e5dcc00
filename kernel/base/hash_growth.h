// Growth of the open hash tables of Abseil that lack of memory can't break.
#pragma once

#include <cstddef>
#include <new>

namespace talvo {

/// Makes room for one more element, if there is none: the insertion that follows doesn't allocate. By themselves these tables note their new size
/// before they have the memory for it, and can't even be destroyed once that failed.
/// The element type is one whose copies don't throw. Throws std::bad_alloc; then the table is as it was.
template <typename TABLE>
void EnsureRoomForOne(TABLE& table) {
    // Up to this load they clear away the marks of what was erased rather than grow; smaller tables always grow.
    constexpr std::size_t SMALLEST_CAPACITY = 31, LOAD_NUMERATOR = 25, LOAD_DENOMINATOR = 32;
    const bool hasRoom =
        table.capacity() >= SMALLEST_CAPACITY && (table.size() + 1) * LOAD_DENOMINATOR <= table.capacity() * LOAD_NUMERATOR;
    if (hasRoom) return;
    // Not destroyed if it gets no memory, which is all that it would own.
    alignas(TABLE) std::byte place[sizeof(TABLE)];
    TABLE* const bigger = new (place) TABLE;
    const std::size_t wanted = 2 * table.size();
    bigger->reserve(wanted > SMALLEST_CAPACITY / 2 ? wanted : SMALLEST_CAPACITY / 2);
    bigger->insert(table.begin(), table.end());
    table.swap(*bigger);
    bigger->~TABLE();
}

}  // namespace talvo
