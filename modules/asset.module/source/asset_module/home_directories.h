// Whether the user's directories can be used, told before anything is made in them.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

namespace HomeDirectories {

/// Whether `directory` can be written, or made where it isn't there yet; makes nothing.
/// Errors: IoError that names the one directory or file that is in the way, why, and what to do.
Result<void> Check(const Url& directory);
/// The same, and makes it with what is missing above it.
Result<void> Ensure(const Url& directory);

}  // namespace HomeDirectories

}  // namespace talvo
