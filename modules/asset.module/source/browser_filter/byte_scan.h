// Short texts looked for in very long ones.
#pragma once

#include <string_view>

namespace talvo {

/// Where `wanted` first stands in the text; npos if nowhere. Takes time in proportion to the text, whatever both are.
std::size_t FindBytes(std::string_view text, std::string_view wanted);

}  // namespace talvo
