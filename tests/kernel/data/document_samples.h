// What the tests of documents share: samples, and the expectations of both forms.
#pragma once

#include "kernel/data/data_dictionary.h"
#include "kernel/data/document.h"
#include "kernel/data/standard_types.h"
#include "kernel/text/format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace talvo::document_samples {

inline constexpr LiteralId ROOT{"net.talvo.test"};
inline constexpr DOCUMENT_FORMAT FORMATS[] = {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY};

inline Result<Data> RoundTrip(const Data& data, DOCUMENT_FORMAT format) {
    const std::string bytes = TRY(WriteDocumentText(data, ROOT, format));
    return ReadDocumentText(bytes, ROOT, "sample");
}

inline void ExpectRoundTrip(const Data& data) {
    for (const DOCUMENT_FORMAT format : FORMATS) {
        const Result<Data> back = RoundTrip(data, format);
        ASSERT_TRUE(back.IsOk()) << back.GetError()->GetMessage();
        EXPECT_TRUE(back.GetValue() == data) << data.ToString() << " came back as " << back.GetValue().ToString();
        EXPECT_EQ(back.GetValue().GetTypeId(), data.GetTypeId());
    }
}

inline void ExpectFormatError(const Result<Data>& result, const std::string& why, const std::string& part = "sample") {
    ASSERT_TRUE(result.IsError()) << why;
    EXPECT_TRUE(FileFormatError::IsClassOf(result.GetError())) << why << ": " << result.GetError()->GetMessage();
    EXPECT_THAT(result.GetError()->GetMessage(), ::testing::HasSubstr("sample")) << why;
    EXPECT_THAT(result.GetError()->GetMessage(), ::testing::HasSubstr(part)) << why;
}

inline std::string MakeJson(const std::string& type, const std::string& value) {
    return R"({"root": "net.talvo.test", "format": 1, "type": "net.talvo.datatype.)" + type + R"(", "value": )" + value + "}";
}

inline Result<Data> ReadJsonValue(const std::string& type, const std::string& value) {
    return ReadDocumentText(MakeJson(type, value), ROOT, "sample");
}

inline Id MakeId(std::string_view text) { return MUST(Id::Create(text)); }

inline DataDictionary MakeDictionary(std::initializer_list<DataDictionary::Entry> entries) {
    return MUST(DataDictionary::Create(BaseArray<DataDictionary::Entry>(entries)));
}

/// Several types at once; its bytes are pinned.
inline Data MakeGoldenValue() {
    return Data(MakeDictionary({
        {Data("net.talvo.bytes"_id), Data(CString(std::string_view("\xff\x00", 2)))},
        {Data("net.talvo.flag"_id), Data(true)},
        {Data("net.talvo.list"_id), Data(BaseArray<Id>{"a"_id, "b"_id})},
        {Data("net.talvo.number"_id), Data(1.0)},
        {Data("net.talvo.time"_id), Data(UniversalDateTime(1683028800000001))},
    }));
}

inline std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        text += "0123456789abcdef"[UChar(c) >> 4];
        text += "0123456789abcdef"[UChar(c) & 15];
    }
    return text;
}

}  // namespace talvo::document_samples
