// A map whose values are made at first need, outside the lock, each by one caller while others wait for it.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/hash_map.h"
#include "kernel/data/data.h"
#include "kernel/thread/locks.h"

#include <atomic>
#include <thread>
#include <vector>

namespace talvo {

/// Threads:    any. A caller waits while another one makes the same key; two makers that ask for each other's key would wait for ever, so a
///             maker asks for keys of its own making only.
/// Lock order: a leaf; makers run outside of it.
template <typename V>
class MakeOnceMap {
public:
    using Maker = FunctionRef<Result<V>()>;

    /// Errors: the maker's, and then the next caller tries again; IllegalStateError if a maker asks for its own key.
    Result<V> Get(const Data& key, Maker make) {
        for (;;) {
            Bool isMaker = false;
            const StrongRef<Slot> slot = TRY(Enter(key, isMaker));
            if (isMaker) return Make(key, slot, make);
            if (slot->maker == std::this_thread::get_id() && slot->state == BEING_MADE) {
                return IllegalStateError::Create("The value of key " + key.ToString() +
                                                 " is being made by this very call. Don't ask for it from its own callback.");
            }
            slot->state.wait(BEING_MADE, std::memory_order_acquire);
            if (slot->state.load(std::memory_order_acquire) == MADE) return V(slot->value);
        }
    }

    /// The values made so far: a snapshot, in no order.
    std::vector<V> GetValues() const {
        std::vector<V> values;
        auto slots = _slots.Read();
        for (const auto& entry : *slots) {
            if (entry.second->state.load(std::memory_order_acquire) == MADE) values.push_back(entry.second->value);
        }
        return values;
    }

private:
    enum STATE : Int32 { BEING_MADE, MADE, FAILED };
    struct Slot : ObjectInterface {
        std::atomic<Int32> state{BEING_MADE};
        const std::thread::id maker = std::this_thread::get_id();
        V value;  // written before MADE, never after
    };

    Result<StrongRef<Slot>> Enter(const Data& key, Bool& isMaker) {
        auto slots = _slots.Write();
        StrongRef<Slot>* slot = TRY(slots->InsertKey(key));
        isMaker = !*slot;
        if (isMaker) *slot = StrongRef<Slot>::Create();
        return StrongRef<Slot>(*slot);
    }

    Result<V> Make(const Data& key, const StrongRef<Slot>& slot, Maker make) {
        CheckNoLockHeld(LOCK_USE::CALLBACK, "the making of a cached value");
        Result<V> made = CatchOutOfMemory([&] { return make(); });
        if (made.IsOk()) {
            slot->value = made.GetValue();
        } else {
            auto slots = _slots.Write();
            slots->Erase(key);
        }
        slot->state.store(made.IsOk() ? MADE : FAILED, std::memory_order_release);
        slot->state.notify_all();
        return made;
    }

    mutable Guarded<HashMap<Data, StrongRef<Slot>>, ARWLock> _slots;
};

}  // namespace talvo
