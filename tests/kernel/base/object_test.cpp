#include "kernel/base/object.h"
#include "kernel/base/array.h"
#include "kernel/base/delegate.h"

#include <gtest/gtest.h>

#include <new>

namespace talvo {
namespace {

struct Probe : ObjectInterface {
    explicit Probe(int& aliveCount) : alive(aliveCount) { ++alive; }
    ~Probe() override { --alive; }
    int& alive;
};

TEST(WeakRef, isNullOnceTheLastStrongReferenceWent) {
    int alive = 0;
    auto strong = StrongRef<Probe>::Create(alive);
    const Probe* const address = strong.GetPointer();
    WeakRef<Probe> weak = strong;
    const WeakRef<ObjectInterface> asBase = strong;
    {
        const StrongRef<Probe> promoted = weak.Promote();
        strong = nullptr;
        EXPECT_EQ(alive, 1) << "the promoted reference keeps the object";
        EXPECT_TRUE(weak.IsAlive());
        weak = WeakRef<Probe>(promoted);
    }
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(weak.Promote());
    EXPECT_FALSE(asBase.Promote());
    EXPECT_FALSE(weak.IsAlive());
    EXPECT_TRUE(weak.Refers(address)) << "identity outlives the object";
    EXPECT_FALSE(WeakRef<Probe>().Promote());
}

/// An object that looks for itself while it goes.
struct SelfSeeker : ObjectInterface {
    explicit SelfSeeker(Bool& wasFound) : found(wasFound) {}
    ~SelfSeeker() override { found = Bool(self.Promote()); }
    WeakRef<SelfSeeker> self;
    Bool& found;
};

TEST(WeakRef, cannotReviveAnObjectFromItsDestructor) {
    Bool found = true;
    {
        const auto seeker = StrongRef<SelfSeeker>::Create(found);
        seeker->self = seeker;
        EXPECT_TRUE(seeker->self.Promote());
    }
    EXPECT_FALSE(found);
}

TEST(StrongRef, assignmentFromWhatItKeepsAliveIsSafe) {
    struct Node : ObjectInterface {
        StrongRef<Node> next;
    };
    auto head = StrongRef<Node>::Create();
    head->next = StrongRef<Node>::Create();
    head->next->next = StrongRef<Node>::Create();
    head = head->next;
    EXPECT_TRUE(head->next);
    EXPECT_EQ(head->GetReferenceCount(), 1u);
    head = *&head;
    EXPECT_TRUE(head->next);
}

TEST(Array, snapshotStaysAsItWas) {
    Array<int> array(BaseArray<int>{1, 2});
    const Array<int> snapshot = array;
    BaseArray<int> values = array.CopyValues();
    MUST(values.Append(3));
    array = Array<int>(std::move(values));
    EXPECT_EQ(array.GetCount(), 3);
    EXPECT_EQ(snapshot.GetCount(), 2);
    EXPECT_EQ(Array<int>().begin(), Array<int>().end());
}

/// Can't be copied once memory is out.
struct Heavy {
    static inline Bool full = false;
    Heavy() = default;
    Heavy(const Heavy&) {
        if (full) throw std::bad_alloc();
    }
    Heavy& operator=(const Heavy&) = default;
};

TEST(BaseArray, growthWithoutMemoryIsAnErrorAndLeavesTheArray) {
    BaseArray<Heavy> array;
    MUST(array.Append(Heavy()));
    Heavy::full = true;
    const Result<void> grown = array.EnsureCapacity(1000);
    Heavy::full = false;
    ASSERT_TRUE(grown.IsError());
    EXPECT_TRUE(OutOfMemoryError::IsClassOf(grown.GetError()));
    EXPECT_EQ(array.GetCount(), 1);
}

TEST(Delegate, copiesShareStateAndAreEqual) {
    const Delegate<int()> counter = [count = 0]() mutable { return ++count; };
    const Delegate<int()> copy = counter;
    EXPECT_EQ(counter(), 1);
    EXPECT_EQ(copy(), 2);
    EXPECT_TRUE(copy == counter);
    EXPECT_FALSE(copy == Delegate<int()>([] { return 0; }));
    EXPECT_FALSE(Delegate<int()>());
}

}  // namespace
}  // namespace talvo
