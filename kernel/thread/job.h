// Background work: jobs with a result and cancellation, the queues that run them, and groups of jobs.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/delegate.h"
#include "kernel/thread/locks.h"

#include <atomic>
#include <vector>

namespace talvo {

class JobQueue;
class Job;
using JobRef = StrongRef<Job>;

namespace detail {
struct JobQueueState;
class RunningJob;
}  // namespace detail

enum class JOB_STATE : UInt32 {
    CREATED,   ///< in no queue yet
    ENQUEUED,  ///< waits for a thread
    RUNNING,
    DONE,      ///< ran to its end; GetResult has its result
    CANCELLED  ///< was cancelled before it ran; GetResult has OperationCancelledError
};

/// One piece of work, run once. The last reference need not be kept: an enqueued job lives until it has ended.
///
/// Ending: the result is kept, the work with all it captured is destroyed, finished observers are called, and only then
/// waiters wake up; all of it still inside the job, so that an object that goes with its own job never waits for itself.
///
/// Threads:    any member from any thread.
/// Lock order: work and observers run without any lock of this class.
class Job final : public ObjectInterface {
public:
    using Work = Delegate<Result<void>()>;
    using FinishedObserver = Delegate<void(const Result<void>& result)>;
    using CancelledObserver = Delegate<void()>;

    /// Throws std::bad_alloc if memory is out.
    static JobRef Create(Work work);
    ~Job() override;

    /// Waits until the job has ended; its own result is GetResult's. A waiting thread runs the job itself if it could have:
    /// a worker those of its queue, the main thread those of the main thread's queue.
    /// Errors: IllegalStateError if the caller runs inside of this job, or nobody enqueued it: it would wait for ever.
    Result<void> Wait();
    /// The result of the work. Errors besides the work's own: OperationCancelledError if it never ran, OutOfMemoryError if it
    /// ran out of memory, IllegalStateError if it has not ended yet.
    Result<void> GetResult() const;
    JOB_STATE GetState() const;

    /// A job that has not begun ends now, on this thread, without running. A running one is asked to stop: its cancelled
    /// observers are called, and IsCurrentCancelled is true inside of it. One that has ended doesn't care.
    void Cancel();
    Bool IsCancelled() const { return _cancelled.load(std::memory_order_acquire); }

    /// Called once, by the thread that cancels; right now if the job is cancelled already. Never if it ends without.
    /// Throws std::bad_alloc if memory is out, as the next one.
    void AddCancelledObserver(CancelledObserver observer);
    /// Called once when the job has ended, before waiters wake up; right now if that was already.
    void AddFinishedObserver(FinishedObserver observer);

    /// The innermost job that this thread runs, or null.
    static JobRef GetCurrent();
    /// Whether work of this thread should stop: looked at between steps of long work. False outside of jobs.
    static Bool IsCurrentCancelled();

private:
    friend StrongRef<Job>;
    friend class JobGroup;
    friend detail::JobQueueState;
    friend detail::RunningJob;
    struct Outcome {
        Bool ended = false;
        Result<void> result;
        std::vector<FinishedObserver> finishedObservers;
        Bool cancelNoted = false;
        std::vector<CancelledObserver> cancelledObservers;
    };

    explicit Job(Work work);
    Bool HasEnded() const;
    Bool IsRunningHere() const;
    Result<void> CheckCanWait() const;
    Bool TryRunHere();
    void Run();
    void NoteCancelled();
    void CancelUnlessBegun();
    void End(Result<void> result, JOB_STATE state);

    std::atomic<UInt32> _state{UInt32(JOB_STATE::CREATED)};
    std::atomic<Bool> _cancelled{false};
    Work _work;                               // belongs to whoever brought the state to RUNNING
    StrongRef<detail::JobQueueState> _queue;  // constant once the state is ENQUEUED or later
    Guarded<Outcome, Spinlock> _outcome{KERNEL_TABLE_LOCK};
};

/// Jobs that wait, in order, and the threads that run them.
///
/// Threads:   any. Queues that work for each other can't starve each other: a worker that waits for a job of another queue
///            is replaced while it waits.
/// Ownership: the end of a queue cancels its jobs and waits for the running ones, except one that runs the destructor.
class JobQueue final : public ObjectInterface {
public:
    /// A queue with up to `threadCount` threads, which start when they are needed.
    /// Errors: IllegalArgumentError if `threadCount` is not positive.
    static Result<StrongRef<JobQueue>> Create(Int threadCount);
    ~JobQueue() override;

    /// For work that computes: as many threads as the machine has, at least two.
    static JobQueue& GetDefaultQueue();
    /// For work that waits for files and networks.
    static JobQueue& GetServiceIOQueue();
    /// Run by the thread that runs the application's loop, in RunPending.
    static JobQueue& GetMainThreadQueue();

    /// Errors: IllegalStateError if the job was enqueued or cancelled before, or the queue is at its end; SystemError if there
    /// is no thread to run it. The job is then as before. OutOfMemoryError.
    Result<void> Enqueue(const JobRef& job);
    /// The same with a new job for `work`.
    Result<JobRef> Enqueue(Job::Work work);
    /// Cancels all jobs that wait or run now.
    void Cancel();
    /// The same, and waits for those that run, except those that the caller is inside of.
    void CancelAndWait();
    /// How many threads it may use; 0 for the main thread's queue.
    Int GetThreadCount() const;
    /// Runs the jobs that wait at the time of the call, on this thread. For the main thread's queue. @return how many.
    Int RunPending();

private:
    friend StrongRef<JobQueue>;
    explicit JobQueue(StrongRef<detail::JobQueueState> state);
    const StrongRef<detail::JobQueueState> _state;
};
using JobQueueRef = StrongRef<JobQueue>;

/// Several jobs that are waited for together.
/// Threads: any, but all jobs are added before they are enqueued.
class JobGroup final : public ObjectInterface {
public:
    /// Throws std::bad_alloc if memory is out.
    static StrongRef<JobGroup> Create() { return StrongRef<JobGroup>::Create(); }
    JobGroup() = default;

    /// Errors: OutOfMemoryError; IllegalStateError once the group was enqueued.
    Result<void> Add(Job::Work work);
    /// Errors: those of JobQueue::Enqueue; jobs that could not be enqueued are cancelled.
    Result<void> Enqueue(JobQueue& queue);
    /// Waits for all jobs, running those that wait if it may. Errors: those of Job::Wait, before anything is waited for.
    Result<void> Wait();
    /// Success, the error of the only job that failed, or AggregatedError with those of all, in the order of adding.
    /// Errors besides: IllegalStateError if one has not ended.
    Result<void> GetResult() const;
    void Cancel();
    Int GetCount() const { return Int(_jobs.size()); }

private:
    std::vector<JobRef> _jobs;  // constant once enqueued
    Bool _enqueued = false;
};
using JobGroupRef = StrongRef<JobGroup>;

}  // namespace talvo
