// The name of an asset's directory. It is for people: which asset a directory holds only its `asset.info` says, and nothing
// derives an id from a name.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"

#include <string>
#include <string_view>

namespace talvo {

/// Byte by byte: A to Z in lower case; a to z, 0 to 9, "$", "-", "." and "_" as they are; each other byte "_".
std::string FoldDirectoryName(std::string_view text);
/// The name that `id` gets first: its folded text or, where that text can't be used, the hashed name.
Result<std::string> MakeDirectoryName(const Id& id);
/// The name where another id has the folded one: `_<first 200 bytes of the folded text>-<8 hexadecimal digits of the id's SHA-256>`.
Result<std::string> MakeHashedDirectoryName(const Id& id);
/// The directory of index files at the root of a repository; never an asset's.
inline constexpr const char* INDEX_DIRECTORY_NAME = "_index";
/// Whether no asset is given a directory of this name; others may have.
Bool IsReservedDirectoryName(std::string_view name);

}  // namespace talvo
