#include "apps/talvo/signals.h"

#include "apps/talvo/options.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

namespace talvo::Signals {

namespace {

std::atomic<Bool> g_waitForSafePoint{false};
std::atomic<Bool> g_isInterrupted{false};
static_assert(std::atomic<Bool>::is_always_lock_free);

void WriteMessage(std::string_view message) {
    [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, message.data(), message.size());
}

extern "C" void HandleInterrupt(int) {
    if (g_waitForSafePoint && !g_isInterrupted.exchange(true)) {
        WriteMessage("\ntalvo: finishing what is in hand; interrupt once more to end at once\n");
        return;
    }
    WriteMessage("\ntalvo: interrupted\n");
    ::_exit(int(EXIT_CODE::INTERRUPTED));
}

}  // namespace

void Install() {
    struct sigaction action = {};
    action.sa_handler = HandleInterrupt;
    action.sa_flags = SA_RESTART;  // the work in hand must not see it
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, nullptr);
}

void StopAtSafePoint() { g_waitForSafePoint = true; }

Bool IsInterrupted() { return g_isInterrupted; }

}  // namespace talvo::Signals
