// Reading the tree of a document without trust in its shape.
#include "kernel/data/document_value.h"

#include "kernel/data/document_ids.h"
#include "kernel/text/format.h"
#include "kernel/text/string.h"

#include <array>

namespace talvo {

namespace {

constexpr std::array<const char*, 9> SHAPES{"null",   "true or false", "an integer", "an integer", "a number",
                                            "a text", "bytes",         "a list",     "an object"};
constexpr std::size_t LONGEST_TEXT = 1000;

ErrorRef MakeShapeError(const char* wanted, const DocumentValue& value) {
    return FileFormatError::Create(FormatMessage("@ stands where @ must stand.", SHAPES[value.GetVariant().index()], wanted));
}

/// Gives up when the text is long enough; nesting costs at least a character a level, so that bounds the depth too.
class LinePrinter {
public:
    void Print(const DocumentValue& value) {
        std::visit([this](const auto& content) { PrintContent(content); }, value.GetVariant());
    }
    std::string Take() {
        if (_text.size() > LONGEST_TEXT) {
            _text.resize(LONGEST_TEXT);
            _text = MakeUtf8(_text) + "...";
        }
        return std::move(_text);
    }

private:
    Bool IsFull() const { return _text.size() > LONGEST_TEXT; }
    void PrintContent(std::monostate) { _text += "null"; }
    void PrintContent(const std::string& text) { _text += '"' + text.substr(0, LONGEST_TEXT) + '"'; }
    void PrintContent(const DocumentValue::Blob& blob) { _text += FormatMessage("<@ bytes>", Int(blob.bytes.size())); }
    void PrintContent(const DocumentValue::ArrayType& array) {
        _text += '[';
        for (const DocumentValue& element : array) {
            if (IsFull()) return;
            if (&element != &array.front()) _text += ", ";
            Print(element);
        }
        _text += ']';
    }
    void PrintContent(const DocumentValue::ObjectType& object) {
        _text += '{';
        for (const auto& member : object) {
            if (IsFull()) return;
            if (&member != &object.front()) _text += ", ";
            _text += member.first.substr(0, LONGEST_TEXT) + ": ";
            Print(member.second);
        }
        _text += '}';
    }
    template <typename T>
    void PrintContent(const T& number) {
        _text += ToText(number);
    }

    std::string _text;
};

}  // namespace

DocumentValue DocumentValue::FromBytes(std::string_view bytes) {
    if (IsUtf8(bytes)) return DocumentValue(std::string(bytes));
    return DocumentValue(Blob{std::string(bytes)});
}

Result<Bool> DocumentValue::GetBool() const {
    if (const Bool* value = std::get_if<Bool>(&_value)) return *value;
    return MakeShapeError("true or false", *this);
}

Result<Int64> DocumentValue::GetInt() const {
    if (const Int64* value = std::get_if<Int64>(&_value)) return *value;
    // What is held as UInt64 doesn't fit.
    if (std::holds_alternative<UInt64>(_value)) {
        return FileFormatError::Create(FormatMessage("@ is too great for an integer with a sign.", std::get<UInt64>(_value)));
    }
    return MakeShapeError("an integer", *this);
}

Result<UInt64> DocumentValue::GetUInt() const {
    if (const UInt64* value = std::get_if<UInt64>(&_value)) return *value;
    const Int64* value = std::get_if<Int64>(&_value);
    if (!value) return MakeShapeError("an integer", *this);
    if (*value < 0) return FileFormatError::Create(FormatMessage("@ stands where no negative number can stand.", *value));
    return UInt64(*value);
}

Result<Float64> DocumentValue::GetFloat() const {
    if (const Float64* value = std::get_if<Float64>(&_value)) return *value;
    if (const Int64* value = std::get_if<Int64>(&_value)) return Float64(*value);
    if (const UInt64* value = std::get_if<UInt64>(&_value)) return Float64(*value);
    return MakeShapeError("a number", *this);
}

Result<const std::string&> DocumentValue::GetText() const {
    if (const std::string* value = std::get_if<std::string>(&_value)) return *value;
    return MakeShapeError("a text", *this);
}

Result<std::string> DocumentValue::GetBytes() const {
    if (const std::string* value = std::get_if<std::string>(&_value)) return *value;
    if (const Blob* value = std::get_if<Blob>(&_value)) return value->bytes;
    return MakeShapeError("a text or bytes", *this);
}

Result<const DocumentValue::ArrayType&> DocumentValue::GetArray() const {
    if (const ArrayType* value = std::get_if<ArrayType>(&_value)) return *value;
    return MakeShapeError("a list", *this);
}

Result<const DocumentValue::ObjectType&> DocumentValue::GetObject() const {
    if (const ObjectType* value = std::get_if<ObjectType>(&_value)) return *value;
    return MakeShapeError("an object", *this);
}

Result<const DocumentValue&> DocumentValue::GetMember(std::string_view key) const {
    if (!std::holds_alternative<ObjectType>(_value)) return MakeShapeError("an object", *this);
    if (const DocumentValue* member = FindMember(key)) return *member;
    return FileFormatError::Create(FormatMessage("\"@\" is missing.", key));
}

const DocumentValue* DocumentValue::FindMember(std::string_view key) const {
    const ObjectType* object = std::get_if<ObjectType>(&_value);
    if (!object) return nullptr;
    for (const auto& member : *object) {
        if (member.first == key) return &member.second;
    }
    return nullptr;
}

std::string DocumentValue::ToString() const {
    LinePrinter printer;
    printer.Print(*this);
    return printer.Take();
}

Result<Id> detail::ReadDocumentId(const DocumentValue& value) {
    const std::string bytes = TRY(value.GetBytes());
    Result<Id> id = Id::Create(bytes);
    if (id.IsError()) return FileFormatError::Create(id.GetError()->GetMessage(), id.GetError());
    return InternedId::FindSame(std::move(id).GetValue());
}

}  // namespace talvo
