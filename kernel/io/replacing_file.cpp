#include "kernel/io/replacing_file.h"

#include "kernel/base/uuid.h"
#include "kernel/io/file_system.h"

#include <cerrno>

namespace talvo {

using PosixFiles::FileHandle;
using PosixFiles::LINKS;

namespace {

constexpr mode_t OTHERS_WRITE = 0022;

/// The permissions of the file that is to be replaced; nothing where there is none.
Result<Opt<mode_t>> GetOldMode(const std::string& path) {
    const auto old = PosixFiles::Stat(path, LINKS::REFUSE);
    if (old.error == ENOENT) return Opt<mode_t>();
    TRY(CheckFile(old.error, "write", path));
    if (S_ISDIR(old.value.st_mode)) return MakeFileError("write", path, EISDIR);
    return S_ISREG(old.value.st_mode) ? Opt<mode_t>(old.value.st_mode & 0777) : Opt<mode_t>();
}

}  // namespace

std::string GetParentPath(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string_view::npos ? "/" : std::string(path.substr(0, slash));
}

Result<std::string> MakeHiddenName() {
    const Uuid uuid = TRY(Uuid::CreateId());
    return ".~" + uuid.ToString();
}

Result<ReplacingFile> ReplacingFile::Create(std::string path, mode_t newMode) {
    const Opt<mode_t> oldMode = TRY(GetOldMode(path));
    const std::string name = TRY(MakeHiddenName());
    std::string hiddenPath = path.substr(0, path.rfind('/') + 1) + name;
    auto created = PosixFiles::Create(hiddenPath, oldMode.value_or(newMode));
    TRY(CheckFile(created.error, "write", path));
    ReplacingFile file(std::move(path), std::move(hiddenPath), std::move(created.value));
    // What the process's mask takes from new files must not be taken from an old one that was opened to others on purpose.
    if (oldMode && (*oldMode & OTHERS_WRITE) != 0)
        TRY(CheckFile(PosixFiles::SetMode(file._hiddenPath, *oldMode), "write", file._path));
    return file;
}

ReplacingFile::ReplacingFile(ReplacingFile&& other) noexcept
    : _path(std::move(other._path)), _hiddenPath(std::exchange(other._hiddenPath, {})), _file(std::move(other._file)) {}

ReplacingFile::~ReplacingFile() {
    // A failure leaves a hidden file, which harms nobody and is swept later.
    if (!_hiddenPath.empty()) PosixFiles::Unlink(_hiddenPath);
}

Result<void> ReplacingFile::Write(std::string_view bytes) {
    return CheckFile(PosixFiles::Write(_file, bytes, _hiddenPath), "write", _path);
}

Result<void> ReplacingFile::Publish() {
    const Bool durable = GetDurability() == DURABILITY::DURABLE;
    // The bytes first: a name that points at bytes not yet on disk would be an empty file after a loss of power.
    if (durable) TRY(CheckFile(PosixFiles::Sync(_file, _hiddenPath), "write", _path));
    TRY(CheckFile(PosixFiles::Close(_file, _hiddenPath), "write", _path));
    TRY(CheckFile(PosixFiles::Rename(_hiddenPath, _path, RENAME_MODE::REPLACE), "write", _path));
    _hiddenPath.clear();
    if (durable) {
        const std::string parent = GetParentPath(_path);
        TRY(CheckFile(PosixFiles::SyncDirectory(parent), "sync", parent));
    }
    return OK;
}

}  // namespace talvo
