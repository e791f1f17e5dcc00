// The calls that change and read names: directories, renaming, deleting.
#include "kernel/base/uuid.h"
#include "kernel/io/fault_point.h"
#include "kernel/io/posix_files.h"

#include <dirent.h>
#include <linux/fs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace talvo::PosixFiles {

using detail::DoNumbered;
using detail::FaultPoint;

namespace {

/// True for what a file system says that doesn't know the flags of a rename.
Bool IsUnknownToSystem(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

int RenameRaw(FILE_OPERATION operation, const FileName& from, const FileName& to, unsigned flags) {
    return DoNumbered(operation, {from.path, to.path}, [&](const FaultPoint&) {
        return renameat2(from.directory, from.name, to.directory, to.name, flags) < 0 ? errno : 0;
    });
}

/// A file gets a second name, which never replaces one, and then loses the first; a directory, which can have one name
/// only, takes the place of an empty one made for it. Both are safe against others who do the same.
int RenameWithoutReplacing(const FileName& from, const FileName& to) {
    const Attempt<struct stat> source = Stat(from, LINKS::REFUSE);
    if (source.error != 0) return source.error;
    if (!S_ISDIR(source.value.st_mode)) {
        const int linked = DoNumbered(FILE_OPERATION::RENAME, {from.path, to.path}, [&](const FaultPoint&) {
            return linkat(from.directory, from.name, to.directory, to.name, 0) < 0 ? errno : 0;
        });
        return linked != 0 ? linked : Unlink(from);
    }
    const int made = MakeDirectory(to);
    if (made != 0) return made;
    const int renamed = RenameRaw(FILE_OPERATION::RENAME, from, to, 0);
    if (renamed != 0) RemoveDirectory(to);
    return renamed;
}

/// In three steps, by a hidden name beside the target. A stop between them leaves both, one of them under that name.
int ExchangeInSteps(const FileName& from, const FileName& to) {
    const Result<Uuid> uuid = Uuid::CreateId();
    if (uuid.IsError()) return EAGAIN;
    const std::string_view target(to.name);
    const std::size_t slash = target.rfind('/');
    const std::string_view directory = target.substr(0, slash == std::string_view::npos ? 0 : slash + 1);
    const std::string hidden = std::string(directory) + ".~" + uuid.GetValue().ToString();
    FileName aside(hidden);
    aside.directory = to.directory;
    if (const int error = RenameRaw(FILE_OPERATION::RENAME, to, aside, 0)) return error;
    if (const int error = RenameRaw(FILE_OPERATION::RENAME, from, to, 0)) {
        RenameRaw(FILE_OPERATION::RENAME, aside, to, 0);
        return error;
    }
    return RenameRaw(FILE_OPERATION::RENAME, aside, from, 0);
}

int Exchange(const FileName& from, const FileName& to) {
    const int error = RenameRaw(FILE_OPERATION::EXCHANGE, from, to, RENAME_EXCHANGE);
    if (!IsUnknownToSystem(error)) return error;
    // The same number stands for an exchange with a directory of one's own, which fails in steps too, but only half-way.
    const std::string_view first(from.path), second(to.path);
    if (first == second) return 0;
    const Bool nested = first.starts_with(std::string(second) + "/") || second.starts_with(std::string(first) + "/");
    if (nested) return EINVAL;
    const int missing = Stat(from, LINKS::REFUSE).error;
    return missing != 0 ? missing : ExchangeInSteps(from, to);
}

constexpr std::size_t LIST_BUFFER_SIZE = std::size_t(32) << 10;

void TakeEntries(const char* buffer, ssize_t size, std::vector<DirectoryEntry>& entries) {
    for (ssize_t at = 0; at < size;) {
        const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
        at += entry->d_reclen;
        const std::string_view name(entry->d_name);
        if (name != "." && name != "..") entries.push_back({std::string(name), entry->d_type});
    }
}

}  // namespace

int Rename(const FileName& from, const FileName& to, RENAME_MODE mode) {
    if (mode == RENAME_MODE::REPLACE) return RenameRaw(FILE_OPERATION::RENAME, from, to, 0);
    if (mode == RENAME_MODE::EXCHANGE) return Exchange(from, to);
    const int error = RenameRaw(FILE_OPERATION::RENAME, from, to, RENAME_NOREPLACE);
    return IsUnknownToSystem(error) ? RenameWithoutReplacing(from, to) : error;
}

int MakeDirectory(const FileName& name) {
    return DoNumbered(FILE_OPERATION::MAKE_DIRECTORY, {name.path},
                      [&](const FaultPoint&) { return mkdirat(name.directory, name.name, 0777) < 0 ? errno : 0; });
}

int Unlink(const FileName& name) {
    return DoNumbered(FILE_OPERATION::UNLINK, {name.path},
                      [&](const FaultPoint&) { return unlinkat(name.directory, name.name, 0) < 0 ? errno : 0; });
}

int RemoveDirectory(const FileName& name) {
    return DoNumbered(FILE_OPERATION::REMOVE_DIRECTORY, {name.path},
                      [&](const FaultPoint&) { return unlinkat(name.directory, name.name, AT_REMOVEDIR) < 0 ? errno : 0; });
}

Attempt<FileHandle> OpenDirectory(const FileName& name, LINKS links) {
    Attempt<FileHandle> opened;
    const int refuse = links == LINKS::REFUSE ? O_NOFOLLOW : 0;
    opened.error = DoNumbered(FILE_OPERATION::LIST, {name.path}, [&](const FaultPoint&) {
        const int descriptor = openat(name.directory, name.name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | refuse);
        if (descriptor < 0) return errno;
        opened.value = FileHandle(descriptor);
        return 0;
    });
    return opened;
}

Attempt<std::vector<DirectoryEntry>> List(const FileHandle& directory, std::string_view path) {
    Attempt<std::vector<DirectoryEntry>> list;
    list.error = DoNumbered(FILE_OPERATION::LIST, {path}, [&](const FaultPoint&) {
        // Straight from the system: a directory stream wants a descriptor of its own and asks five times about it.
        alignas(dirent64) char buffer[LIST_BUFFER_SIZE];
        for (;;) {
            const ssize_t size = getdents64(directory.GetDescriptor(), buffer, sizeof(buffer));
            if (size <= 0) return size < 0 ? errno : 0;
            TakeEntries(buffer, size, list.value);
        }
    });
    std::sort(list.value.begin(), list.value.end(),
              [](const auto& first, const auto& second) { return first.name < second.name; });
    return list;
}

int SyncDirectory(const FileName& name) {
    return DoNumbered(FILE_OPERATION::SYNC_DIRECTORY, {name.path}, [&](const FaultPoint&) {
        const int descriptor = openat(name.directory, name.name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) return errno;
        const FileHandle directory(descriptor);
        return fsync(descriptor) < 0 ? errno : 0;
    });
}

}  // namespace talvo::PosixFiles
