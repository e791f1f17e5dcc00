// Upper case, lower case and the order in which people expect texts.
#pragma once

#include "kernel/text/string.h"

#include <string>
#include <string_view>

namespace talvo {

namespace UnicodeUtils {

/// Simple upper case mapping of one character.
Utf32Char UpperCase(Utf32Char character);
/// Folds text to upper case, character by character.
String UpperCase(const String& text);
/// Simple lower case mapping of one character.
Utf32Char LowerCase(Utf32Char character);
/// Folds text to lower case, character by character.
String LowerCase(const String& text);

}  // namespace UnicodeUtils

/// Lower case by a table frozen in the code (simple mappings of Unicode 14), so that hashes of names never change with a
/// library. Bytes that are not UTF-8 stay.
std::string FoldNameFrozen(std::string_view bytes);

enum class COMPARE_MODE : Int32 {
    BYTES = 0,    ///< by bytes
    NO_CASE = 1,  ///< by bytes of the upper-cased texts
    DISPLAY = 4   ///< root collation, digit runs as numbers, then code points: 0 only for identical texts
};

/// -1, 0 or 1.
int CompareText(const String& first, const String& second, COMPARE_MODE mode);
/// Bytes whose memcmp order is the display order. Not for storing.
std::string MakeSortKey(const String& text);

}  // namespace talvo
