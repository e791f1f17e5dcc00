// Nothing here waits for a time to pass but the shortest there is.
#include "kernel/thread/timer.h"
#include "support/result_matchers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <future>
#include <limits>
#include <memory>

namespace talvo {
namespace {

constexpr Float64 LONG = 100000;

class Timers : public testing::Test {
protected:
    Job::Work MakeWork() {
        return [count = _count]() -> Result<void> {
            ++*count;
            return OK;
        };
    }
    Int GetCount() const { return *_count; }
    TimerRef Start(Job::Work work) const { return Timer::Start(LONG, 0, std::move(work)).GetValue(); }

private:
    std::shared_ptr<std::atomic<Int>> _count = std::make_shared<std::atomic<Int>>(0);
};

TEST_F(Timers, FireOnceThoughNobodyHoldsThem) {
    const auto fired = std::make_shared<std::promise<Bool>>();
    EXPECT_TRUE(Succeeds(Timer::Start(0, 0, [fired]() -> Result<void> {
        fired->set_value(Job::GetCurrent() != nullptr);  // a second time would throw
        return OK;
    })));
    EXPECT_TRUE(fired->get_future().get()) << "work is a job";
}

TEST_F(Timers, WhatMayBeLateIsDoneAlongWithAnother) {
    const auto late = std::make_shared<std::promise<void>>();
    EXPECT_TRUE(Succeeds(Timer::Start(0, LONG, [late]() -> Result<void> {
        late->set_value();
        return OK;
    })));
    const TimerRef far = Start(MakeWork());
    EXPECT_TRUE(Succeeds(Timer::Start(0, 0, MakeWork())));
    late->get_future().get();
    EXPECT_TRUE(far->IsPending());
    far->Cancel();
}

TEST_F(Timers, FiringNowIsFiring) {
    const TimerRef timer = Start(MakeWork());
    EXPECT_TRUE(timer->IsPending());
    EXPECT_TRUE(Succeeds(timer->FireNow()));
    EXPECT_FALSE(timer->IsPending());
    EXPECT_TRUE(Succeeds(timer->GetJob()->Wait()));
    EXPECT_TRUE(Succeeds(timer->FireNow())) << "nothing, since it was";
    timer->CancelAndWait();
    EXPECT_EQ(GetCount(), 1);
}

TEST_F(Timers, CancelledWorkIsNotDoneAndGoes) {
    const auto captured = std::make_shared<int>(0);
    const TimerRef timer = Start([captured]() -> Result<void> {
        ++*captured;
        return OK;
    });
    timer->Cancel();
    EXPECT_FALSE(timer->IsPending());
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_TRUE(Succeeds(timer->FireNow()));
    timer->CancelAndWait();
    EXPECT_EQ(*captured, 0);
    EXPECT_TRUE(FailsWith<OperationCancelledError>(timer->GetJob()->GetResult()));
}

TEST_F(Timers, WorkThatCancelsItsOwnTimerDoesNotWaitForItself) {
    TimerRef timer;
    Bool cancelled = false;
    timer = Start([&]() -> Result<void> {
        timer->CancelAndWait();
        cancelled = Job::IsCurrentCancelled();
        return OK;
    });
    EXPECT_TRUE(Succeeds(timer->FireNow()));
    timer->CancelAndWait();
    EXPECT_TRUE(cancelled || timer->GetJob()->GetState() == JOB_STATE::CANCELLED);
}

TEST_F(Timers, OddTimes) {
    const Float64 infinity = std::numeric_limits<Float64>::infinity();
    for (const Float64 seconds : {-1.0, -infinity, infinity, std::nan("")}) {
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(Timer::Start(seconds, 0, MakeWork()))) << seconds;
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(Timer::Start(0, seconds, MakeWork()))) << seconds;
    }
    const TimerRef longest = Timer::Start(1e300, 1e300, MakeWork()).GetValue();
    EXPECT_TRUE(longest->IsPending());
    longest->Cancel();
    EXPECT_EQ(GetCount(), 0);
}

}  // namespace
}  // namespace talvo
