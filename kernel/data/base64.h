// Bytes as text of the 64 letters of RFC 4648.
#pragma once

#include "kernel/base/result.h"

#include <string>
#include <string_view>

namespace talvo {

/// With padding, in one line.
std::string EncodeBase64(std::string_view bytes);
/// Null unless `text` is exactly what EncodeBase64 gives for some bytes.
Opt<std::string> DecodeBase64(std::string_view text);

}  // namespace talvo
