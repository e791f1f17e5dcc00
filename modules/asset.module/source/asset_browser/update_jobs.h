// The one update of a browser that counts: started once, cancelled by any change, never two at work.
//
// States: no job; a job was started. A job that ended by itself stays until the next Reset, so that nothing starts twice without a change.
#pragma once

#include "kernel/thread/job.h"
#include "kernel/thread/locks.h"

#include <vector>

namespace talvo {

/// Threads:    any.
/// Lock order: a leaf; jobs are cancelled, waited for and enqueued without it.
class UpdateJobs {
public:
    /// Starts a job unless there is one, or Close was called. It begins when those before it have ended. @param wait runs until it has ended.
    /// Errors: those of enqueuing; there is no job then.
    Result<void> Start(Job::Work work);
    /// Starts one if there is none, and waits for it. Errors: those of enqueuing.
    Result<void> StartAndWait(Job::Work work);
    Bool IsStarted() const;
    /// Cancels the job, if there is one. @param wait for it and all before it, but for one that the caller is inside of.
    void Reset(Bool wait);
    /// The same, waits, and no job is started any more.
    void Close();

    // For the job itself.

    /// Waits for those before it.
    void WaitForEarlier();
    /// Whether this thread runs the job that counts, and nobody asked it to stop.
    Bool IsCurrent() const;

private:
    struct Slot {
        JobRef current;
        std::vector<JobRef> earlier;  // cancelled ones that may still run
        Bool closed = false;
    };
    Result<JobRef> Launch(Job::Work work);
    std::vector<JobRef> CopyEarlier() const;

    Guarded<Slot, Spinlock> _slot;
};

}  // namespace talvo
