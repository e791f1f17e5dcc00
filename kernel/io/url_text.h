// Percent-encoding, and the parts of a url's text.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <string_view>

namespace talvo {

/// What of a url's text is encoded: each part leaves other characters as they are.
enum class URL_PART { AUTHORITY, PATH, QUERY };

/// `bytes` with "%XX" for each byte that can't stand in `part`.
std::string EncodeUrlPart(std::string_view bytes, URL_PART part);
/// The opposite. A "%" without two hexadecimal digits behind it stands for itself.
std::string DecodeUrlPart(std::string_view text);

/// Views of the still encoded parts of a url's text.
struct UrlText {
    std::string_view scheme;
    std::string_view authority;
    std::string_view path;  ///< without the slash that ends the authority
    std::string_view query;
};

/// @return false if `text` has no scheme.
Bool SplitUrlText(std::string_view text, UrlText& parts);

}  // namespace talvo
