// Whether two paths lead to one file.
#pragma once

#include "kernel/base/result.h"
#include "kernel/io/url.h"

#include <string>

namespace talvo {

/// A file or directory, whatever the path it was reached by.
struct FileIdentity {
    UInt64 device = 0;
    UInt64 number = 0;
    Bool operator==(const FileIdentity&) const = default;
};

/// Follows links. Nothing if there is nothing at `path`.
Opt<FileIdentity> FindFileIdentity(const std::string& path);
/// The same for a file url; nothing for other schemes.
Opt<FileIdentity> FindFileIdentity(const Url& url);
/// True if `path` is the file of `identity` or lies below it, over whatever links.
Bool LiesIn(const std::string& path, const FileIdentity& identity);

}  // namespace talvo
