// Bounded stress of what the kernel shares between threads. Its judge is the thread sanitizer.
#include "kernel/app/background_progress.h"
#include "kernel/base/array.h"
#include "kernel/base/id.h"
#include "kernel/base/object.h"
#include "kernel/text/casing.h"
#include "kernel/text/language.h"
#include "kernel/thread/job.h"
#include "kernel/thread/locks.h"
#include "kernel/thread/observable.h"
#include "kernel/thread/registry.h"
#include "kernel/thread/timer.h"
#include "support/stress_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

namespace talvo {
namespace {

constexpr int THREADS = 4;
constexpr int ROUNDS = 2000;

/// Runs `work(thread)` on all threads, which begin together.
void RunOnThreads(FunctionRef<void(Int thread)> work) { RunStress(THREADS, work); }

TEST(KernelThreads, internedIdsLeaveAndReviveUnderRace) {
    const Int before = InternedId::GetTableCount();
    RunOnThreads([](Int) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            const Id id = MUST(Id::Create("net.talvo.race." + std::to_string(round / 4 % 3)));
            const InternedId first(id);
            const InternedId second = first;
            EXPECT_EQ(first, InternedId(id));
            EXPECT_EQ(second.GetId(), id);
        }
    });
    EXPECT_EQ(InternedId::GetTableCount(), before);
}

TEST(KernelThreads, weakReferencesAgainstTheLastRelease) {
    struct Probe : ObjectInterface {
        explicit Probe(std::atomic<int>& count) : alive(count) { ++alive; }
        ~Probe() override {
            value = -1;
            --alive;
        }
        std::atomic<int>& alive;
        int value = 42;
    };
    std::atomic<int> alive = 0;
    for (int round = 0; round < 300; ++round) {
        auto strong = StrongRef<Probe>::Create(alive);
        const WeakRef<Probe> weak = strong;
        RunOnThreads([&](Int thread) {
            if (thread == 0) {
                strong = nullptr;
                return;
            }
            const WeakRef<Probe> mine = weak;
            // Not without end: three threads that promote in turn could keep the object alive for ever.
            for (int i = 0; i < 20; ++i) {
                const StrongRef<Probe> promoted = mine.Promote();
                if (!promoted) break;
                EXPECT_EQ(promoted->value, 42);
            }
        });
        EXPECT_EQ(alive, 0);
    }
}

TEST(KernelThreads, idsAndTextsAreShared) {
    const Id id = MUST(Id::Create("net.talvo.shared.text"));
    const String text = "a text that is longer than what fits in place";
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            const Id copy = id;
            EXPECT_EQ(copy.GetLength(), 21u);
            String changed = text;
            changed.Append(thread % 2 ? "!" : "?");
            EXPECT_EQ(changed.GetLength(), text.GetLength() + 1);
            if (round % 50 == 0) {
                EXPECT_LT(CompareText("chair 9", "chair 10", COMPARE_MODE::DISPLAY), 0);
            }
        }
        EXPECT_TRUE(MUST(Resource::GetLanguage("de-AT"_id))->GetFallbackLanguage());
    });
}

/// Two numbers that are equal whenever nobody writes.
struct Twins {
    Int first = 0;
    Int second = 0;
};

template <typename LOCK>
void RaceOnTwins() {
    Guarded<Twins, LOCK> twins;
    std::atomic<Int> written = 0;
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            if (round % 4 == thread) {
                const auto scope = twins.Write();
                ++scope->first;
                ++scope->second;
                ++written;
            } else if (round % 7 == 0) {
                const auto scope = twins.TryWrite();
                if (!scope) continue;
                scope->second = ++scope->first;
                ++written;
            } else {
                const auto scope = twins.Read();
                EXPECT_EQ(scope->first, scope->second);
            }
        }
    });
    const auto scope = twins.Read();
    EXPECT_EQ(scope->first, written);
}

TEST(KernelThreads, readersAndWriters) { RaceOnTwins<ARWLock>(); }
TEST(KernelThreads, spinlock) { RaceOnTwins<Spinlock>(); }

TEST(KernelThreads, neitherReadersNorWritersStarve) {
    // Each side runs until the other one had its turns: a lock that starves one of them would never come to an end.
    Guarded<Twins> twins;
    std::atomic<int> reads = 0, writes = 0;
    RunOnThreads([&](Int thread) {
        while (reads < 200 || writes < 200) {
            if (thread % 2) {
                const auto scope = twins.Write();
                ++scope->first;
                ++writes;
            } else {
                const auto scope = twins.Read();
                ++reads;
            }
        }
    });
}

TEST(KernelThreads, jobsAreEnqueuedCancelledAndWaitedFor) {
    const JobQueueRef queue = MUST(JobQueue::Create(3));
    const JobQueueRef other = MUST(JobQueue::Create(1));
    std::atomic<int> ended = 0;
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < 200; ++round) {
            NoteStressStep();
            const JobRef job = MUST(queue->Enqueue([&, round]() -> Result<void> {
                const JobRef inner = TRY((round % 3 ? queue : other)->Enqueue([]() -> Result<void> { return OK; }));
                return inner->Wait();
            }));
            job->AddFinishedObserver([&](const Result<void>&) { ++ended; });
            if (round % 5 == thread) job->Cancel();
            MUST(job->Wait());
            const Result<void> result = job->GetResult();
            EXPECT_TRUE(result.IsOk() || OperationCancelledError::IsClassOf(result.GetError()));
        }
    });
    EXPECT_EQ(ended, 200 * THREADS);
}

