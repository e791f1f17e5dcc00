// The writing of an index in the background: at once, after a delay that each change begins anew, or at the end of the run loop.
#pragma once

#include "kernel/app/background_progress.h"
#include "kernel/thread/locks.h"
#include "kernel/thread/observable.h"
#include "kernel/thread/timer.h"

namespace talvo {

class UrlAssetRepositoryImpl;

/// What one repository has pending. Jobs and timers hold the repository weakly until they begin, so that it may go at any time.
///
/// Threads:    any.
/// Lock order: a leaf; timers, jobs and the repository are called outside of it.
class BackgroundCompaction {
public:
    explicit BackgroundCompaction(UrlAssetRepositoryImpl& repository) : _repository(repository) {}
    /// Nothing is pending any more; what runs goes on to its end and finds nobody to tell.
    ~BackgroundCompaction();

    /// Enqueues the work, unless it is at it already.
    Result<void> StartNow(const BackgroundEntryRef& entry);
    /// Does so after `seconds`; what was pending before is not.
    Result<void> StartLater(Float seconds, const BackgroundEntryRef& entry);
    /// Ends what is pending or running, without waiting.
    void Cancel();
    /// The same, and waits, but not for itself.
    void CancelAndWait();
    /// Does right now, on this thread, what is pending.
    void Finish();
    Bool IsRunning() const;
    Bool IsPending() const;

private:
    struct State {
        TimerRef timer;
        JobRef job;
        BackgroundEntryRef entry;  // of the timer
        ObserverToken exitObserver = ObserverToken::NONE;
    };
    static Result<void> Run(const StrongRef<UrlAssetRepositoryImpl>& repository, const BackgroundEntryRef& entry);
    static Result<void> Write(UrlAssetRepositoryImpl& repository, BackgroundEntry& entry, const BackgroundEntryRef& given);
    void WatchEnd();
    void Take(TimerRef& timer, JobRef& job);

    UrlAssetRepositoryImpl& _repository;
    mutable Guarded<State, Spinlock> _state;
};

}  // namespace talvo
