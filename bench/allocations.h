// Counts what is allocated.
#pragma once

#include "kernel/base/types.h"

namespace talvo::bench {

/// How often this thread has allocated.
Int GetAllocationCount();

}  // namespace talvo::bench
