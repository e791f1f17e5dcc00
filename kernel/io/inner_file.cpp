#include "kernel/io/inner_file.h"

#include "kernel/io/connection.h"
#include "kernel/io/file_streams.h"
#include "kernel/io/posix_files.h"
#include "kernel/text/format.h"

#include <cerrno>
#include <string>
#include <vector>

namespace talvo {

using PosixFiles::FileHandle;
using PosixFiles::FileName;
using PosixFiles::LINKS;

namespace {

Result<std::vector<std::string>> SplitInner(const Url& root, std::string_view inner) {
    std::vector<std::string> components;
    for (std::size_t start = 0; start <= inner.size();) {
        const std::size_t end = std::min(inner.find('/', start), inner.size());
        components.emplace_back(inner.substr(start, end - start));
        const std::string& last = components.back();
        if (last.empty() || last == "." || last == ".." || last.find('\0') != std::string::npos) {
            return IllegalArgumentError::Create(
                FormatMessage("\"@\" is no name of a file below @. Name folders and file as they are called.", inner, root));
        }
        start = end + 1;
    }
    return components;
}

struct OpenedFile {
    FileHandle file;
    struct stat status;
    std::string path;
};

Result<OpenedFile> OpenBelow(const Url& root, std::string_view inner, const char* verb) {
    const std::vector<std::string> components = TRY(SplitInner(root, inner));
    const std::string rootPath = TRY(root.GetSystemPath());
    OpenedFile opened{{}, {}, rootPath + "/" + std::string(inner)};
    auto directory = PosixFiles::OpenDirectory(rootPath, LINKS::FOLLOW);
    TRY(CheckFile(directory.error, verb, opened.path));
    for (std::size_t i = 0; i + 1 < components.size(); ++i) {
        auto next = PosixFiles::OpenDirectory(FileName(directory.value, components[i], opened.path), LINKS::REFUSE);
        TRY(CheckFile(next.error, verb, opened.path));
        directory.value = std::move(next.value);
    }
    auto file = PosixFiles::OpenRead(FileName(directory.value, components.back(), opened.path), LINKS::REFUSE, opened.status);
    TRY(CheckFile(file.error, verb, opened.path));
    opened.file = std::move(file.value);
    return opened;
}

}  // namespace

Result<InputStreamRef> OpenInputStreamBelow(const Url& root, std::string_view inner) {
    return CatchOutOfMemory([&]() -> Result<InputStreamRef> {
        if (root.GetScheme() == URLSCHEME_FILESYSTEM) {
            OpenedFile opened = TRY(OpenBelow(root, inner, "read"));
            return MakeFileInputStream(std::move(opened.file), std::move(opened.path), opened.status);
        }
        TRY(SplitInner(root, inner));
        return (root + inner).OpenInputStream();
    });
}

Result<InnerFileStatus> LookBelow(const Url& root, std::string_view inner) {
    return CatchOutOfMemory([&]() -> Result<InnerFileStatus> {
        if (root.GetScheme() == URLSCHEME_FILESYSTEM) {
            const OpenedFile opened = TRY(OpenBelow(root, inner, "look at"));
            const Int64 time = Int64(opened.status.st_mtim.tv_sec) * 1000000 + opened.status.st_mtim.tv_nsec / 1000;
            return InnerFileStatus{opened.status.st_size, UniversalDateTime(time)};
        }
        TRY(SplitInner(root, inner));
        const IoConnectionRef connection = TRY((root + inner).OpenConnection());
        const Int64 length = TRY(connection->GetContentLength());
        const UniversalDateTime time = TRY(connection->IoGetTime());
        return InnerFileStatus{length, time};
    });
}

Result<void> CheckNoLinkBelow(const Url& root, std::string_view inner) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const std::vector<std::string> components = TRY(SplitInner(root, inner));
        if (root.GetScheme() != URLSCHEME_FILESYSTEM) return OK;
        std::string path = TRY(root.GetSystemPath());
        for (const std::string& component : components) {
            path += "/" + component;
            const auto status = PosixFiles::Stat(path, LINKS::REFUSE);
            if (status.error == ENOENT || status.error == ENOTDIR) return OK;
            const Bool isLink = status.error == 0 && S_ISLNK(status.value.st_mode);
            TRY(CheckFile(isLink ? ELOOP : status.error, "read", path));
        }
        return OK;
    });
}

}  // namespace talvo
