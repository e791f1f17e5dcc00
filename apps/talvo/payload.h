// Reading the content of a version: to standard output, or as a copy at a path.
#pragma once

#include "assets.h"
#include "kernel/io/url.h"

#include <string>

namespace talvo {

class Output;

namespace Payload {

/// Where the content lies. Errors: UnresolvedError for a deletion marker or a version without content.
Result<Url> GetUrl(const AssetDescription& description);
/// The file `inner` of a directory payload. Errors: IllegalArgumentError if `inner` doesn't stay inside of it; UnresolvedError if there is
/// no such file.
Result<Url> GetInnerFile(const Url& payload, const std::string& inner);
/// Writes the bytes of a file to standard output.
Result<void> WriteTo(Output& output, const Url& file);

enum class EXISTING { REFUSE, REPLACE };
/// Copies a file or directory to `target`, whole or not at all. @return its size.
/// Errors: IllegalStateError if something is there and `existing` is REFUSE; IoError.
Result<Int64> Export(const Url& payload, const Url& target, EXISTING existing);

}  // namespace Payload

}  // namespace talvo
