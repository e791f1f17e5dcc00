// Many small pieces of work on several threads at once, where making a job of each would cost more than doing it.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/result.h"

namespace talvo {

/// Does `work` for each number below `count`, in no order, on this thread and up to `threads` - 1 others that end with the call. Fewer
/// threads than wanted are no error.
/// Errors: the first one of `work`, after which no other piece begins; OperationCancelledError if the current job of this thread is
/// cancelled; OutOfMemoryError.
Result<void> DoSideBySide(Int count, Int threads, FunctionRef<Result<void>(Int index)> work);

}  // namespace talvo
