// Bytes as text of the 64 letters of RFC 4648.
#include "kernel/data/base64.h"

#include <array>

namespace talvo {

namespace {

constexpr std::string_view LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr UChar NO_LETTER = 0xff;

constexpr auto VALUES = [] {
    std::array<UChar, 256> values{};
    values.fill(NO_LETTER);
    for (std::size_t i = 0; i < LETTERS.size(); ++i) values[UChar(LETTERS[i])] = UChar(i);
    return values;
}();

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        UInt32 bits = 0;
        for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? UChar(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k) text += k <= count ? LETTERS[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

Opt<std::string> DecodeBase64(std::string_view text) {
    if (text.size() % 4 != 0) return {};
    std::size_t letters = text.size();
    while (letters > 0 && letters + 2 > text.size() && text[letters - 1] == '=') --letters;
    std::string bytes;
    bytes.reserve(letters * 3 / 4);
    UInt32 bits = 0;
    int count = 0;
    for (const char c : text.substr(0, letters)) {
        const UChar value = VALUES[UChar(c)];
        if (value == NO_LETTER) return {};
        bits = bits << 6 | value;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += char(bits >> count & 0xff);
    }
    // Bits left over must be zero, so that one value has one text.
    if ((bits & ((1u << count) - 1)) != 0) return {};
    return bytes;
}

}  // namespace talvo
