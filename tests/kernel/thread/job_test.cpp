#include "kernel/thread/job.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <new>
#include <thread>

namespace talvo {
namespace {

using testing::HasSubstr;

Result<void> Nothing() { return OK; }

/// Holds jobs back until it is opened.
class Gate {
public:
    void Open() { _promise.set_value(); }
    void Wait() const { _future.wait(); }
    Job::Work MakeWork() const {
        return [future = _future]() -> Result<void> {
            future.wait();
            return OK;
        };
    }

private:
    std::promise<void> _promise;
    std::shared_future<void> _future = _promise.get_future().share();
};

TEST(Job, resultIsThatOfTheWork) {
    const JobQueueRef queue = MUST(JobQueue::Create(2));
    const JobRef fine = MUST(queue->Enqueue(Nothing));
    const JobRef failing = MUST(queue->Enqueue([]() -> Result<void> { return IoError::Create("disk"); }));
    const JobRef starving = MUST(queue->Enqueue([]() -> Result<void> { throw std::bad_alloc(); }));
    const JobRef empty = MUST(queue->Enqueue(Job::Work()));
    for (const JobRef& job : {fine, failing, starving, empty}) MUST(job->Wait());
    EXPECT_TRUE(fine->GetResult().IsOk());
    EXPECT_EQ(failing->GetResult().GetError()->GetMessage(), "disk");
    EXPECT_TRUE(OutOfMemoryError::IsClassOf(starving->GetResult().GetError()));
    EXPECT_TRUE(NullptrError::IsClassOf(empty->GetResult().GetError()));
    EXPECT_EQ(fine->GetState(), JOB_STATE::DONE);
    EXPECT_TRUE(JobQueue::Create(0).IsError());
}

TEST(Job, runsOnce) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    const JobRef job = Job::Create(Nothing);
    const Result<void> early = job->Wait();
    EXPECT_TRUE(IllegalStateError::IsClassOf(early.GetError())) << "nobody would ever end it";
    EXPECT_TRUE(IllegalStateError::IsClassOf(job->GetResult().GetError()));
    MUST(queue->Enqueue(job));
    EXPECT_TRUE(IllegalStateError::IsClassOf(queue->Enqueue(job).GetError()));
    MUST(job->Wait());
    EXPECT_TRUE(IllegalStateError::IsClassOf(queue->Enqueue(job).GetError()));
}

TEST(Job, cancelledBeforeItBeginsItNeverRuns) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    Gate gate;
    const JobRef blocker = MUST(queue->Enqueue(gate.MakeWork()));
    Bool ran = false;
    auto captured = std::make_shared<int>(0);
    const JobRef job = MUST(queue->Enqueue([&ran, captured]() -> Result<void> {
        ran = true;
        return OK;
    }));
    Bool told = false;
    job->AddFinishedObserver([&](const Result<void>& result) { told = OperationCancelledError::IsClassOf(result.GetError()); });
    job->Cancel();
    EXPECT_EQ(job->GetState(), JOB_STATE::CANCELLED) << "at once, though the only thread is busy";
    EXPECT_TRUE(told);
    EXPECT_EQ(captured.use_count(), 1) << "what it captured is released";
    gate.Open();
    MUST(job->Wait());
    MUST(blocker->Wait());
    EXPECT_TRUE(OperationCancelledError::IsClassOf(job->GetResult().GetError()));
    EXPECT_FALSE(ran);

    const JobRef fresh = Job::Create(Nothing);
    fresh->Cancel();
    EXPECT_TRUE(queue->Enqueue(fresh).IsError());
    MUST(fresh->Wait());
}

TEST(Job, runningOneIsAskedToStop) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    std::promise<void> begun;
    Gate cancelled;
    const JobRef job = MUST(queue->Enqueue([&]() -> Result<void> {
        EXPECT_FALSE(Job::IsCurrentCancelled());
        begun.set_value();
        cancelled.Wait();
        return Job::IsCurrentCancelled() ? Result<void>(OperationCancelledError::Create("stopped")) : OK;
    }));
    begun.get_future().wait();
    job->AddCancelledObserver([&] { cancelled.Open(); });
    job->Cancel();
    job->Cancel();
    MUST(job->Wait());
    EXPECT_EQ(job->GetState(), JOB_STATE::DONE) << "it ran to its end, whatever that is";
    EXPECT_EQ(job->GetResult().GetError()->GetMessage(), "stopped");
    Bool called = false;
    job->AddCancelledObserver([&] { called = true; });
    EXPECT_TRUE(called);
    EXPECT_FALSE(Job::IsCurrentCancelled()) << "outside of jobs";
    EXPECT_FALSE(Job::GetCurrent());
}

