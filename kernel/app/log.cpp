#include "kernel/app/log.h"

#include "kernel/thread/locks.h"

#include <cstdio>
#include <utility>

namespace talvo {

namespace {

using Sink = Delegate<void(LOG_LEVEL, const std::string&)>;

/// Never destroyed: lines still come when statics go.
Guarded<Sink, Spinlock>& GetSink() {
    static auto& sink = *new Guarded<Sink, Spinlock>(KERNEL_TABLE_LOCK);
    return sink;
}

Sink CopySink() {
    const auto sink = GetSink().Read();
    return *sink;
}

}  // namespace

void LogLine(LOG_LEVEL level, const std::string& line) {
    if (const Sink sink = CopySink()) {
        sink(level, line);
        return;
    }
    if (level < LOG_LEVEL::WARNING) return;
    const std::string whole = line + "\n";  // one write, so that lines of threads don't mix
    std::fwrite(whole.data(), 1, whole.size(), stderr);
}

void SetLogSink(Delegate<void(LOG_LEVEL, const std::string&)> sink) {
    const auto current = GetSink().Write();
    std::swap(*current, sink);  // the old one goes with the argument, behind the lock
}

}  // namespace talvo
