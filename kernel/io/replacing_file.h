// A file that is written beside its place under a hidden name and takes its place in one step.
#pragma once

#include "kernel/io/posix_files.h"

#include <string>
#include <string_view>

namespace talvo {

/// Until Publish succeeds the old file stays as it is, and the hidden one goes with this object. Where the name is a link,
/// the link is replaced, never what it points at.
/// Threads: one at a time. Ownership: of the hidden file.
class ReplacingFile {
public:
    /// @param newMode permissions where there is no file yet; else those of the old one are kept.
    /// Errors: IoError that names `path`: its folder is missing or can't be written, or it is a folder itself.
    static Result<ReplacingFile> Create(std::string path, mode_t newMode);
    ReplacingFile(ReplacingFile&& other) noexcept;
    ReplacingFile& operator=(ReplacingFile&&) = delete;
    ~ReplacingFile();

    const std::string& GetPath() const { return _path; }
    const PosixFiles::FileHandle& GetFile() const { return _file; }
    /// Errors: IoError that names the path of the file to be.
    Result<void> Write(std::string_view bytes);
    /// Syncs if DURABLE, closes, renames. Once only.
    Result<void> Publish();

private:
    ReplacingFile(std::string path, std::string hiddenPath, PosixFiles::FileHandle file)
        : _path(std::move(path)), _hiddenPath(std::move(hiddenPath)), _file(std::move(file)) {}

    std::string _path;
    std::string _hiddenPath;  // empty: nothing to remove
    PosixFiles::FileHandle _file;
};

/// The directory of a path: all before its last slash, at least "/".
std::string GetParentPath(std::string_view path);
/// A fresh hidden name, ".~" and a uuid: passed over by whoever lists files, and swept if it stays behind.
Result<std::string> MakeHiddenName();

}  // namespace talvo
