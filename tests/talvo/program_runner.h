// Runs the built program as a user's shell would, and takes what it says.
#pragma once

#include "kernel/base/types.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace talvo {

/// How one run ended.
struct ProgramOutcome {
    int exitCode = -1;  ///< negative: the number of the signal that ended it
    std::string out;
    std::string err;
    Bool timedOut = false;
};

/// What is special about a run.
struct ProgramSetup {
    std::vector<std::pair<std::string, std::string>> environment{};
    std::string inputPath{};    ///< standard input comes from this file; else there is none
    std::string outputPath{};   ///< standard output goes to this file, not to the outcome
    Bool closeOutput = false;   ///< whoever should read standard output has gone
    int signalAtFirstLine = 0;  ///< sent once the program has written a line
    std::string workingFolder{};
};

/// Runs the program with these words; ends it after a minute, so that nothing hangs.
ProgramOutcome RunProgram(const std::vector<std::string>& words, const ProgramSetup& setup = {});

}  // namespace talvo
