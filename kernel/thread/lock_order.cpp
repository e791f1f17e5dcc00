#include "kernel/thread/lock_order.h"

#ifdef TALVO_LOCK_CHECK

#include "kernel/base/allocation_plan.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace talvo {

namespace {

constexpr UInt32 MAX_CLASSES = 256;
constexpr UInt32 MAX_HELD = 64;

struct HeldLock {
    const void* lock = nullptr;
    LockClass* lockClass = nullptr;
};

/// The locks that this thread holds, oldest first. Trivial, so that it can be used until the thread's very end.
struct HeldStack {
    std::array<HeldLock, MAX_HELD> locks;
    UInt32 count;
};
thread_local constinit HeldStack held{};

/// For each class those that were taken while it was held, and how the threads stood when that was first seen.
struct Graph {
    // [before][after], as bits; read without the mutex on the fast path.
    std::array<std::array<std::atomic<Bool>, MAX_CLASSES>, MAX_CLASSES> follows{};
    std::mutex mutex;
    UInt32 count = 0;
    std::map<std::pair<UInt32, UInt32>, std::string> seen;
};

Graph& GetGraph() {
    static auto* const graph = new Graph;  // locks are used until the process ends
    return *graph;
}

std::string DescribeHeld() {
    std::string text;
    for (UInt32 i = 0; i < held.count; ++i) text += std::string(i ? " > " : "") + held.locks[i].lockClass->GetName();
    return text;
}

[[noreturn]] void Fail(const std::string& why, const std::string& more = {}) {
    std::fprintf(stderr, "Lock order: %s\n  this thread holds: %s\n%s", why.c_str(), DescribeHeld().c_str(), more.c_str());
    std::abort();
}

/// The classes from `from` to `to` in the graph, in words, or nothing if there is no way.
std::string DescribePath(const Graph& graph, UInt32 from, UInt32 to, std::array<Bool, MAX_CLASSES>& visited) {
    visited[from] = true;
    for (UInt32 next = 1; next <= graph.count; ++next) {
        if (!graph.follows[from][next].load(std::memory_order_relaxed) || visited[next]) continue;
        const std::string step = "  seen before: " + graph.seen.at({from, next}) + "\n";
        if (next == to) return step;
        const std::string rest = DescribePath(graph, next, to, visited);
        if (!rest.empty()) return step + rest;
    }
    return {};
}

}  // namespace

/// The part that needs the inside of the classes.
struct LockClassNumbers {
    static UInt32 Get(std::atomic<UInt32>& number) {
        if (const UInt32 known = number.load(std::memory_order_acquire)) return known;
        Graph& graph = GetGraph();
        const std::lock_guard lock(graph.mutex);
        if (const UInt32 known = number.load(std::memory_order_relaxed)) return known;
        if (graph.count + 1 >= MAX_CLASSES) Fail("there are too many lock classes; let locks of one kind share one");
        number.store(++graph.count, std::memory_order_release);
        return graph.count;
    }
};

namespace {

void CheckFlags(const LockClass& before, const LockClass& after) {
    const auto names = [&] { return std::string("\"") + after.GetName() + "\" under \"" + before.GetName() + "\""; };
    if (before.Has(LOCK_FLAGS::INNERMOST)) Fail(names() + ": nothing may be locked under an innermost lock");
    if (before.Has(LOCK_FLAGS::LEAF) && !after.Has(LOCK_FLAGS::INNERMOST)) {
        Fail(names() + ": nothing may be locked under a leaf; give the outer lock a class of its own");
    }
    if (&before == &after && !after.Has(LOCK_FLAGS::NESTED)) Fail(names() + ": two locks of a class that does not nest");
}

void CheckOrder(UInt32 before, UInt32 after, const LockClass& afterClass) {
    Graph& graph = GetGraph();
    if (before == after || graph.follows[before][after].load(std::memory_order_acquire)) return;
    const AllocationPlan::Pause pause;
    const std::lock_guard lock(graph.mutex);
    std::array<Bool, MAX_CLASSES> visited{};
    const std::string path = DescribePath(graph, after, before, visited);
    if (!path.empty()) Fail(std::string("\"") + afterClass.GetName() + "\" is taken in an order that can deadlock", path);
    graph.seen[{before, after}] = DescribeHeld() + " > " + afterClass.GetName();
    graph.follows[before][after].store(true, std::memory_order_release);
}

}  // namespace

void LockOrder::CheckAcquire(const void* lock, LockClass& lockClass) {
    const UInt32 number = LockClassNumbers::Get(lockClass._number);
    for (UInt32 i = 0; i < held.count; ++i) {
        const HeldLock& other = held.locks[i];
        if (other.lock == lock) Fail(std::string("\"") + lockClass.GetName() + "\": this thread holds that very lock already");
        CheckFlags(*other.lockClass, lockClass);
        CheckOrder(LockClassNumbers::Get(other.lockClass->_number), number, lockClass);
    }
}

void LockOrder::NoteAcquired(const void* lock, LockClass& lockClass) {
    if (held.count == MAX_HELD) Fail("a thread holds too many locks at once");
    held.locks[held.count++] = {lock, &lockClass};
}

void LockOrder::NoteReleased(const void* lock) {
    for (UInt32 i = held.count; i-- > 0;) {
        if (held.locks[i].lock != lock) continue;
        for (--held.count; i < held.count; ++i) held.locks[i] = held.locks[i + 1];
        return;
    }
    Fail("a lock is released by a thread that does not hold it");
}

void CheckNoLockHeld(LOCK_USE use, const char* what) {
    const LOCK_FLAGS needed = use == LOCK_USE::IO ? LOCK_FLAGS::IO : LOCK_FLAGS::CALLBACKS;
    for (UInt32 i = 0; i < held.count; ++i) {
        const LockClass& lockClass = *held.locks[i].lockClass;
        if (!lockClass.Has(needed))
            Fail(std::string(what) + " under \"" + lockClass.GetName() + "\", whose class does not allow it");
    }
}

}  // namespace talvo

#endif
