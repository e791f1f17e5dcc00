// What every command shares: the options before or after its name, and how the process ends.
#pragma once

#include "kernel/base/result.h"

#include <string>
#include <vector>

namespace talvo {

enum class EXIT_CODE : int { DONE = 0, FAILED = 1, WRONG_USAGE = 2, INTERRUPTED = 130 };

enum class COLOR_USE { AUTO, ALWAYS, NEVER };

struct CommonOptions {
    Opt<std::string> home;
    std::vector<std::string> bases;  ///< paths of the repositories behind REPO, in order
    Bool json = false;
    Bool quiet = false;
    Bool noProgress = false;
    COLOR_USE color = COLOR_USE::AUTO;
};

/// The words of the command line don't fit the command: exit code 2, with the command's usage.
TALVO_ERROR_CLASS(WrongUsageError, "wrongusage");
/// Whoever read our output has closed it: the program ends without a word.
TALVO_ERROR_CLASS(ClosedOutputError, "closedoutput");

}  // namespace talvo
