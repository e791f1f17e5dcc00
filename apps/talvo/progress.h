// One line on the terminal that tells how far long work has come.
#pragma once

#include "kernel/base/types.h"

#include <chrono>
#include <string>

namespace talvo {

/// Shows count, rate and remaining time on standard error, a few times a second. Without a terminal it does nothing.
/// Threads: main thread.
class Progress {
public:
    enum class USE { SHOWN, HIDDEN };
    Progress(USE use, std::string what, Int total);
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// @param done so many of the total. @param bytes in all so far.
    void Show(Int done, Int64 bytes);
    /// Takes the line away, before other lines are written.
    void Clear();

    /// What to do for this process: shown on a terminal only.
    static USE Detect();

private:
    using Clock = std::chrono::steady_clock;

    const USE _use;
    const std::string _what;
    const Int _total;
    const Clock::time_point _begin = Clock::now();
    Clock::time_point _last;
    Bool _isVisible = false;
};

}  // namespace talvo
