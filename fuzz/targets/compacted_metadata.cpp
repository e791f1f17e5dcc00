// Files of compacted values: as they come, and as the payload of a document that is right around it, so that the columns are reached.
#include "url_repository/compacted_metadata.h"
#include "fuzz/fuzz_target.h"
#include "kernel/base/hashing.h"
#include "kernel/data/document_binary.h"
#include "kernel/description/description.h"
#include "kernel/description/stored_texts.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "url_repository/compacted_metadata_layout.h"

namespace talvo {

namespace {

constexpr std::string_view DIGEST = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";

template <typename T>
void ExpectFormatError(const Result<T>& result) {
    if (result.IsOk()) return;
    FUZZ_EXPECT(FileFormatError::IsClassOf(result.GetError()), result.GetError()->GetMessage());
}

/// As names are read: where they lie, whatever the value is.
void CheckTexts(std::string_view value) {
    static const Id keys[] = {MUST(Id::Create("net.talvo.object.base.name")), MUST(Id::Create("b"))};
    std::string_view texts[std::size(keys)];
    const auto isInside = [&](std::string_view text) {
        return text.empty() || (text.data() >= value.data() && text.data() + text.size() <= value.data() + value.size());
    };
    if (!ReadStoredTexts(GetDataType<DataDescriptionDefinition>()->id, value, keys, texts)) return;
    for (const std::string_view text : texts) FUZZ_EXPECT(isInside(text), "a text lies outside of its value");
}

void CheckFile(std::string_view bytes) {
    const MemoryVolumeRef volume = MUST(MemoryVolume::Create());
    const Url file = volume->GetRoot() + "key";
    MUST(FileUtilities::WriteFileFromMemory(file, bytes));
    const Result<StrongRef<CompactedMetaData>> opened = CompactedMetaData::Open(file);
    ExpectFormatError(opened);
    if (opened.IsError()) return;
    for (const std::string_view aid : {"", "a", "b", "c", "zz"}) {
        for (const std::string_view version : {std::string_view("v1"), std::string_view(), DIGEST}) {
            for (const Float64 place : {0.0, 0.5, 1.0}) {
                const auto raw = opened.GetValue()->FindRaw(aid, version, place);
                ExpectFormatError(raw);
                if (raw.IsOk() && raw.GetValue()) CheckTexts(raw.GetValue()->bytes);
                ExpectFormatError(opened.GetValue()->Find(aid, version, place));
            }
        }
    }
}

}  // namespace

FUZZ_TARGET(compacted_metadata, bytes) {
    CheckFile(bytes);
    std::string document = MakeBinaryDocumentHead(COMPACTED_METADATA, COMPACTED_METADATA, bytes.size());
    document += bytes;
    compacted::AppendNumber(document, GetStoredHash64(document));
    CheckFile(document);
}

}  // namespace talvo
