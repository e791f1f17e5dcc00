#include "kernel/thread/side_by_side.h"

#include "kernel/thread/job.h"
#include "support/result_matchers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <vector>

namespace talvo {
namespace {

TEST(SideBySide, eachPieceIsDoneOnceHoweverManyThreads) {
    for (const Int threads : {0, 1, 2, 7}) {
        std::vector<std::atomic<Int>> done(100);
        EXPECT_TRUE(Succeeds(DoSideBySide(100, threads, [&](Int index) -> Result<void> {
            ++done[std::size_t(index)];
            return OK;
        })));
        for (const auto& each : done) EXPECT_EQ(each, 1) << threads << " threads";
    }
    EXPECT_TRUE(Succeeds(DoSideBySide(0, 4, [](Int) -> Result<void> { return IoError::Create("called"); })));
}

TEST(SideBySide, anErrorEndsIt) {
    std::atomic<Int> begun{0};
    const auto work = [&](Int index) -> Result<void> {
        ++begun;
        if (index == 3) return IoError::Create("broken piece");
        return OK;
    };
    EXPECT_TRUE(FailsWith<IoError>(DoSideBySide(1000000, 3, work), {"broken piece"}));
    EXPECT_LT(begun, 1000000);
    EXPECT_TRUE(FailsWith<OutOfMemoryError>(DoSideBySide(2, 2, [](Int) -> Result<void> { throw std::bad_alloc(); }), {}));
}

TEST(SideBySide, aCancelledJobEndsIt) {
    Result<void> outcome;
    const StrongRef<JobQueue> queue = MUST(JobQueue::Create(1));
    const JobRef job = MUST(queue->Enqueue([&]() -> Result<void> {
        outcome = DoSideBySide(1000000, 2, [](Int index) -> Result<void> {
            if (const JobRef current = Job::GetCurrent(); current && index > 5) current->Cancel();
            return OK;
        });
        return OK;
    }));
    EXPECT_TRUE(Succeeds(job->Wait()));
    EXPECT_TRUE(FailsWith<OperationCancelledError>(outcome, {}));
}

}  // namespace
}  // namespace talvo
