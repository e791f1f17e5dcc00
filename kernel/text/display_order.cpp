// The order in which people expect texts: root collation with numbers, made total by the code points.
#include "kernel/text/casing.h"

#include <unicode/ucol.h>

#include <limits>

namespace talvo {

namespace {

UCollator* OpenCollator() {
    UErrorCode status = U_ZERO_ERROR;
    UCollator* collator = ucol_open("", &status);
    if (U_FAILURE(status)) return nullptr;
    ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    return collator;
}

/// The same for all threads and for ever; null if the library lacks its data, when all is ordered by code points.
const UCollator* GetCollator() {
    static const UCollator* const collator = OpenCollator();
    return collator;
}

int Sign(int order) { return (order > 0) - (order < 0); }

/// UTF-8 has the order of code points.
int CompareBytes(const String& first, const String& second) { return Sign(first.GetView().compare(second.GetView())); }

int CompareDisplay(const String& first, const String& second) {
    if (first == second) return 0;
    const std::string_view a = first.GetView();
    const std::string_view b = second.GetView();
    constexpr std::size_t LONGEST = std::numeric_limits<int32_t>::max();
    if (const UCollator* collator = GetCollator(); collator && a.size() <= LONGEST && b.size() <= LONGEST) {
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult order =
            ucol_strcollUTF8(collator, a.data(), int32_t(a.size()), b.data(), int32_t(b.size()), &status);
        if (U_SUCCESS(status) && order != UCOL_EQUAL) return order == UCOL_LESS ? -1 : 1;
    }
    return CompareBytes(first, second);
}

std::u16string ToUtf16(const String& text) {
    std::u16string result;
    result.reserve(text.GetView().size());
    for (const Utf32Char character : text.GetUtf32()) {
        if (character < 0x10000) {
            result += char16_t(character);
        } else {
            result += char16_t(0xd800 + ((character - 0x10000) >> 10));
            result += char16_t(0xdc00 + ((character - 0x10000) & 0x3ff));
        }
    }
    return result;
}

/// The collator's key of `text`, which ends with its only NUL.
std::string MakeCollationKey(const UCollator* collator, const String& text) {
    const std::u16string utf16 = ToUtf16(text);
    std::string key(2 * utf16.size() + 32, '\0');
    for (;;) {
        const int32_t length = ucol_getSortKey(collator, utf16.data(), int32_t(utf16.size()),
                                               reinterpret_cast<uint8_t*>(key.data()), int32_t(key.size()));
        const Bool fits = std::size_t(length) <= key.size();
        key.resize(std::size_t(length));
        if (fits) return key;
    }
}

}  // namespace

int CompareText(const String& first, const String& second, COMPARE_MODE mode) {
    switch (mode) {
        case COMPARE_MODE::NO_CASE: return CompareBytes(first.ToUpper(), second.ToUpper());
        case COMPARE_MODE::DISPLAY: return CompareDisplay(first, second);
        case COMPARE_MODE::BYTES: break;
    }
    return CompareBytes(first, second);
}

std::string MakeSortKey(const String& text) {
    // The key ends with a NUL that it has nowhere else, so that the bytes behind it only decide between equal keys.
    const UCollator* collator = GetCollator();
    std::string key = collator ? MakeCollationKey(collator, text) : std::string();
    return key.append(text.GetView());
}

}  // namespace talvo
