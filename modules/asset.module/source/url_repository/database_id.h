// The file `databaseid` at the root, which makes a directory a repository and holds its id.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"
#include "kernel/io/url.h"
#include "urlassetrepository.h"

namespace talvo {

/// Whether `id`, which may be null, reads back as it is written. Errors: IllegalArgumentError.
Result<void> CheckDatabaseId(const Id& id);
/// The repository's id: the whole content, without blanks and line ends around it. Nothing if there is no such file, or an empty one and no asset
/// either. Errors: IoError; FileFormatError that names the file, if its content is no id.
Result<Opt<Id>> ReadDatabaseId(const Url& root);
/// Gives a directory that has none this id. @return the id that it has now: another one if someone else was faster.
Result<Id> CreateDatabaseId(const Url& root, const Id& id);
/// Replaces the id.
Result<void> ReplaceDatabaseId(const Url& root, const Id& id);
/// Whether the file is marked as read-only, which protects the repository. Errors: IoError.
Result<Bool> IsDatabaseIdReadOnly(const Url& root);

}  // namespace talvo
