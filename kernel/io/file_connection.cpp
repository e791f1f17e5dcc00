#include "kernel/io/file_connection.h"

#include "kernel/io/copy_file.h"
#include "kernel/io/delete_tree.h"
#include "kernel/io/file_handler.h"
#include "kernel/io/file_streams.h"
#include "kernel/io/posix_files.h"
#include "kernel/io/replacing_file.h"
#include "kernel/text/format.h"

#include <dirent.h>

#include <cerrno>

namespace talvo {

using PosixFiles::DirectoryEntry;
using PosixFiles::FileHandle;
using PosixFiles::FileName;
using PosixFiles::LINKS;

namespace {

constexpr UInt READ_ONLY = 1;
constexpr mode_t WRITE_BITS = 0222;
constexpr mode_t OWNER_WRITE = 0200;

IO_DETECT GetKind(const struct stat& status) {
    if (S_ISREG(status.st_mode)) return IO_DETECT::FILE;
    return S_ISDIR(status.st_mode) ? IO_DETECT::DIRECTORY : IO_DETECT::OTHER;
}

/// What a name means. Looking at the name itself first tells in one call what is not there, as what is no link.
IO_DETECT Detect(const FileName& name) {
    const auto own = PosixFiles::Stat(name, LINKS::REFUSE);
    if (own.error != 0) return own.error == ENOENT || own.error == ENOTDIR ? IO_DETECT::NOT_THERE : IO_DETECT::FAILED;
    if (!S_ISLNK(own.value.st_mode)) return GetKind(own.value);
    const auto target = PosixFiles::Stat(name, LINKS::FOLLOW);
    if (target.error == 0) return GetKind(target.value);
    const Bool dangles = target.error == ENOENT || target.error == ENOTDIR || target.error == ELOOP;
    return dangles ? IO_DETECT::OTHER : IO_DETECT::FAILED;
}

/// Fills in kind and size; links are told as what they point at. @return false if it is not there any more.
Bool Complete(const FileName& name, IoEntry& entry) {
    const auto status = PosixFiles::Stat(name, LINKS::FOLLOW);
    entry.kind = status.error == 0 ? GetKind(status.value) : Detect(name);
    if (entry.kind == IO_DETECT::FILE && status.error == 0) entry.size = status.value.st_size;
    return entry.kind != IO_DETECT::NOT_THERE;
}

/// For file systems that don't tell while listing.
Bool IsLink(const FileName& name) {
    const auto own = PosixFiles::Stat(name, LINKS::REFUSE);
    return own.error == 0 && S_ISLNK(own.value.st_mode);
}

/// The kind that listing told, or FAILED where one must look.
IO_DETECT GetListedKind(UChar type) {
    switch (type) {
        case DT_REG: return IO_DETECT::FILE;
        case DT_DIR: return IO_DETECT::DIRECTORY;
        case DT_FIFO:
        case DT_SOCK:
        case DT_BLK:
        case DT_CHR: return IO_DETECT::OTHER;
        default: return IO_DETECT::FAILED;
    }
}

/// Makes one directory after the other from the top of what is missing.
Result<void> MakeDirectories(const std::string& path) {
    int error = PosixFiles::MakeDirectory(path);
    if (error == ENOENT) {
        for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            const std::string parent = path.substr(0, slash);
            const int made = PosixFiles::MakeDirectory(parent);
            // What can't be made may be there all the same, or matter not: making what lies below tells.
            if (made != 0 && made != EEXIST && made != EACCES && made != EROFS && made != EPERM)
                return MakeFileError("make the folder", parent, made);
        }
        error = PosixFiles::MakeDirectory(path);
    }
    if (error == 0) return OK;
    const auto existing = PosixFiles::Stat(path, LINKS::FOLLOW);
    if (existing.error == 0 && S_ISDIR(existing.value.st_mode)) return OK;
    return MakeFileError("make the folder", path, error);
}

class FileHandler final : public IoHandler {
public:
    Id GetUrlScheme() const override { return URLSCHEME_FILESYSTEM; }
    Result<IoConnectionRef> OpenConnection(const Url& url) override {
        std::string path = TRY(url.GetSystemPath());
        return IoConnectionRef(new FileConnection(url, std::move(path)));
    }
};

}  // namespace

IoHandlerRef CreateFileHandler() { return IoHandlerRef(new FileHandler); }

