// Large files that are looked into rather than read: indexes, above all.
#pragma once

#include "kernel/io/posix_files.h"
#include "kernel/io/url.h"

#include <string>
#include <string_view>

namespace talvo {

/// A whole file as read-only bytes. A file of the system is seen in place, so that only what is looked at comes into memory, and all who
/// have it open share it; one of another scheme is read.
///
/// For files that are only ever replaced by rename: what is open stays the file that it was, whatever takes its name. A file that
/// somebody cuts short in place ends the process that looks behind its end.
///
/// A large one that lies in the system's cache is run through in two thirds of the time that reading blocks into one small buffer takes, and in a
/// fifth of that of reading it whole.
/// Threads: any.
class MappedFile final : public ObjectInterface {
public:
    /// The last component may not be a link; the way to it may lead through some.
    /// Errors: IoError that names `url`: missing, a folder, a link, a fifo; OutOfMemoryError.
    static Result<StrongRef<MappedFile>> Open(const Url& url);
    /// The same bytes for as long as this object lives.
    std::string_view GetBytes() const { return _read.empty() ? _mapping.GetBytes() : std::string_view(_read); }

private:
    explicit MappedFile(PosixFiles::FileMapping mapping) : _mapping(std::move(mapping)) {}
    explicit MappedFile(std::string read) : _read(std::move(read)) {}

    const PosixFiles::FileMapping _mapping;
    const std::string _read;
};
using MappedFileRef = StrongRef<MappedFile>;

}  // namespace talvo
