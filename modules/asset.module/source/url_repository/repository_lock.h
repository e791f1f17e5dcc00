// The lock by which several processes change one repository in turns: advisory, on `databaseid`, never taken by readers.
#pragma once

#include "kernel/io/file_lock.h"
#include "kernel/thread/locks.h"

#include <optional>
#include <utility>

namespace talvo {

/// The process's side of the lock of one repository. Changes of one process run side by side, as they always did: the first takes the
/// lock for all, the last one gives it back. Who must be alone waits for them, and they for him. On other schemes than `file` other processes
/// are not kept out.
/// Threads: any.
class RepositoryLock {
public:
    /// @param root of the repository.
    explicit RepositoryLock(const Url& root);

private:
    friend class RepositoryWriteLock;
    struct State {
        explicit State(Url url);
        Int holders = 0;
        LockFile file;
    };
    Result<void> Enter();
    void Leave();

    static LockClass lockClass;
    static LockClass turnLockClass;
    ARWLock _turns{turnLockClass};  // changes read it
    Guarded<State, ARWLock> _state;
};

/// Holds the lock while something is given its final name, or taken away.
class [[nodiscard]] RepositoryWriteLock {
public:
    /// Waits for other processes. Errors: IoError that names `databaseid`: it can't be opened, or they keep the lock for a minute.
    static Result<RepositoryWriteLock> Create(RepositoryLock& lock);
    /// The same, and no change of this process is half done, or begins, while it is held.
    static Result<RepositoryWriteLock> CreateExclusive(RepositoryLock& lock);
    RepositoryWriteLock(RepositoryWriteLock&& other) noexcept
        : _shared(std::move(other._shared)), _alone(std::move(other._alone)), _lock(std::exchange(other._lock, nullptr)) {}
    RepositoryWriteLock& operator=(RepositoryWriteLock&&) = delete;
    ~RepositoryWriteLock() { Unlock(); }

    /// Gives the lock up before the scope ends.
    void Unlock();

private:
    RepositoryWriteLock() = default;
    static Result<RepositoryWriteLock> Enter(RepositoryLock& lock, RepositoryWriteLock turn);

    std::optional<ScopedReadLock<ARWLock>> _shared;
    std::optional<ScopedWriteLock<ARWLock>> _alone;
    RepositoryLock* _lock = nullptr;
};

}  // namespace talvo
