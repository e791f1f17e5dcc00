// Locks, the scopes in which they are held, and Guarded: a value that can't be reached but through its lock.
#pragma once

#include "kernel/base/types.h"
#include "kernel/thread/lock_order.h"

#include <atomic>
#include <utility>

namespace talvo {

namespace detail {

/// Exclusive lock of 4 bytes: spins about 50 rounds, then sleeps.
class SleepingMutex {
public:
    void Lock() {
        UInt32 expected = FREE;
        if (!_state.compare_exchange_strong(expected, HELD, std::memory_order_acquire, std::memory_order_relaxed)) LockSlowly();
    }
    Bool TryLock() {
        UInt32 expected = FREE;
        return _state.compare_exchange_strong(expected, HELD, std::memory_order_acquire, std::memory_order_relaxed);
    }
    void Unlock() {
        if (_state.exchange(FREE, std::memory_order_release) == HELD_WITH_SLEEPERS) _state.notify_one();
    }

private:
    enum : UInt32 { FREE = 0, HELD = 1, HELD_WITH_SLEEPERS = 2 };
    void LockSlowly();
    std::atomic<UInt32> _state{FREE};
};

/// Tells the checker what happens to one lock. Empty, and nothing happens, in builds without the check.
class LockIdentity {
public:
#ifdef TALVO_LOCK_CHECK
    explicit LockIdentity(LockClass& lockClass) : _class(&lockClass) {}
    void BeforeAcquire() { LockOrder::CheckAcquire(this, *_class); }
    void Acquired() { LockOrder::NoteAcquired(this, *_class); }
    void Released() { LockOrder::NoteReleased(this); }

private:
    LockClass* const _class;
#else
    explicit LockIdentity(LockClass&) {}
    void BeforeAcquire() {}
    void Acquired() {}
    void Released() {}
#endif
};

}  // namespace detail

/// Reader-writer lock of 8 bytes: many readers or one writer.
///
/// A writer that waits keeps new readers out; those that came meanwhile all go in before the next writer. So neither side
/// starves. Not recursive, not even for readers: a reader that asks again behind a waiting writer would wait for ever.
/// Hold it through a scope below. Threads: any; a lock is released by the thread that took it.
class ARWLock {
public:
    ARWLock() : ARWLock(UNNAMED_LOCK) {}
    explicit ARWLock(LockClass& lockClass) : _identity(lockClass) {}
    ARWLock(const ARWLock&) = delete;
    ARWLock& operator=(const ARWLock&) = delete;

    void ReadLock();
    void ReadUnlock();
    void WriteLock();
    void WriteUnlock();
    /// Takes the lock as writer if nobody has it. @return whether it did.
    Bool TryWriteLock();

private:
    void WaitForTurn(UInt32 flip);
    void WaitForReaders();

    std::atomic<UInt32> _state{0};
    detail::SleepingMutex _writers;
    [[no_unique_address]] detail::LockIdentity _identity;
};

/// Lock of 4 bytes for short exclusive sections. Not recursive.
class Spinlock {
public:
    Spinlock() : Spinlock(UNNAMED_LOCK) {}
    explicit Spinlock(LockClass& lockClass) : _identity(lockClass) {}
    Spinlock(const Spinlock&) = delete;
    Spinlock& operator=(const Spinlock&) = delete;

    void WriteLock() {
        _identity.BeforeAcquire();
        _mutex.Lock();
        _identity.Acquired();
    }
    Bool TryWriteLock() {
        if (!_mutex.TryLock()) return false;
        _identity.Acquired();
        return true;
    }
    void WriteUnlock() {
        _identity.Released();
        _mutex.Unlock();
    }
    // Reading excludes others as well.
    void ReadLock() { WriteLock(); }
    void ReadUnlock() { WriteUnlock(); }

private:
    detail::SleepingMutex _mutex;
    [[no_unique_address]] detail::LockIdentity _identity;
};

#ifndef TALVO_LOCK_CHECK
static_assert(sizeof(ARWLock) == 8 && sizeof(Spinlock) == 4);
#endif

/// Holds a bare lock as writer until the end of the scope. For what is no data: an order of operations, a store.
/// Where there is data, use Guarded.
template <typename LOCK>
class [[nodiscard]] ScopedWriteLock {
public:
    explicit ScopedWriteLock(LOCK& lock) : _lock(&lock) { lock.WriteLock(); }
    ScopedWriteLock(ScopedWriteLock&& other) noexcept : _lock(std::exchange(other._lock, nullptr)) {}
    ~ScopedWriteLock() { Unlock(); }

