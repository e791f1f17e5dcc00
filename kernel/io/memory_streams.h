// Streams of files in memory.
#pragma once

#include "kernel/io/memory_tree.h"
#include "kernel/io/streams.h"

namespace talvo {

/// Where a stream reads or writes. The volume is kept alive for the tree's sake.
struct MemoryStreamPlace {
    StrongRef<ObjectInterface> volume;
    MemoryTree& tree;
    std::string path;
    String name;
};

InputStreamRef CreateMemoryInputStream(MemoryStreamPlace place, MemoryNodeRef file);
/// Writes behind what the file holds.
OutputStreamRef CreateMemoryOutputStream(MemoryStreamPlace place, MemoryNodeRef file);
/// Keeps all to itself until Close puts it in the place of the old file.
OutputStreamRef CreateMemoryReplaceStream(MemoryStreamPlace place);

}  // namespace talvo
