// Whole trees of files: copying and measuring them.
#include "kernel/io/file_utilities.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace talvo {

namespace {

struct TreeFile {
    Url url;
    Int64 size;
};

/// What lies below a directory; folders before what is in them.
struct Tree {
    std::vector<Url> folders;
    std::vector<TreeFile> files;
    std::vector<Url> others;
};

Result<Bool> IsLink(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    return connection->IoIsLink();
}

/// Adds the entries of one folder.
Result<void> ListFolder(const Url& folder, Tree& tree) {
    const IoConnectionRef connection = TRY(folder.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES_AND_SIZES));
    for (const IoEntry& entry : entries) {
        Url url = folder + entry.name;
        if (entry.kind == IO_DETECT::FILE) {
            tree.files.push_back({std::move(url), entry.size});
            continue;
        }
        // A link to a directory may lead back to where one came from.
        Bool isFolder = entry.kind == IO_DETECT::DIRECTORY;
        if (isFolder) isFolder = !TRY(IsLink(url));
        (isFolder ? tree.folders : tree.others).push_back(std::move(url));
    }
    return OK;
}

/// Folder after folder, without recursion: the depth is the user's.
Result<Tree> ListTree(const Url& root) {
    Tree tree;
    tree.folders.push_back(root);
    for (std::size_t next = 0; next < tree.folders.size(); ++next) {
        const Url folder = tree.folders[next];
        TRY(ListFolder(folder, tree));
    }
    return tree;
}

/// `url`, which lies below `source`, with `target` in the place of `source`.
Url Rebase(const Url& url, const Url& source, const Url& target) {
    return target + url.GetPath().substr(source.GetPath().size());
}

Bool LiesIn(const Url& url, const Url& folder) {
    if (url.GetScheme() != folder.GetScheme() || url.GetAuthority() != folder.GetAuthority()) return false;
    const std::string_view path = url.GetPath();
    const std::string_view top = folder.GetPath();
    return path.starts_with(top) && (path.size() == top.size() || top.empty() || top == "/" || path[top.size()] == '/');
}

Result<void> CopyFile(const Url& source, const Url& target) {
    const IoConnectionRef connection = TRY(source.OpenConnection());
    return connection->IoCopyFile(target);
}

/// The tree is listed whole before anything is made, so that a target that lies in the source by some detour is not copied
/// into itself for ever.
Result<void> CopyFolder(const Url& source, const Url& target, BaseArray<Url>* passedOver) {
    if (LiesIn(target, source)) {
        return IllegalArgumentError::Create(
            FormatMessage("Can't copy @ to @, which lies in it. Choose another place.", source, target));
    }
    const Tree tree = TRY(ListTree(source));
    for (const Url& folder : tree.folders) TRY(Rebase(folder, source, target).IoCreateDirectory());
    for (const TreeFile& file : tree.files) TRY(CopyFile(file.url, Rebase(file.url, source, target)));
    if (!passedOver) return OK;
    for (const Url& other : tree.others) TRY(passedOver->Append(other));
    return OK;
}

}  // namespace

Result<void> FileUtilities::CopyFileOrDirectory(const Url& source, const Url& target, BaseArray<Url>* passedOver) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (source.IoDetect() == IO_DETECT::DIRECTORY) return CopyFolder(source, target, passedOver);
        return CopyFile(source, target);
    });
}

Result<Int64> FileUtilities::GetSize(const Url& url) {
    return CatchOutOfMemory([&]() -> Result<Int64> {
        if (url.IoDetect() != IO_DETECT::DIRECTORY) return url.GetContentLength();
        const Tree tree = TRY(ListTree(url));
        Int64 size = 0;
        for (const TreeFile& file : tree.files) size += std::max<Int64>(file.size, 0);
        return size;
    });
}

}  // namespace talvo
