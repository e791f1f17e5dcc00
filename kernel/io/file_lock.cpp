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

Result<void> LockFile::Lock() {
    if (_url.GetScheme() != URLSCHEME_FILESYSTEM) return OK;
    const std::string path = TRY(_url.GetSystemPath());
    const auto mode = _options.file == FileLockOptions::MAKE ? PosixFiles::LOCK_FILE::MAKE : PosixFiles::LOCK_FILE::MUST_EXIST;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(_options.milliseconds);
    for (;;) {
        if (!_file.IsOpen()) {
            auto opened = PosixFiles::OpenForLock(path, mode);
            TRY(CheckFile(opened.error, "lock", path));
            _file = std::move(opened.value);
        }
        TRY(WaitForLock(_file, path, deadline));
        Result<Bool> isNamed = IsStillNamed(_file, path);
        if (isNamed.IsOk() && isNamed.GetValue()) return OK;
        _file = FileHandle();  // which unlocks it
        TRY(std::move(isNamed));
    }
}

void LockFile::Unlock() {
    if (_file.IsOpen()) PosixFiles::Unlock(_file);
}

Result<FileLock> FileLock::Acquire(const Url& url, FileLockOptions options) {
    auto file = std::make_unique<LockFile>(url, options);
    TRY(file->Lock());
    return FileLock(std::move(file));
}

}  // namespace talvo
