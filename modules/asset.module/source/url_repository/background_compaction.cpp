#include "url_repository/background_compaction.h"

#include "kernel/app/log.h"
#include "kernel/app/run_loop.h"
#include "url_repository/url_asset_repository.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr Float LEAST_TOLERANCE = 0.01;
constexpr Float TOLERANCE = 0.1;  // of the delay
/// When to try again what changes have made void.
constexpr Float NEXT_TRY_SECONDS = 10;

}  // namespace

BackgroundCompaction::~BackgroundCompaction() {
    Cancel();
    ObserverToken observer;
    {
        auto state = _state.Write();
        observer = std::exchange(state->exitObserver, ObserverToken::NONE);
    }
    CatchOutOfMemory([&]() -> Result<void> {
        RunLoop::ObservableExitLoop().RemoveObserver(observer);
        return OK;
    }).Ignore("it finds nobody");
}

Bool BackgroundCompaction::IsRunning() const {
    auto state = _state.Read();
    return Bool(state->job);
}

Bool BackgroundCompaction::IsPending() const {
    auto state = _state.Read();
    return state->timer && state->timer->IsPending();
}

Result<void> BackgroundCompaction::StartNow(const BackgroundEntryRef& entry) {
    WeakRef<UrlAssetRepositoryImpl> weak(&_repository);
    const JobRef job = Job::Create([weak, entry]() -> Result<void> {
        const StrongRef<UrlAssetRepositoryImpl> repository = weak.Promote();
        return repository ? Run(repository, entry) : Result<void>(OK);
    });
    {
        auto state = _state.Write();
        if (state->job) return OK;
        state->job = job;
    }
    // Whatever became of it: it is no longer at it.
    job->AddFinishedObserver([weak, raw = job.GetPointer()](const Result<void>&) {
        const StrongRef<UrlAssetRepositoryImpl> repository = weak.Promote();
        if (!repository) return;
        JobRef ended;  // let go outside of the lock
        auto state = repository->_background._state.Write();
        if (state->job.GetPointer() == raw) std::swap(state->job, ended);
    });
    const Result<void> enqueued = JobQueue::GetDefaultQueue().Enqueue(job);
    if (enqueued.IsError()) job->Cancel();
    return enqueued;
}

Result<void> BackgroundCompaction::StartLater(Float seconds, const BackgroundEntryRef& entry) {
    WeakRef<UrlAssetRepositoryImpl> weak(&_repository);
    const Float tolerance = std::max(LEAST_TOLERANCE, seconds * TOLERANCE);
    TimerRef timer = TRY(Timer::Start(seconds, tolerance, [weak, entry]() -> Result<void> {
        const StrongRef<UrlAssetRepositoryImpl> repository = weak.Promote();
        return repository ? repository->_background.StartNow(entry) : Result<void>(OK);
    }));
    WatchEnd();
    {
        auto state = _state.Write();
        std::swap(state->timer, timer);
        state->entry = entry;
    }
    if (timer) timer->Cancel();
    return OK;
}

/// What is pending when the application ends in order is done then.
void BackgroundCompaction::WatchEnd() {
    {
        auto state = _state.Read();
        if (state->exitObserver != ObserverToken::NONE) return;
    }
    WeakRef<UrlAssetRepositoryImpl> weak(&_repository);
    const ObserverToken token = RunLoop::ObservableExitLoop().AddObserver([weak]() -> Result<void> {
        const StrongRef<UrlAssetRepositoryImpl> repository = weak.Promote();
        if (repository) repository->_background.Finish();
        return OK;
    });
    ObserverToken twin = token;
    {
        auto state = _state.Write();
        if (state->exitObserver == ObserverToken::NONE) std::swap(state->exitObserver, twin);
    }
    if (twin != ObserverToken::NONE) RunLoop::ObservableExitLoop().RemoveObserver(twin);
}

void BackgroundCompaction::Finish() {
    TimerRef timer;
    {
        auto state = _state.Write();
        std::swap(state->timer, timer);
    }
    if (!timer || !timer->IsPending()) return;
    timer->Cancel();
    const Result<void> written = _repository.Compact();
    if (written.IsError())
        Log(LOG_LEVEL::WARNING, "@ has no index until it is written again: @", _repository.GetUrl(false),
            written.GetError()->GetMessage());
}

void BackgroundCompaction::Take(TimerRef& timer, JobRef& job) {
    auto state = _state.Write();
    std::swap(state->timer, timer);
    job = state->job;
}

void BackgroundCompaction::Cancel() {
    TimerRef timer;
    JobRef job;
    Take(timer, job);
    if (timer) timer->Cancel();
    if (job) job->Cancel();
}

void BackgroundCompaction::CancelAndWait() {
    TimerRef timer;
    JobRef job;
    Take(timer, job);
    if (timer) timer->CancelAndWait();
    if (!job) return;
    job->Cancel();
    job->Wait().Ignore("who is inside of it doesn't wait for it");
}

Result<void> BackgroundCompaction::Write(UrlAssetRepositoryImpl& repository, BackgroundEntry& entry,
                                         const BackgroundEntryRef& given) {
    TRY(entry.SetProgressAndCheckBreak(0));
    const Bool written =
        TRY(repository.CompactOnce(0, UInt(-1), [&](Float64 progress) { return entry.SetProgressAndCheckBreak(progress); }));
    // It is being changed right now: those changes ask for another one, and this makes sure.
    return written ? Result<void>(OK) : repository._background.StartLater(NEXT_TRY_SECONDS, given);
}

Result<void> BackgroundCompaction::Run(const StrongRef<UrlAssetRepositoryImpl>& repository, const BackgroundEntryRef& given) {
    repository->HandleBaseChanged(AssetRepositoryRef(repository), false);
    BackgroundEntryRef entry = given;
    if (!entry) {
        entry = TRY(BackgroundProgress::GetMaster().AddActiveEntry(
            String(FormatMessage("Update Database Index for '@'", repository->GetUrl(false).GetName()))));
        repository->_hasIndex.store(false, std::memory_order_release);
    }
    WeakRef<UrlAssetRepositoryImpl> weak(repository.GetPointer());
    entry->SetCancelJobDelegate([weak] {
        if (const StrongRef<UrlAssetRepositoryImpl> alive = weak.Promote()) alive->_background.Cancel();
    });
    const Result<void> done = Write(*repository, *entry, given);
    if (done.IsError()) {
        const Bool isCancelled = OperationCancelledError::IsClassOf(done.GetError());
        const Result<void> told =
            isCancelled ? entry->AddState(BACKGROUND_STATE::CANCELLED, "Cancelled by user")
                        : entry->AddState(BACKGROUND_STATE::FAILED, String(FormatMessage("@", done.GetError()->GetMessage())));
        told.Ignore("the result says so as well");
        repository->_hasIndex.store(false, std::memory_order_release);
    }
    if (!given) entry->Finish();
    return done;
}

}  // namespace talvo
