#include "kernel/io/posix_files.h"

#include "kernel/io/fault_point.h"

#include <sys/file.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace talvo::PosixFiles {

using detail::DoNumbered;
using detail::FaultPoint;

namespace {

constexpr std::size_t MAX_TRANSFER = std::size_t(1) << 30;

/// A call again for as long as signals break it off. Gives -1 and errno like the call.
template <typename CALL>
auto Repeat(CALL&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
}

template <typename CALL>
int ErrorOf(CALL&& call) {
    return Repeat(call) < 0 ? errno : 0;
}

int OpenRaw(const FileName& name, int flags, mode_t mode, FileHandle& file) {
    const int descriptor = Repeat([&] { return openat(name.directory, name.name, flags | O_CLOEXEC | O_NOCTTY, mode); });
    if (descriptor < 0) return errno == ENXIO ? NOT_A_FILE : errno;  // ENXIO: a socket, or a fifo that nobody reads
    file = FileHandle(descriptor);
    return 0;
}

int CheckRegular(const FileHandle& file, struct stat& status) {
    if (fstat(file.GetDescriptor(), &status) < 0) return errno;
    if (S_ISREG(status.st_mode)) return 0;
    return S_ISDIR(status.st_mode) ? EISDIR : NOT_A_FILE;
}

/// Opening a fifo or device waits, unless asked not to; what was opened is looked at afterwards, so that nobody can
/// change it in between.
Attempt<FileHandle> OpenRegular(FILE_OPERATION operation, const FileName& name, int flags, struct stat& status) {
    Attempt<FileHandle> opened;
    opened.error = DoNumbered(operation, {name.path}, [&](const FaultPoint&) {
        const int error = OpenRaw(name, flags | O_NONBLOCK, 0666, opened.value);
        return error != 0 ? error : CheckRegular(opened.value, status);
    });
    return opened;
}

Attempt<FileHandle> OpenRegular(FILE_OPERATION operation, const FileName& name, int flags) {
    struct stat unusedStatus;
    return OpenRegular(operation, name, flags, unusedStatus);
}

}  // namespace

FileHandle::~FileHandle() {
    if (_descriptor >= 0) close(_descriptor);
}

FileMapping::~FileMapping() {
    if (!_bytes.empty()) munmap(const_cast<char*>(_bytes.data()), _bytes.size());
}

Attempt<FileHandle> OpenRead(const FileName& name) { return OpenRegular(FILE_OPERATION::OPEN_READ, name, O_RDONLY); }

Attempt<FileHandle> OpenRead(const FileName& name, struct stat& status) { return OpenRead(name, LINKS::FOLLOW, status); }

Attempt<FileHandle> OpenRead(const FileName& name, LINKS links, struct stat& status) {
    const int refuse = links == LINKS::REFUSE ? O_NOFOLLOW : 0;
    return OpenRegular(FILE_OPERATION::OPEN_READ, name, O_RDONLY | refuse, status);
}

Attempt<FileHandle> OpenWrite(const FileName& name, WRITE_START start) {
    const int append = start == WRITE_START::AT_END ? O_APPEND : 0;
    struct stat status;
    Attempt<FileHandle> opened = OpenRegular(FILE_OPERATION::OPEN_WRITE, name, O_WRONLY | O_CREAT | append, status);
    if (opened.error == 0 && start == WRITE_START::EMPTY && status.st_size > 0) {
        // Not by O_TRUNC: only now is it sure to be a file. Not for an empty one: file systems take that for a replacement, and write such a
        // file to the disk when it is closed.
        opened.error = DoNumbered(FILE_OPERATION::TRUNCATE, {name.path}, [&](const FaultPoint&) {
            return ErrorOf([&] { return ftruncate(opened.value.GetDescriptor(), 0); });
        });
    }
    return opened;
}

Attempt<FileHandle> Create(const FileName& name, mode_t mode) {
    Attempt<FileHandle> opened;
    opened.error = DoNumbered(FILE_OPERATION::CREATE, {name.path}, [&](const FaultPoint&) {
        return OpenRaw(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode, opened.value);
    });
    return opened;
}

int Close(FileHandle& file, std::string_view path) {
    // A descriptor is gone after its closing failed, too.
    FileHandle stillOpen(file.Detach());
    return DoNumbered(FILE_OPERATION::CLOSE, {path}, [&](const FaultPoint&) {
        // Not again after EINTR: the descriptor may be another's by now.
        return close(stillOpen.Detach()) < 0 && errno != EINTR ? errno : 0;
    });
}

Attempt<Int64> ReadAt(const FileHandle& file, Block<char> buffer, Int64 position, std::string_view path) {
    Attempt<Int64> read;
    while (std::size_t(read.value) < buffer.size()) {
        const Block<char> rest = buffer.subspan(std::size_t(read.value));
        ssize_t count = 0;
        read.error = DoNumbered(FILE_OPERATION::READ, {path}, [&](const FaultPoint& point) {
            const std::size_t wanted = point.Shorten(std::min(rest.size(), MAX_TRANSFER));
            count = Repeat([&] { return pread(file.GetDescriptor(), rest.data(), wanted, position + read.value); });
            return count < 0 ? errno : 0;
        });
        if (read.error != 0 || count == 0) break;
        read.value += count;
    }
    return read;
}

