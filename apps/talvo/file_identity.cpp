#include "apps/talvo/file_identity.h"

#include <sys/stat.h>

#include <filesystem>

namespace talvo {

Opt<FileIdentity> FindFileIdentity(const std::string& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) return {};
    return FileIdentity{UInt64(status.st_dev), UInt64(status.st_ino)};
}

Opt<FileIdentity> FindFileIdentity(const Url& url) {
    const Result<std::string> path = url.GetSystemPath();
    return path.IsOk() ? FindFileIdentity(path.GetValue()) : Opt<FileIdentity>();
}

Bool LiesIn(const std::string& path, const FileIdentity& identity) {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::weakly_canonical(path, error);
    while (!error && !folder.empty()) {
        if (FindFileIdentity(folder.string()) == identity) return true;
        if (folder == folder.root_path()) break;
        folder = folder.parent_path();
    }
    return false;
}

}  // namespace talvo
