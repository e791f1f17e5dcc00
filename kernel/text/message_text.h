// Names from outside as they stand in messages: a hostile one is no text, or a megabyte long.
#pragma once

#include <string>
#include <string_view>

namespace talvo {

/// Well-formed UTF-8; of what is longer than 1000 bytes both ends only.
std::string ShortenForMessage(std::string_view bytes);

}  // namespace talvo
