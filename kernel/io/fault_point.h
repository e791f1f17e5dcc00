// The point at which a file operation is numbered and may be broken. In builds without faults nothing of it is left.
#pragma once

#include "kernel/io/file_system.h"
#include "kernel/thread/lock_order.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string_view>

namespace talvo::detail {

/// What an operation works on, for scopes and traces.
struct FaultSubject {
    std::string_view path;
    std::string_view secondPath = {};  ///< the target of a rename
    std::string_view bytes = {};       ///< what is being written
};

#ifdef TALVO_FAULTS

enum class FAULT_STATE : Int32 { UNREAD, OFF, ON };
extern std::atomic<FAULT_STATE> faultState;

/// One operation that met the plan. Threads: one at a time.
class FaultPoint {
public:
    FaultPoint(FILE_OPERATION operation, const FaultSubject& subject) {
        if (faultState.load(std::memory_order_relaxed) != FAULT_STATE::OFF) Enter(operation, subject);
    }
    /// Error number with which the operation has to fail instead of being done, or 0.
    int GetError() const { return _error; }
    /// How many of `count` bytes the operation may move.
    std::size_t Shorten(std::size_t count) const { return _short ? std::max(count / 2, std::size_t(1)) : count; }
    void Leave(FILE_OPERATION operation, const FaultSubject& subject, int error) const {
        if (_number != 0) LeaveCounted(operation, subject, error);
    }

private:
    void Enter(FILE_OPERATION operation, const FaultSubject& subject);
    void LeaveCounted(FILE_OPERATION operation, const FaultSubject& subject, int error) const;

    Int _number = 0;
    int _error = 0;
    Bool _short = false;
};

/// True if operations are traced: then bytes must pass through WRITE operations, so that the trace holds them.
Bool IsFaultTraceOn();

#else

class FaultPoint {
public:
    constexpr FaultPoint(FILE_OPERATION, const FaultSubject&) {}
    constexpr int GetError() const { return 0; }
    constexpr std::size_t Shorten(std::size_t count) const { return count; }
    constexpr void Leave(FILE_OPERATION, const FaultSubject&, int) const {}
};

constexpr Bool IsFaultTraceOn() { return false; }

#endif

/// Does `call`, which gives 0 or an error number, as one numbered operation.
template <typename CALL>
int DoNumbered(FILE_OPERATION operation, const FaultSubject& subject, CALL&& call) {
    CheckNoLockHeld(LOCK_USE::IO, "a file operation");
    const FaultPoint point(operation, subject);
    const int error = point.GetError() != 0 ? point.GetError() : call(point);
    point.Leave(operation, subject, error);
    return error;
}

}  // namespace talvo::detail
