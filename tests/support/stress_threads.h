// Threads of a stress case, under the eye of a watchdog: a case that stands still says where each thread is, and ends the program.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/types.h"

#include <functional>
#include <vector>

namespace talvo {

/// One thread of a case.
struct StressWork {
    const char* name;  ///< for the watchdog's report
    std::function<void()> run;
};

/// Runs all works, one thread each, which begin together, and waits for them. If for a minute no thread notes a step, the
/// state and the stack of each are printed and the program is aborted.
void RunStress(std::vector<StressWork> works);
/// The same for `count` threads that do one work; each gets its number from 0.
void RunStress(Int count, FunctionRef<void(Int number)> work);
/// To be called once a round: the calling thread goes on.
void NoteStressStep();

}  // namespace talvo