Result<BaseArray<IoEntry>> FileConnection::Browse(BROWSE_MODE mode) {
    const auto directory = PosixFiles::OpenDirectory(_path, LINKS::FOLLOW);
    TRY(CheckFile(directory.error, "list", _path));
    auto list = PosixFiles::List(directory.value, _path);
    TRY(CheckFile(list.error, "list", _path));
    BaseArray<IoEntry> entries;
    TRY(entries.EnsureCapacity(Int(list.value.size())));
    for (DirectoryEntry& listed : list.value) {
        IoEntry entry{{}, GetListedKind(listed.type), -1, listed.type == DT_LNK};
        const Bool wantsSize = mode == BROWSE_MODE::NAMES_AND_SIZES && entry.kind == IO_DETECT::FILE;
        if (wantsSize || entry.kind == IO_DETECT::FAILED) {
            const std::string shown = _path + "/" + listed.name;
            const FileName name(directory.value, listed.name, shown);
            if (listed.type == DT_UNKNOWN) entry.isLink = IsLink(name);
            if (!Complete(name, entry)) continue;
        }
        entry.name = std::move(listed.name);
        TRY(entries.Append(std::move(entry)));
    }
    return entries;
}

Result<InputStreamRef> FileConnection::OpenInputStream() { return OpenFileInputStream(_path); }

Result<OutputStreamRef> FileConnection::OpenOutputStream(OUTPUT_MODE mode) { return OpenFileOutputStream(_path, mode); }

Result<Int64> FileConnection::GetContentLength() {
    const auto status = PosixFiles::Stat(_path, LINKS::FOLLOW);
    TRY(CheckFile(status.error, "tell the length of", _path));
    const IO_DETECT kind = GetKind(status.value);
    if (kind != IO_DETECT::FILE)
        return MakeFileError("tell the length of", _path, kind == IO_DETECT::DIRECTORY ? EISDIR : NOT_A_FILE);
    return Int64(status.value.st_size);
}

IO_DETECT FileConnection::IoDetect() { return Detect(_path); }

Result<Bool> FileConnection::IoIsLink() {
    const auto status = PosixFiles::Stat(_path, LINKS::REFUSE);
    TRY(CheckFile(status.error, "look at", _path));
    return Bool(S_ISLNK(status.value.st_mode));
}

Result<UInt> FileConnection::IoGetAttributes() {
    const auto status = PosixFiles::Stat(_path, LINKS::FOLLOW);
    TRY(CheckFile(status.error, "look at", _path));
    if ((status.value.st_mode & WRITE_BITS) == 0) return READ_ONLY;
    const auto readOnly = PosixFiles::IsOnReadOnlySystem(_path);
    TRY(CheckFile(readOnly.error, "look at", _path));
    return readOnly.value ? READ_ONLY : UInt(0);
}

Result<void> FileConnection::IoSetAttributes(UInt flags, UInt mask) {
    if ((mask & READ_ONLY) == 0) return OK;
    const auto status = PosixFiles::Stat(_path, LINKS::FOLLOW);
    TRY(CheckFile(status.error, "change the permissions of", _path));
    const mode_t old = status.value.st_mode & 07777;
    const mode_t mode = (flags & READ_ONLY) != 0 ? old & ~WRITE_BITS : old | OWNER_WRITE;
    return mode == old ? Result<void>() : CheckFile(PosixFiles::SetMode(_path, mode), "change the permissions of", _path);
}

Result<UniversalDateTime> FileConnection::IoGetTime() {
    const auto status = PosixFiles::Stat(_path, LINKS::FOLLOW);
    TRY(CheckFile(status.error, "tell the time of", _path));
    return UniversalDateTime(Int64(status.value.st_mtim.tv_sec) * 1000000 + status.value.st_mtim.tv_nsec / 1000);
}

Result<void> FileConnection::IoDelete() { return DeleteTree(_path); }

Result<void> FileConnection::IoCreateDirectory() { return MakeDirectories(_path); }

Result<Bool> FileConnection::IoCreateDirectoryExclusive() {
    const int error = PosixFiles::MakeDirectory(_path);
    if (error == EEXIST) return false;
    TRY(CheckFile(error, "make the folder", _path));
    return true;
}

Result<void> FileConnection::IoCopyFile(const Url& target) {
    if (target.GetScheme() != URLSCHEME_FILESYSTEM) return IoConnection::IoCopyFile(target);
    const std::string targetPath = TRY(target.GetSystemPath());
    return CopySystemFile(_path, targetPath);
}

Result<void> FileConnection::IoRename(const Url& target, RENAME_MODE mode) {
    if (target.GetScheme() != URLSCHEME_FILESYSTEM) {
        return UnsupportedArgumentError::Create(
            FormatMessage("Can't rename @ to @: both must be files of the system. Copy it instead.", _url, target));
    }
    const std::string targetPath = TRY(target.GetSystemPath());
    if (const int error = PosixFiles::Rename(_path, targetPath, mode)) return MakeFileError("rename", _path, targetPath, error);
    return OK;
}

Result<void> FileConnection::IoSync() {
    const auto opened = PosixFiles::OpenRead(_path);
    if (opened.error == EISDIR) return CheckFile(PosixFiles::SyncDirectory(_path), "sync", _path);
    TRY(CheckFile(opened.error, "sync", _path));
    return CheckFile(PosixFiles::Sync(opened.value, _path), "sync", _path);
}

}  // namespace talvo
