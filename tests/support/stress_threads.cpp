#include "support/stress_threads.h"

#include <execinfo.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <latch>
#include <mutex>
#include <string>
#include <thread>

namespace talvo {

namespace {

constexpr auto PATIENCE = std::chrono::seconds(60);
constexpr auto TIME_TO_PRINT = std::chrono::seconds(1);

struct Watched {
    std::string name;
    std::atomic<Int> steps{0};
    std::atomic<Bool> ended{false};
    std::thread thread{};
};
thread_local std::atomic<Int>* ownSteps = nullptr;

extern "C" void PrintStack(int) {
    std::array<void*, 64> frames;
    backtrace_symbols_fd(frames.data(), backtrace(frames.data(), int(frames.size())), STDERR_FILENO);
}

/// Threads that began and have not ended, and those that did.
class StressRun {
public:
    void Start(std::vector<StressWork> works) {
        std::latch start{std::ptrdiff_t(works.size())};
        for (const StressWork& work : works) _watched.emplace_back().name = work.name;
        for (std::size_t i = 0; i < works.size(); ++i) {
            _watched[i].thread = std::thread([this, &start, &own = _watched[i], run = std::move(works[i].run)] {
                ownSteps = &own.steps;
                start.arrive_and_wait();
                run();
                own.ended = true;
                const std::lock_guard lock(_mutex);
                ++_ended;
                _change.notify_one();
            });
        }
        Watch();
        for (Watched& each : _watched) each.thread.join();
    }

private:
    void Watch() {
        std::unique_lock lock(_mutex);
        for (Int before = CountSteps();; before = CountSteps()) {
            if (_change.wait_for(lock, PATIENCE, [this] { return _ended == _watched.size(); })) return;
            if (CountSteps() == before) ReportAndAbort();
        }
    }
    Int CountSteps() const {
        Int steps = Int(_ended);
        for (const Watched& each : _watched) steps += each.steps;
        return steps;
    }
    [[noreturn]] void ReportAndAbort() {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        std::fprintf(stderr, "%s.%s stands still.\n", test ? test->test_suite_name() : "?", test ? test->name() : "?");
        signal(SIGUSR1, PrintStack);
        for (Watched& each : _watched) {
            std::fprintf(stderr, "thread %s: %lld steps%s\n", each.name.c_str(), static_cast<long long>(each.steps.load()),
                         each.ended ? ", ended" : ", and now at");
            if (each.ended) continue;
            pthread_kill(each.thread.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(TIME_TO_PRINT);
        }
        std::abort();
    }

    std::deque<Watched> _watched;
    std::mutex _mutex;
    std::condition_variable _change;
    std::size_t _ended = 0;
};

}  // namespace

void RunStress(std::vector<StressWork> works) { StressRun().Start(std::move(works)); }

void RunStress(Int count, FunctionRef<void(Int number)> work) {
    std::vector<StressWork> works;
    for (Int number = 0; number < count; ++number) works.push_back({"of many", [&work, number] { work(number); }});
    RunStress(std::move(works));
}

void NoteStressStep() {
    if (ownSteps) ownSteps->fetch_add(1, std::memory_order_relaxed);
}

}  // namespace talvo
