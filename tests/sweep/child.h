// Work done in a process of its own, so that it may be killed, run out of memory, or leak.
#pragma once

#include "kernel/base/delegate.h"

#include <string>
#include <vector>

namespace talvo::sweep {

/// How a child ended, and the lines it told.
struct ChildEnd {
    std::vector<std::string> lines;
    Bool wasKilled = false;    ///< by SIGKILL, as a plan does it
    Bool hasFinished = false;  ///< with exit code 0
    std::string how;           ///< for people
};

/// Tells lines to the parent. A line that was told is told, whatever happens to the child then.
class Teller {
public:
    explicit Teller(int pipe) : _pipe(pipe) {}
    void Tell(const std::string& line) const;

private:
    const int _pipe;
};

/// Runs `work` in a fork of this process and waits for its end; a child that takes longer than a minute is ended and counts as hanging.
ChildEnd RunChild(FunctionRef<void(const Teller&)> work);

}  // namespace talvo::sweep
