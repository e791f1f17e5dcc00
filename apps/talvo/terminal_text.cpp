#include "apps/talvo/terminal_text.h"

#include "kernel/text/string.h"

#include <unicode/uchar.h>

#include <array>
#include <cstdio>

namespace talvo::TerminalText {

namespace {

Bool TurnsDirection(Utf32Char c) {
    return (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069) || c == 0x200e || c == 0x200f || c == 0x061c;
}

Bool IsUnsafe(Utf32Char c) { return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x2028 || c == 0x2029 || TurnsDirection(c); }

std::string Escape(Utf32Char c) {
    if (c == '\n') return "\\n";
    if (c == '\t') return "\\t";
    if (c == '\r') return "\\r";
    char text[16];
    std::snprintf(text, sizeof text, c < 0x100 ? "\\x%02x" : "\\u%04x", unsigned(c));
    return text;
}

Int GetCharacterWidth(Utf32Char c) {
    const int category = u_charType(UChar32(c));
    if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR) return 0;
    const int width = u_getIntPropertyValue(UChar32(c), UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

std::string MakeSafe(std::string_view bytes) {
    String safe;
    for (const Utf32Char c : String(bytes).GetUtf32()) {
        if (IsUnsafe(c)) {
            safe.Append(String(Escape(c)));
        } else {
            safe.AppendChar(c);
        }
    }
    return safe.GetCString();
}

Int GetWidth(std::string_view utf8) {
    const String text(utf8);
    if (text.IsAscii()) return text.GetLength();
    Int width = 0;
    for (const Utf32Char c : text.GetUtf32()) width += GetCharacterWidth(c);
    return width;
}

std::string FormatBytes(Int64 bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " B";
    static constexpr std::array UNITS{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double value = double(bytes) / 1024;
    std::size_t unit = 0;
    while (value >= 999.5 && unit + 1 < UNITS.size()) {
        value /= 1024;
        unit++;
    }
    char text[32];
    std::snprintf(text, sizeof text, value < 9.95 ? "%.1f %s" : "%.0f %s", value, UNITS[unit]);
    return text;
}

std::string FormatTime(UniversalDateTime time) { return time.IsEmpty() ? std::string() : time.FormatLocal("%Y-%m-%d %H:%M:%S"); }

std::string FormatDuration(Int64 seconds) {
    if (seconds < 60) return std::to_string(seconds) + " s";
    const Int64 minutes = seconds / 60;
    if (minutes < 60) return std::to_string(minutes) + " min " + std::to_string(seconds % 60) + " s";
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

std::string FormatCount(Int64 count, std::string_view singular, std::string_view plural) {
    return std::to_string(count) + " " + std::string(count == 1 ? singular : plural);
}

}  // namespace talvo::TerminalText
