#include "asset_browser/update_jobs.h"

namespace talvo {

namespace {

Bool HasEnded(const JobRef& job) { return job->GetState() == JOB_STATE::DONE || job->GetState() == JOB_STATE::CANCELLED; }

void WaitFor(const std::vector<JobRef>& jobs) {
    for (const JobRef& job : jobs) job->Wait().Ignore("only the caller's own job refuses");
}

}  // namespace

Result<void> UpdateJobs::Start(Job::Work work) {
    TRY(Launch(std::move(work)));
    return OK;
}

Result<void> UpdateJobs::StartAndWait(Job::Work work) {
    const JobRef job = TRY(Launch(std::move(work)));
    return job ? job->Wait() : Result<void>(OK);
}

/// @return null if there was a job.
Result<JobRef> UpdateJobs::Launch(Job::Work work) {
    const JobRef job = Job::Create(std::move(work));
    std::vector<JobRef> ended;  // they go without the lock
    {
        auto slot = _slot.Write();
        if (slot->closed || slot->current) return JobRef();
        std::vector<JobRef> rest;
        // Reset, which can't fail, notes this one and perhaps a second.
        rest.reserve(slot->earlier.size() + 2);
        for (const JobRef& earlier : slot->earlier) {
            if (!HasEnded(earlier)) rest.push_back(earlier);
        }
        ended = std::exchange(slot->earlier, std::move(rest));
        slot->current = job;
    }
    const Result<void> enqueued = JobQueue::GetDefaultQueue().Enqueue(job);
    // Somebody may have cancelled it between.
    if (enqueued.IsOk() || job->IsCancelled()) return job;
    auto slot = _slot.Write();
    if (slot->current == job) slot->current = nullptr;
    return enqueued.GetError();
}

Bool UpdateJobs::IsStarted() const {
    auto slot = _slot.Read();
    return Bool(slot->current);
}

std::vector<JobRef> UpdateJobs::CopyEarlier() const {
    auto slot = _slot.Read();
    return slot->earlier;
}

void UpdateJobs::Reset(Bool wait) {
    JobRef job;
    {
        auto slot = _slot.Write();
        job = std::move(slot->current);
        slot->current = nullptr;
        if (job) slot->earlier.push_back(job);
    }
    if (job) job->Cancel();
    if (wait) WaitFor(CopyEarlier());
}

void UpdateJobs::Close() {
    {
        auto slot = _slot.Write();
        slot->closed = true;
    }
    Reset(true);
}

void UpdateJobs::WaitForEarlier() { WaitFor(CopyEarlier()); }

Bool UpdateJobs::IsCurrent() const {
    const JobRef job = Job::GetCurrent();
    if (!job || job->IsCancelled()) return false;
    auto slot = _slot.Read();
    return slot->current == job;
}

}  // namespace talvo
