#include "kernel/thread/locks.h"

namespace talvo {

namespace {

constexpr int SPIN_ROUNDS = 50;

void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

/// Tries `attempt` some rounds in the hope that the lock is free soon. @return whether it was.
template <typename ATTEMPT>
Bool Spin(const ATTEMPT& attempt) {
    for (int round = 0; round < SPIN_ROUNDS; ++round) {
        if (attempt()) return true;
        Pause();
    }
    return false;
}

// The state of an ARWLock:
//
//   bits 0-14    readers that hold the lock
//   bits 15-29   readers that wait for the writer's turn to end
//   bit 30       a writer has its turn: it holds the lock, or waits until the readers that hold it are gone
//   bit 31       flips with the end of each writer's turn
//
// 1. While a writer has its turn, nobody becomes a reader: who comes is counted as waiting.
// 2. The end of the turn makes all waiting readers holders, in one step, and flips bit 31; by that they see it.
// 3. The next turn can't end before those readers have left, so bit 31 can't flip twice while one still looks at it.
// 4. Writers line up at a mutex of their own; its holder alone has the turn.
constexpr UInt32 READER = 1;
constexpr UInt32 HOLDERS = 0x7fff;
constexpr UInt32 WAITING_SHIFT = 15;
constexpr UInt32 WAITING_READER = 1u << WAITING_SHIFT;
constexpr UInt32 WRITERS_TURN = 1u << 30;
constexpr UInt32 FLIP = 1u << 31;

}  // namespace

void detail::SleepingMutex::LockSlowly() {
    const Bool taken = Spin([&] { return _state.load(std::memory_order_relaxed) == FREE && TryLock(); });
    if (taken) return;
    // From here on we can't know whether others sleep as well, so the next Unlock wakes one in any case.
    while (_state.exchange(HELD_WITH_SLEEPERS, std::memory_order_acquire) != FREE) {
        _state.wait(HELD_WITH_SLEEPERS, std::memory_order_relaxed);
    }
}

void ARWLock::ReadLock() {
    _identity.BeforeAcquire();
    UInt32 state = _state.load(std::memory_order_relaxed);
    for (;;) {
        const Bool writersTurn = state & WRITERS_TURN;
        const UInt32 step = writersTurn ? WAITING_READER : READER;
        if (!_state.compare_exchange_weak(state, state + step, std::memory_order_acquire, std::memory_order_relaxed)) continue;
        if (writersTurn) WaitForTurn(state & FLIP);
        break;
    }
    _identity.Acquired();
}

void ARWLock::WaitForTurn(UInt32 flip) {
    const auto isOver = [&] { return (_state.load(std::memory_order_acquire) & FLIP) != flip; };
    if (Spin(isOver)) return;
    for (UInt32 state; ((state = _state.load(std::memory_order_acquire)) & FLIP) == flip;) {
        _state.wait(state, std::memory_order_relaxed);
    }
}

void ARWLock::ReadUnlock() {
    _identity.Released();
    const UInt32 before = _state.fetch_sub(READER, std::memory_order_release);
    // Readers may sleep there too: all are woken, since a single wake could miss the writer.
    if ((before & HOLDERS) == READER && (before & WRITERS_TURN)) _state.notify_all();
}

void ARWLock::WriteLock() {
    _identity.BeforeAcquire();
    _writers.Lock();
    const UInt32 before = _state.fetch_or(WRITERS_TURN, std::memory_order_acquire);
    if (before & HOLDERS) WaitForReaders();
    _identity.Acquired();
}

void ARWLock::WaitForReaders() {
    const auto areGone = [&] { return (_state.load(std::memory_order_acquire) & HOLDERS) == 0; };
    if (Spin(areGone)) return;
    for (UInt32 state; ((state = _state.load(std::memory_order_acquire)) & HOLDERS) != 0;) {
        _state.wait(state, std::memory_order_relaxed);
    }
}

Bool ARWLock::TryWriteLock() {
    if (!_writers.TryLock()) return false;
    UInt32 state = _state.load(std::memory_order_relaxed);
    while ((state & HOLDERS) == 0) {
        if (_state.compare_exchange_weak(state, state | WRITERS_TURN, std::memory_order_acquire, std::memory_order_relaxed)) {
            _identity.Acquired();
            return true;
        }
    }
    _writers.Unlock();
    return false;
}

void ARWLock::WriteUnlock() {
    _identity.Released();
    UInt32 state = _state.load(std::memory_order_relaxed);
    UInt32 waiting;
    UInt32 after;
    do {
        waiting = state >> WAITING_SHIFT & HOLDERS;
        after = ((state & FLIP) ^ FLIP) | waiting;
    } while (!_state.compare_exchange_weak(state, after, std::memory_order_release, std::memory_order_relaxed));
    if (waiting) _state.notify_all();
    _writers.Unlock();
}

}  // namespace talvo
