// Trees of values as bytes. docs/formats-documents.md has the table of what is written and read here.
#include "kernel/data/document_binary.h"

#include "kernel/base/hashing.h"
#include "kernel/data/document.h"
#include "kernel/data/document_limits.h"
#include "kernel/text/format.h"

#include <bit>
#include <cmath>
#include <concepts>

namespace talvo {

namespace {

constexpr UInt32 VERSION = 1;
constexpr std::size_t CHECKSUM_SIZE = 8;

enum class TAG : char {
    NONE = 'n',
    FALSE = 'f',
    TRUE = 't',
    INT = 'i',
    UINT = 'u',
    FLOAT = 'd',
    TEXT = 's',
    BLOB = 'b',
    ARRAY = 'a',
    OBJECT = 'o'
};

class ByteWriter {
public:
    explicit ByteWriter(std::string bytes = {}) : _bytes(std::move(bytes)) {}
    template <std::unsigned_integral T>
    void WriteNumber(T value) {
        for (std::size_t i = 0; i < sizeof(T); ++i) _bytes += char(value >> (8 * i) & 0xff);
    }
    void WriteBytes(std::string_view bytes) {
        WriteNumber(UInt32(bytes.size()));
        _bytes += bytes;
    }
    void WriteRaw(std::string_view bytes) { _bytes += bytes; }
    void WriteValue(const DocumentValue& value) {
        std::visit([this](const auto& content) { WriteContent(content); }, value.GetVariant());
    }
    std::string& GetBytes() { return _bytes; }

private:
    void WriteTag(TAG tag) { _bytes += char(tag); }
    void WriteContent(std::monostate) { WriteTag(TAG::NONE); }
    void WriteContent(Bool value) { WriteTag(value ? TAG::TRUE : TAG::FALSE); }
    void WriteContent(Int64 value) {
        WriteTag(TAG::INT);
        WriteNumber(UInt64(value));
    }
    void WriteContent(UInt64 value) {
        WriteTag(TAG::UINT);
        WriteNumber(value);
    }
    void WriteContent(Float64 value) {
        WriteTag(TAG::FLOAT);
        WriteNumber(std::bit_cast<UInt64>(value));
    }
    void WriteContent(const std::string& text) {
        WriteTag(IsUtf8(text) ? TAG::TEXT : TAG::BLOB);
        WriteBytes(text);
    }
    void WriteContent(const DocumentValue::Blob& blob) {
        WriteTag(TAG::BLOB);
        WriteBytes(blob.bytes);
    }
    void WriteContent(const DocumentValue::ArrayType& array) {
        WriteTag(TAG::ARRAY);
        WriteNumber(UInt32(array.size()));
        for (const DocumentValue& element : array) WriteValue(element);
    }
    void WriteContent(const DocumentValue::ObjectType& object) {
        WriteTag(TAG::OBJECT);
        WriteNumber(UInt32(object.size()));
        for (const auto& [key, member] : object) {
            WriteBytes(key);
            WriteValue(member);
        }
    }

    std::string _bytes;
};

ErrorRef MakeCutError() { return FileFormatError::Create("It is cut short, or a length in it is wrong."); }

/// Reads from the front of bytes that nobody vouches for. Each length is held against what is there before it is used.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : _rest(bytes) {}

    std::size_t GetRest() const { return _rest.size(); }
    Result<std::string_view> Take(std::size_t count) {
        if (count > _rest.size()) return MakeCutError();
        const std::string_view taken = _rest.substr(0, count);
        _rest.remove_prefix(count);
        return taken;
    }
    template <std::unsigned_integral T>
    Result<T> ReadNumber() {
        const std::string_view bytes = TRY(Take(sizeof(T)));
        T value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) value |= T(T(UChar(bytes[i])) << (8 * i));
        return value;
    }
    Result<std::string_view> ReadBytes() {
        const UInt32 length = TRY(ReadNumber<UInt32>());
        return Take(length);
    }
    Result<std::string> ReadText() {
        const std::string_view bytes = TRY(ReadBytes());
        if (!IsUtf8(bytes)) return FileFormatError::Create("A text in it is not UTF-8.");
        return std::string(bytes);
    }

private:
    std::string_view _rest;
};

