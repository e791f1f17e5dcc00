// The calls of the system that touch files, each numbered as one operation. Nothing else in the tree makes such calls.
// They report error numbers, 0 for success: what was being tried, in people's words, only the caller knows.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/types.h"
#include "kernel/io/file_errors.h"
#include "kernel/io/url.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace talvo::PosixFiles {

/// An open file or directory; closed with this object.
class FileHandle {
public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) : _descriptor(descriptor) {}
    FileHandle(FileHandle&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept {
        std::swap(_descriptor, other._descriptor);
        return *this;
    }
    /// Without a word of errors: what was written was closed by Close before.
    ~FileHandle();

    Bool IsOpen() const { return _descriptor >= 0; }
    int GetDescriptor() const { return _descriptor; }
    int Detach() { return std::exchange(_descriptor, -1); }

private:
    int _descriptor = -1;
};

/// Bytes of a file, seen in place; the file itself may be closed. Given back with this object.
class FileMapping {
public:
    FileMapping() = default;
    explicit FileMapping(std::string_view bytes) : _bytes(bytes) {}
    FileMapping(FileMapping&& other) noexcept : _bytes(std::exchange(other._bytes, {})) {}
    FileMapping& operator=(FileMapping&& other) noexcept {
        std::swap(_bytes, other._bytes);
        return *this;
    }
    ~FileMapping();

    std::string_view GetBytes() const { return _bytes; }

private:
    std::string_view _bytes;
};

/// The name of a file: a path, or a component below an open directory. Keeps views of what it is made from.
struct FileName {
    FileName(const std::string& path) : name(path.c_str()), path(path) {}
    /// @param shown the whole path, for scopes and traces.
    FileName(const FileHandle& directory, const std::string& component, std::string_view shown)
        : directory(directory.GetDescriptor()), name(component.c_str()), path(shown) {}

    int directory = AT_FDCWD;
    const char* name;
    std::string_view path;
};

/// A value, if `error` is 0.
template <typename T>
struct Attempt {
    int error = 0;
    T value{};
};

struct DirectoryEntry {
    std::string name;
    UChar type = 0;  ///< DT_...; DT_UNKNOWN where the file system doesn't tell
};

enum class LINKS { FOLLOW, REFUSE };
enum class WRITE_START { EMPTY, AT_END };

// Opening. A fifo, socket or device never keeps one waiting: it is NOT_A_FILE.

/// EISDIR for a directory.
Attempt<FileHandle> OpenRead(const FileName& name);
/// @param status of the file as it was opened.
Attempt<FileHandle> OpenRead(const FileName& name, struct stat& status);
/// With LINKS::REFUSE: ELOOP if the name is a link's.
Attempt<FileHandle> OpenRead(const FileName& name, LINKS links, struct stat& status);
/// Follows links, makes the file if it is missing.
Attempt<FileHandle> OpenWrite(const FileName& name, WRITE_START start);
/// EEXIST if anything is there, a link included.
Attempt<FileHandle> Create(const FileName& name, mode_t mode);
Attempt<FileHandle> OpenDirectory(const FileName& name, LINKS links);
int Close(FileHandle& file, std::string_view path);

// Bytes.

/// Fills `buffer` unless the file ends before. @return how many bytes.
Attempt<Int64> ReadAt(const FileHandle& file, Block<char> buffer, Int64 position, std::string_view path);
/// The first `size` bytes of the file, which are there to be seen until the mapping goes.
Attempt<FileMapping> Map(const FileHandle& file, Int64 size, std::string_view path);
int Write(const FileHandle& file, std::string_view bytes, std::string_view path);
/// Copies within the system from `position` of `source` to the place where `target` stands. @return how many bytes, at most
/// `count`; 0 at the end. EXDEV, EINVAL, ENOSYS, EOPNOTSUPP, EPERM: it can't be done this way.
Attempt<Int64> CopyRange(const FileHandle& source, Int64 position, const FileHandle& target, Int64 count, std::string_view path);
int Sync(const FileHandle& file, std::string_view path);
/// All that was written to the file system that `name` lies on.
int SyncFileSystem(const FileName& name);
/// The names in the directory.
int SyncDirectory(const FileName& name);

// Names.

int Rename(const FileName& from, const FileName& to, RENAME_MODE mode);
/// EEXIST if anything is there.
int MakeDirectory(const FileName& name);
int Unlink(const FileName& name);
int RemoveDirectory(const FileName& name);
/// Sorted by name bytes, without "." and "..". Once for an open directory.
Attempt<std::vector<DirectoryEntry>> List(const FileHandle& directory, std::string_view path);

// Attributes.

Attempt<struct stat> Stat(const FileName& name, LINKS links);
Attempt<struct stat> StatOpen(const FileHandle& file, std::string_view path);
/// CHANGED if the open file is not as `before` any more: another length, or written to since, as its time tells. A file that
/// was replaced under its name is still the one that was opened.
int CheckUnchanged(const FileHandle& file, const struct stat& before, std::string_view path);
int SetMode(const FileName& name, mode_t mode);
Attempt<Bool> IsOnReadOnlySystem(const FileName& name);
/// Whether this process may make and remove names in a directory: EACCES, EROFS and the like if not.
int CheckChangeable(const FileName& directory);

// Locks, advisory, of the whole file; gone when it is unlocked or closed.

enum class LOCK_FILE { MUST_EXIST, MAKE };
Attempt<FileHandle> OpenForLock(const FileName& name, LOCK_FILE mode);
/// EWOULDBLOCK if another has it.
int TryLock(const FileHandle& file, std::string_view path);
/// Can't fail, so it is no operation that is numbered.
void Unlock(const FileHandle& file);

}  // namespace talvo::PosixFiles