TEST(KernelThreads, groupsShareAQueueThatIsCancelled) {
    const JobQueueRef queue = MUST(JobQueue::Create(2));
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < 20; ++round) {
            NoteStressStep();
            const JobGroupRef group = JobGroup::Create();
            std::atomic<int> ended = 0;
            for (int i = 0; i < 10; ++i) {
                MUST(group->Add([&ended]() -> Result<void> {
                    ++ended;
                    return OK;
                }));
            }
            MUST(group->Enqueue(*queue));
            if (thread == 0 && round % 5 == 0) queue->CancelAndWait();
            MUST(group->Wait());
            EXPECT_TRUE(group->GetResult().IsError() || ended == 10);
        }
    });
}

TEST(KernelThreads, queuesComeAndGo) {
    RunOnThreads([](Int) {
        for (int round = 0; round < 50; ++round) {
            NoteStressStep();
            const JobQueueRef queue = MUST(JobQueue::Create(2));
            for (int i = 0; i < 5; ++i) MUST(queue->Enqueue([queue]() -> Result<void> { return OK; }));
        }
    });
}

TEST(KernelThreads, timersAreStartedFiredAndCancelledAllAtOnce) {
    std::atomic<int> begun = 0;
    std::atomic<int> cancelled = 0;
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < 200; ++round) {
            NoteStressStep();
            const Float64 seconds = round % 3 ? 0 : 1e6;
            const TimerRef timer = MUST(Timer::Start(seconds, seconds, [&]() -> Result<void> {
                ++begun;
                return OK;
            }));
            if (round % 2 == thread % 2) MUST(timer->FireNow());
            timer->CancelAndWait();
            EXPECT_FALSE(timer->IsPending());
            cancelled += timer->GetJob()->GetState() == JOB_STATE::CANCELLED;
        }
    });
    EXPECT_EQ(begun + cancelled, 200 * THREADS);
}

TEST(KernelThreads, backgroundEntriesComeAndGoWhileTheyAreShownAndCancelled) {
    BackgroundProgress& master = BackgroundProgress::GetMaster();
    std::atomic<int> added = 0, gone = 0, cancelled = 0;
    const ObserverToken token =
        master.ObservableEntryChanged().AddObserver([&](BACKGROUND_EVENT event, const BackgroundEntryInfo&) -> Result<void> {
            added += event == BACKGROUND_EVENT::ADDED;
            gone += event == BACKGROUND_EVENT::GONE;
            return OK;
        });
    RunOnThreads([&](Int thread) {
        for (int round = 0; round < 200; ++round) {
            NoteStressStep();
            const BackgroundEntryRef entry = MUST(master.AddActiveEntry("work"));
            entry->SetCancelJobDelegate([&] { ++cancelled; });
            for (const BackgroundEntryInfo& info : MUST(master.GetEntries())) {
                if (round % 3 == thread % 3) master.Cancel(info.number);
            }
            const Result<void> shown = entry->SetProgressAndCheckBreak(0.5);
            if (shown.IsError()) MUST(entry->AddState(BACKGROUND_STATE::CANCELLED, "cancelled"));
            if (round % 2) entry->Finish();
        }
    });
    EXPECT_TRUE(master.ObservableEntryChanged().RemoveObserver(token));
    EXPECT_EQ(added, 200 * THREADS);
    EXPECT_EQ(gone, added);
    EXPECT_LE(cancelled, added);
    EXPECT_TRUE(MUST(master.GetEntries()).empty());
}

TEST(KernelThreads, observersAndRegistries) {
    Observable<int> observable;
    Registry<int> registry("net.talvo.registry.race"_id);
    std::atomic<int> calls = 0;
    observable.AddObserver([&](int) -> Result<void> {
        ++calls;
        return OK;
    });
    RunOnThreads([&](Int thread) {
        const Id id = MUST(Id::Create("entry" + std::to_string(thread)));
        for (int round = 0; round < 500; ++round) {
            NoteStressStep();
            const ObserverToken token = observable.AddObserver([](int) -> Result<void> { return OK; }, thread);
            observable.Notify(round);
            EXPECT_TRUE(observable.RemoveObserver(token));
            MUST(registry.Register(id, round));
            EXPECT_EQ(registry.FindEntryValue(id), round);
            for (const auto& entry : registry.GetEntries()) EXPECT_TRUE(entry->id.IsPopulated());
            EXPECT_TRUE(MUST(registry.EraseEntry(id)));
        }
    });
    EXPECT_EQ(calls, 500 * THREADS);
    EXPECT_EQ(observable.GetObserverCount(), 1);
    EXPECT_EQ(registry.GetEntries().GetCount(), 0);
}

}  // namespace
}  // namespace talvo