TEST(Job, waitingForOneselfIsAnErrorAndDoesNotHang) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    const JobRef outer = MUST(queue->Enqueue([&]() -> Result<void> {
        const JobRef self = Job::GetCurrent();
        // Runs inside of the outer job, on this thread: waiting for that one would wait for itself as well.
        const JobRef inner = TRY(queue->Enqueue([self]() -> Result<void> { return self->Wait(); }));
        TRY(inner->Wait());
        EXPECT_TRUE(IllegalStateError::IsClassOf(inner->GetResult().GetError()));
        return self->Wait();
    }));
    MUST(outer->Wait());
    ASSERT_TRUE(outer->GetResult().IsError());
    EXPECT_TRUE(IllegalStateError::IsClassOf(outer->GetResult().GetError()));
    EXPECT_THAT(outer->GetResult().GetError()->GetMessage(), HasSubstr("own end"));
}

/// An object that ends its work when it goes.
struct Owner : ObjectInterface {
    ~Owner() override {
        if (job) {
            job->Cancel();
            job->Wait().Ignore("inside of the job there is nothing to wait for");
        }
        if (queue) queue->CancelAndWait();
    }
    JobRef job;
    JobQueueRef queue;
};

TEST(Job, ownerMayGoInsideOfItsOwnJob) {
    auto owner = StrongRef<Owner>::Create();
    owner->queue = MUST(JobQueue::Create(1));
    Gate ownerIsGone;
    const JobRef job = Job::Create([owner, &ownerIsGone]() mutable -> Result<void> {
        ownerIsGone.Wait();
        owner = nullptr;  // the last reference: job and queue go from inside
        return OK;
    });
    owner->job = job;
    MUST(owner->queue->Enqueue(job));
    owner = nullptr;
    ownerIsGone.Open();
    MUST(job->Wait());
    EXPECT_TRUE(job->GetResult().IsOk());
}

TEST(Job, ownerMayGoWithWhatItsJobCaptured) {
    auto owner = StrongRef<Owner>::Create();
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    const JobRef job = Job::Create([owner]() -> Result<void> { return OK; });
    owner->job = job;
    MUST(queue->Enqueue(job));
    const WeakRef<Owner> weak = owner;
    owner = nullptr;
    MUST(job->Wait());
    EXPECT_FALSE(weak.IsAlive()) << "waiters find the captures gone";
    Bool told = false;
    job->AddFinishedObserver([&](const Result<void>& result) { told = result.IsOk(); });
    EXPECT_TRUE(told) << "also a late observer is called";
}

TEST(JobQueue, waitingWorkersRunWhatTheyWaitFor) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    std::thread::id outerThread, innerThread;
    const JobRef job = MUST(queue->Enqueue([&]() -> Result<void> {
        outerThread = std::this_thread::get_id();
        const JobRef inner = TRY(queue->Enqueue([&]() -> Result<void> {
            innerThread = std::this_thread::get_id();
            return OK;
        }));
        return inner->Wait();
    }));
    MUST(job->Wait());
    EXPECT_TRUE(job->GetResult().IsOk());
    EXPECT_EQ(outerThread, innerThread);
}

TEST(JobQueue, queuesThatWaitForEachOtherGoOn) {
    const JobQueueRef first = MUST(JobQueue::Create(1));
    const JobQueueRef second = MUST(JobQueue::Create(1));
    const JobRef job = MUST(first->Enqueue([&]() -> Result<void> {
        const JobRef elsewhere = TRY(second->Enqueue([&]() -> Result<void> {
            const JobRef back = TRY(first->Enqueue(Nothing));  // the only thread of `first` waits already
            return back->Wait();
        }));
        return elsewhere->Wait();
    }));
    MUST(job->Wait());
    EXPECT_TRUE(job->GetResult().IsOk());
}

