// Names in a version directory: the same bytes as a name, as a key and as a suffix.
#include "url_repository/metadata_file_name.h"

#include "fuzz/fuzz_target.h"

#include <algorithm>

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;
using FORM = MetaDataFileName::FORM;

/// What is read is what would be written under this name.
void CheckName(std::string_view bytes) {
    const Opt<MetaDataFileName> name = ParseMetaDataFileName(bytes);
    if (!name) return;
    // The time of a version has one form only; the others are read as kinds that no reader takes.
    FUZZ_EXPECT(IsStorableKind(name->kind) || name->key == ASSETMETADATA::TIMESTAMP.GetView(), bytes);
    FUZZ_EXPECT(!IsPayloadName(bytes), bytes);
    std::string made = MakeMetaDataFileName(name->key, name->kind);
    if (name->form == FORM::FILE) {
        const std::string_view suffix = bytes.substr(bytes.rfind('.') + 1);
        // Empty and very long suffixes are read but never written.
        if (suffix.empty() || suffix.size() > 200) return;
        made = MakeMetaDataFileName(name->key, name->kind, suffix);
    }
    FUZZ_EXPECT(made == bytes, made);
}

/// What is written under a key is read under it.
void CheckKey(std::string_view key, std::string_view suffix) {
    const Result<Id> id = Id::Create(key);
    if (id.IsError() || CheckStorableKey(InternedId(id.GetValue())).IsError()) return;
    for (const KIND kind : {KIND::PERSISTENT, KIND::PERSISTENT | KIND::VERSIONED, KIND::PERSISTENT | KIND::DERIVED}) {
        const Opt<MetaDataFileName> document = ParseMetaDataFileName(MakeMetaDataFileName(key, kind));
        FUZZ_EXPECT(document && document->key == key && document->form == FORM::DOCUMENT, key);
        FUZZ_EXPECT((document->kind & kind) == kind, key);
        const Opt<MetaDataFileName> file = ParseMetaDataFileName(MakeMetaDataFileName(key, kind, suffix));
        FUZZ_EXPECT(file && file->key == key && file->form == FORM::FILE && (file->kind & kind) == kind, key);
    }
}

}  // namespace

FUZZ_TARGET(metadata_file_name, bytes) {
    CheckName(bytes);
    const std::size_t line = std::min(bytes.find('\n'), bytes.size());
    const std::string_view suffix = bytes.substr(std::min(line + 1, bytes.size()));
    CheckKey(bytes.substr(0, line), suffix);
    const std::string payload = MakePayloadName(suffix);
    FUZZ_EXPECT(IsPayloadName(payload) && payload.find('/') == std::string::npos && payload.size() < 256, payload);
}

}  // namespace talvo
