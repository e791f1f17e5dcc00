#include "kernel/io/file_lock.h"

#include "kernel/io/connection.h"
#include "kernel/text/format.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace talvo {

using PosixFiles::FileHandle;

namespace {

using Clock = std::chrono::steady_clock;

/// Asks again and again, less and less often: a lock that is waited for by the system can't be given up.
Result<void> WaitForLock(const FileHandle& file, const std::string& path, Clock::time_point deadline) {
    auto pause = std::chrono::microseconds(200);
    for (;;) {
        const int error = PosixFiles::TryLock(file, path);
        if (error != EWOULDBLOCK) return CheckFile(error, "lock", path);
        if (Clock::now() >= deadline) {
            return IoError::Create(FormatMessage(
                "Can't lock @: Another process holds it. Wait until that is done, then try again.", MakeUtf8(path)));
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::microseconds(20000));
    }
}

/// False if the name meanwhile means another file than the locked one.
Result<Bool> IsStillNamed(const FileHandle& file, const std::string& path) {
    const auto locked = PosixFiles::StatOpen(file, path);
    TRY(CheckFile(locked.error, "lock", path));
    const auto named = PosixFiles::Stat(path, PosixFiles::LINKS::FOLLOW);
    if (named.error == ENOENT) return false;
    TRY(CheckFile(named.error, "lock", path));
    return locked.value.st_ino == named.value.st_ino && locked.value.st_dev == named.value.st_dev;
}

}  // namespace

Result<FileLock> FileLock::Acquire(const Url& url, FileLockOptions options) {
    if (url.GetScheme() != URLSCHEME_FILESYSTEM) return FileLock(FileHandle());
    const std::string path = TRY(url.GetSystemPath());
    const auto mode = options.file == FileLockOptions::MAKE ? PosixFiles::LOCK_FILE::MAKE : PosixFiles::LOCK_FILE::MUST_EXIST;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(options.milliseconds);
    for (;;) {
        auto opened = PosixFiles::OpenForLock(path, mode);
        TRY(CheckFile(opened.error, "lock", path));
        TRY(WaitForLock(opened.value, path, deadline));
        const Bool isNamed = TRY(IsStillNamed(opened.value, path));
        if (isNamed) return FileLock(std::move(opened.value));
    }
}

}  // namespace talvo
