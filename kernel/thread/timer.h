// Work that is done once, some time later.
#pragma once

#include "kernel/thread/job.h"

namespace talvo {

/// A job that is enqueued when its time comes. Neither the last reference nor a clock that is set keeps it from that: it goes by the time
/// that has passed, and what isn't cancelled is done. What is pending when the process ends is not done.
///
/// One thread waits for the times of all; it runs nothing itself.
/// Threads: any. Costs: O(pending timers) for each call; they are few.
class Timer final : public ObjectInterface {
public:
    /// Enqueues `work` on the default queue after `seconds`, or up to `tolerance` later, if it can be done along with others then.
    /// Errors: IllegalArgumentError if a number is negative or none; SystemError if there is no thread to wait; OutOfMemoryError.
    static Result<StrongRef<Timer>> Start(Float64 seconds, Float64 tolerance, Job::Work work);

    /// Pending work is not done any more; running work is asked to stop, as by Job::Cancel.
    void Cancel();
    /// The same, and waits until the work has ended, unless the caller is inside of it.
    void CancelAndWait();
    /// The time has come: for a host that ends, and for tests. Nothing if it isn't pending.
    /// Errors: SystemError, OutOfMemoryError of enqueuing; it is still pending then.
    Result<void> FireNow();
    /// Neither enqueued nor cancelled yet.
    Bool IsPending() const { return _job->GetState() == JOB_STATE::CREATED; }
    /// What is enqueued: to be waited for or asked for its result, once it isn't pending.
    const JobRef& GetJob() const { return _job; }

private:
    explicit Timer(JobRef job) : _job(std::move(job)) {}
    const JobRef _job;
};
using TimerRef = StrongRef<Timer>;

}  // namespace talvo
