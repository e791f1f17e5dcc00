#include "url_repository/repository_lock.h"

#include "url_repository/database_id.h"

namespace talvo {

namespace {

constexpr FileLockOptions LOCK_OPTIONS{.file = FileLockOptions::EXISTING, .milliseconds = 60000};

}  // namespace

LockClass RepositoryLock::lockClass{"lock between processes", LOCK_FLAGS::IO};
LockClass RepositoryLock::turnLockClass{"changes of a repository", LOCK_FLAGS::IO};

RepositoryLock::State::State(Url url) : file(std::move(url), LOCK_OPTIONS) {}

RepositoryLock::RepositoryLock(const Url& root) : _state(lockClass, root + REPOSITORY_IDENTIFIER_FILE) {}

// The others wait here while the first waits for another process: none of them could go on anyway.
Result<void> RepositoryLock::Enter() {
    auto state = _state.Write();
    if (state->holders == 0) TRY(state->file.Lock());
    ++state->holders;
    return OK;
}

void RepositoryLock::Leave() {
    auto state = _state.Write();
    if (--state->holders == 0) state->file.Unlock();
}

Result<RepositoryWriteLock> RepositoryWriteLock::Create(RepositoryLock& lock) {
    RepositoryWriteLock turn;
    turn._shared.emplace(lock._turns);
    return Enter(lock, std::move(turn));
}

Result<RepositoryWriteLock> RepositoryWriteLock::CreateExclusive(RepositoryLock& lock) {
    RepositoryWriteLock turn;
    turn._alone.emplace(lock._turns);
    return Enter(lock, std::move(turn));
}

Result<RepositoryWriteLock> RepositoryWriteLock::Enter(RepositoryLock& lock, RepositoryWriteLock turn) {
    TRY(lock.Enter());
    turn._lock = &lock;
    return turn;
}

void RepositoryWriteLock::Unlock() {
    if (_lock) std::exchange(_lock, nullptr)->Leave();
    _shared.reset();
    _alone.reset();
}

}  // namespace talvo
