// Documents: that every value comes back as it was, the bytes, and what hostile bytes get.
#include "kernel/data/document.h"

#include "kernel/base/hashing.h"
#include "kernel/data/base64.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/data/document_binary.h"
#include "kernel/data/document_json.h"
#include "kernel/data/standard_types.h"
#include "kernel/text/format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace talvo {
namespace {

using ::testing::HasSubstr;

constexpr LiteralId ROOT{"net.talvo.test"};
constexpr DOCUMENT_FORMAT FORMATS[] = {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY};

Result<Data> RoundTrip(const Data& data, DOCUMENT_FORMAT format) {
    const std::string bytes = TRY(WriteDocumentText(data, ROOT, format));
    return ReadDocumentText(bytes, ROOT, "sample");
}

void ExpectRoundTrip(const Data& data) {
    for (const DOCUMENT_FORMAT format : FORMATS) {
        const Result<Data> back = RoundTrip(data, format);
        ASSERT_TRUE(back.IsOk()) << back.GetError()->GetMessage();
        EXPECT_TRUE(back.GetValue() == data) << data.ToString() << " came back as " << back.GetValue().ToString();
        EXPECT_EQ(back.GetValue().GetTypeId(), data.GetTypeId());
    }
}

void ExpectFormatError(const Result<Data>& result, const std::string& why, const std::string& part = "sample") {
    ASSERT_TRUE(result.IsError()) << why;
    EXPECT_TRUE(FileFormatError::IsClassOf(result.GetError())) << why << ": " << result.GetError()->GetMessage();
    EXPECT_THAT(result.GetError()->GetMessage(), HasSubstr("sample")) << why;
    EXPECT_THAT(result.GetError()->GetMessage(), HasSubstr(part)) << why;
}

std::string MakeJson(const std::string& type, const std::string& value) {
    return R"({"root": "net.talvo.test", "format": 1, "type": "net.talvo.datatype.)" + type + R"(", "value": )" + value + "}";
}

Result<Data> ReadJsonValue(const std::string& type, const std::string& value) {
    return ReadDocumentText(MakeJson(type, value), ROOT, "sample");
}

Id MakeId(std::string_view text) { return MUST(Id::Create(text)); }

DataDictionary MakeDictionary(std::initializer_list<DataDictionary::Entry> entries) {
    return MUST(DataDictionary::Create(BaseArray<DataDictionary::Entry>(entries)));
}

TEST(DocumentTest, bringsEachStandardTypeBackInBothForms) {
    const std::string bytes("\x00\xff\x80z", 4);
    const Data rows[] = {
        Data(),
        Data(true),
        Data(false),
        Data(Int(0)),
        Data(std::numeric_limits<Int>::min()),
        Data(std::numeric_limits<Int>::max()),
        Data(std::numeric_limits<Int32>::min()),
        Data(std::numeric_limits<UInt>::max()),
        Data(UInt(5)),
        Data(1.0),
        Data(0.1),
        Data(1e300),
        Data(5e-324),
        Data(-1.5e-7),
        Data(9007199254740993.0),
        Data(String()),
        Data(String("h\u00e4user \U0001f600 \"quoted\" \\ \n\r\t \x01\x7f")),
        Data(String(std::string_view("a\0b", 3))),
        Data(CString(std::string_view(bytes))),
        Data(CString("text")),
        Data("net.talvo.id"_id),
        Data(Id()),
        Data(MakeId(bytes)),
        Data(UniversalDateTime(1683028800123456)),
        Data(UniversalDateTime()),
        Data(UniversalDateTime(-1)),
        Data(UniversalDateTime::GetMax()),
        Data(UniversalDateTime(std::numeric_limits<Int64>::min())),
        Data(UniversalDateTime(-62'135'596'800'000'000)),
        Data(UniversalDateTime(-62'135'596'800'000'001)),
        Data(UniversalDateTime(253'402'300'799'999'999)),
        Data(UniversalDateTime(253'402'300'800'000'000)),
        Data(MUST(Uuid::Create("01234567-89ab-cdef-0123-456789abcdef"))),
        Data(Uuid()),
        Data(Color{0.25, 1, 1e-3}),
        Data(MemoryBlock{bytes}),
        Data(MemoryBlock{"plain text stays bytes"}),
        Data(BaseArray<Id>{}),
        Data(BaseArray<Id>{"a"_id, MakeId(bytes)}),
        Data(BaseArray<String>{"x", ""}),
        Data(BaseArray<Data>{Data(Int(1)), Data(), Data(String("two")), Data(BaseArray<Data>{Data(3.0)})}),
        Data(std::tuple<UniversalDateTime, Int>(UniversalDateTime(5), 6)),
        Data(std::pair<Float64, Float64>(-1, 2.5)),
        Data(std::pair<Id, Id>("a"_id, "b"_id)),
        Data(DataDictionary()),
        Data(MakeDictionary({{Data("b"_id), Data(Int(1))}, {Data("a"_id), Data(DataDictionary())}})),
        Data(MakeDictionary({{Data(Int(1)), Data(true)}, {Data(String("k")), Data(false)}, {Data(), Data(Int(2))}})),
        Data(MakeDictionary({{Data(MakeId(bytes)), Data(true)}})),
    };
    for (const Data& row : rows) {
        SCOPED_TRACE(std::string(row.GetTypeId().GetView()) + " " + row.ToString());
        ExpectRoundTrip(row);
    }
}

TEST(DocumentTest, keepsTheSignOfZero) {
    for (const DOCUMENT_FORMAT format : FORMATS) {
        const Data back = MUST(RoundTrip(Data(-0.0), format));
        EXPECT_TRUE(std::signbit(*back.GetPtr<Float64>()));
    }
}

TEST(DocumentTest, tellsObjectsThatLookLikeBytesFromBytes) {
    for (const char* key : {"base64", "~base64", "~~base64", "~", "x~base64", "base64~"}) {
        SCOPED_TRACE(key);
        ExpectRoundTrip(Data(MakeDictionary({{Data(MakeId(key)), Data(String("QQ=="))}})));
        const DocumentValue object(DocumentValue::ObjectType{{key, DocumentValue("QQ==")}});
        const std::string text = MUST(WriteJson(object));
        EXPECT_EQ(MUST(ReadJson(text)), object);
    }
}

// --- nested random values

class RandomValues {
public:
    explicit RandomValues(UInt32 seed) : _random(seed) {}

    Data Make(int depth) {
        switch (Pick(depth > 0 ? 13 : 9)) {
            case 0: return Data(Pick(2) == 0);
            case 1: return Data(Int(Bits()));
            case 2: return Data(Int32(Bits()));
            case 3: return Data(Bits());
            case 4: return Data(MakeFloat());
            case 5: return Data(String(std::string_view(MakeBytes())));
            case 6: return Data(CString(std::string_view(MakeBytes())));
            case 7: return Data(MakeId(MakeBytes()));
            case 8: return Data(MemoryBlock{MakeBytes()});
            case 9:
            case 10: return Data(MakeArray(depth));
            case 11: return Data(MakeDictionary(depth, KEYS::IDS));
            default: return Data(MakeDictionary(depth, KEYS::ANY));
        }
    }

private:
    enum class KEYS { IDS, ANY };

    UInt Bits() {
        const UInt bits = UInt(_random()) << 32 | _random();
        return bits >> Pick(64);
    }
    int Pick(int count) { return int(_random() % UInt32(count)); }
    Float64 MakeFloat() {
        const Float64 value = std::bit_cast<Float64>(UInt(_random()) << 32 | _random());
        return std::isfinite(value) ? value : 0.5;
    }
    std::string MakeBytes() {
        std::string bytes;
        const int kind = Pick(3);
        for (int count = Pick(8); count > 0; --count) bytes += kind == 0 ? char(Pick(256)) : char('a' + Pick(26));
        return bytes;
    }
    BaseArray<Data> MakeArray(int depth) {
        BaseArray<Data> array;
        for (int count = Pick(5); count > 0; --count) MUST(array.Append(Make(depth - 1)));
        return array;
    }
    DataDictionary MakeDictionary(int depth, KEYS keys) {
        DataDictionary dictionary;
        for (int count = Pick(5); count > 0; --count) {
            dictionary.Set(keys == KEYS::IDS ? Data(MakeId(MakeBytes())) : Make(depth - 1), Make(depth - 1));
        }
        return dictionary;
    }

    std::mt19937 _random;
};

TEST(DocumentTest, bringsNestedRandomValuesBack) {
    for (UInt32 seed = 0; seed < 500; ++seed) {
        SCOPED_TRACE(FormatMessage("seed @", seed));
        const Data data = RandomValues(seed).Make(4);
        ExpectRoundTrip(data);
        for (const DOCUMENT_FORMAT format : FORMATS) {
            const std::string bytes = MUST(WriteDocumentText(data, ROOT, format));
            const Data back = MUST(ReadDocumentText(bytes, ROOT, "sample"));
            EXPECT_EQ(MUST(WriteDocumentText(back, ROOT, format)), bytes) << "what was read is written as it was";
        }
    }
}

// --- bytes of the formats, kept for ever

Data MakeGoldenValue() {
    return Data(MakeDictionary({
        {Data("net.talvo.bytes"_id), Data(CString(std::string_view("\xff\x00", 2)))},
        {Data("net.talvo.flag"_id), Data(true)},
        {Data("net.talvo.list"_id), Data(BaseArray<Id>{"a"_id, "b"_id})},
        {Data("net.talvo.number"_id), Data(1.0)},
        {Data("net.talvo.time"_id), Data(UniversalDateTime(1683028800000001))},
    }));
}

constexpr const char* GOLDEN_JSON = R"json({
  "root": "net.talvo.test",
  "format": 1,
  "type": "net.talvo.datatype.datadictionary",
  "value": {
    "net.talvo.bytes": {
      "type": "net.talvo.datatype.cstring",
      "value": {"base64": "/wA="}
    },
    "net.talvo.flag": {
      "type": "net.talvo.datatype.bool",
      "value": true
    },
    "net.talvo.list": {
      "type": "net.talvo.datatype.array(net.talvo.datatype.id)",
      "value": [
        "a",
        "b"
      ]
    },
    "net.talvo.number": {
      "type": "net.talvo.datatype.float64",
      "value": 1.0
    },
    "net.talvo.time": {
      "type": "net.talvo.datatype.universaldatetime",
      "value": "2023-05-02T12:00:00.000001Z"
    }
  }
}
)json";

TEST(DocumentTest, hasTheBytesOfJson) {
    EXPECT_EQ(MUST(WriteDocumentText(MakeGoldenValue(), ROOT, DOCUMENT_FORMAT::JSON)), GOLDEN_JSON);
    EXPECT_EQ(MUST(ReadDocumentText(GOLDEN_JSON, ROOT, "sample")), MakeGoldenValue());
    EXPECT_EQ(MUST(WriteDocumentText(Data(), ROOT, DOCUMENT_FORMAT::JSON)),
              "{\n  \"root\": \"net.talvo.test\",\n  \"format\": 1,\n  \"type\": \"\",\n  \"value\": null\n}\n");
}

std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        text += "0123456789abcdef"[UChar(c) >> 4];
        text += "0123456789abcdef"[UChar(c) & 15];
    }
    return text;
}

TEST(DocumentTest, hasTheBytesOfTheBinaryForm) {
    const Data value(BaseArray<Data>{Data(Int(-2)), Data(String("hi"))});
    const std::string bytes = MUST(WriteDocumentText(value, "r"_id, DOCUMENT_FORMAT::BINARY));
    const std::string type = "net.talvo.datatype.array(net.talvo.datatype.data)";
    const std::string intType = "net.talvo.datatype.int";
    const std::string stringType = "net.talvo.datatype.string";
    const auto text = [](const std::string& t) { return ToHex(std::string(1, char(t.size())) + std::string(3, '\0') + t); };
    const std::string payload = "61" "02000000"
        "6f" "02000000" + text("type") + "73" + text(intType) + text("value") + "69" "feffffffffffffff"
        "6f" "02000000" + text("type") + "73" + text(stringType) + text("value") + "73" + text("hi");
    const std::string head = ToHex("TALVODOC") + "01000000" + text("r") + text(type) + ToHex(std::string(1, char(payload.size() / 2))) +
                             "00000000000000";
    EXPECT_EQ(ToHex(bytes.substr(0, bytes.size() - 8)), head + payload);
    EXPECT_EQ(ToHex(bytes.substr(bytes.size() - 8)), "d4054c0052399536");
}

// --- values of types that nobody registered

struct Late {
    Int value = 0;
    Bool operator==(const Late&) const = default;
};

}  // namespace

template <>
struct DataTraits<Late> {
    static constexpr LiteralId ID{"net.talvo.datatype.late"};
    static Result<DocumentValue> ToDocument(const Late& late) { return DocumentValue(late.value); }
    static Result<Late> FromDocument(const DocumentValue& value) {
        const Int number = TRY(value.GetInt());
        return Late{number};
    }
};

namespace {

TEST(UnknownTypeTest, isCarriedAndWrittenBackWhole) {
    const std::string json = R"({
  "root": "net.talvo.test",
  "format": 1,
  "type": "net.talvo.datatype.datadictionary",
  "value": {
    "net.talvo.inner": {
      "type": "com.example.unknown",
      "value": {
        "z": 1.0,
        "a": [
          18446744073709551615,
          -0.0,
          null,
          {"base64": "/w=="},
          {}
        ],
        "n": {
          "~base64": "x"
        }
      }
    }
  }
}
)";
    const Data data = MUST(ReadDocumentText(json, ROOT, "sample"));
    EXPECT_EQ(MUST(WriteDocumentText(data, ROOT, DOCUMENT_FORMAT::JSON)), json);
    const Data viaBinary = MUST(RoundTrip(data, DOCUMENT_FORMAT::BINARY));
    EXPECT_EQ(MUST(WriteDocumentText(viaBinary, ROOT, DOCUMENT_FORMAT::JSON)), json);

    const Data* inner = data.GetPtr<DataDictionary>()->Find("net.talvo.inner"_id);
    ASSERT_TRUE(inner);
    EXPECT_EQ(inner->GetTypeId().GetView(), "com.example.unknown");
    EXPECT_EQ(inner->GetType()->id.GetView(), "com.example.unknown");
    EXPECT_FALSE(inner->ToString().empty());
    EXPECT_EQ(*inner, *viaBinary.GetPtr<DataDictionary>()->Find("net.talvo.inner"_id));
    EXPECT_TRUE(inner->Get<Int>().IsError());
}

TEST(UnknownTypeTest, readsOnceItsTypeIsKnown) {
    const Data unread = MUST(ReadJsonValue("late", "7"));
    ASSERT_TRUE(unread.GetType()->isUnknown);
    EXPECT_EQ(MUST(unread.Get<Late>()).value, 7);
    const Data malformed = MUST(ReadDocumentText(MakeJson("nobody", "1"), ROOT, "sample"));
    EXPECT_TRUE(malformed.Get<Late>().IsError());
    EXPECT_EQ(MUST(ReadJsonValue("late", "7")), Data(Late{7}));
}

// --- what can't be written

TEST(DocumentTest, refusesWhatCouldNotBeReadAgain) {
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

TEST(DocumentTest, readsValuesAsDeepAsItWrites) {
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

TEST(DocumentTest, refusesHostileJsonByName) {
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

TEST(DocumentTest, refusesWrongEnvelopes) {
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

TEST(DocumentTest, passesOverAByteOrderMark) {
    EXPECT_EQ(MUST(ReadDocumentText("\xef\xbb\xbf" + MakeJson("bool", "true"), ROOT, "sample")), Data(true));
}

TEST(DocumentTest, refusesEachTruncation) {
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

TEST(DocumentTest, refusesEachChangedByteOfTheBinaryForm) {
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
    std::string bytes = "TALVODOC" + number(1, 4) + number(ROOT.GetLength(), 4) + std::string(ROOT.GetView()) + number(9, 4) + "com.other" +
                        number(payload.size(), 8) + std::string(payload);
    return bytes + number(GetStoredHash64(bytes), 8);
}

TEST(DocumentTest, refusesHostilePayloadsWhoseChecksumIsRight) {
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
    for (const std::string& row : rows) ExpectFormatError(ReadDocumentText(MakeBinary(row), ROOT, "sample"), ToHex(row.substr(0, 40)));
    EXPECT_TRUE(ReadDocumentText(MakeBinary("n"), ROOT, "sample").IsOk()) << "the rows fail for their payload alone";
}

TEST(DocumentTest, survivesRandomPayloads) {
    const std::string sample = MUST(WriteDocumentText(MakeGoldenValue(), ROOT, DOCUMENT_FORMAT::BINARY));
    const std::string payload = sample.substr(sample.size() - 400, 392);
    std::mt19937 random(7);
    for (int run = 0; run < 20'000; ++run) {
        std::string mutant = payload.substr(random() % 60);
        for (UInt32 changes = 1 + random() % 4; changes > 0; --changes) mutant[random() % mutant.size()] = "nftiudsbao\0\1\2"[random() % 13];
        const Result<Data> result = ReadDocumentText(MakeBinary(mutant), ROOT, "sample");
        if (result.IsError()) ExpectFormatError(result, "mutant");
    }
}

TEST(Base64Test, isStrict) {
    const struct {
        const char* bytes;
        const char* text;
    } rows[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"\xfb\xff", "+/8="}};
    for (const auto& row : rows) {
        EXPECT_EQ(EncodeBase64(row.bytes), row.text);
        EXPECT_EQ(DecodeBase64(row.text), row.bytes);
    }
    for (const char* wrong : {"Z", "Zg", "Zg=", "Zh==", "Zm9=", "Zg==Zg==", "====", "=", "Z g=", "Zg==\n", "Zg-_"}) {
        EXPECT_EQ(DecodeBase64(wrong), std::nullopt) << wrong;
    }
}

}  // namespace
}  // namespace talvo
