#include "kernel/text/format.h"

#include <algorithm>
#include <charconv>

namespace talvo {

namespace {

template <typename T, typename... FORM>
std::string ToChars(T value, FORM... form) {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value, form...);
    return std::string(buffer, result.ptr);
}

/// Text of a whole number in hexadecimal; other text as it is.
std::string ToHexadecimal(const std::string& text) {
    const Bool negative = text.starts_with('-');
    const char* const first = text.data() + (negative ? 1 : 0);
    const char* const last = text.data() + text.size();
    UInt64 value = 0;
    const auto read = std::from_chars(first, last, value);
    if (read.ec != std::errc() || read.ptr != last) return text;
    return (negative ? "-" : "") + ToChars(value, 16);
}

std::string Pad(std::string text, std::size_t width, char filler) {
    if (text.size() >= width) return text;
    // Zeros stand behind the sign, blanks before it.
    const std::size_t position = filler == '0' && text.starts_with('-') ? 1 : 0;
    return text.insert(position, width - text.size(), filler);
}

/// `format` is "", "x", a width, a width with a leading 0, or a width and "x". What is none of these has no effect.
std::string ApplyFormat(const std::string& argument, std::string_view format) {
    const Bool hexadecimal = format.ends_with('x');
    if (hexadecimal) format.remove_suffix(1);
    const Bool zeros = format.starts_with('0');
    std::size_t width = 0;
    const auto read = std::from_chars(format.data(), format.data() + format.size(), width);
    const Bool understood =
        format.empty() || (read.ec == std::errc() && read.ptr == format.data() + format.size() && width <= 99);
    if (!understood) return argument;
    return Pad(hexadecimal ? ToHexadecimal(argument) : argument, width, zeros ? '0' : ' ');
}

/// The placeholder at the front of a text that begins with "@".
struct Placeholder {
    std::size_t length = 1;
    Bool literal = false;
    std::string_view format;
};

Placeholder ReadPlaceholder(std::string_view text) {
    if (text.starts_with("@@")) return {2, true, {}};
    if (!text.starts_with("@{")) return {};
    const std::size_t close = text.find('}');
    if (close == std::string_view::npos) return {};
    return {close + 1, false, text.substr(2, close - 2)};
}

}  // namespace

std::string ToText(char value) { return std::string(1, value); }
std::string ToText(Int64 value) { return ToChars(value); }
std::string ToText(UInt64 value) { return ToChars(value); }
std::string ToText(Float64 value) { return ToChars(value); }

std::string FormatText(std::string_view pattern, Block<const std::string> arguments) {
    std::string result;
    std::size_t next = 0;
    for (;;) {
        const std::size_t at = std::min(pattern.find('@'), pattern.size());
        result.append(pattern.substr(0, at));
        pattern.remove_prefix(at);
        if (pattern.empty()) return result;
        const Placeholder placeholder = ReadPlaceholder(pattern);
        if (placeholder.literal) {
            result += '@';
        } else if (next < arguments.size()) {
            result += ApplyFormat(arguments[next++], placeholder.format);
        } else {
            result.append(pattern.substr(0, placeholder.length));
        }
        pattern.remove_prefix(placeholder.length);
    }
}

}  // namespace talvo