Attempt<FileMapping> Map(const FileHandle& file, Int64 size, std::string_view path) {
    Attempt<FileMapping> mapped;
    mapped.error = DoNumbered(FILE_OPERATION::READ, {path}, [&](const FaultPoint&) {
        if (size == 0) return 0;  // the system maps no nothing
        // No hint: reading ahead and filling the tables at once were slower by a third or no faster, whatever was read of it.
        void* const bytes = mmap(nullptr, std::size_t(size), PROT_READ, MAP_PRIVATE, file.GetDescriptor(), 0);
        if (bytes == MAP_FAILED) return errno;
        mapped.value = FileMapping({static_cast<const char*>(bytes), std::size_t(size)});
        return 0;
    });
    return mapped;
}

int Write(const FileHandle& file, std::string_view bytes, std::string_view path) {
    while (!bytes.empty()) {
        ssize_t count = 0;
        const detail::FaultSubject subject{path, {}, bytes.substr(0, MAX_TRANSFER)};
        const int error = DoNumbered(FILE_OPERATION::WRITE, subject, [&](const FaultPoint& point) {
            const std::size_t wanted = point.Shorten(subject.bytes.size());
            count = Repeat([&] { return write(file.GetDescriptor(), bytes.data(), wanted); });
            if (count == 0) return EIO;
            return count < 0 ? errno : 0;
        });
        if (error != 0) return error;
        bytes.remove_prefix(std::size_t(count));
    }
    return 0;
}

Attempt<Int64> CopyRange(const FileHandle& source, Int64 position, const FileHandle& target, Int64 count, std::string_view path) {
    Attempt<Int64> copied;
    copied.error = DoNumbered(FILE_OPERATION::WRITE, {path}, [&](const FaultPoint& point) {
        const std::size_t wanted = point.Shorten(std::min(std::size_t(count), MAX_TRANSFER));
        off_t offset = position;
        copied.value =
            Repeat([&] { return copy_file_range(source.GetDescriptor(), &offset, target.GetDescriptor(), nullptr, wanted, 0); });
        return copied.value < 0 ? errno : 0;
    });
    return copied;
}

int Sync(const FileHandle& file, std::string_view path) {
    return DoNumbered(FILE_OPERATION::SYNC, {path},
                      [&](const FaultPoint&) { return ErrorOf([&] { return fsync(file.GetDescriptor()); }); });
}

int SyncFileSystem(const FileName& name) {
    return DoNumbered(FILE_OPERATION::SYNC, {name.path}, [&](const FaultPoint&) {
        FileHandle file;
        const int error = OpenRaw(name, O_RDONLY | O_NONBLOCK, 0, file);
        return error != 0 ? error : ErrorOf([&] { return syncfs(file.GetDescriptor()); });
    });
}

Attempt<struct stat> Stat(const FileName& name, LINKS links) {
    Attempt<struct stat> status;
    const int flags = links == LINKS::FOLLOW ? 0 : AT_SYMLINK_NOFOLLOW;
    status.error = DoNumbered(FILE_OPERATION::STAT, {name.path}, [&](const FaultPoint&) {
        return ErrorOf([&] { return fstatat(name.directory, name.name, &status.value, flags); });
    });
    return status;
}

Attempt<struct stat> StatOpen(const FileHandle& file, std::string_view path) {
    Attempt<struct stat> status;
    status.error = DoNumbered(FILE_OPERATION::STAT, {path}, [&](const FaultPoint&) {
        return ErrorOf([&] { return fstat(file.GetDescriptor(), &status.value); });
    });
    return status;
}

int CheckUnchanged(const FileHandle& file, const struct stat& before, std::string_view path) {
    const Attempt<struct stat> now = StatOpen(file, path);
    if (now.error != 0) return now.error;
    if (now.value.st_size < before.st_size) return BECAME_SHORTER;
    const Bool isSame = now.value.st_size == before.st_size && now.value.st_mtim.tv_sec == before.st_mtim.tv_sec &&
                        now.value.st_mtim.tv_nsec == before.st_mtim.tv_nsec;
    return isSame ? 0 : CHANGED;
}

int SetMode(const FileName& name, mode_t mode) {
    return DoNumbered(FILE_OPERATION::SET_ATTRIBUTES, {name.path},
                      [&](const FaultPoint&) { return ErrorOf([&] { return fchmodat(name.directory, name.name, mode, 0); }); });
}

Attempt<Bool> IsOnReadOnlySystem(const FileName& name) {
    Attempt<Bool> readOnly;
    readOnly.error = DoNumbered(FILE_OPERATION::STAT, {name.path}, [&](const FaultPoint&) {
        struct statvfs system;
        const int error = ErrorOf([&] { return statvfs(name.name, &system); });
        readOnly.value = error == 0 && (system.f_flag & ST_RDONLY) != 0;
        return error;
    });
    return readOnly;
}

int CheckChangeable(const FileName& directory) {
    return DoNumbered(FILE_OPERATION::STAT, {directory.path}, [&](const FaultPoint&) {
        return ErrorOf([&] { return faccessat(directory.directory, directory.name, W_OK | X_OK, AT_EACCESS); });
    });
}

Attempt<FileHandle> OpenForLock(const FileName& name, LOCK_FILE mode) {
    // Reading is enough to lock, and works where writing is forbidden.
    const int flags = mode == LOCK_FILE::MAKE ? O_RDWR | O_CREAT : O_RDONLY;
    return OpenRegular(FILE_OPERATION::LOCK, name, flags);
}

void Unlock(const FileHandle& file) { flock(file.GetDescriptor(), LOCK_UN); }

int TryLock(const FileHandle& file, std::string_view path) {
    return DoNumbered(FILE_OPERATION::LOCK, {path},
                      [&](const FaultPoint&) { return ErrorOf([&] { return flock(file.GetDescriptor(), LOCK_EX | LOCK_NB); }); });
}

}  // namespace talvo::PosixFiles
