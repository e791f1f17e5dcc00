// Copies a file within the system.
#pragma once

#include "kernel/base/result.h"

#include <string>

namespace talvo {

/// Copies the file `source` to `target`, which is replaced whole or not at all. Its bytes are those that it had in number
/// when it was opened. The right to execute goes along.
/// Errors: IoError that names the source if it can't be read, is no file, or became shorter meanwhile; else the target.
Result<void> CopySystemFile(const std::string& source, const std::string& target);

}  // namespace talvo
