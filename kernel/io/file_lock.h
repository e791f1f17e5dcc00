// Locks between processes, by a file.
#pragma once

#include "kernel/io/posix_files.h"
#include "kernel/io/url.h"

#include <memory>

namespace talvo {

struct FileLockOptions {
    /// EXISTING: errors if the file is missing; works on read-only media too. MAKE: makes an empty one.
    enum FILE_KIND { EXISTING, MAKE } file = EXISTING;
    /// How long to wait for others; then it is an error, so that nobody waits for ever.
    Int milliseconds = 10000;
};

/// A file that is locked again and again: it stays open in between. The lock is advisory: it keeps out those only who ask for it, other
/// objects of this process included, and it goes with the process, in whatever way that ends. It survives that the file is replaced by
/// rename: then the new one is locked. Urls that are no files of the system belong to this process alone: locking them does nothing.
/// Threads: one at a time.
class LockFile {
public:
    LockFile(Url url, FileLockOptions options) : _url(std::move(url)), _options(options) {}

    /// Not again before Unlock. Errors: IoError that names the file: it can't be opened, or another has it for too long.
    Result<void> Lock();
    /// Unlocks what was locked.
    void Unlock();

private:
    const Url _url;
    const FileLockOptions _options;
    PosixFiles::FileHandle _file;
};

/// Locks a file until this object goes.
class FileLock {
public:
    /// Errors: those of LockFile.
    static Result<FileLock> Acquire(const Url& url, FileLockOptions options);

private:
    explicit FileLock(std::unique_ptr<LockFile> file) : _file(std::move(file)) {}
    std::unique_ptr<LockFile> _file;  // closing it unlocks it
};

}  // namespace talvo
