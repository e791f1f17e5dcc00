#include "kernel/text/casing.h"

#include "kernel/text/utf8.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <iterator>

namespace talvo {

namespace {

Utf32Char ToUpperAscii(Utf32Char character) { return character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character; }
Utf32Char ToLowerAscii(Utf32Char character) { return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character; }

/// `bytes` with each character mapped. What is not UTF-8 stays.
template <typename MAP>
std::string MapCharacters(std::string_view bytes, const MAP& map) {
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        const detail::DecodedChar next = detail::DecodeChar(bytes);
        if (next.valid) {
            detail::AppendChar(result, map(next.character));
        } else {
            result.append(bytes.substr(0, next.length));
        }
        bytes.remove_prefix(next.length);
    }
    return result;
}

/// Characters `first`, `first + step` ... `last`, which are mapped by adding `delta`.
struct FoldingRange {
    UInt32 first;
    UInt32 last;
    UInt32 step;
    Int32 delta;
};
constexpr FoldingRange FOLDING_TABLE[] = {
#include "kernel/text/folding_table.inc"
};

Utf32Char FoldFrozen(Utf32Char character) {
    if (character < 0x80) return ToLowerAscii(character);
    const auto* range = std::upper_bound(std::begin(FOLDING_TABLE), std::end(FOLDING_TABLE), character,
                                         [](Utf32Char c, const FoldingRange& r) { return c < r.first; });
    if (range == std::begin(FOLDING_TABLE)) return character;
    --range;
    const Bool mapped = character <= range->last && (character - range->first) % range->step == 0;
    return mapped ? Utf32Char(Int32(character) + range->delta) : character;
}

}  // namespace

Utf32Char UnicodeUtils::UpperCase(Utf32Char character) {
    return character < 0x80 ? ToUpperAscii(character) : Utf32Char(u_toupper(UChar32(character)));
}

Utf32Char UnicodeUtils::LowerCase(Utf32Char character) {
    return character < 0x80 ? ToLowerAscii(character) : Utf32Char(u_tolower(UChar32(character)));
}

String UnicodeUtils::UpperCase(const String& text) {
    return String(std::string_view(MapCharacters(text.GetView(), [](Utf32Char c) { return UpperCase(c); })));
}

String UnicodeUtils::LowerCase(const String& text) {
    return String(std::string_view(MapCharacters(text.GetView(), [](Utf32Char c) { return LowerCase(c); })));
}

std::string FoldNameFrozen(std::string_view bytes) { return MapCharacters(bytes, FoldFrozen); }

}  // namespace talvo
