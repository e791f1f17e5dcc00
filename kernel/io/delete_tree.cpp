#include "kernel/io/delete_tree.h"

#include "kernel/io/replacing_file.h"
#include "kernel/text/format.h"

#include <dirent.h>

#include <cerrno>
#include <vector>

namespace talvo {

using PosixFiles::DirectoryEntry;
using PosixFiles::FileHandle;
using PosixFiles::FileName;
using PosixFiles::LINKS;

namespace {

/// So many directories are open at once, at most.
constexpr Int MAX_DEPTH = 24;

Result<void> CheckDeleted(int error, std::string_view path) { return CheckFile(error == ENOENT ? 0 : error, "delete", path); }

/// One run over one directory. A directory below MAX_DEPTH is moved up to the top under a fresh hidden name and deleted from
/// there: so any depth comes down to that one.
class TreeDeleter {
public:
    TreeDeleter(FileHandle top, std::string path) : _top(std::move(top)), _path(std::move(path)) {}

    Result<void> DeleteContent() {
        TRY(DeleteContentOf(_top, _path, 0));
        while (!_movedUp.empty()) {
            const std::string name = std::move(_movedUp.back());
            _movedUp.pop_back();
            TRY(DeleteDirectory(_top, name, _path + "/" + name, 0));
        }
        return OK;
    }

private:
    Result<void> DeleteContentOf(const FileHandle& directory, const std::string& path, Int depth) {
        const auto list = PosixFiles::List(directory, path);
        TRY(CheckFile(list.error, "delete", path));
        for (const DirectoryEntry& entry : list.value) TRY(DeleteEntry(directory, entry, path + "/" + entry.name, depth));
        return OK;
    }

    Result<void> DeleteEntry(const FileHandle& directory, const DirectoryEntry& entry, const std::string& path, Int depth) {
        if (entry.type != DT_DIR) {
            const int error = PosixFiles::Unlink(FileName(directory, entry.name, path));
            // EISDIR: a directory after all, where the file system doesn't tell types.
            if (error != EISDIR && error != EPERM) return CheckDeleted(error, path);
        }
        return DeleteDirectory(directory, entry.name, path, depth + 1);
    }

    Result<void> DeleteDirectory(const FileHandle& parent, const std::string& name, const std::string& path, Int depth) {
        const FileName fileName(parent, name, path);
        if (depth >= MAX_DEPTH) return MoveUp(fileName);
        auto opened = PosixFiles::OpenDirectory(fileName, LINKS::REFUSE);
        if (opened.error == ENOTDIR || opened.error == ELOOP) return CheckDeleted(PosixFiles::Unlink(fileName), path);
        if (opened.error == ENOENT) return OK;
        TRY(CheckFile(opened.error, "delete", path));
        TRY(DeleteContentOf(opened.value, path, depth));
        return CheckDeleted(PosixFiles::RemoveDirectory(fileName), path);
    }

    Result<void> MoveUp(const FileName& fileName) {
        std::string name = TRY(MakeHiddenName());
        const std::string shown = _path + "/" + name;
        const int error = PosixFiles::Rename(fileName, FileName(_top, name, shown), RENAME_MODE::NO_REPLACE);
        if (error == 0) _movedUp.push_back(std::move(name));
        return CheckDeleted(error, fileName.path);
    }

    const FileHandle _top;
    const std::string _path;
    std::vector<std::string> _movedUp;
};

}  // namespace

Result<void> DeleteTree(const std::string& path) {
    const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
    if (name.empty() || name == "." || name == "..") {
        return IllegalArgumentError::Create(FormatMessage("Can't delete @: name the file or folder itself.", MakeUtf8(path)));
    }
    // Most often it is a file; a directory says so.
    const int unlinked = PosixFiles::Unlink(path);
    if (unlinked == 0 || unlinked == ENOENT || unlinked == ENOTDIR) return OK;
    if (unlinked != EISDIR && unlinked != EPERM) return MakeFileError("delete", path, unlinked);
    auto opened = PosixFiles::OpenDirectory(path, LINKS::REFUSE);
    if (opened.error == ENOTDIR || opened.error == ELOOP) return MakeFileError("delete", path, unlinked);
    if (opened.error == ENOENT) return OK;
    TRY(CheckFile(opened.error, "delete", path));
    TreeDeleter deleter(std::move(opened.value), path);
    TRY(deleter.DeleteContent());
    return CheckDeleted(PosixFiles::RemoveDirectory(path), path);
}

}  // namespace talvo
