// What a job queue and its workers share; for the sources of jobs only.
#pragma once

#include "kernel/thread/job.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace talvo::detail {

struct JobQueueState;

/// Between CREATED and ENQUEUED: the queue is being set. Seen from outside the job is still CREATED.
constexpr auto JOB_STATE_ENQUEUING = JOB_STATE(UInt32(JOB_STATE::CANCELLED) + 1);

/// A job that this thread is inside of, from its start until its end was told: running it, or ending it by a cancel.
/// One lies on the stack of each such call. They are linked by thread, innermost first, and by queue.
class RunningJob {
public:
    explicit RunningJob(Job& job);
    RunningJob(const RunningJob&) = delete;
    RunningJob& operator=(const RunningJob&) = delete;
    ~RunningJob();

    /// Brings the job from `from` to RUNNING. @return false if another thread was faster; then this object does nothing.
    Bool Begin(JOB_STATE from);
    /// For a job whose queue is locked by the caller.
    Bool Begin(JOB_STATE from, const std::unique_lock<std::mutex>& queueLock);

    static Job* GetInnermost();
    static Bool IsInside(const Job& job);

private:
    friend JobQueueState;
    Job& _job;
    const StrongRef<JobQueueState> _queue;  // null for a job that was never enqueued
    Bool _begun = false;
    RunningJob* _outer = nullptr;
    RunningJob* _previous = nullptr;  // guarded by the queue's mutex, as _next
    RunningJob* _next = nullptr;
};

/// The state of one queue. A helper that needs the mutex takes the lock that holds it.
struct JobQueueState : ObjectInterface {
    using Lock = std::unique_lock<std::mutex>;

    explicit JobQueueState(Int count) : threadCount(count) {}

    /// See JobQueue::Enqueue.
    Result<void> Put(const JobRef& job);
    /// Whether the calling thread is one of those that run this queue's jobs.
    Bool IsRunHere() const;
    void CancelAll();
    /// Waits for the cancelled jobs that run on other threads.
    void WaitForCancelled();
    /// Lets no more jobs in and waits until the workers are gone; not for the calling one.
    void Close();
    Int RunPending();

    // A worker waits for a job of another queue: until it is back, another one may take its place.
    void BeginBlocked();
    void EndBlocked();
    /// The queue whose worker the calling thread is, or null.
    static JobQueueState* GetOwnQueue();

    const Int threadCount;

private:
    friend RunningJob;

    Int CountActive(const Lock&) const { return _alive - _blocked; }
    Result<void> StartWorkerIfNeeded(const Lock& lock);
    void Work();
    Bool WaitForJob(Lock& lock);
    /// Takes the first waiting job and runs it, with the mutex given up meanwhile. @return false if it had ended already.
    Bool RunFirst(Lock& lock);
    void Link(RunningJob& job, const Lock& lock);
    void Unlink(RunningJob& job);

    std::mutex _mutex;
    std::condition_variable _wake;  // for idle workers: a job, too many workers, or the end
    std::condition_variable _left;  // a worker is gone
    // Guarded by `_mutex`:
    std::deque<JobRef> _waiting;  // jobs that ended meanwhile are passed over when their turn comes
    RunningJob* _running = nullptr;
    Int _alive = 0;
    Int _idle = 0;
    Int _blocked = 0;
    Bool _closed = false;
};

}  // namespace talvo::detail
