// Diagnostic output. It carries no behaviour that anything rests on.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/text/format.h"

#include <new>
#include <string>

namespace talvo {

enum class LOG_LEVEL { DIAGNOSTIC, MESSAGE, WARNING, CRITICAL };

/// Hands a line to the host's sink; without one, WARNING and CRITICAL go to stderr, the rest nowhere. Threads: any.
void LogLine(LOG_LEVEL level, const std::string& line);
template <typename... ARGS>
void Log(LOG_LEVEL level, std::string_view pattern, const ARGS&... args) {
    try {
        LogLine(level, FormatMessage(pattern, args...));
    } catch (const std::bad_alloc&) {
        // What was to be told goes on without its word in the log.
    }
}
/// Null restores the default.
void SetLogSink(Delegate<void(LOG_LEVEL, const std::string&)> sink);

}  // namespace talvo
