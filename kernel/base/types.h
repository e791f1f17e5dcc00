// The plain types that every room of the kernel speaks, and where in the source something happened.
#pragma once

#include <cstddef>
#include <cstdint>

namespace talvo {

using Bool = bool;
using Char = char;
using UChar = unsigned char;
using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using Int = std::int64_t;
using UInt = std::uint64_t;
using Int64 = std::int64_t;
using UInt64 = std::uint64_t;
using Float = double;
using Float64 = double;
using Utf32Char = char32_t;

/// Outcome of an order between two things, some of which have none.
enum class COMPARERESULT : Int32 { LESS = -1, EQUAL = 0, GREATER = 1, INCOMPARABLE = 2 };

/// File and line of a call. An own type, since the standard one is missing on one of the compilers in use.
struct SourceLocation {
    const char* file = "";
    Int32 line = 0;

    static constexpr SourceLocation Current(const char* file = __builtin_FILE(), Int32 line = __builtin_LINE()) {
        return SourceLocation{file, line};
    }
};

}  // namespace talvo
