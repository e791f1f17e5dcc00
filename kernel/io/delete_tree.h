// Deletes a whole directory, and never anything beside it.
#pragma once

#include "kernel/base/result.h"

#include <string>

namespace talvo {

/// Deletes the file, link or directory `path` with all below it; nothing there is fine.
///
/// Goes down by open directories, never by paths, and follows no link: whoever exchanges a directory for a link meanwhile
/// loses the link only. Needs neither stack nor open files in proportion to the depth. A failure leaves what is not deleted
/// yet; directories very deep down may then lie directly below `path`.
/// Errors: IoError that names what could not be deleted; IllegalArgumentError for "/" and names "." and "..".
Result<void> DeleteTree(const std::string& path);

}  // namespace talvo
