#include "kernel/thread/locks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

namespace talvo {
namespace {

template <typename SCOPE>
concept ReachableThroughTemporary = requires(SCOPE&& scope) { std::move(scope).operator->(); };
template <typename SCOPE>
concept DereferencedTemporary = requires(SCOPE&& scope) { *std::move(scope); };

TEST(Guarded, valueIsReachedThroughNamedScopesOnly) {
    using Numbers = Guarded<std::vector<int>>;
    static_assert(!ReachableThroughTemporary<Numbers::WriteScope> && !DereferencedTemporary<Numbers::WriteScope>);
    static_assert(!ReachableThroughTemporary<Numbers::ReadScope> && !DereferencedTemporary<Numbers::ReadScope>);
    static_assert(!std::is_move_constructible_v<Numbers::WriteScope> && !std::is_copy_constructible_v<Numbers::ReadScope>);

    Numbers numbers;
    {
        const auto write = numbers.Write();
        write->push_back(1);
        EXPECT_FALSE(numbers.TryWrite()) << "one writer";
    }
    const auto read = numbers.Read();
    static_assert(std::is_same_v<decltype(*read), const std::vector<int>&>);
    EXPECT_THAT(*read, testing::ElementsAre(1));
    std::thread([&] {
        const auto second = numbers.Read();
        EXPECT_EQ(second->size(), 1u) << "readers don't exclude each other";
        EXPECT_FALSE(numbers.TryWrite()) << "but writers";
    }).join();
}

TEST(Guarded, tryWriteGivesTheLockBack) {
    Guarded<int, Spinlock> value(7);
    {
        const auto write = value.TryWrite();
        ASSERT_TRUE(write);
        *write = 8;
        EXPECT_FALSE(value.TryWrite());
    }
    const auto read = value.Read();
    EXPECT_EQ(*read, 8);
}

TEST(ScopedLocks, canBeGivenUpEarly) {
    ARWLock lock;
    ScopedWriteLock write(lock);
    write.Unlock();
    write.Unlock();
    {
        ScopedReadLock read(lock);
        EXPECT_FALSE(ScopedWriteLock<ARWLock>::TryWrite(lock));
        read.Unlock();
        EXPECT_TRUE(ScopedWriteLock<ARWLock>::TryWrite(lock));
    }
    ScopedWriteLock again(lock);
    ScopedWriteLock moved = std::move(again);
    EXPECT_TRUE(moved);
    EXPECT_FALSE(ScopedWriteLock<ARWLock>::TryWrite(lock));
}

}  // namespace
}  // namespace talvo
