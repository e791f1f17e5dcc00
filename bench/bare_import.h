// The peer of the import: the same directories, files and hashes, and nothing else.
#pragma once

#include "kernel/base/types.h"

#include <string>

namespace talvo::bench {

/// Makes `target` and in it an asset of each file below `source`; syncs at the end, as the import does. Knows nothing of locks,
/// hidden names, errors, other processes or memory.
void BareImport(const std::string& source, const std::string& target, Int threads);

}  // namespace talvo::bench
