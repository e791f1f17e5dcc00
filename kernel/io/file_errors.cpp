#include "kernel/io/file_errors.h"

#include "kernel/text/format.h"
#include "kernel/text/message_text.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace talvo {

namespace {

/// What the user can do, or nothing.
std::string_view GetAdvice(int error) {
    switch (error) {
        case ENOSPC:
        case EDQUOT: return " Free space and try again.";
        case EACCES:
        case EPERM: return " Check the permissions of it and of the folders above it.";
        case EMFILE:
        case ENFILE: return " Close other files or raise the limit of open files (ulimit -n), then try again.";
        case ELOOP: return " A link is in the way: remove it, or name what it points at.";
        case ENAMETOOLONG: return " Use a shorter name.";
        case EROFS: return " Choose another place, or mount this one writable.";
        case EIO: return " The disk may be failing: look into the system's log and save what is on it.";
        case EXDEV: return " Both must lie on one file system.";
        case EISDIR: return " A file is wanted here.";
        case ENOTDIR: return " A folder is wanted here.";
        case NOT_A_FILE: return " Only files can be read and written.";
        case BECAME_SHORTER:
        case CHANGED: return " Try again when nothing writes to it.";
        default: return {};
    }
}

std::string GetReason(int error) {
    if (error == NOT_A_FILE) return "It is a fifo, socket or device";
    if (error == BECAME_SHORTER) return "It became shorter while it was read";
    if (error == CHANGED) return "It changed while it was read";
    char buffer[128];
    return strerror_r(error, buffer, sizeof(buffer));
}

}  // namespace

ErrorRef MakeFileError(std::string_view verb, std::string_view path, int error, SourceLocation location) {
    return IoError::Create(FormatMessage("Can't @ @: @.@", verb, ShortenForMessage(path), GetReason(error), GetAdvice(error)),
                           location);
}

ErrorRef MakeFileError(std::string_view verb, std::string_view from, std::string_view to, int error, SourceLocation location) {
    return IoError::Create(FormatMessage("Can't @ @ to @: @.@", verb, ShortenForMessage(from), ShortenForMessage(to),
                                         GetReason(error), GetAdvice(error)),
                           location);
}

}  // namespace talvo
