#include "kernel/io/mapped_file.h"

#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"

#include <cerrno>

namespace talvo {

using PosixFiles::LINKS;

namespace {

Result<PosixFiles::FileMapping> MapFile(const std::string& path) {
    struct stat status;
    const auto opened = PosixFiles::OpenRead(path, LINKS::REFUSE, status);
    TRY(CheckFile(opened.error, "read", path));
    auto mapped = PosixFiles::Map(opened.value, status.st_size, path);
    if (mapped.error == ENOMEM) return detail::GetOutOfMemoryError();
    TRY(CheckFile(mapped.error, "read", path));
    return std::move(mapped.value);
}

}  // namespace

Result<MappedFileRef> MappedFile::Open(const Url& url) {
    return CatchOutOfMemory([&]() -> Result<MappedFileRef> {
        if (url.GetScheme() == URLSCHEME_FILESYSTEM) {
            const std::string path = TRY(url.GetSystemPath());
            PosixFiles::FileMapping mapping = TRY(MapFile(path));
            return MappedFileRef(new MappedFile(std::move(mapping)));
        }
        std::string bytes = TRY(FileUtilities::ReadFileToMemory(url, INT64_MAX));
        return MappedFileRef(new MappedFile(std::move(bytes)));
    });
}

}  // namespace talvo