TEST(JobQueue, endCancelsWhatWaitsAndWaitsForWhatRuns) {
    JobQueueRef queue = MUST(JobQueue::Create(1));
    std::promise<void> begun;
    const JobRef running = MUST(queue->Enqueue([&]() -> Result<void> {
        begun.set_value();
        while (!Job::IsCurrentCancelled()) std::this_thread::yield();
        return OK;
    }));
    const JobRef waiting = MUST(queue->Enqueue(Nothing));
    begun.get_future().wait();
    queue = nullptr;
    EXPECT_EQ(running->GetState(), JOB_STATE::DONE);
    EXPECT_EQ(waiting->GetState(), JOB_STATE::CANCELLED);
}

TEST(JobQueue, queueMayGoInsideOfItsOwnJob) {
    JobQueueRef queue = MUST(JobQueue::Create(2));
    Gate released;
    const JobRef job = MUST(queue->Enqueue([held = queue, &released]() mutable -> Result<void> {
        released.Wait();
        held = nullptr;
        return OK;
    }));
    const JobRef waiting = MUST(queue->Enqueue(Nothing));
    queue = nullptr;
    released.Open();
    MUST(job->Wait());
    MUST(waiting->Wait());
    EXPECT_TRUE(job->GetResult().IsOk());
}

TEST(JobQueue, mainThreadRunsItsJobsWhenItLooks) {
    JobQueue& queue = JobQueue::GetMainThreadQueue();
    EXPECT_EQ(queue.GetThreadCount(), 0);
    std::vector<int> order;
    const auto record = [&](int value) {
        return [&order, value]() -> Result<void> {
            order.push_back(value);
            return OK;
        };
    };
    const JobRef first = MUST(queue.Enqueue(record(1)));
    const JobRef second = MUST(queue.Enqueue([&]() -> Result<void> {
        order.push_back(2);
        return queue.Enqueue(record(4)).IsOk() ? OK : Result<void>(UnknownError::Create());
    }));
    const JobRef third = MUST(queue.Enqueue(record(3)));
    MUST(third->Wait());
    EXPECT_THAT(order, testing::ElementsAre(3)) << "the main thread runs what it waits for";
    EXPECT_EQ(queue.RunPending(), 2);
    EXPECT_THAT(order, testing::ElementsAre(3, 1, 2)) << "jobs that came meanwhile are for the next time";
    EXPECT_EQ(queue.RunPending(), 1);
    EXPECT_EQ(queue.RunPending(), 0);
}

TEST(JobGroup, waitsForAllAndCollectsErrors) {
    const JobQueueRef queue = MUST(JobQueue::Create(2));
    std::atomic<int> count = 0;
    const JobGroupRef group = JobGroup::Create();
    EXPECT_TRUE(JobGroup::Create()->GetResult().IsOk());
    for (int i = 0; i < 20; ++i) {
        MUST(group->Add([&count, i]() -> Result<void> {
            ++count;
            return i == 3 || i == 7 ? Result<void>(IoError::Create("file " + std::to_string(i))) : OK;
        }));
    }
    EXPECT_TRUE(IllegalStateError::IsClassOf(group->Wait().GetError())) << "before it is enqueued";
    MUST(group->Enqueue(*queue));
    EXPECT_TRUE(group->Add(Nothing).IsError());
    MUST(group->Wait());
    EXPECT_EQ(count, 20);
    const Result<void> result = group->GetResult();
    ASSERT_TRUE(result.IsError());
    EXPECT_EQ(result.GetError()->GetMessage(), "file 3");
    const auto aggregated = Cast<const AggregatedError>(result.GetError());
    ASSERT_TRUE(aggregated);
    EXPECT_EQ(aggregated->GetError(1)->GetMessage(), "file 7");
}

TEST(JobGroup, memberCanNotWaitForItsGroup) {
    const JobQueueRef queue = MUST(JobQueue::Create(1));
    const JobGroupRef group = JobGroup::Create();
    const WeakRef<JobGroup> weak = group;
    MUST(group->Add([weak]() -> Result<void> { return weak.Promote()->Wait(); }));
    MUST(group->Add(Nothing));
    MUST(group->Enqueue(*queue));
    MUST(group->Wait());
    EXPECT_TRUE(IllegalStateError::IsClassOf(group->GetResult().GetError()));
}

}  // namespace
}  // namespace talvo
