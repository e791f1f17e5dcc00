// The highest version number of a repository, and the file `version` that keeps it.
#pragma once

#include "kernel/thread/locks.h"
#include "url_repository/index_directory.h"
#include "url_repository/repository_lock.h"

namespace talvo {

/// Threads:    any.
/// Lock order: below the store lock and the versions of an asset; the file is written under it, then the lock between processes and that of the index
///             are taken.
class VersionCounter {
public:
    VersionCounter(const Url& root, RepositoryLock& lock, IndexDirectory& index)
        : _root(root), _file(root + "version"), _lock(lock), _index(index) {}

    const Url& GetFile() const { return _file; }
    /// Takes the number from the file; a missing file and any text that is no number count as 0. @return what the file says.
    VersionFileState Load();
    /// The highest number given out or seen.
    UInt GetValue() const;
    /// A version of this number was seen; nothing is written.
    void Raise(UInt number);
    /// The next number; the file holds it when this returns. Errors: IoError, IllegalStateError if there is no greater number.
    Result<UInt> GetNext();
    /// Raises the number to at least `number`. The file is written if that changes it, and at first use.
    Result<void> Update(UInt number);

private:
    struct State {
        UInt value = 0;
        Bool written = false;  // the file is known to hold at least `value`
    };
    /// Writes the highest number known anywhere, at least `minimum`, plus `step`.
    Result<void> Write(State& state, UInt minimum, UInt step);

    const Url _root;
    const Url _file;
    RepositoryLock& _lock;
    IndexDirectory& _index;
    static LockClass lockClass;
    Guarded<State, ARWLock> _state{lockClass};
};

/// The number on the first line of a file `version`; nothing for any other text.
Opt<UInt> FindVersionCounter(std::string_view text);

}  // namespace talvo
