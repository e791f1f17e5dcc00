// Writes a library into a folder: whole, or as the index files by which it opens.
#pragma once

#include "bench/library/library_model.h"

namespace talvo::bench {

// All use every processor and throw what went wrong.

/// Makes the folder, which may be there if it is empty, with `databaseid` and `version`: what both forms begin with.
void WriteLibraryHead(const LibraryModel& model, const std::string& folder);
/// The whole tree, as stores leave it.
void WriteLibrary(const LibraryModel& model, const std::string& folder);
/// `databaseid`, `version` and `_index`, with the same bytes as a compaction of the whole tree has them. Payloads and directories of assets are
/// not there: all can be found, named and searched, and nothing can be opened.
void WriteLibraryIndex(const LibraryModel& model, const std::string& folder);
/// The directories of these assets, into a folder that one of the above has written.
void WriteLibraryAssets(const LibraryModel& model, const std::string& folder, const std::vector<Int>& indices);

}  // namespace talvo::bench
