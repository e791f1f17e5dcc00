#include "kernel/thread/job.h"

#include "kernel/thread/job_queue_state.h"

#include <new>
#include <utility>

namespace talvo {

using detail::JOB_STATE_ENQUEUING;

namespace {

/// Runs an observer, which has nobody to tell that memory was out.
template <typename CALL>
void CallObserver(const CALL& call) {
    CatchOutOfMemory([&]() -> Result<void> {
        call();
        return OK;
    }).Ignore("an observer's own affair");
}

/// Lets the calling worker be replaced while it waits for a job of `queue`, unless it is that queue's own: there what is
/// waited for runs already, or waits in its turn for another queue.
class BlockedScope {
public:
    explicit BlockedScope(const StrongRef<detail::JobQueueState>& queue) : _own(detail::JobQueueState::GetOwnQueue()) {
        if (_own == queue.GetPointer()) _own = nullptr;
        if (_own) _own->BeginBlocked();
    }
    ~BlockedScope() {
        if (_own) _own->EndBlocked();
    }
    BlockedScope(const BlockedScope&) = delete;
    BlockedScope& operator=(const BlockedScope&) = delete;

private:
    detail::JobQueueState* _own;
};

}  // namespace

JobRef Job::Create(Work work) { return JobRef(new Job(std::move(work))); }

Job::Job(Work work) : _work(std::move(work)) {}

Job::~Job() = default;

JOB_STATE Job::GetState() const {
    const auto state = JOB_STATE(_state.load(std::memory_order_acquire));
    return state == JOB_STATE_ENQUEUING ? JOB_STATE::CREATED : state;
}

Bool Job::HasEnded() const { return GetState() >= JOB_STATE::DONE; }

Bool Job::IsRunningHere() const { return detail::RunningJob::IsInside(*this); }

Result<void> Job::CheckCanWait() const {
    if (IsRunningHere()) {
        return IllegalStateError::Create(
            "A job can't wait for its own end. Let another thread wait, or add a finished observer.");
    }
    if (GetState() == JOB_STATE::CREATED) {
        return IllegalStateError::Create("The job was not enqueued, so that waiting for it has no end. Enqueue it first.");
    }
    return OK;
}

Result<void> Job::Wait() {
    CheckNoLockHeld(LOCK_USE::CALLBACK, "waiting for a job");
    const JobRef self(this);  // the end of the job may take the caller's reference along
    while (!HasEnded()) {
        TRY(CheckCanWait());
        if (TryRunHere()) continue;
        const UInt32 state = _state.load(std::memory_order_acquire);
        if (state != UInt32(JOB_STATE::ENQUEUED) && state != UInt32(JOB_STATE::RUNNING)) continue;
        const BlockedScope blocked(_queue);
        _state.wait(state, std::memory_order_acquire);
    }
    return OK;
}

Bool Job::TryRunHere() {
    if (GetState() != JOB_STATE::ENQUEUED || !_queue->IsRunHere()) return false;
    detail::RunningJob running(*this);
    if (!running.Begin(JOB_STATE::ENQUEUED)) return false;
    Run();
    return true;
}

void Job::Run() {
    if (IsCancelled()) {
        NoteCancelled();
        End(OperationCancelledError::Create("The job was cancelled before it began."), JOB_STATE::CANCELLED);
        return;
    }
    Result<void> result = CatchOutOfMemory([&]() -> Result<void> {
        if (!_work) return NullptrError::Create("The job has no work to do.");
        return _work();
    });
    End(std::move(result), JOB_STATE::DONE);
}

void Job::End(Result<void> result, JOB_STATE state) {
    _work = nullptr;
    std::vector<FinishedObserver> observers;
    std::vector<CancelledObserver> dropped;
    {
        const auto outcome = _outcome.Write();
        outcome->ended = true;
        outcome->result = result;
        outcome->finishedObservers.swap(observers);
        outcome->cancelledObservers.swap(dropped);
    }
    for (const FinishedObserver& observer : observers) CallObserver([&] { observer(result); });
    observers.clear();
    dropped.clear();
    _state.store(UInt32(state), std::memory_order_seq_cst);
    _state.notify_all();
}

Result<void> Job::GetResult() const {
    const auto outcome = _outcome.Read();
    if (!outcome->ended) return IllegalStateError::Create("The job has not ended yet. Wait for it first.");
    return outcome->result;
}

void Job::Cancel() {
    if (HasEnded()) return;
    _cancelled.store(true, std::memory_order_release);
    NoteCancelled();
    CancelUnlessBegun();
}

void Job::NoteCancelled() {
    std::vector<CancelledObserver> observers;
    {
        const auto outcome = _outcome.Write();
        if (outcome->ended) return;
        outcome->cancelNoted = true;
        outcome->cancelledObservers.swap(observers);
    }
    for (const CancelledObserver& observer : observers) CallObserver(observer);
}

void Job::CancelUnlessBegun() {
    for (;;) {
        const auto state = JOB_STATE(_state.load(std::memory_order_acquire));
        if (state == JOB_STATE_ENQUEUING) {
            _state.wait(UInt32(state), std::memory_order_acquire);
            continue;
        }
        if (state != JOB_STATE::CREATED && state != JOB_STATE::ENQUEUED) return;
        const JobRef self(this);  // the queue's reference may go once the job has begun
        detail::RunningJob running(*this);
        if (!running.Begin(state)) continue;
        Run();
        return;
    }
}

void Job::AddCancelledObserver(CancelledObserver observer) {
    {
        const auto outcome = _outcome.Write();
        if (!outcome->cancelNoted) {
            if (!outcome->ended) outcome->cancelledObservers.push_back(std::move(observer));
            return;
        }
    }
    CallObserver(observer);
}

void Job::AddFinishedObserver(FinishedObserver observer) {
    Result<void> result;
    {
        const auto outcome = _outcome.Write();
        if (!outcome->ended) {
            outcome->finishedObservers.push_back(std::move(observer));
            return;
        }
        result = outcome->result;
    }
    CallObserver([&] { observer(result); });
}

JobRef Job::GetCurrent() { return JobRef(detail::RunningJob::GetInnermost()); }

Bool Job::IsCurrentCancelled() {
    const Job* current = detail::RunningJob::GetInnermost();
    return current && current->IsCancelled();
}

}  // namespace talvo
