#include "kernel/io/copy_file.h"

#include "kernel/io/fault_point.h"
#include "kernel/io/replacing_file.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <string>

namespace talvo {

using PosixFiles::FileHandle;

namespace {

constexpr Int64 BLOCK_SIZE = Int64(256) << 10;

Bool CanNotCopyRange(int error) {
    return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM || error == EBADF;
}

/// Lets the system copy, which may share blocks instead. @return how many bytes; fewer where it can't.
Result<Int64> CopyInside(const FileHandle& source, const ReplacingFile& target, Int64 length) {
    Int64 done = 0;
    while (done < length) {
        const auto copied = PosixFiles::CopyRange(source, done, target.GetFile(), length - done, target.GetPath());
        if (CanNotCopyRange(copied.error)) break;
        TRY(CheckFile(copied.error, "write", target.GetPath()));
        if (copied.value == 0) break;
        done += copied.value;
    }
    return done;
}

/// Copies from `position` to `end` through memory. @return where it stopped.
Result<Int64> CopyThrough(const FileHandle& source, const std::string& sourcePath, ReplacingFile& target, Int64 position,
                          Int64 end) {
    std::string buffer;
    while (position < end) {
        buffer.resize(std::size_t(std::min(end - position, BLOCK_SIZE)));
        const auto read = PosixFiles::ReadAt(source, Block<char>(buffer.data(), buffer.size()), position, sourcePath);
        TRY(CheckFile(read.error, "read", sourcePath));
        TRY(target.Write(std::string_view(buffer).substr(0, std::size_t(read.value))));
        position += read.value;
        if (read.value < Int64(buffer.size())) break;
    }
    return position;
}

}  // namespace

Result<void> CopySystemFile(const std::string& source, const std::string& target) {
    const auto opened = PosixFiles::OpenRead(source);
    TRY(CheckFile(opened.error, "read", source));
    const auto status = PosixFiles::StatOpen(opened.value, source);
    TRY(CheckFile(status.error, "read", source));
    const Int64 length = status.value.st_size;
    ReplacingFile file = TRY(ReplacingFile::Create(target, 0666 | (status.value.st_mode & 0111)));

    Int64 done = 0;
    if (!detail::IsFaultTraceOn()) done = TRY(CopyInside(opened.value, file, length));
    // Files of the system's own that tell no length have an end all the same.
    const Int64 end = length > 0 ? length : std::numeric_limits<Int64>::max();
    done = TRY(CopyThrough(opened.value, source, file, done, end));
    if (done < length) return MakeFileError("read", source, BECAME_SHORTER);
    TRY(CheckFile(PosixFiles::CheckUnchanged(opened.value, status.value, source), "read", source));
    return file.Publish();
}

}  // namespace talvo
