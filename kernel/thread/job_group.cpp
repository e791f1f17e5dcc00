#include "kernel/thread/job.h"

namespace talvo {

Result<void> JobGroup::Add(Job::Work work) {
    if (_enqueued) return IllegalStateError::Create("The group of jobs is enqueued. Add jobs before, or use another group.");
    return CatchOutOfMemory([&]() -> Result<void> {
        _jobs.push_back(Job::Create(std::move(work)));
        return OK;
    });
}

Result<void> JobGroup::Enqueue(JobQueue& queue) {
    if (_enqueued) return IllegalStateError::Create("The group of jobs was enqueued before. Jobs run once: make another group.");
    _enqueued = true;
    for (const JobRef& job : _jobs) {
        const Result<void> enqueued = queue.Enqueue(job);
        if (enqueued.IsOk()) continue;
        Cancel();
        return enqueued;
    }
    return OK;
}

Result<void> JobGroup::Wait() {
    for (const JobRef& job : _jobs) {
        if (!job->HasEnded()) TRY(job->CheckCanWait());
    }
    CheckNoLockHeld(LOCK_USE::CALLBACK, "waiting for a group of jobs");
    // First what can be done here: waiting for a job that runs elsewhere would leave those behind it lying.
    for (const JobRef& job : _jobs) job->TryRunHere();
    for (const JobRef& job : _jobs) TRY(job->Wait());
    return OK;
}

Result<void> JobGroup::GetResult() const {
    return CatchOutOfMemory([&]() -> Result<void> {
        std::vector<ErrorRef> errors;
        for (const JobRef& job : _jobs) {
            if (!job->HasEnded())
                return IllegalStateError::Create("A job of the group has not ended yet. Wait for the group first.");
            const Result<void> result = job->GetResult();
            if (result.IsError()) errors.push_back(result.GetError());
        }
        if (errors.empty()) return OK;
        if (errors.size() == 1) return errors[0];
        return ErrorRef(new AggregatedError(std::move(errors)));
    });
}

void JobGroup::Cancel() {
    for (const JobRef& job : _jobs) job->Cancel();
}

}  // namespace talvo