Result<Id> ReadFrameId(std::string_view bytes) {
    Result<Id> id = Id::Create(bytes);
    if (id.IsError()) return FileFormatError::Create(id.GetError()->GetMessage(), id.GetError());
    return id;
}

class ValueReader {
public:
    explicit ValueReader(ByteReader& reader) : _reader(reader) {}

    Result<DocumentValue> Read(Int depth) {
        if (++_count > MAX_DOCUMENT_VALUES) {
            return FileFormatError::Create(FormatMessage("It holds more than @ values.", MAX_DOCUMENT_VALUES));
        }
        const std::string_view tag = TRY(_reader.Take(1));
        switch (TAG(tag[0])) {
            case TAG::NONE: return DocumentValue();
            case TAG::FALSE: return DocumentValue(false);
            case TAG::TRUE: return DocumentValue(true);
            case TAG::INT: return ReadInt();
            case TAG::UINT: return ReadUInt();
            case TAG::FLOAT: return ReadFloat();
            case TAG::TEXT: return ReadText();
            case TAG::BLOB: return ReadBlob(depth + 1);
            case TAG::ARRAY: return ReadArray(depth + 1);
            case TAG::OBJECT: return ReadObject(depth + 1);
        }
        return FileFormatError::Create("It holds a value of a kind that doesn't exist.");
    }

private:
    static Result<void> CheckDepth(Int depth) {
        if (depth <= MAX_DOCUMENT_DEPTH) return OK;
        return FileFormatError::Create(FormatMessage("Values stand in values deeper than @ levels.", MAX_DOCUMENT_DEPTH));
    }
    Result<DocumentValue> ReadInt() {
        const UInt64 value = TRY(_reader.ReadNumber<UInt64>());
        return DocumentValue(Int64(value));
    }
    Result<DocumentValue> ReadUInt() {
        const UInt64 value = TRY(_reader.ReadNumber<UInt64>());
        return DocumentValue(value);
    }
    Result<DocumentValue> ReadFloat() {
        const UInt64 bits = TRY(_reader.ReadNumber<UInt64>());
        const Float64 value = std::bit_cast<Float64>(bits);
        if (!std::isfinite(value)) return FileFormatError::Create("A number in it isn't finite.");
        return DocumentValue(value);
    }
    Result<DocumentValue> ReadText() {
        std::string text = TRY(_reader.ReadText());
        return DocumentValue(std::move(text));
    }
    Result<DocumentValue> ReadBlob(Int depth) {
        TRY(CheckDepth(depth));
        const std::string_view bytes = TRY(_reader.ReadBytes());
        return DocumentValue(DocumentValue::Blob{std::string(bytes)});
    }
    // Lists grow as they are read: a false count must not reserve what no bytes stand behind.
    Result<DocumentValue> ReadArray(Int depth) {
        TRY(CheckDepth(depth));
        const UInt32 count = TRY(_reader.ReadNumber<UInt32>());
        if (count > _reader.GetRest()) return MakeCutError();
        DocumentValue::ArrayType array;
        for (UInt32 i = 0; i < count; ++i) {
            DocumentValue element = TRY(Read(depth));
            array.push_back(std::move(element));
        }
        return DocumentValue(std::move(array));
    }
    Result<DocumentValue> ReadObject(Int depth) {
        TRY(CheckDepth(depth));
        const UInt32 count = TRY(_reader.ReadNumber<UInt32>());
        if (count > _reader.GetRest()) return MakeCutError();
        DocumentValue::ObjectType object;
        for (UInt32 i = 0; i < count; ++i) {
            std::string key = TRY(_reader.ReadText());
            DocumentValue member = TRY(Read(depth));
            object.emplace_back(std::move(key), std::move(member));
        }
        if (const std::string* twin = detail::FindDuplicateKey(object)) {
            return FileFormatError::Create(FormatMessage("The key \"@\" stands twice in one object.", *twin));
        }
        return DocumentValue(std::move(object));
    }

