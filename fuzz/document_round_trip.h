// What holds for documents of both forms.
#pragma once

#include "fuzz/fuzz_target.h"
#include "kernel/data/document.h"

namespace talvo::document_round_trip {

inline constexpr LiteralId ROOT{"net.talvo.fuzz"};

/// Whatever reads is written in both forms, reads back equal, and is then written with the same bytes.
inline void Check(std::string_view bytes) {
    const Result<Data> data = ReadDocumentText(bytes, ROOT, "input");
    if (data.IsError()) {
        const std::string& message = data.GetError()->GetMessage();
        FUZZ_EXPECT(FileFormatError::IsClassOf(data.GetError()) && message.find("input") != std::string::npos, message);
        return;
    }
    for (const DOCUMENT_FORMAT format : {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY}) {
        const Result<std::string> written = WriteDocumentText(data.GetValue(), ROOT, format);
        FUZZ_EXPECT(written.IsOk(), written.GetError()->GetMessage());
        const Result<Data> again = ReadDocumentText(written.GetValue(), ROOT, "input");
        FUZZ_EXPECT(again.IsOk(), again.GetError()->GetMessage());
        FUZZ_EXPECT(again.GetValue() == data.GetValue(), data.GetValue().ToString());
        FUZZ_EXPECT(MUST(WriteDocumentText(again.GetValue(), ROOT, format)) == written.GetValue(), written.GetValue());
    }
}

}  // namespace talvo::document_round_trip
