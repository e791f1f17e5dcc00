// How this folder touches a repository's tree: hidden entries are passed over, no link below the root is followed, and nothing
// outside the root is ever removed.
#pragma once

#include "kernel/base/uuid.h"
#include "kernel/io/connection.h"

#include <string>
#include <string_view>

namespace talvo {

/// Entries that count: not hidden, no links. Sorted by name bytes. Errors: IoError that names the directory.
Result<BaseArray<IoEntry>> BrowseTree(const Url& directory);
/// The same; a directory that isn't there is empty.
Result<BaseArray<IoEntry>> BrowseTreeIfThere(const Url& directory);

/// What begins with "." is passed over by every scan.
Bool IsHiddenName(std::string_view name);
/// Hidden by us: work not finished yet, or what it left behind. Nothing else is ever swept.
Bool IsWorkName(std::string_view name);
/// A fresh name of that kind.
Result<std::string> MakeWorkName();
/// The hidden name that reserves a version number, `.~<n>`.
std::string MakeReservationName(UInt number);

/// Whether `url` lies below `root`, by their text: no component of what is between them is empty, "." or "..".
Bool IsBelow(const Url& root, const Url& url);
/// Removes a file or a tree. Errors: IllegalStateError if it is not below `root` or a link; IoError. Nothing there is fine.
Result<void> DeleteBelow(const Url& root, const Url& victim);
/// Removes what nobody can see any longer; a failure is logged only, since the sweep will find it again.
void DeleteHidden(const Url& root, const Url& victim);
/// Whether it is a directory itself, no link to one. Errors: IoError if nobody can tell.
Result<Bool> IsTreeDirectory(const Url& url);
/// Names that no walk found, but an index told, may be links, which are not followed in a repository. What isn't there is none.
/// Errors: IoError if `url` or a directory between it and `root`, above it, is a link.
Result<void> CheckNoLink(const Url& root, const Url& url);
/// Gives a directory a hidden name beside its own. @return its new url. Errors: IoError; it is where it was.
Result<Url> HideDirectory(const Url& directory);

/// Whether this process may make and remove names in a directory that is there.
Bool RefusesWrites(const Url& directory);
/// The content of a file below the root. Errors: IoError that names it, also for a link, which is not followed, and for more than `limit` bytes.
Result<std::string> ReadTreeFile(const Url& file, Int64 limit);
/// A file in a directory that is ours alone. Errors: IoError that names it.
Result<void> WriteNewFile(const Url& url, std::string_view bytes);
/// Replaces a file whole or not at all.
Result<void> ReplaceFile(const Url& url, std::string_view bytes);

/// Makes it and what is missing above it. With DURABILITY::DURABLE the new names survive a loss of power.
Result<void> MakeDirectory(const Url& directory);
/// With DURABILITY::DURABLE, makes a file, or all that is below a directory and its names, survive a loss of power; else nothing.
Result<void> SyncTree(const Url& url);
/// The same for the names in one directory.
Result<void> SyncNames(const Url& directory);

}  // namespace talvo
