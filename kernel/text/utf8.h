// Reading and writing single characters of UTF-8; for the sources of this room.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <string_view>

namespace talvo::detail {

constexpr Utf32Char REPLACEMENT_CHARACTER = 0xfffd;

/// One character, or what stands in its place: `length` bytes that belong together but are no character.
struct DecodedChar {
    Utf32Char character = REPLACEMENT_CHARACTER;
    UInt32 length = 1;
    Bool valid = false;
};

/// The character at the front of `bytes`, which are not empty. A malformed front is its longest part that could have
/// been the beginning of a character, at least one byte.
DecodedChar DecodeChar(std::string_view bytes);

/// Appends `character`, or U+FFFD for what is none.
void AppendChar(std::string& bytes, Utf32Char character);

constexpr Bool IsContinuation(char byte) { return (UChar(byte) & 0xc0) == 0x80; }

Bool IsAsciiOnly(std::string_view bytes);

}  // namespace talvo::detail
