// Messages from templates: the first line is the pattern, each further one an argument.
#include "fuzz/fuzz_target.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    for (;;) {
        const std::size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return lines;
        text.remove_prefix(end + 1);
    }
}

/// With each "@" doubled, text stands for itself.
std::string Escape(std::string_view text) {
    std::string escaped;
    for (const char c : text) escaped.append(c == '@' ? 2 : 1, c);
    return escaped;
}

}  // namespace

FUZZ_TARGET(format_template, bytes) {
    std::vector<std::string> lines = SplitLines(bytes);
    const std::string pattern = lines.front();
    lines.erase(lines.begin());
    const Block<const std::string> arguments(lines.data(), lines.size());
    const std::string text = FormatText(pattern, arguments);
    std::size_t longest = pattern.size() + pattern.size() * 99;  // each placeholder pads to 99 characters at most
    for (const std::string& argument : lines) longest += argument.size() * 2;
    FUZZ_EXPECT(text.size() <= longest, text);
    FUZZ_EXPECT(FormatText(Escape(bytes), arguments) == bytes, bytes);
    FUZZ_EXPECT(FormatText("@", Block<const std::string>(&pattern, 1)) == pattern, pattern);
    if (pattern.find('@') == std::string::npos) FUZZ_EXPECT(text == pattern, text);
    FUZZ_EXPECT(ToText(String(bytes)) == ToText(String(ToText(String(bytes)))), "text made UTF-8 once stays as it is");
}

}  // namespace talvo
