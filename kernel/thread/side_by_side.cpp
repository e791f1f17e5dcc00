#include "kernel/thread/side_by_side.h"

#include "kernel/thread/job.h"
#include "kernel/thread/locks.h"

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace talvo {

namespace {

/// The pieces that are left, and the first error.
/// Threads: any.
class Pieces {
public:
    Pieces(Int count, FunctionRef<Result<void>(Int)> work) : _count(count), _work(work) {}

    /// @return whether there may be more.
    Bool DoNext() {
        const Int index = _next.fetch_add(1, std::memory_order_relaxed);
        if (index >= _count) return false;
        Result<void> done = CatchOutOfMemory([&] { return _work(index); });
        if (done.IsError()) Stop(std::move(done));
        return true;
    }
    void Stop(Result<void> reason) {
        _next.store(_count, std::memory_order_relaxed);
        auto outcome = _outcome.Write();
        if (outcome->IsOk()) std::swap(*outcome, reason);
    }
    Result<void> GetOutcome() {
        auto outcome = _outcome.Write();
        return *outcome;
    }

private:
    const Int _count;
    const FunctionRef<Result<void>(Int)> _work;
    std::atomic<Int> _next{0};
    Guarded<Result<void>, Spinlock> _outcome;
};

/// Jobs are cancelled by thread, so the calling one looks.
void DoUntilCancelled(Pieces& pieces) {
    while (pieces.DoNext()) {
        if (Job::IsCurrentCancelled()) return pieces.Stop(OperationCancelledError::Create());
    }
}

}  // namespace

Result<void> DoSideBySide(Int count, Int threads, FunctionRef<Result<void>(Int index)> work) {
    Pieces pieces(count, work);
    {
        std::vector<std::jthread> helpers;
        try {
            for (Int i = 1; i < std::min(threads, count); i++) {
                helpers.emplace_back([&pieces] {
                    while (pieces.DoNext()) continue;
                });
            }
        } catch (const std::system_error&) {
            // With fewer threads it takes longer only.
        } catch (const std::bad_alloc&) {
            // The same.
        }
        DoUntilCancelled(pieces);
    }
    return pieces.GetOutcome();
}

}  // namespace talvo
