#include "asset_module/home_directories.h"

#include "kernel/app/log.h"
#include "kernel/io/connection.h"
#include "kernel/io/posix_files.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace talvo {

namespace {

ErrorRef MakeError(const std::string& place, const Url& wanted, const std::string& reason,
                   SourceLocation location = SourceLocation::Current()) {
    return IoError::Create(FormatMessage("The program can't keep its files in @: @ @, or choose another folder by TALVO_HOME.",
                                         wanted, Url::FromSystemPath(place), reason),
                           location);
}

/// Why a directory that is there can't be changed.
std::string GetReason(const struct stat& status, int error) {
    if (error == EROFS) return "lies on a file system that is read-only. Make it writable";
    if (status.st_uid != geteuid()) {
        return FormatMessage("belongs to user @, and you are user @, who may not write there. Have it given to you",
                             UInt32(status.st_uid), UInt32(geteuid()));
    }
    if (error == EACCES) return "may not be written by you. Allow that";
    return FormatMessage("can't be written: @. Correct that", std::strerror(error));
}

/// What is there of a path: its longest part that exists.
struct Existing {
    std::string path;
    struct stat status{};
};

/// All that the path lies in, from the top, and the path.
std::vector<std::string> GetSteps(const std::string& path) {
    std::vector<std::string> steps{"/"};
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        steps.push_back(path.substr(0, slash));
    if (path.size() > 1) steps.push_back(path);
    return steps;
}

Result<Existing> FindExisting(const Url& wanted, const std::string& path) {
    Existing found;
    for (const std::string& step : GetSteps(path)) {
        const auto status = PosixFiles::Stat(step, PosixFiles::LINKS::FOLLOW);
        if (status.error == ENOENT) {
            const Bool isLink = PosixFiles::Stat(step, PosixFiles::LINKS::REFUSE).error == 0;
            if (isLink) return MakeError(step, wanted, "is a link that leads nowhere. Remove it");
            break;
        }
        if (status.error != 0) {
            return MakeError(step, wanted, FormatMessage("can't be looked at: @. Correct that", std::strerror(status.error)));
        }
        if (!S_ISDIR(status.value.st_mode)) return MakeError(step, wanted, "is no folder. Move it away");
        found = {step, status.value};
    }
    return found;
}

}  // namespace

Result<void> HomeDirectories::Check(const Url& directory) {
    // Other schemes have no owners, and tell by themselves what is wrong.
    if (directory.GetScheme() != URLSCHEME_FILESYSTEM) return OK;
    const std::string path = TRY(directory.GetSystemPath());
    const Existing existing = TRY(FindExisting(directory, path));
    const int error = PosixFiles::CheckChangeable(existing.path);
    if (error != 0) return MakeError(existing.path, directory, GetReason(existing.status, error));
    const uid_t owner = existing.status.st_uid;
    if (owner != 0 && owner != geteuid()) {
        Log(LOG_LEVEL::WARNING, "@ belongs to user @, not to you (user @): that user may change what the program keeps there.",
            Url::FromSystemPath(existing.path), UInt32(owner), UInt32(geteuid()));
    }
    return OK;
}

Result<void> HomeDirectories::Ensure(const Url& directory) {
    TRY(Check(directory));
    return directory.IoCreateDirectory();
}

}  // namespace talvo
