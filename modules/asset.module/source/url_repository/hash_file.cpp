#include "url_repository/hash_file.h"

#include "assets/asset_identity.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/asset_info.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::size_t DIGEST_LENGTH = 64;

std::string ToLowerHex(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'F') c = char(c - 'A' + 'a');
    }
    return text;
}

}  // namespace

Bool IsDigestText(std::string_view text) {
    return text.size() == DIGEST_LENGTH && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
           });
}

std::string WriteHashText(const HashFile& hash) {
    std::string text(hash.versionId.GetView());
    text += '\n';
    if (!hash.digest.empty() && hash.digest != hash.versionId.GetView()) text += hash.digest + "\n";
    return text;
}

Opt<HashFile> ParseHashFile(std::string_view text) {
    LineReader lines(text);
    const Opt<std::string> idLine = lines.ReadLine();
    Opt<Id> id = idLine ? ParseIdLine(*idLine) : std::nullopt;
    if (!id || *id == DELETED_VERSION || *id == g_newVersion) return std::nullopt;
    Opt<std::string> digest = lines.ReadLine();
    if (!digest || !IsDigestText(*digest)) return HashFile{std::move(*id), {}};
    return HashFile{std::move(*id), ToLowerHex(std::move(*digest))};
}

}  // namespace talvo