    /// Holds the lock if nobody else did; see operator Bool.
    static ScopedWriteLock TryWrite(LOCK& lock) { return ScopedWriteLock(lock.TryWriteLock() ? &lock : nullptr); }
    explicit operator Bool() const { return _lock != nullptr; }
    /// Gives the lock up before the scope ends.
    void Unlock() {
        if (_lock) std::exchange(_lock, nullptr)->WriteUnlock();
    }

private:
    explicit ScopedWriteLock(LOCK* lock) : _lock(lock) {}
    LOCK* _lock;
};

/// Holds a bare lock as reader until the end of the scope.
template <typename LOCK>
class [[nodiscard]] ScopedReadLock {
public:
    explicit ScopedReadLock(LOCK& lock) : _lock(&lock) { lock.ReadLock(); }
    ScopedReadLock(ScopedReadLock&& other) noexcept : _lock(std::exchange(other._lock, nullptr)) {}
    ~ScopedReadLock() { Unlock(); }

    /// Gives the lock up before the scope ends.
    void Unlock() {
        if (_lock) std::exchange(_lock, nullptr)->ReadUnlock();
    }

private:
    LOCK* _lock;
};

/// Holds a Spinlock until the end of the scope.
using ScopedLock = ScopedWriteLock<Spinlock>;

/// A value and its lock. The value can be reached through a named scope only:
///
///     auto table = _table.Write();     // const auto too
///     table->Insert(...);              // the lock is held until `table` goes
///
/// `_table.Write()->Insert(...)` does not compile: what it returned could outlive the lock.
template <typename T, typename LOCK = ARWLock>
class Guarded {
public:
    /// Access while the lock is held. `OBJECT` is const T for readers.
    template <typename OBJECT, typename SCOPE>
    class [[nodiscard]] Scope {
    public:
        OBJECT* operator->() const& { return _object; }
        OBJECT& operator*() const& { return *_object; }
        OBJECT* operator->() const&& = delete;
        OBJECT& operator*() const&& = delete;
        /// False only for a TryWrite that did not get the lock: then there is nothing to reach.
        explicit operator Bool() const { return _object != nullptr; }

    private:
        friend Guarded;
        Scope(SCOPE scope, OBJECT* object) : _scope(std::move(scope)), _object(object) {}
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

        SCOPE _scope;
        OBJECT* const _object;
    };
    using WriteScope = Scope<T, ScopedWriteLock<LOCK>>;
    using ReadScope = Scope<const T, ScopedReadLock<LOCK>>;

    Guarded() = default;
    explicit Guarded(T value) : _value(std::move(value)) {}
    template <typename... ARGS>
    explicit Guarded(LockClass& lockClass, ARGS&&... args) : _lock(lockClass), _value(std::forward<ARGS>(args)...) {}

    WriteScope Write() { return WriteScope(ScopedWriteLock<LOCK>(_lock), &_value); }
    ReadScope Read() const { return ReadScope(ScopedReadLock<LOCK>(_lock), &_value); }
    WriteScope TryWrite() {
        auto scope = ScopedWriteLock<LOCK>::TryWrite(_lock);
        const Bool held = Bool(scope);
        return WriteScope(std::move(scope), held ? &_value : nullptr);
    }

private:
    mutable LOCK _lock;
    T _value;
};

}  // namespace talvo
