// What Ctrl-C does to a command.
#pragma once

#include "kernel/base/types.h"

namespace talvo::Signals {

/// From now on an interrupt ends the process at once with exit code 130: right for work that changes nothing. A closed standard output
/// is an error of the write, not a signal.
void Install();
/// From now on the first interrupt only sets a mark that the work looks at between two steps; the second one ends the process.
void StopAtSafePoint();
/// True once an interrupt came.
Bool IsInterrupted();

}  // namespace talvo::Signals
