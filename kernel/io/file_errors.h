// Errors of files: one form of words for all, with the path, the system's reason and what to do where that is known.
#pragma once

#include "kernel/base/result.h"

#include <string_view>

namespace talvo {

/// Codes beside those of errno, which are positive.
inline constexpr int NOT_A_FILE = -1;      ///< a fifo, socket or device where a file is wanted
inline constexpr int BECAME_SHORTER = -2;  ///< fewer bytes than the file had when it was opened
inline constexpr int CHANGED = -3;         ///< written to since it was opened, so that what was read may be a mixture

/// IoError "Can't <verb> <path>: <reason>. <advice>".
/// @param path raw bytes; what is not UTF-8 is replaced. @param error of errno, or one of the codes above.
ErrorRef MakeFileError(std::string_view verb, std::string_view path, int error,
                       SourceLocation location = SourceLocation::Current());
/// The same for an operation on two paths.
ErrorRef MakeFileError(std::string_view verb, std::string_view from, std::string_view to, int error,
                       SourceLocation location = SourceLocation::Current());

/// Success for 0, else the error.
inline Result<void> CheckFile(int error, std::string_view verb, std::string_view path,
                              SourceLocation location = SourceLocation::Current()) {
    if (error != 0) [[unlikely]]
        return MakeFileError(verb, path, error, location);
    return {};
}

}  // namespace talvo
