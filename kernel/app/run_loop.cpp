#include "kernel/app/run_loop.h"

#include "kernel/thread/job.h"

#include <atomic>

namespace talvo {

Observable<>& RunLoop::ObservableExitLoop() {
    // Never destroyed: observers are removed by objects that may go when statics do.
    static auto& observable = *new Observable<>;
    return observable;
}

Int RunLoop::RunPendingJobs() { return JobQueue::GetMainThreadQueue().RunPending(); }

void RunLoop::Exit() {
    static std::atomic<Bool> fired{false};
    if (!fired.exchange(true)) ObservableExitLoop().Notify();
}

}  // namespace talvo
