#include "url_repository/version_directory_name.h"

#include <charconv>
#include <tuple>

namespace talvo {

namespace {

constexpr std::size_t VERSION_ID_LENGTH = 40;
constexpr std::string_view DELETED_SUFFIX = "-deleted";

Opt<UInt> ParseNumber(std::string_view digits) {
    Int number = 0;
    const char* end = digits.data() + digits.size();
    if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
    const auto read = std::from_chars(digits.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return UInt(number);
}

std::string ToLowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    }
    return lower;
}

}  // namespace

Opt<VersionDirectoryName> ParseVersionDirectoryName(std::string_view name) {
    VersionDirectoryName result;
    std::string_view digits = name;
    if (name.size() > VERSION_ID_LENGTH && name[name.size() - VERSION_ID_LENGTH - 1] == '-') {
        result.form = VersionDirectoryName::FORM::WITH_VERSION_ID;
        result.versionId = ToLowerAscii(name.substr(name.size() - VERSION_ID_LENGTH));
        digits.remove_suffix(VERSION_ID_LENGTH + 1);
    } else if (name.size() > DELETED_SUFFIX.size() && name.ends_with(DELETED_SUFFIX)) {
        result.form = VersionDirectoryName::FORM::DELETED;
        digits.remove_suffix(DELETED_SUFFIX.size());
    }
    const Opt<UInt> number = ParseNumber(digits);
    if (!number) return std::nullopt;
    result.number = *number;
    result.canonical = digits.size() == 1 || digits.front() != '0';
    return result;
}

std::string MakeVersionDirectoryName(UInt number) { return std::to_string(number); }

std::string MakeDeletedDirectoryName(UInt number) { return std::to_string(number) + std::string(DELETED_SUFFIX); }

Bool IsPreferred(const VersionDirectoryName& first, const VersionDirectoryName& second) {
    const auto rank = [](const VersionDirectoryName& name) {
        const Int form = name.form == VersionDirectoryName::FORM::PLAIN     ? 0
                         : name.form == VersionDirectoryName::FORM::DELETED ? 1
                                                                            : 2;
        return std::tuple(!name.canonical, form);
    };
    return rank(first) < rank(second);
}

}  // namespace talvo
