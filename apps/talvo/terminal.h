// A terminal that gives one key after the other and shows whole screens.
#pragma once

#include "kernel/base/result.h"

#include <termios.h>
#include <string>
#include <vector>

namespace talvo {

/// Takes the terminal over until its end, and then leaves it as it was.
/// Threads: one.
class Terminal {
public:
    struct Key {
        enum class KIND { NONE, TEXT, BACKSPACE, ENTER, UP, DOWN, LEAVE };
        KIND kind = KIND::NONE;
        std::string text;
    };
    /// Errors: IllegalStateError if standard input or output is no terminal.
    static Result<std::unique_ptr<Terminal>> Open();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// The next key; NONE when there was none for so long.
    Key ReadKey(Int milliseconds);
    /// Replaces what is shown. What could steer the terminal is made visible. @param marked number of the line to stand out; -1: none.
    void Show(const std::vector<std::string>& lines, Int marked);
    Int GetHeight() const;

private:
    explicit Terminal(const termios& before) : _before(before) {}
    termios _before;
};

}  // namespace talvo
