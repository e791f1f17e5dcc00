#include "kernel/thread/job.h"
#include "kernel/thread/locks.h"
#include "kernel/thread/observable.h"
#include "kernel/thread/registry.h"

#include <gtest/gtest.h>

#ifdef TALVO_LOCK_CHECK

namespace talvo {
namespace {

constinit LockClass FIRST{"test first"};
constinit LockClass SECOND{"test second"};
constinit LockClass THIRD{"test third"};
constinit LockClass NESTED{"test nested", LOCK_FLAGS::NESTED};
constinit LockClass STORE{"test store", LOCK_FLAGS::IO | LOCK_FLAGS::CALLBACKS};

void TakeBoth(ARWLock& outer, ARWLock& inner) {
    const ScopedWriteLock outerScope(outer);
    const ScopedReadLock innerScope(inner);
}

TEST(LockOrderDeathTest, cyclesAreFoundThoughNoThreadEverWaited) {
    ARWLock first(FIRST), second(SECOND), third(THIRD), otherThird(THIRD);
    TakeBoth(first, second);
    TakeBoth(second, third);
    TakeBoth(first, third);
    EXPECT_DEATH(TakeBoth(third, second),
                 "\"test second\" is taken in an order.*\n.*this thread holds: test third\n.*test second > test third");
    EXPECT_DEATH(TakeBoth(otherThird, first), "test first > test third|test first > test second\n.*test second > test third")
        << "order is between classes, also through others";
}

TEST(LockOrderDeathTest, noLockTwice) {
    ARWLock lock(NESTED), other(NESTED), first(FIRST), otherFirst(FIRST);
    TakeBoth(lock, other);
    EXPECT_DEATH(TakeBoth(lock, lock), "\"test nested\": this thread holds that very lock already");
    EXPECT_DEATH(TakeBoth(first, otherFirst), "two locks of a class that does not nest");
    Spinlock spinlock(FIRST);
    EXPECT_DEATH(spinlock.WriteUnlock(), "released by a thread that does not hold it");
}

TEST(LockOrderDeathTest, leavesAreLeaves) {
    ARWLock unnamed, first(FIRST);
    Registry<int> registry("net.talvo.registry.test"_id);
    {
        const ScopedWriteLock scope(unnamed);
        EXPECT_FALSE(registry.Find("x"_id)) << "kernel tables may be asked anywhere";
    }
    EXPECT_DEATH(TakeBoth(unnamed, first), "\"test first\" under \"unnamed\": nothing may be locked under a leaf");
}

TEST(LockOrderDeathTest, noForeignCodeAndNoFilesUnderALock) {
    ARWLock first(FIRST), store(STORE);
    Observable<> observable;
    observable.AddObserver([]() -> Result<void> { return OK; });
    {
        const ScopedWriteLock scope(store);
        observable.Notify();
        CheckNoLockHeld(LOCK_USE::IO, "writing a file");
    }
    const ScopedWriteLock scope(first);
    EXPECT_DEATH(observable.Notify(), "a notification of observers under \"test first\"");
    EXPECT_DEATH(CheckNoLockHeld(LOCK_USE::IO, "writing a file"), "writing a file under \"test first\"");
    EXPECT_DEATH(Job::Create(nullptr)->Wait().Ignore("it dies"), "waiting for a job under");
}

}  // namespace
}  // namespace talvo

#endif
