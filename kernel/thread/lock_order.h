// Lock classes, and the check that locks are always taken in one order. Only builds with TALVO_LOCK_CHECK pay for it.
#pragma once

#include "kernel/base/types.h"

#ifdef TALVO_LOCK_CHECK
#include <atomic>
#endif

namespace talvo {

/// What is allowed while a lock of a class is held.
enum class LOCK_FLAGS : UInt32 {
    NONE = 0,
    IO = 1,         ///< file operations
    CALLBACKS = 2,  ///< delegates, receivers, observers, jobs; waiting for others
    NESTED = 4,     ///< a second lock of the same class
    LEAF = 8,       ///< no other lock but INNERMOST ones is taken under it
    INNERMOST = 16  ///< no lock at all is taken under it; itself it may be taken under a leaf
};
constexpr LOCK_FLAGS operator|(LOCK_FLAGS first, LOCK_FLAGS second) { return LOCK_FLAGS(UInt32(first) | UInt32(second)); }
constexpr Bool HasFlag(LOCK_FLAGS flags, LOCK_FLAGS flag) { return (UInt32(flags) & UInt32(flag)) != 0; }

/// All locks that guard the same kind of thing: the unit in which lock order is told. Always a static object:
///
///     inline constinit LockClass STORE_LOCK{"store", LOCK_FLAGS::IO};
///     ScopedWriteLock lock(_storeLock);  // with  ARWLock _storeLock{STORE_LOCK};
class LockClass {
public:
#ifdef TALVO_LOCK_CHECK
    constexpr LockClass(const char* name, LOCK_FLAGS flags = LOCK_FLAGS::NONE) : _name(name), _flags(flags) {}
#else
    constexpr LockClass(const char*, LOCK_FLAGS = LOCK_FLAGS::NONE) {}
#endif
    LockClass(const LockClass&) = delete;
    LockClass& operator=(const LockClass&) = delete;

#ifdef TALVO_LOCK_CHECK
    const char* GetName() const { return _name; }
    Bool Has(LOCK_FLAGS flag) const { return HasFlag(_flags, flag); }

private:
    friend struct LockOrder;
    const char* const _name;
    const LOCK_FLAGS _flags;
    std::atomic<UInt32> _number{0};  // 0: not met yet
#endif
};

/// The class of locks that were given none: nothing else is locked under them.
inline constinit LockClass UNNAMED_LOCK{"unnamed", LOCK_FLAGS::LEAF};
/// Locks of the kernel's own tables, which may be used anywhere.
inline constinit LockClass KERNEL_TABLE_LOCK{"kernel table", LOCK_FLAGS::INNERMOST};

enum class LOCK_USE { IO, CALLBACK };

#ifdef TALVO_LOCK_CHECK

/// The checker. Threads: any. A violation ends the process with the names of the classes involved.
struct LockOrder {
    /// Before waiting for `lock`: it is not held by this thread, and no lock of its class was ever held while one of the
    /// classes that this thread holds was taken.
    static void CheckAcquire(const void* lock, LockClass& lockClass);
    static void NoteAcquired(const void* lock, LockClass& lockClass);
    /// The thread must hold `lock`.
    static void NoteReleased(const void* lock);
};

/// Ends the process if the thread holds a lock whose class does not allow this. @param what is about to happen.
void CheckNoLockHeld(LOCK_USE use, const char* what);

#else

inline void CheckNoLockHeld(LOCK_USE, const char*) {}

#endif

}  // namespace talvo
