// The walk through a tree that is written down: relative to open directories on disk, by urls elsewhere.
#include "kernel/io/connection.h"
#include "kernel/io/directory_tree.h"
#include "kernel/io/posix_files.h"
#include "kernel/text/format.h"

#include <dirent.h>

#include <cerrno>
#include <utility>

namespace talvo {

using PosixFiles::FileHandle;
using PosixFiles::FileName;
using PosixFiles::LINKS;

namespace {

constexpr std::string_view HIDDEN_PREFIX = ".~";

struct Listed {
    std::string name;
    Opt<IO_DETECT> kind;  // where listing told
    Int64 size = -1;      // the same
};

struct Seen {
    IO_DETECT kind = IO_DETECT::OTHER;
    Int64 size = 0;
    UniversalDateTime time;
};

IO_DETECT GetKind(mode_t mode) {
    if (S_ISREG(mode)) return IO_DETECT::FILE;
    return S_ISDIR(mode) ? IO_DETECT::DIRECTORY : IO_DETECT::OTHER;
}

Opt<IO_DETECT> GetListedKind(UChar type) {
    if (type == DT_UNKNOWN) return {};
    if (type == DT_REG) return IO_DETECT::FILE;
    return type == DT_DIR ? IO_DETECT::DIRECTORY : IO_DETECT::OTHER;
}

/// An open directory of the system.
class DiskFolder {
public:
    static Result<DiskFolder> Open(const Url& root) {
        std::string path = TRY(root.GetSystemPath());
        auto opened = PosixFiles::OpenDirectory(path, LINKS::FOLLOW);
        TRY(CheckFile(opened.error, "list", path));
        return DiskFolder(std::move(opened.value), std::move(path));
    }
    Result<std::vector<Listed>> List() const {
        auto list = PosixFiles::List(_directory, _path);
        TRY(CheckFile(list.error, "list", _path));
        std::vector<Listed> entries;
        entries.reserve(list.value.size());
        for (PosixFiles::DirectoryEntry& entry : list.value)
            entries.push_back({std::move(entry.name), GetListedKind(entry.type)});
        return entries;
    }
    /// Nothing for what isn't there any more.
    Result<Opt<Seen>> Look(const Listed& entry) const {
        const std::string path = _path + "/" + entry.name;
        const auto status = PosixFiles::Stat(FileName(_directory, entry.name, path), LINKS::REFUSE);
        if (status.error == ENOENT) return Opt<Seen>();
        TRY(CheckFile(status.error, "look at", path));
        const struct stat& found = status.value;
        const IO_DETECT kind = GetKind(found.st_mode);
        const UniversalDateTime time(Int64(found.st_mtim.tv_sec) * 1000000 + found.st_mtim.tv_nsec / 1000);
        return Opt<Seen>({kind, kind == IO_DETECT::FILE ? Int64(found.st_size) : 0, time});
    }
    Result<Opt<DiskFolder>> Enter(const Listed& entry) const {
        std::string path = _path + "/" + entry.name;
        auto opened = PosixFiles::OpenDirectory(FileName(_directory, entry.name, path), LINKS::REFUSE);
        if (opened.error == ENOENT) return Opt<DiskFolder>();
        TRY(CheckFile(opened.error, "list", path));
        return Opt<DiskFolder>(DiskFolder(std::move(opened.value), std::move(path)));
    }

private:
    DiskFolder(FileHandle directory, std::string path) : _directory(std::move(directory)), _path(std::move(path)) {}
    FileHandle _directory;
    std::string _path;
};

/// A directory of any other scheme.
class UrlFolder {
public:
    explicit UrlFolder(Url url) : _url(std::move(url)) {}
    Result<std::vector<Listed>> List() const {
        const IoConnectionRef connection = TRY(_url.OpenConnection());
        const BaseArray<IoEntry> browsed = TRY(connection->Browse(BROWSE_MODE::NAMES_AND_SIZES));
        std::vector<Listed> entries;
        for (const IoEntry& entry : browsed)
            entries.push_back({entry.name, entry.isLink ? IO_DETECT::OTHER : entry.kind, entry.size});
        return entries;
    }
    Result<Opt<Seen>> Look(const Listed& entry) const {
        const Url url = _url + entry.name;
        const IoConnectionRef connection = TRY(url.OpenConnection());
        const Result<UniversalDateTime> time = connection->IoGetTime();
        if (time.IsError())
            return connection->IoDetect() == IO_DETECT::NOT_THERE ? Result<Opt<Seen>>(Opt<Seen>()) : time.GetError();
        Seen seen{*entry.kind, 0, time.GetValue()};
        if (seen.kind == IO_DETECT::FILE) seen.size = entry.size;
        if (seen.size < 0) seen.size = TRY(connection->GetContentLength());
        return Opt<Seen>(seen);
    }
    Result<Opt<UrlFolder>> Enter(const Listed& entry) const { return Opt<UrlFolder>(UrlFolder(_url + entry.name)); }

private:
    Url _url;
};

class TreeWalk {
public:
    TreeWalk(DirectoryTreeWriter& writer, const Receiver<Url>& filter) : _writer(writer), _filter(filter) {}

    /// As deep as trees may be, so that neither the stack nor the open directories run out.
    template <typename FOLDER>
    Result<void> Walk(const FOLDER& folder, const Url& url) {
        const std::vector<Listed> entries = TRY(folder.List());
        if (!entries.empty() && Int(_entry.components.size()) == MAX_DIRECTORY_TREE_DEPTH) {
            return UnsupportedArgumentError::Create(FormatMessage(
                "@ lies more than @ folders deep, which can't be listed. Move it up.", url, MAX_DIRECTORY_TREE_DEPTH));
        }
        for (const Listed& entry : entries) {
            if (entry.name.starts_with(HIDDEN_PREFIX) || entry.kind == IO_DETECT::OTHER) continue;
            const Url entryUrl = url + entry.name;
            const Bool isWanted = TRY(_filter(entryUrl));
            if (isWanted) TRY(Take(folder, entry, entryUrl));
        }
        return OK;
    }

private:
    template <typename FOLDER>
    Result<void> Take(const FOLDER& folder, const Listed& listed, const Url& url) {
        const Opt<Seen> seen = TRY(folder.Look(listed));
        if (!seen || (seen->kind != IO_DETECT::FILE && seen->kind != IO_DETECT::DIRECTORY)) return OK;
        _entry.components.push_back(listed.name);
        _entry.kind = seen->kind;
        _entry.size = seen->size;
        _entry.time = seen->time;
        TRY(_writer.Add(_entry));
        if (seen->kind == IO_DETECT::DIRECTORY) {
            const Opt<FOLDER> inner = TRY(folder.Enter(listed));
            if (inner) TRY(Walk(*inner, url));
        }
        _entry.components.pop_back();
        return OK;
    }

    DirectoryTreeWriter& _writer;
    const Receiver<Url>& _filter;
    DirectoryTreeEntry _entry;
};

}  // namespace

Result<void> FileUtilities::WriteDirectoryTree(const Url& root, const Url& destination, const Receiver<Url>& filter) {
    return CatchOutOfMemory([&]() -> Result<void> {
        DirectoryTreeWriter writer;
        TreeWalk walk(writer, filter);
        if (root.GetScheme() == URLSCHEME_FILESYSTEM) {
            const DiskFolder folder = TRY(DiskFolder::Open(root));
            TRY(walk.Walk(folder, root));
        } else {
            TRY(walk.Walk(UrlFolder(root), root));
        }
        return writer.Write(destination);
    });
}

}  // namespace talvo
