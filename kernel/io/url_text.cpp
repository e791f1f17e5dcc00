#include "kernel/io/url_text.h"

#include <algorithm>

namespace talvo {

namespace {

Bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
Bool IsDigit(char c) { return c >= '0' && c <= '9'; }

Bool StandsForItself(char c, URL_PART part) {
    if (IsLetter(c) || IsDigit(c)) return true;
    if (std::string_view("-._~!$&'()*+,;=:@").find(c) != std::string_view::npos) return true;
    if (c == '/') return part != URL_PART::AUTHORITY;
    return c == '?' && part == URL_PART::QUERY;
}

int ReadHexDigit(char c) {
    if (IsDigit(c)) return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

Bool IsScheme(std::string_view text) {
    return !text.empty() && IsLetter(text.front()) && std::all_of(text.begin(), text.end(), [](char c) {
        return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.';
    });
}

/// Cuts the part up to `end` off the front of `rest`.
std::string_view CutFront(std::string_view& rest, std::size_t end) {
    const std::string_view front = rest.substr(0, end);
    rest.remove_prefix(front.size());
    return front;
}

}  // namespace

std::string EncodeUrlPart(std::string_view bytes, URL_PART part) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        if (StandsForItself(c, part)) {
            text += c;
        } else {
            text += '%';
            text += DIGITS[static_cast<UChar>(c) >> 4];
            text += DIGITS[static_cast<UChar>(c) & 15];
        }
    }
    return text;
}

std::string DecodeUrlPart(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? ReadHexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? ReadHexDigit(text[i + 2]) : -1;
        if (low < 0) {
            bytes += text[i];
        } else {
            bytes += static_cast<char>(high * 16 + low);
            i += 2;
        }
    }
    return bytes;
}

Bool SplitUrlText(std::string_view text, UrlText& parts) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || !IsScheme(text.substr(0, colon))) return false;
    parts.scheme = CutFront(text, colon);
    text.remove_prefix(1);
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.authority = CutFront(text, text.find_first_of("/?"));
    }
    if (text.starts_with('/')) text.remove_prefix(1);
    parts.path = CutFront(text, text.find('?'));
    parts.query = text.substr(text.empty() ? 0 : 1);
    return true;
}

}  // namespace talvo
