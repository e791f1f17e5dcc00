#include "apps/talvo/progress.h"

#include "apps/talvo/terminal_text.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace talvo {

Progress::USE Progress::Detect() {
    const char* terminal = std::getenv("TERM");
    const Bool dumb = terminal && std::strcmp(terminal, "dumb") == 0;
    return isatty(STDERR_FILENO) && !dumb ? USE::SHOWN : USE::HIDDEN;
}

Progress::Progress(USE use, std::string what, Int total) : _use(use), _what(std::move(what)), _total(total) {}

void Progress::Show(Int done, Int64 bytes) {
    const Clock::time_point now = Clock::now();
    if (_use == USE::HIDDEN || now - _last < std::chrono::milliseconds(150)) return;
    _last = now;
    const double seconds = std::chrono::duration<double>(now - _begin).count();
    std::string line =
        _what + " " + std::to_string(done) + " of " + std::to_string(_total) + ", " + TerminalText::FormatBytes(bytes);
    if (seconds > 1 && done > 0) {
        line += ", " + TerminalText::FormatBytes(Int64(double(bytes) / seconds)) + "/s";
        line += ", " + TerminalText::FormatDuration(Int64(seconds / double(done) * double(_total - done)) + 1) + " left";
    }
    std::fprintf(stderr, "\r\x1b[K%s", line.c_str());
    std::fflush(stderr);
    _isVisible = true;
}

void Progress::Clear() {
    if (!_isVisible) return;
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
    _isVisible = false;
}

}  // namespace talvo