    ByteReader& _reader;
    Int _count = 0;
};

}  // namespace

void AppendBinaryValue(const DocumentValue& value, std::string& bytes) {
    ByteWriter writer(std::move(bytes));
    writer.WriteValue(value);
    bytes = std::move(writer.GetBytes());
}

Result<DocumentValue> ReadBinaryValue(std::string_view bytes) {
    ByteReader reader(bytes);
    DocumentValue value = TRY(ValueReader(reader).Read(0));
    if (reader.GetRest() != 0) return FileFormatError::Create("Bytes follow its value.");
    return value;
}

namespace {

UInt32 ReadLength(std::string_view bytes) {
    UInt32 length = 0;
    for (std::size_t i = 0; i < sizeof(length); ++i) length |= UInt32(UChar(bytes[i])) << (8 * i);
    return length;
}

/// The bytes behind a length in 4 bytes; nothing if they aren't there.
Opt<std::string_view> TakeBytes(std::string_view& rest) {
    if (rest.size() < sizeof(UInt32)) return std::nullopt;
    const UInt32 length = ReadLength(rest);
    rest.remove_prefix(sizeof(length));
    if (length > rest.size()) return std::nullopt;
    const std::string_view bytes = rest.substr(0, length);
    rest.remove_prefix(length);
    return bytes;
}

}  // namespace

std::size_t BinaryValueView::MeasureValue(std::string_view bytes, Int depth) {
    if (bytes.empty() || depth > MAX_DOCUMENT_DEPTH) return 0;
    std::string_view rest = bytes.substr(1);
    const auto measured = [&] { return bytes.size() - rest.size(); };
    switch (TAG(bytes[0])) {
        case TAG::NONE:
        case TAG::FALSE:
        case TAG::TRUE: return 1;
        case TAG::INT:
        case TAG::UINT:
        case TAG::FLOAT: return rest.size() < sizeof(UInt64) ? 0 : 1 + sizeof(UInt64);
        case TAG::TEXT:
        case TAG::BLOB: return TakeBytes(rest) ? measured() : 0;
        case TAG::ARRAY:
        case TAG::OBJECT: break;
        default: return 0;
    }
    const Bool isObject = TAG(bytes[0]) == TAG::OBJECT;
    UInt32 count = 0;
    if (rest.size() < sizeof(count)) return 0;
    rest = BinaryValueView(bytes).EnterList(bytes[0], count);
    for (UInt32 i = 0; i < count; ++i) {
        if (isObject && !TakeBytes(rest)) return 0;
        const std::size_t length = MeasureValue(rest, depth + 1);
        if (length == 0) return 0;
        rest.remove_prefix(length);
    }
    return measured();
}

std::string_view BinaryValueView::EnterList(char tag, UInt32& count) const {
    count = 0;
    if (_bytes.size() < 1 + sizeof(count) || _bytes[0] != tag) return {};
    count = ReadLength(_bytes.substr(1));
    return _bytes.substr(1 + sizeof(count));
}

Opt<std::string_view> BinaryValueView::GetText() const {
    const Bool isText = !_bytes.empty() && (TAG(_bytes[0]) == TAG::TEXT || TAG(_bytes[0]) == TAG::BLOB);
    std::string_view rest = isText ? _bytes.substr(1) : std::string_view();
    return isText ? TakeBytes(rest) : std::nullopt;
}

Opt<BinaryValueView> BinaryValueView::FindMember(std::string_view key) const {
    UInt32 count = 0;
    std::string_view rest = EnterList(char(TAG::OBJECT), count);
    for (UInt32 i = 0; i < count; ++i) {
        const Opt<std::string_view> found = TakeBytes(rest);
        if (!found) return std::nullopt;
        if (*found == key) return BinaryValueView(rest);
        const std::size_t length = MeasureValue(rest, 0);
        if (length == 0) return std::nullopt;
        rest.remove_prefix(length);
    }
    return std::nullopt;
}

