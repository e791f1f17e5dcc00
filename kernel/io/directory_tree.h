// What lies in a directory, kept in one file in place of listings. docs/formats.md has its bytes.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/base/hashing.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/io/url.h"

#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

inline constexpr Int MAX_DIRECTORY_TREE_DEPTH = 64;
inline constexpr Int64 MAX_DIRECTORY_TREE_NAME = 65535;
/// Of the dictionary of one entry, in bytes.
inline constexpr Int64 MAX_DIRECTORY_TREE_DICTIONARY = Int64(1) << 20;

/// One file or directory. Its names are seen, not owned.
struct DirectoryTreeEntry {
    std::vector<std::string_view> components;  ///< from below the root to the entry's own name; raw bytes
    IO_DETECT kind = IO_DETECT::FILE;          ///< FILE or DIRECTORY
    Int64 size = 0;                            ///< 0 for a directory
    UniversalDateTime time;                    ///< of the last change
    DataDictionary dictionary;
};

namespace FileUtilities {

/// Writes what lies below the directory `root`, which may be a link: a directory before what is in it, depth first, names in the order of their bytes.
/// Links, fifos, sockets, devices and names that begin with ".~" stay out, and so does what goes away meanwhile.
/// @param destination is replaced whole or stays as it was. @param filter false leaves an entry out, a directory with all below it;
/// its error ends all.
/// Errors: IoError that names what can't be listed or written; UnsupportedArgumentError for what lies too deep.
Result<void> WriteDirectoryTree(const Url& root, const Url& destination, const Receiver<Url>& filter);
/// Hands the entries to `receiver` in the order in which they were written, once all are found to be sound. An entry's names are good
/// for the call only. @return false if the receiver stopped.
/// Errors: IoError if `file` can't be read; FileFormatError that names it; the receiver's.
Result<Bool> ReadDirectoryTree(const Url& file, const Receiver<DirectoryTreeEntry>& receiver);

}  // namespace FileUtilities

/// Whether entries come in their order: each in a directory that came before, none twice. Threads: one at a time.
class DirectoryTreeOrder {
public:
    /// @return what is wrong with an entry that comes next, for people; null if nothing. Then the entry counts as come.
    const char* FindFault(const std::vector<std::string_view>& components, IO_DETECT kind);

private:
    std::vector<std::string> _last;  // components of the entry before
    IO_DETECT _lastKind = IO_DETECT::DIRECTORY;
};

/// Takes entries and writes them as one file. They are kept in memory meanwhile, 25 bytes and the name each: the file begins with
/// their number. Threads: one at a time.
class DirectoryTreeWriter {
public:
    /// Errors: UnsupportedArgumentError that names an entry that can't be written or doesn't follow the one before it; it is as if
    /// it had not come. OutOfMemoryError: then the writer is of no use any more.
    Result<void> Add(const DirectoryTreeEntry& entry);
    /// Replaces `destination` whole. Errors: IoError that names it.
    Result<void> Write(const Url& destination) const;

private:
    DirectoryTreeOrder _order;
    std::deque<std::string> _blocks;  // entries with a depth and one name in place of all components
    UInt64 _count = 0;
};

}  // namespace talvo
