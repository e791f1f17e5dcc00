// Growth of the open hash tables of Abseil that lack of memory can't break.
#pragma once

#include <cstddef>
#include <new>

namespace talvo {

namespace detail {

// Up to this load these tables clear away the marks of what was erased rather than grow; smaller tables always grow.
inline constexpr std::size_t SMALLEST_CAPACITY = 31, LOAD_NUMERATOR = 25, LOAD_DENOMINATOR = 32;

template <typename TABLE>
bool HasRoom(const TABLE& table, std::size_t more) {
    return table.capacity() >= SMALLEST_CAPACITY && (table.size() + more) * LOAD_DENOMINATOR <= table.capacity() * LOAD_NUMERATOR;
}

template <typename TABLE>
void GrowTable(TABLE& table, std::size_t wanted) {
    // Not destroyed if it gets no memory, which is all that it would own.
    alignas(TABLE) std::byte place[sizeof(TABLE)];
    TABLE* const bigger = new (place) TABLE;
    bigger->reserve(wanted > SMALLEST_CAPACITY / 2 ? wanted : SMALLEST_CAPACITY / 2);
    bigger->insert(table.begin(), table.end());
    table.swap(*bigger);
    bigger->~TABLE();
}

}  // namespace detail

/// Makes room for one more element, if there is none: the insertion that follows doesn't allocate. By themselves these tables note their new size
/// before they have the memory for it, and can't even be destroyed once that failed.
/// The element type is one whose copies don't throw. Throws std::bad_alloc; then the table is as it was.
template <typename TABLE>
void EnsureRoomForOne(TABLE& table) {
    if (!detail::HasRoom(table, 1)) detail::GrowTable(table, 2 * table.size());
}

/// The same for as many at once, so that EnsureRoomForOne has nothing to do for each of them.
template <typename TABLE>
void EnsureRoomFor(TABLE& table, std::size_t more) {
    if (detail::HasRoom(table, more)) return;
    // What is reserved may be filled to seven eighths.
    detail::GrowTable(table, (table.size() + more) * detail::LOAD_DENOMINATOR / detail::LOAD_NUMERATOR * 7 / 8 + 2);
}

}  // namespace talvo