std::string MakeBinaryDocumentHead(const Id& rootId, const Id& typeId, UInt64 length) {
    ByteWriter writer;
    writer.WriteRaw(BINARY_DOCUMENT_MAGIC);
    writer.WriteNumber(VERSION);
    writer.WriteBytes(rootId.GetView());
    writer.WriteBytes(typeId.GetView());
    writer.WriteNumber(length);
    return std::move(writer.GetBytes());
}

Result<BinaryDocumentFrame> ReadBinaryDocumentFrame(std::string_view bytes) {
    if (!bytes.starts_with(BINARY_DOCUMENT_MAGIC)) return FileFormatError::Create("It is no binary document.");
    if (bytes.size() < BINARY_DOCUMENT_MAGIC.size() + CHECKSUM_SIZE) return MakeCutError();
    const std::size_t length = bytes.size() - BINARY_DOCUMENT_MAGIC.size() - CHECKSUM_SIZE;
    ByteReader reader(bytes.substr(BINARY_DOCUMENT_MAGIC.size(), length));
    const UInt32 version = TRY(reader.ReadNumber<UInt32>());
    if (version != VERSION) {
        return FileFormatError::Create(FormatMessage("It has format version @; this program reads version @.", version, VERSION));
    }
    BinaryDocumentFrame frame;
    frame.rootId = TRY(reader.ReadBytes());
    frame.typeId = TRY(reader.ReadBytes());
    const UInt64 payloadLength = TRY(reader.ReadNumber<UInt64>());
    if (payloadLength != reader.GetRest()) return MakeCutError();
    frame.payload = TRY(reader.Take(reader.GetRest()));
    return frame;
}

Result<void> CheckBinaryDocumentSum(std::string_view bytes) {
    if (bytes.size() < CHECKSUM_SIZE) return MakeCutError();
    const std::string_view body = bytes.substr(0, bytes.size() - CHECKSUM_SIZE);
    ByteReader end(bytes.substr(body.size()));
    const UInt64 checksum = TRY(end.ReadNumber<UInt64>());
    if (checksum == GetStoredHash64(body)) return OK;
    return FileFormatError::Create("Its checksum is wrong: it is cut short or damaged. Take it from a backup.");
}

Result<std::string> WriteBinaryDocument(const BinaryDocument& document) {
    std::string payload;
    AppendBinaryValue(document.value, payload);
    ByteWriter writer(MakeBinaryDocumentHead(document.rootId, document.typeId, payload.size()));
    writer.WriteRaw(payload);
    writer.WriteNumber(UInt64(GetStoredHash64(writer.GetBytes())));
    if (Int64(writer.GetBytes().size()) > MAX_DOCUMENT_SIZE) {
        return IllegalArgumentError::Create(FormatMessage("A document can't be longer than @ bytes.", MAX_DOCUMENT_SIZE));
    }
    return std::move(writer.GetBytes());
}

Result<BinaryDocument> ReadBinaryDocument(std::string_view bytes) {
    if (Int64(bytes.size()) > MAX_DOCUMENT_SIZE) {
        return FileFormatError::Create(FormatMessage("It is longer than @ bytes.", MAX_DOCUMENT_SIZE));
    }
    if (bytes.starts_with(BINARY_DOCUMENT_MAGIC)) TRY(CheckBinaryDocumentSum(bytes));
    const BinaryDocumentFrame frame = TRY(ReadBinaryDocumentFrame(bytes));
    BinaryDocument document;
    document.rootId = TRY(ReadFrameId(frame.rootId));
    document.typeId = TRY(ReadFrameId(frame.typeId));
    document.value = TRY(ReadBinaryValue(frame.payload));
    return document;
}

}  // namespace talvo
