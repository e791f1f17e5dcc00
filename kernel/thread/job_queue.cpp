#include "kernel/thread/job_queue_state.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <thread>

namespace talvo {

namespace detail {

namespace {

thread_local constinit RunningJob* innermost = nullptr;
thread_local constinit JobQueueState* ownQueue = nullptr;

Bool IsMainThread() {
    thread_local const Bool isMain = syscall(SYS_gettid) == getpid();
    return isMain;
}

}  // namespace

RunningJob::RunningJob(Job& job) : _job(job), _queue(job.GetState() == JOB_STATE::CREATED ? nullptr : job._queue) {}

Bool RunningJob::Begin(JOB_STATE from) {
    if (!_queue) return Begin(from, {});
    const JobQueueState::Lock lock(_queue->_mutex);
    return Begin(from, lock);
}

Bool RunningJob::Begin(JOB_STATE from, const JobQueueState::Lock& queueLock) {
    UInt32 expected = UInt32(from);
    const auto next = UInt32(JOB_STATE::RUNNING);
    _begun = _job._state.compare_exchange_strong(expected, next, std::memory_order_acq_rel);
    if (!_begun) return false;
    _outer = std::exchange(innermost, this);
    // In the same step for all who look at the queue: a job is always waiting, running or ended.
    if (_queue) _queue->Link(*this, queueLock);
    return true;
}

RunningJob::~RunningJob() {
    if (!_begun) return;
    if (_queue) _queue->Unlink(*this);
    innermost = _outer;
}

Job* RunningJob::GetInnermost() { return innermost ? &innermost->_job : nullptr; }

Bool RunningJob::IsInside(const Job& job) {
    for (const RunningJob* inside = innermost; inside; inside = inside->_outer) {
        if (&inside->_job == &job) return true;
    }
    return false;
}

void JobQueueState::Link(RunningJob& job, const Lock&) {
    job._next = _running;
    if (_running) _running->_previous = &job;
    _running = &job;
}

void JobQueueState::Unlink(RunningJob& job) {
    const Lock lock(_mutex);
    (job._previous ? job._previous->_next : _running) = job._next;
    if (job._next) job._next->_previous = job._previous;
}

Result<void> JobQueueState::Put(const JobRef& job) {
    UInt32 expected = UInt32(JOB_STATE::CREATED);
    if (!job->_state.compare_exchange_strong(expected, UInt32(JOB_STATE_ENQUEUING), std::memory_order_acq_rel)) {
        return IllegalStateError::Create("The job was enqueued or cancelled before. A job runs once: make another one.");
    }
    const auto settle = [&](JOB_STATE state) {
        job->_state.store(UInt32(state), std::memory_order_seq_cst);
        job->_state.notify_all();
    };
    Result<void> result = CatchOutOfMemory([&]() -> Result<void> {
        const Lock lock(_mutex);
        if (_closed) return IllegalStateError::Create("The job queue has come to its end and takes no more jobs.");
        _waiting.push_back(job);
        const Result<void> started = StartWorkerIfNeeded(lock);
        if (started.IsError()) {
            _waiting.pop_back();
            return started.GetError();
        }
        job->_queue = StrongRef<JobQueueState>(this);
        settle(JOB_STATE::ENQUEUED);
        return OK;
    });
    if (result.IsError()) {
        settle(JOB_STATE::CREATED);
    } else {
        _wake.notify_one();
    }
    return result;
}

Result<void> JobQueueState::StartWorkerIfNeeded(const Lock& lock) {
    if (Int(_waiting.size()) <= _idle || CountActive(lock) >= threadCount) return OK;
    try {
        std::thread([state = StrongRef<JobQueueState>(this)] { state->Work(); }).detach();
        ++_alive;
    } catch (const std::exception& error) {  // std::system_error, std::bad_alloc
        // One worker is enough to come to all jobs some time.
        if (CountActive(lock) > 0) return OK;
        return SystemError::Create(std::string("No thread can be started for a job: ") + error.what() + ".");
    }
    return OK;
}

void JobQueueState::Work() {
    ownQueue = this;
    Lock lock(_mutex);
    while (WaitForJob(lock)) RunFirst(lock);
    --_alive;
    if (!_waiting.empty()) _wake.notify_one();  // this one was called for it perhaps
    _left.notify_all();
}

Bool JobQueueState::WaitForJob(Lock& lock) {
    const auto isTooMany = [&] { return CountActive(lock) > threadCount; };
    while (_waiting.empty() && !_closed && !isTooMany()) {
        ++_idle;
        _wake.wait(lock);
        --_idle;
    }
    return !_waiting.empty() && !isTooMany();
}

Bool JobQueueState::RunFirst(Lock& lock) {
    JobRef job = std::move(_waiting.front());
    _waiting.pop_front();
    Bool begun = false;
    {
        RunningJob runningJob(*job);
        begun = runningJob.Begin(JOB_STATE::ENQUEUED, lock);
        lock.unlock();
        if (begun) job->Run();
    }
    job = nullptr;  // perhaps the last reference, which is no work for under a mutex
    lock.lock();
    return begun;
}

Bool JobQueueState::IsRunHere() const { return threadCount > 0 ? ownQueue == this : IsMainThread(); }

JobQueueState* JobQueueState::GetOwnQueue() { return ownQueue; }

void JobQueueState::BeginBlocked() {
    const Lock lock(_mutex);
    ++_blocked;
    StartWorkerIfNeeded(lock).Ignore("it is started when the next job comes, or this worker returns");
}

void JobQueueState::EndBlocked() {
    const Lock lock(_mutex);
    --_blocked;
    if (CountActive(lock) > threadCount) _wake.notify_one();
}

void JobQueueState::CancelAll() {
    Lock lock(_mutex);
    for (std::size_t count = _waiting.size(); count > 0 && !_waiting.empty(); --count) {
        _waiting.front()->_cancelled.store(true, std::memory_order_release);
        RunFirst(lock);  // ends it without running it
    }
    for (RunningJob* next = _running; next;) {
        if (next->_job.IsCancelled()) {
            next = next->_next;
            continue;
        }
        const JobRef job(&next->_job);
        lock.unlock();
        job->Cancel();
        lock.lock();
        next = _running;  // the list may be another one now; those that are cancelled are passed over
    }
}

void JobQueueState::WaitForCancelled() {
    Lock lock(_mutex);
    for (RunningJob* next = _running; next;) {
        if (!next->_job.IsCancelled() || next->_job.HasEnded() || RunningJob::IsInside(next->_job)) {
            next = next->_next;
            continue;
        }
        const JobRef job(&next->_job);
        lock.unlock();
        job->Wait().Ignore("it can't fail for a job that runs on another thread");
        lock.lock();
        next = _running;
    }
}

void JobQueueState::Close() {
    {
        const Lock lock(_mutex);
        _closed = true;
    }
    CancelAll();
    WaitForCancelled();
    Lock lock(_mutex);
    _wake.notify_all();
    const Int own = ownQueue == this ? 1 : 0;
    _left.wait(lock, [&] { return _alive <= own; });
}

Int JobQueueState::RunPending() {
    Lock lock(_mutex);
    Int ran = 0;
    for (std::size_t count = _waiting.size(); count > 0 && !_waiting.empty(); --count) ran += RunFirst(lock);
    return ran;
}

}  // namespace detail

namespace {

constexpr Int SERVICE_THREADS = 4;

/// Never destroyed: jobs may be enqueued until the process ends.
JobQueue& MakeStandardQueue(Int threadCount) { return *MUST(JobQueue::Create(threadCount)).Detach(); }

}  // namespace

JobQueue::JobQueue(StrongRef<detail::JobQueueState> state) : _state(std::move(state)) {}

JobQueue::~JobQueue() { _state->Close(); }

Result<JobQueueRef> JobQueue::Create(Int threadCount) {
    if (threadCount <= 0) return IllegalArgumentError::Create("A job queue needs at least one thread.");
    return CatchOutOfMemory([&]() -> Result<JobQueueRef> {
        return JobQueueRef(new JobQueue(StrongRef<detail::JobQueueState>::Create(threadCount)));
    });
}

JobQueue& JobQueue::GetDefaultQueue() {
    static JobQueue& queue = MakeStandardQueue(std::max(2, int(std::thread::hardware_concurrency())));
    return queue;
}

JobQueue& JobQueue::GetServiceIOQueue() {
    static JobQueue& queue = MakeStandardQueue(SERVICE_THREADS);
    return queue;
}

JobQueue& JobQueue::GetMainThreadQueue() {
    static JobQueue& queue = *JobQueueRef(new JobQueue(StrongRef<detail::JobQueueState>::Create(0))).Detach();
    return queue;
}

Result<void> JobQueue::Enqueue(const JobRef& job) {
    if (!job) return NullptrError::Create("There is no job to enqueue.");
    return _state->Put(job);
}

Result<JobRef> JobQueue::Enqueue(Job::Work work) {
    return CatchOutOfMemory([&]() -> Result<JobRef> {
        const JobRef job = Job::Create(std::move(work));
        TRY(Enqueue(job));
        return job;
    });
}

void JobQueue::Cancel() { _state->CancelAll(); }

void JobQueue::CancelAndWait() {
    _state->CancelAll();
    _state->WaitForCancelled();
}

Int JobQueue::GetThreadCount() const { return _state->threadCount; }

Int JobQueue::RunPending() {
    CheckNoLockHeld(LOCK_USE::CALLBACK, "running jobs");
    return _state->RunPending();
}

}  // namespace talvo
