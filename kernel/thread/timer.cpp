#include "kernel/thread/timer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace talvo {

namespace {

using Clock = std::chrono::steady_clock;
using Time = Clock::time_point;

constexpr Float64 LONGEST_SECONDS = 1e9;  // 30 years: the sum of two of them and the time now still fits
constexpr auto RETRY_AFTER = std::chrono::seconds(1);

/// What enqueuing tells of a job that was enqueued or cancelled meanwhile counts as success.
Result<void> EnqueueUnlessDone(const JobRef& job) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Result<void> enqueued = JobQueue::GetDefaultQueue().Enqueue(job);
        if (enqueued.IsError() && IllegalStateError::IsClassOf(enqueued.GetError())) return OK;
        return enqueued;
    });
}

/// The jobs that wait for their time, and the thread that waits for them. Never destroyed, like the queues that it feeds.
class Waiter {
public:
    static Waiter& Get() {
        static Waiter& waiter = *new Waiter;
        return waiter;
    }

    /// Throws std::bad_alloc.
    Result<void> Add(const JobRef& job, Time due, Time latest) {
        {
            const Lock lock(_mutex);
            TRY(EnsureThread(lock));
            _entries.push_back({job, due, latest});
        }
        _wake.notify_one();
        return OK;
    }
    void Remove(const JobRef& job) {
        JobRef removed;  // perhaps the last reference, which is no work for under a mutex
        const Lock lock(_mutex);
        const auto found = std::find_if(_entries.begin(), _entries.end(), [&](const Entry& e) { return e.job == job; });
        if (found == _entries.end()) return;
        removed = std::move(found->job);
        *found = std::move(_entries.back());
        _entries.pop_back();
    }

private:
    using Lock = std::unique_lock<std::mutex>;
    struct Entry {
        JobRef job;
        Time due;
        Time latest;
    };

    Result<void> EnsureThread(const Lock&) {
        if (_hasThread) return OK;
        try {
            std::thread([this] { Run(); }).detach();
        } catch (const std::exception& error) {  // std::system_error, std::bad_alloc
            return SystemError::Create(std::string("No thread can be started that waits for timers: ") + error.what() + ".");
        }
        _hasThread = true;
        return OK;
    }
    void Run() {
        Lock lock(_mutex);
        for (;;) {
            if (_entries.empty()) {
                _wake.wait(lock);
                continue;
            }
            const auto isEarlier = [](const Entry& first, const Entry& second) { return first.latest < second.latest; };
            const Time latest = std::min_element(_entries.begin(), _entries.end(), isEarlier)->latest;
            const Time now = Clock::now();
            if (latest > now) {
                _wake.wait_until(lock, latest);
            } else {
                while (FireOne(now, lock)) {}
            }
        }
    }
    /// @return false if none is due. Needs no memory, so that this thread can't end for want of it.
    Bool FireOne(Time now, Lock& lock) {
        const auto found = std::find_if(_entries.begin(), _entries.end(), [&](const Entry& e) { return e.due <= now; });
        if (found == _entries.end()) return false;
        found->due = found->latest = now + RETRY_AFTER;  // for a job that can't be enqueued now
        JobRef job = found->job;
        lock.unlock();
        const Bool enqueued = EnqueueUnlessDone(job).IsOk();
        if (enqueued) Remove(job);
        job = nullptr;
        lock.lock();
        return true;
    }

    std::mutex _mutex;
    std::condition_variable _wake;
    // Guarded by `_mutex`:
    std::vector<Entry> _entries;
    Bool _hasThread = false;
};

Bool IsDuration(Float64 seconds) { return seconds >= 0 && seconds <= std::numeric_limits<Float64>::max(); }

Clock::duration ToDuration(Float64 seconds) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<Float64>(std::min(seconds, LONGEST_SECONDS)));
}

}  // namespace

Result<TimerRef> Timer::Start(Float64 seconds, Float64 tolerance, Job::Work work) {
    if (!IsDuration(seconds) || !IsDuration(tolerance)) {
        return IllegalArgumentError::Create("The time of a timer is not negative, nor without end.");
    }
    return CatchOutOfMemory([&]() -> Result<TimerRef> {
        const TimerRef timer(new Timer(Job::Create(std::move(work))));
        const Time due = Clock::now() + ToDuration(seconds);
        TRY(Waiter::Get().Add(timer->_job, due, due + ToDuration(tolerance)));
        return timer;
    });
}

void Timer::Cancel() {
    _job->Cancel();
    Waiter::Get().Remove(_job);
}

void Timer::CancelAndWait() {
    Cancel();
    _job->Wait().Ignore("it fails only for the job's own work, which can't wait for itself");
}

Result<void> Timer::FireNow() {
    TRY(EnqueueUnlessDone(_job));
    Waiter::Get().Remove(_job);
    return OK;
}

}  // namespace talvo
