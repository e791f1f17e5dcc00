// The lock by which several processes change one repository in turns: advisory, on `databaseid`, never taken by readers.
#pragma once

#include "kernel/io/file_lock.h"
#include "kernel/thread/locks.h"

#include <utility>

namespace talvo {

/// The process's side of the lock of one repository. Changes of one process run side by side, as they always did: the first takes the
/// lock for all, the last one gives it back. On other schemes than `file` it does nothing.
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
    Guarded<State, ARWLock> _state;
};

/// Holds the lock while something is given its final name, or taken away.
class [[nodiscard]] RepositoryWriteLock {
public:
    /// Waits for other processes. Errors: IoError that names `databaseid`: it can't be opened, or they keep the lock for a minute.
    static Result<RepositoryWriteLock> Create(RepositoryLock& lock);
    RepositoryWriteLock(RepositoryWriteLock&& other) noexcept : _lock(std::exchange(other._lock, nullptr)) {}
    RepositoryWriteLock& operator=(RepositoryWriteLock&&) = delete;
    ~RepositoryWriteLock() { Unlock(); }

    /// Gives the lock up before the scope ends.
    void Unlock();

private:
    explicit RepositoryWriteLock(RepositoryLock& lock) : _lock(&lock) {}
    RepositoryLock* _lock;
};

}  // namespace talvo
