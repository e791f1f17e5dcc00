#include "url_repository/asset_directory_name.h"

#include "kernel/io/streams.h"

namespace talvo {

namespace {

constexpr std::size_t LONGEST_NAME = 200;  // with the rest of a hashed name still below the 255 bytes of file systems
constexpr std::size_t DIGEST_BYTES = 4;

char FoldCharacter(char c) {
    if (c >= 'A' && c <= 'Z') return char(c - 'A' + 'a');
    const Bool kept = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '$' || c == '-' || c == '.' || c == '_';
    return kept ? c : '_';
}

/// "." and ".." begin with a "." too.
Bool IsUsable(std::string_view name) {
    return !name.empty() && name.front() != '.' && name.size() <= LONGEST_NAME && !IsReservedDirectoryName(name);
}

Result<std::string> HashText(std::string_view text) {
    std::string digest;
    OutputStreamRef nowhere = TRY(CreateNullOutputStream());
    OutputStreamRef hash = TRY(CreateHashingOutputStream(std::move(nowhere), digest));
    TRY(hash->Write(text));
    TRY(hash->Close());
    return digest;
}

}  // namespace

std::string FoldDirectoryName(std::string_view text) {
    std::string name(text);
    for (char& c : name) c = FoldCharacter(c);
    return name;
}

Bool IsReservedDirectoryName(std::string_view name) {
    return name == INDEX_DIRECTORY_NAME || name == "version" || name == "databaseid" || name.starts_with("tmp-");
}

Result<std::string> MakeDirectoryName(const Id& id) {
    // Ids may be long: what is cut off anyway need not be folded.
    std::string name = FoldDirectoryName(id.GetView().substr(0, LONGEST_NAME + 1));
    if (IsUsable(name)) return name;
    return MakeHashedDirectoryName(id);
}

Result<std::string> MakeHashedDirectoryName(const Id& id) {
    const std::string digest = TRY(HashText(id.GetView()));
    return "_" + FoldDirectoryName(id.GetView().substr(0, LONGEST_NAME)) + "-" +
           ToHex(std::string_view(digest).substr(0, DIGEST_BYTES));
}

}  // namespace talvo
