// Lists of observers that are told of events.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/delegate.h"
#include "kernel/thread/locks.h"

#include <algorithm>
#include <atomic>
#include <utility>
#include <vector>

namespace talvo {

/// Names one observer of one observable. The default one names none.
enum class ObserverToken : UInt { NONE = 0 };

/// Ordered list of observers of one event: higher priority first, then in the order in which they came.
///
/// Threads:    any. A notification runs on the calling thread, over the list as it is when it begins; observers may add
///             and remove observers, also themselves. One that was removed is not called again by running notifications,
///             but another thread may still be inside of it.
/// Lock order: innermost; observers are called without any lock.
template <typename... ARGS>
class Observable {
public:
    using Observer = Delegate<Result<void>(ARGS...)>;

    Observable() = default;
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    /// @return what RemoveObserver wants; NONE if `observer` is null. Throws std::bad_alloc if memory is out.
    ObserverToken AddObserver(Observer observer, Int priority = 0) {
        if (!observer) return ObserverToken::NONE;
        const auto token = ObserverToken(_nextToken.fetch_add(1, std::memory_order_relaxed));
        const auto entry = StrongRef<Entry>::Create(token, priority, std::move(observer));
        Change([&](std::vector<StrongRef<Entry>>& entries) {
            const auto behind =
                std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e->priority < priority; });
            entries.insert(behind, entry);
        });
        return token;
    }
    /// @return false if there is no such observer (any more). Throws std::bad_alloc if memory is out.
    Bool RemoveObserver(ObserverToken token) {
        StrongRef<Entry> removed;
        Change([&](std::vector<StrongRef<Entry>>& entries) {
            removed = nullptr;
            const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& e) { return e->token == token; });
            if (found == entries.end()) return;
            removed = *found;
            entries.erase(found);
        });
        if (removed) removed->connected.store(false, std::memory_order_release);
        return Bool(removed);
    }
    void DisconnectAll() {
        Snapshot old;
        {
            const auto list = _list.Write();
            std::swap(*list, old);
        }
        if (!old) return;
        for (const auto& entry : old->entries) entry->connected.store(false, std::memory_order_release);
    }

    /// Calls each observer. An error of one keeps no other from being called, and is dropped: it concerns the observer only.
    void Notify(ARGS... args) const {
        // Though nobody may listen now: who holds a lock here would hold it when somebody does.
        CheckNoLockHeld(LOCK_USE::CALLBACK, "a notification of observers");
        const Snapshot list = GetSnapshot();
        if (!list) return;
        for (const auto& entry : list->entries) {
            if (!entry->connected.load(std::memory_order_acquire)) continue;
            CatchOutOfMemory([&]() -> Result<void> { return entry->observer(args...); }).Ignore("an observer's own affair");
        }
    }
    Int GetObserverCount() const {
        const Snapshot list = GetSnapshot();
        return list ? Int(list->entries.size()) : 0;
    }
    /// True if a notification would reach somebody: lets a caller spare making the arguments.
    Bool HasObservers() const { return GetObserverCount() != 0; }

private:
    struct Entry : ObjectInterface {
        Entry(ObserverToken t, Int p, Observer o) : token(t), priority(p), observer(std::move(o)) {}
        const ObserverToken token;
        const Int priority;
        const Observer observer;
        std::atomic<Bool> connected{true};
    };
    struct List : ObjectInterface {
        std::vector<StrongRef<Entry>> entries;
    };
    using Snapshot = StrongRef<const List>;

    Snapshot GetSnapshot() const {
        const auto list = _list.Read();
        return *list;
    }
    /// Publishes a changed copy; `change` runs again on a newer list if another thread was faster. Lists are made and
    /// released without the lock: with the last one observers go, whose captures do what they like.
    template <typename CHANGE>
    void Change(const CHANGE& change) {
        for (;;) {
            const Snapshot old = GetSnapshot();
            auto fresh = StrongRef<List>::Create();
            if (old) fresh->entries = old->entries;
            change(fresh->entries);
            const auto list = _list.Write();
            if (*list != old) continue;
            *list = std::move(fresh);  // `old` keeps the former list until the lock is given up
            return;
        }
    }

    std::atomic<UInt> _nextToken{1};
    Guarded<Snapshot, Spinlock> _list{KERNEL_TABLE_LOCK};
};

}  // namespace talvo
