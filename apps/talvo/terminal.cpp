#include "apps/talvo/terminal.h"

#include "apps/talvo/terminal_text.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace talvo {

namespace {

constexpr char ESCAPE = 0x1b;
constexpr char DELETE = 0x7f;
constexpr char CONTROL_C = 3;
constexpr char CONTROL_D = 4;
/// How long the rest of an arrow key may take.
constexpr Int REST_OF_KEY = 20;

/// @return false if there is nothing for so long.
Bool ReadByte(char& byte, Int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, int(milliseconds)) > 0 && read(STDIN_FILENO, &byte, 1) == 1;
}

void Write(const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (written <= 0) return;
        done += std::size_t(written);
    }
}

winsize GetSize() {
    winsize size{};
    constexpr unsigned short ROWS = 24, COLUMNS = 80;
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) size = {ROWS, COLUMNS, 0, 0};
    return size;
}

/// Cut to so many columns, between characters.
std::string Cut(const std::string& text, Int columns) {
    std::string cut;
    Int width = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = begin + 1;
        while (end < text.size() && (UChar(text[end]) & 0xc0) == 0x80) ++end;
        const std::string character = text.substr(begin, end - begin);
        width += TerminalText::GetWidth(character);
        if (width > columns) break;
        cut += character;
        begin = end;
    }
    return cut;
}

}  // namespace

Result<std::unique_ptr<Terminal>> Terminal::Open() {
    termios before{};
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO) || tcgetattr(STDIN_FILENO, &before) != 0)
        return IllegalStateError::Create("This works in a terminal only. For scripts there is talvo search.");
    termios raw = before;
    raw.c_lflag &= ~tcflag_t(ICANON | ECHO | ISIG);
    raw.c_cc[VMIN] = 1;
    raw.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    Write("\x1b[?1049h\x1b[?25l");  // another screen, without a cursor
    return std::unique_ptr<Terminal>(new Terminal(before));
}

Terminal::~Terminal() {
    Write("\x1b[?25h\x1b[?1049l");
    tcsetattr(STDIN_FILENO, TCSANOW, &_before);
}

Int Terminal::GetHeight() const { return GetSize().ws_row; }

Terminal::Key Terminal::ReadKey(Int milliseconds) {
    char byte = 0;
    if (!ReadByte(byte, milliseconds)) return {};
    if (byte == CONTROL_C || byte == CONTROL_D) return {Key::KIND::LEAVE, {}};
    if (byte == DELETE || byte == '\b') return {Key::KIND::BACKSPACE, {}};
    if (byte == '\r' || byte == '\n') return {Key::KIND::ENTER, {}};
    if (byte == ESCAPE) {
        char first = 0;
        char second = 0;
        if (!ReadByte(first, REST_OF_KEY) || !ReadByte(second, REST_OF_KEY) || first != '[') return {};
        return {second == 'A' ? Key::KIND::UP : second == 'B' ? Key::KIND::DOWN : Key::KIND::NONE, {}};
    }
    if (UChar(byte) < ' ') return {};
    std::string text(1, byte);
    const Int more = UChar(byte) >= 0xf0 ? 3 : UChar(byte) >= 0xe0 ? 2 : UChar(byte) >= 0xc0 ? 1 : 0;
    for (Int i = 0; i < more && ReadByte(byte, REST_OF_KEY); ++i) text += byte;
    return {Key::KIND::TEXT, text};
}

void Terminal::Show(const std::vector<std::string>& lines, Int marked) {
    const winsize size = GetSize();
    std::string screen = "\x1b[H";
    for (Int i = 0; i < size.ws_row; ++i) {
        const std::string line =
            i < Int(lines.size()) ? Cut(TerminalText::MakeSafe(lines[std::size_t(i)]), size.ws_col) : std::string();
        screen += i == marked ? "\x1b[7m" + line + "\x1b[0m" : line;
        screen += "\x1b[K";
        if (i + 1 < size.ws_row) screen += "\r\n";
    }
    Write(screen);
}

}  // namespace talvo
