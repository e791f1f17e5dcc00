#include "kernel/text/message_text.h"

#include "kernel/text/string.h"

namespace talvo {

std::string ShortenForMessage(std::string_view bytes) {
    constexpr std::size_t LONGEST = 1000;
    if (bytes.size() <= LONGEST) return MakeUtf8(bytes);
    const std::size_t end = LONGEST / 2;
    return MakeUtf8(bytes.substr(0, end)) + "..." + MakeUtf8(bytes.substr(bytes.size() - end));
}

}  // namespace talvo
