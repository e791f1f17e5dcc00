// Texts as a terminal shows them: how wide they are, what must not reach it, and numbers for people.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/base/types.h"

#include <string>
#include <string_view>

namespace talvo::TerminalText {

/// UTF-8 without anything that could steer a terminal: control characters, and characters that turn the direction of text, are
/// written as \n, \t, \x1b, \u202e. Malformed bytes become U+FFFD.
std::string MakeSafe(std::string_view bytes);
/// Columns that `utf8` takes: 2 for wide characters, 0 for marks that stand on others.
Int GetWidth(std::string_view utf8);
/// "0 B", "134 KiB", "2.4 GiB"
std::string FormatBytes(Int64 bytes);
/// Local time to the second; empty for no time.
std::string FormatTime(UniversalDateTime time);
/// "5 s", "3 min 20 s", "2 h 5 min"
std::string FormatDuration(Int64 seconds);
/// "1 file", "2 files"
std::string FormatCount(Int64 count, std::string_view singular, std::string_view plural);

}  // namespace talvo::TerminalText
