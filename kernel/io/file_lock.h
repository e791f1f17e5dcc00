// Locks between processes, by a file.
#pragma once

#include "kernel/io/posix_files.h"
#include "kernel/io/url.h"

namespace talvo {

struct FileLockOptions {
    /// EXISTING: errors if the file is missing; works on read-only media too. MAKE: makes an empty one.
    enum FILE_KIND { EXISTING, MAKE } file = EXISTING;
    /// How long to wait for others; then it is an error, so that nobody waits for ever.
    Int milliseconds = 10000;
};

/// Held until this object goes, or the process ends in whatever way. Advisory: it keeps out those only who ask for it, threads
/// of this process included. Survives that the file is replaced by rename: then the new one is locked.
/// Urls that are no files of the system belong to this process alone: locking them does nothing.
class FileLock {
public:
    /// Errors: IoError that names the file: it can't be opened, or another has it for too long.
    static Result<FileLock> Acquire(const Url& url, FileLockOptions options);

private:
    explicit FileLock(PosixFiles::FileHandle file) : _file(std::move(file)) {}
    PosixFiles::FileHandle _file;
};

}  // namespace talvo
