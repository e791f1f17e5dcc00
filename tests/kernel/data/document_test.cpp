// Documents: that every value comes back as it was, and the bytes.
#include "kernel/data/document.h"

#include "document_samples.h"
#include "kernel/data/base64.h"
#include "kernel/data/document_json.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace talvo {

using namespace document_samples;

namespace {

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

TEST(DocumentTest, hasTheBytesOfTheBinaryForm) {
    const Data value(BaseArray<Data>{Data(Int(-2)), Data(String("hi"))});
    const std::string bytes = MUST(WriteDocumentText(value, "r"_id, DOCUMENT_FORMAT::BINARY));
    const std::string type = "net.talvo.datatype.array(net.talvo.datatype.data)";
    const std::string intType = "net.talvo.datatype.int";
    const std::string stringType = "net.talvo.datatype.string";
    const auto text = [](const std::string& t) { return ToHex(std::string(1, char(t.size())) + std::string(3, '\0') + t); };
    const std::string payload =
        "61"
        "02000000"
        "6f"
        "02000000" +
        text("type") + "73" + text(intType) + text("value") +
        "69"
        "feffffffffffffff"
        "6f"
        "02000000" +
        text("type") + "73" + text(stringType) + text("value") + "73" + text("hi");
    const std::string head = ToHex("TALVODOC") + "01000000" + text("r") + text(type) +
                             ToHex(std::string(1, char(payload.size() / 2))) + "00000000000000";
    EXPECT_EQ(ToHex(bytes.substr(0, bytes.size() - 8)), head + payload);
    EXPECT_EQ(ToHex(bytes.substr(bytes.size() - 8)), "d4054c0052399536");
}

TEST(DocumentTest, hasTheBytesThatTheDocumentationShows) {
    const Data time(UniversalDateTime(1683028800000000));
    const std::string bytes = MUST(WriteDocumentText(time, "net.talvo.asset.timestamp"_id, DOCUMENT_FORMAT::BINARY));
    EXPECT_EQ(
        ToHex(bytes),
        "54414c564f444f4301000000190000006e65742e74616c766f2e61737365742e74696d657374616d70240000006e65742e74616c766f2e64617461"
        "747970652e756e6976657273616c6461746574696d65200000000000000073"
        "1b000000323032332d30352d30325431323a30303a30302e3030"
        "303030305aac58b93d3a1b6df3");
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
