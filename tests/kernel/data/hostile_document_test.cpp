// What can't be written, and what hostile or damaged documents get: an error that names them, never a crash.
#include "kernel/data/document.h"

#include "document_samples.h"
#include "kernel/base/hashing.h"

#include <cmath>

namespace talvo {

using namespace document_samples;

namespace {

TEST(HostileDocumentTest, refusesWhatCouldNotBeReadAgain) {
    Data deep(Int(1));
    for (int i = 0; i < 40; ++i) deep = Data(BaseArray<Data>{deep});
    const struct {
        Data value;
        LiteralId error;
        const char* why;
    } rows[] = {
        {Data(std::nan("")), UnsupportedArgumentError::ID, "not a number"},
        {Data(Color{0, INFINITY, 0}), UnsupportedArgumentError::ID, "infinity inside of a value"},
        {Data(BaseArray<Data>{Data(Delegate<void()>([] {}))}), UnsupportedArgumentError::ID, "a callable inside of a value"},
        {deep, IllegalArgumentError::ID, "too deep"},
        {Data(MemoryBlock{std::string(std::size_t(MAX_DOCUMENT_SIZE), 'x')}), IllegalArgumentError::ID, "too long"},
    };
    for (const auto& row : rows) {
        for (const DOCUMENT_FORMAT format : FORMATS) {
            const Result<std::string> written = WriteDocumentText(row.value, ROOT, format);
            ASSERT_TRUE(written.IsError()) << row.why;
            EXPECT_EQ(written.GetError()->GetClassId(), row.error) << row.why;
        }
    }
}

TEST(HostileDocumentTest, readsValuesAsDeepAsItWrites) {
    // Each array of values takes a list and, but for the outermost, an object with a type.
    for (int levels = 28; levels <= 34; ++levels) {
        Data deep(MemoryBlock{"x"});
        for (int i = 0; i < levels; ++i) deep = Data(BaseArray<Data>{deep});
        const Bool isWritten = WriteDocumentText(deep, ROOT, DOCUMENT_FORMAT::BINARY).IsOk();
        EXPECT_EQ(isWritten, 2 * levels + 1 <= MAX_DOCUMENT_DEPTH) << levels;
        EXPECT_EQ(WriteDocumentText(deep, ROOT, DOCUMENT_FORMAT::JSON).IsOk(), isWritten);
        if (isWritten) ExpectRoundTrip(deep);
    }
}

// --- hostile documents

TEST(HostileDocumentTest, refusesHostileJsonByName) {
    const std::string many(100'000, '[');
    const struct {
        std::string type;
        std::string value;
        const char* part;
    } rows[] = {
        {"int", many, "64 levels"},
        {"int", many + std::string(100'000, ']'), "64 levels"},
        {"float64", "1e400", ""},
        {"int", "18446744073709551616", "64 bits"},
        {"int", "-9223372036854775809", "64 bits"},
        {"int", "9223372036854775808", "too great"},
        {"int", "1.0", "an integer"},
        {"int32", "2147483648", "32 bits"},
        {"uint", "-1", "negative"},
        {"bool", "1", "true or false"},
        {"string", "7", "a text"},
        {"string", "\"\xff\"", ""},
        {"string", "\"\\ud800\"", ""},
        {"string", "\"tab\there\"", ""},
        {"memoryblock", R"({"base64": "Q"})", "base64"},
        {"memoryblock", R"({"base64": "QR=="})", "base64"},
        {"memoryblock", R"({"base64": 1})", "base64"},
        {"memoryblock", R"({"base64": "QQ==", "more": 1})", "bytes"},
        {"datadictionary", R"({"a": null, "a": null})", "twice"},
        {"datadictionary", R"({"a": null})", "has no value"},
        {"datadictionary", R"({"a": {"type": "net.talvo.datatype.int"}})", ""},
        {"datadictionary", R"({"a": {"type": "net.talvo.datatype.int", "value": 1, "more": 1}})", ""},
        {"datadictionary", R"([[null, {"type": "net.talvo.datatype.int", "value": 1}, 1]])", "a key and a value"},
        {"universaldatetime", "\"yesterday\"", "yesterday"},
        {"uuid", "\"no\"", ""},
        {"color", "[1, 2]", "2 values"},
        {"array(net.talvo.datatype.id)", "[1]", "a text"},
        {"string", "\"" + std::string(std::size_t(MAX_DOCUMENT_SIZE), 'x') + "\"", "longer"},
        {"datadictionary", "{\"" + std::string(1 << 20, 'x') + "\": null}", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type + " " + row.value.substr(0, 60));
        const Result<Data> result = ReadJsonValue(row.type, row.value);
        ExpectFormatError(result, "", row.part);
        EXPECT_LT(result.GetError()->GetMessage().size(), 1000u) << "a hostile text doesn't flood the log";
    }
}

TEST(HostileDocumentTest, refusesWrongEnvelopes) {
    const struct {
        std::string text;
        const char* part;
    } rows[] = {
        {"", ""},
        {"[]", "an object"},
        {"7", "an object"},
        {"{}", "format"},
        {R"({"root": "net.talvo.other", "format": 1, "type": "", "value": null})", "net.talvo.other"},
        {R"({"root": "net.talvo.test", "format": 2, "type": "", "value": null})", "format 2"},
        {R"({"root": "net.talvo.test", "format": 1, "type": "", "value": 1})", "without a type"},
        {R"({"root": "net.talvo.test", "format": 1, "type": "", "value": null, "note": 1})", "other members"},
        {MakeJson("bool", "true") + "x", ""},
        {"\xff\xfe{\0}\0", ""},
        {"TALVODOC", "cut short"},
    };
    for (const auto& row : rows) ExpectFormatError(ReadDocumentText(row.text, ROOT, "sample"), row.text, row.part);
}

TEST(HostileDocumentTest, passesOverAByteOrderMark) {
    EXPECT_EQ(MUST(ReadDocumentText("\xef\xbb\xbf" + MakeJson("bool", "true"), ROOT, "sample")), Data(true));
}

TEST(HostileDocumentTest, refusesEachTruncation) {
    for (const DOCUMENT_FORMAT format : FORMATS) {
        const std::string bytes = MUST(WriteDocumentText(MakeGoldenValue(), ROOT, format));
        // All but the line end of JSON counts.
        const std::size_t whole = format == DOCUMENT_FORMAT::JSON ? bytes.size() - 1 : bytes.size();
        for (std::size_t length = 0; length < whole; ++length) {
            ExpectFormatError(ReadDocumentText(std::string_view(bytes).substr(0, length), ROOT, "sample"),
                              FormatMessage("cut to @ bytes", Int(length)));
        }
    }
}

TEST(HostileDocumentTest, refusesEachChangedByteOfTheBinaryForm) {
    std::string bytes = MUST(WriteDocumentText(MakeGoldenValue(), ROOT, DOCUMENT_FORMAT::BINARY));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (const int change : {0x01, 0x80, 0xff}) {
            bytes[i] = char(bytes[i] ^ change);
            ExpectFormatError(ReadDocumentText(bytes, ROOT, "sample"), FormatMessage("byte @ changed", Int(i)));
            bytes[i] = char(bytes[i] ^ change);
        }
    }
}

/// A binary document around any payload, with a checksum that is right.
std::string MakeBinary(std::string_view payload) {
    const auto number = [](UInt value, std::size_t size) {
        std::string bytes;
        for (std::size_t i = 0; i < size; ++i) bytes += char(value >> (8 * i) & 0xff);
        return bytes;
    };
    std::string bytes = "TALVODOC" + number(1, 4) + number(ROOT.GetLength(), 4) + std::string(ROOT.GetView()) + number(9, 4) +
                        "com.other" + number(payload.size(), 8) + std::string(payload);
    return bytes + number(GetStoredHash64(bytes), 8);
}

TEST(HostileDocumentTest, refusesHostilePayloadsWhoseChecksumIsRight) {
    using namespace std::string_literals;
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "a\x01\x00\x00\x00"s;
    const std::string rows[] = {
        ""s,
        "x"s,
        "i\x01"s,
        "n\x00"s,
        "s\xff\xff\xff\xff"s,
        "s\x01\x00\x00\x00\xff"s,
        "b\x05\x00\x00\x00"s,
        "a\xff\xff\xff\xff"s,
        "a\xff\xff\xff\x7fnnnn"s,
        "a\x02\x00\x00\x00n"s,
        "o\xff\xff\xff\xff"s,
        "o\x01\x00\x00\x00\x01\x00\x00\x00\xffn"s,
        "o\x02\x00\x00\x00\x01\x00\x00\x00kn\x01\x00\x00\x00kn"s,
        "d\x00\x00\x00\x00\x00\x00\xf8\x7f"s,
        deep,
    };
    for (const std::string& row : rows)
        ExpectFormatError(ReadDocumentText(MakeBinary(row), ROOT, "sample"), ToHex(row.substr(0, 40)));
    EXPECT_TRUE(ReadDocumentText(MakeBinary("n"), ROOT, "sample").IsOk()) << "the rows fail for their payload alone";
}

}  // namespace
}  // namespace talvo
