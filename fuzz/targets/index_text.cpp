// The text of an index: what is taken as right names nothing outside of the root, and reads the same once it is written again.
#include "url_repository/index_text.h"
#include "fuzz/fuzz_target.h"
#include "kernel/base/id.h"
#include "kernel/io/file_system.h"

namespace talvo {

namespace {

constexpr IndexRange RANGE{1, 1000};

void CheckName(std::string_view name) {
    FUZZ_EXPECT(!name.empty() && name != "." && name != ".." && name.find_first_of("/\n\t") == name.npos, name);
}

std::string Rewrite(const IndexText& text) {
    std::string written;
    UInt versions = 0;
    for (UInt i = 0; i < text.GetRecordCount(); ++i) {
        const IndexText::Record record = text.GetRecord(i);
        CheckName(record.directory);
        FUZZ_EXPECT(IsAssetDirectoryName(record.directory), record.directory);
        FUZZ_EXPECT(!record.id.empty() && Id::Create(record.id).IsOk() && Id::Create(record.type).IsOk(), record.id);
        for (const std::string_view line : {record.directory, record.id, record.type}) written += std::string(line) + "\n";
        IndexText::Version version;
        UInt begin = record.versions;
        for (UInt position = begin; text.ReadVersion(position, version); begin = position, ++versions) {
            FUZZ_EXPECT(RANGE.Contains(version.number) && version.number <= text.GetHighestNumber(), "");
            FUZZ_EXPECT(!version.versionId.empty() && version.versionId == text.GetVersionId(begin), version.versionId);
            if (!version.payload.empty()) CheckName(version.payload);
            written += "\t" + std::to_string(version.number) + "\n\t" + std::string(version.versionId) + "\n\t\t" +
                       std::string(version.payload) + "\n";
            Int count = 0;
            std::string_view name;
            for (UInt place = version.metaData; text.ReadMetaDataName(place, name); ++count) {
                CheckName(name);
                written += "\t\t" + std::string(name) + "\n";
            }
            FUZZ_EXPECT(count == version.metaDataCount, "");
        }
    }
    FUZZ_EXPECT(versions == text.GetVersionCount(), "");
    return written;
}

/// Nothing for a text that is wrong.
Opt<std::string> OpenAndRewrite(std::string_view bytes) {
    const Url file = Url::FromSystemPath("/repo/_index/1-1000/index");
    IndexText text;
    UInt taken = 0;
    const Result<void> opened = text.Open(bytes, RANGE, file, [&](UInt first, UInt end, UInt) -> Result<void> {
        FUZZ_EXPECT(first == taken && end > first, "");
        taken = end;
        return OK;
    });
    if (opened.IsError()) {
        const std::string& message = opened.GetError()->GetMessage();
        FUZZ_EXPECT(FileFormatError::IsClassOf(opened.GetError()) && message.find("Line ") == 0, message);
        return {};
    }
    FUZZ_EXPECT(taken == text.GetRecordCount(), "");
    return Rewrite(text);
}

}  // namespace

FUZZ_TARGET(index_text, bytes) {
    const Opt<std::string> written = OpenAndRewrite(bytes);
    if (written) FUZZ_EXPECT(OpenAndRewrite(*written) == written, *written);
}

}  // namespace talvo
