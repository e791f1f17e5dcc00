// Makes much of something: files to import, and whole repositories on disk.
#pragma once

#include "kernel/base/types.h"

#include <string>

namespace talvo::bench {

/// `count` files of `smallest` to `largest` bytes, 500 in a folder. The same bytes each time.
void MakeFiles(const std::string& folder, Int count, Int64 smallest, Int64 largest);
/// A repository of `count` assets of one version each, with a name and a small payload, as stores leave it. The same ids each time.
void MakeTree(const std::string& folder, Int count);
/// The id of asset `number` of such a tree.
std::string MakeTreeId(Int number);
/// One file of `size` bytes that don't repeat.
void MakeLargeFile(const std::string& path, Int64 size);

}  // namespace talvo::bench
