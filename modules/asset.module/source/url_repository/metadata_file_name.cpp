#include "url_repository/metadata_file_name.h"

#include "asset_impl/metadata_kinds.h"
#include "kernel/text/format.h"
#include "kernel/text/message_text.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::string_view PAYLOAD_NAME = "asset";
constexpr std::size_t LONGEST_SUFFIX = 200;

struct SuffixKind {
    std::string_view suffix;
    KIND kind;
};
constexpr SuffixKind SUFFIXES[] = {
    {".meta", KIND::PERSISTENT}, {".derived", KIND_DERIVED}, {".version", KIND::PERSISTENT | KIND::VERSIONED}};

std::string_view GetSuffixOf(KIND kind) {
    if (HasFlag(kind, KIND::DERIVED)) return ".derived";
    return HasFlag(kind, KIND::VERSIONED) ? ".version" : ".meta";
}

Bool HasOddCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return UChar(c) < 0x20 || UChar(c) == 0x7f || c == '/'; });
}

Opt<MetaDataFileName> ParseDocumentName(std::string_view name) {
    for (const SuffixKind& each : SUFFIXES) {
        if (name.size() <= each.suffix.size() || !name.ends_with(each.suffix)) continue;
        MetaDataFileName result{std::string(name.substr(0, name.size() - each.suffix.size())), each.kind,
                                MetaDataFileName::FORM::DOCUMENT};
        if (result.key == ASSETMETADATA::TIMESTAMP.GetView()) result.kind = result.kind | KIND::READ_ONLY;
        return result;
    }
    return std::nullopt;
}

}  // namespace

Bool IsPayloadName(std::string_view name) {
    return name.starts_with(PAYLOAD_NAME) && (name.size() == PAYLOAD_NAME.size() || name[PAYLOAD_NAME.size()] == '.');
}

Bool IsStorableKind(KIND kind) {
    return kind == KIND::PERSISTENT || kind == (KIND::PERSISTENT | KIND::VERSIONED) || kind == KIND_STORE_TIME ||
           kind == KIND_DERIVED || kind == KIND_USER;
}

std::string MakePayloadName(std::string_view suffix) {
    std::string name(PAYLOAD_NAME);
    const Bool usable = !suffix.empty() && suffix.size() <= LONGEST_SUFFIX && !HasOddCharacter(suffix);
    return usable ? name + "." + std::string(suffix) : name;
}

Opt<MetaDataFileName> ParseMetaDataFileName(std::string_view name) {
    if (name.empty() || name.front() == '.' || IsPayloadName(name) || HasOddCharacter(name)) return std::nullopt;
    if (Opt<MetaDataFileName> document = ParseDocumentName(name)) return document;
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return std::nullopt;
    Opt<MetaDataFileName> file = ParseDocumentName(name.substr(0, dot));
    if (file) file->form = MetaDataFileName::FORM::FILE;
    return file;
}

std::string MakeMetaDataFileName(std::string_view key, KIND kind) { return std::string(key) + std::string(GetSuffixOf(kind)); }

std::string MakeMetaDataFileName(std::string_view key, KIND kind, std::string_view suffix) {
    const std::string base = MakeMetaDataFileName(key, kind);
    const std::string name = base + "." + std::string(suffix);
    const Opt<MetaDataFileName> read = ParseMetaDataFileName(name);
    const Bool readsBack =
        read && read->form == MetaDataFileName::FORM::FILE && read->key == key && GetSuffixOf(read->kind) == GetSuffixOf(kind);
    const Bool usable = readsBack && !suffix.empty() && suffix.size() <= LONGEST_SUFFIX;
    return usable ? name : base + ".file";
}

Result<void> CheckStorableKey(const InternedId& key) {
    const std::string_view text = key.GetView();
    const Bool storable = !text.empty() && text.front() != '.' && !IsPayloadName(text) && !HasOddCharacter(text);
    if (storable) return OK;
    return IllegalArgumentError::Create(
        FormatMessage("Meta data id \"@\" can't be stored: its file would be taken for something else. Use an id that is not "
                      "empty, does not begin with "
                      "\".\" and is neither \"asset\" nor begins with \"asset.\".",
                      ShortenForMessage(key.GetView())));
}

}  // namespace talvo
