// Streams of files.
#pragma once

#include "kernel/io/posix_files.h"
#include "kernel/io/streams.h"
#include "kernel/io/url.h"

#include <string>

namespace talvo {

/// Errors: IoError that names `path`.
Result<InputStreamRef> OpenFileInputStream(const std::string& path);
/// The same for a file that is open. @param status as it was opened.
InputStreamRef MakeFileInputStream(PosixFiles::FileHandle file, std::string path, const struct stat& status);
/// Small writes are gathered; an error may come with Flush or Close instead. After one the stream fails with it for good.
/// Errors: IoError that names `path`.
Result<OutputStreamRef> OpenFileOutputStream(const std::string& path, OUTPUT_MODE mode);

}  // namespace talvo
