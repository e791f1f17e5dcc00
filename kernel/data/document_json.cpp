// Trees of values as JSON text.
#include "kernel/data/document_json.h"

#include "kernel/data/base64.h"
#include "kernel/data/document.h"
#include "kernel/data/document_limits.h"
#include "kernel/text/format.h"

#include <nlohmann/json.hpp>

#include <charconv>

namespace talvo {

namespace {

constexpr std::string_view BLOB_KEY = "base64";
constexpr char ESCAPE = '~';
/// What stands in a document beside its value: the object around it, root, format and type.
constexpr Int ENVELOPE_VALUES = 4;

/// "base64" behind any number of "~": the keys that need one more when they stand alone.
Bool IsBlobLikeKey(std::string_view key) {
    return key.ends_with(BLOB_KEY) && key.find_first_not_of(ESCAPE) == key.size() - BLOB_KEY.size();
}

/// Appends JSON text. Expects a tree within the limits.
class JsonWriter {
public:
    enum class FORM { INDENTED, ONE_LINE };
    explicit JsonWriter(FORM form, std::string text = {}) : _form(form), _text(std::move(text)) {}
    void Write(const DocumentValue& value) {
        std::visit([this](const auto& content) { WriteContent(content); }, value.GetVariant());
    }
    std::string Take() { return std::move(_text); }
    Bool IsTooLong() const { return Int64(_text.size()) > MAX_DOCUMENT_SIZE; }

private:
    void StartLine() {
        if (_form == FORM::ONE_LINE) return;
        _text += '\n';
        _text.append(std::size_t(2 * _depth), ' ');
    }
    void WriteContent(std::monostate) { _text += "null"; }
    void WriteContent(Bool value) { _text += value ? "true" : "false"; }
    void WriteContent(Int64 value) { _text += std::to_string(value); }
    void WriteContent(UInt64 value) { _text += std::to_string(value); }
    void WriteContent(Float64 value) {
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        const std::string_view text(digits, std::size_t(end - digits));
        _text += text;
        // Without a mark of its kind it would come back as an integer.
        if (text.find_first_of(".e") == text.npos) _text += ".0";
    }
    void WriteContent(const std::string& text) {
        if (IsUtf8(text)) return WriteText(text);
        WriteBlob(text);
    }
    void WriteContent(const DocumentValue::Blob& blob) { WriteBlob(blob.bytes); }
    void WriteContent(const DocumentValue::ArrayType& array) {
        WriteItems('[', array, [this](const DocumentValue& element) { Write(element); });
        _text += ']';
    }
    void WriteContent(const DocumentValue::ObjectType& object) {
        const Bool isBlobLike = object.size() == 1 && IsBlobLikeKey(object[0].first);
        WriteItems('{', object, [&](const auto& member) {
            WriteText(isBlobLike ? ESCAPE + member.first : member.first);
            _text += ": ";
            Write(member.second);
        });
        _text += '}';
    }
    template <typename ITEMS, typename WRITE>
    void WriteItems(char bracket, const ITEMS& items, const WRITE& write) {
        _text += bracket;
        if (items.empty()) return;
        ++_depth;
        for (const auto& item : items) {
            if (&item != &items.front()) _text += _form == FORM::ONE_LINE ? ", " : ",";
            StartLine();
            write(item);
        }
        --_depth;
        StartLine();
    }
    void WriteBlob(std::string_view bytes) { _text += "{\"base64\": \"" + EncodeBase64(bytes) + "\"}"; }
    void WriteText(std::string_view text) {
        _text += '"';
        // Nearly all texts are one run of plain characters.
        for (std::size_t begin = 0; begin < text.size();) {
            std::size_t end = begin;
            while (end < text.size() && IsPlain(text[end])) ++end;
            _text.append(text, begin, end - begin);
            if (end < text.size()) WriteEscaped(text[end]);
            begin = end + 1;
        }
        _text += '"';
    }
    static Bool IsPlain(char c) { return UChar(c) >= 0x20 && c != '"' && c != '\\'; }
    void WriteEscaped(char c) {
        static constexpr char DIGITS[] = "0123456789abcdef";
        switch (c) {
            case '"': _text += "\\\""; break;
            case '\\': _text += "\\\\"; break;
            case '\n': _text += "\\n"; break;
            case '\r': _text += "\\r"; break;
            case '\t': _text += "\\t"; break;
            default:
                _text += "\\u00";
                _text += DIGITS[UChar(c) >> 4];
                _text += DIGITS[UChar(c) & 15];
        }
    }

    const FORM _form;
    std::string _text;
    Int _depth = 0;
};

/// Takes the parser's events and builds the tree on a stack of its own, so that depth costs no call stack.
class JsonReader {
public:
    using Json = nlohmann::json;

    bool null() { return Add(DocumentValue()); }
    bool boolean(bool value) { return Add(DocumentValue(value)); }
    bool number_integer(Json::number_integer_t value) { return Add(DocumentValue(Int64(value))); }
    bool number_unsigned(Json::number_unsigned_t value) { return Add(DocumentValue(UInt64(value))); }
    bool number_float(Json::number_float_t value, const std::string& text) {
        // The parser hands integers that don't fit over as floats, which would lose digits.
        if (text.find_first_of(".eE") == text.npos) return Fail(FormatMessage("The integer @ needs more than 64 bits.", text));
        return Add(DocumentValue(Float64(value)));
    }
    bool string(std::string& text) { return Add(DocumentValue(std::move(text))); }
    bool binary(Json::binary_t&) { return Fail("Bytes can't stand in a text."); }
    bool start_array(std::size_t) { return Open(Frame{}); }
    bool start_object(std::size_t) { return Open(Frame{.isObject = true}); }
    bool key(std::string& text) {
        _stack.back().key = std::move(text);
        return true;
    }
    bool end_array() {
        DocumentValue value(std::move(_stack.back().array));
        _stack.pop_back();
        return Add(std::move(value));
    }
    bool end_object() {
        DocumentValue::ObjectType object = std::move(_stack.back().object);
        _stack.pop_back();
        if (const std::string* twin = detail::FindDuplicateKey(object)) {
            return Fail(FormatMessage("The key \"@\" stands twice in one object.", *twin));
        }
        if (object.size() != 1 || !IsBlobLikeKey(object[0].first)) return Add(DocumentValue(std::move(object)));
        if (object[0].first == BLOB_KEY) return AddBlob(object[0].second);
        object[0].first.erase(0, 1);
        return Add(DocumentValue(std::move(object)));
    }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) {
        // Behind "] " the text is for people.
        const std::string_view text = error.what();
        const std::size_t mark = text.find("] ");
        return Fail(FormatMessage("At byte @: @.", Int(position), MakeUtf8(mark == text.npos ? text : text.substr(mark + 2))));
    }

    DocumentValue TakeRoot() { return std::move(_root); }
    const std::string& GetProblem() const { return _problem; }

private:
    struct Frame {
        Bool isObject = false;
        DocumentValue::ArrayType array{};
        DocumentValue::ObjectType object{};
        std::string key{};
    };

    Bool Fail(std::string problem) {
        _problem = std::move(problem);
        return false;
    }
    Bool Open(Frame frame) {
        // One more than the values may have, for the object around them.
        if (Int(_stack.size()) > MAX_DOCUMENT_DEPTH) {
            return Fail(FormatMessage("Values stand in values deeper than @ levels.", MAX_DOCUMENT_DEPTH));
        }
        _stack.push_back(std::move(frame));
        return true;
    }
    Bool Add(DocumentValue value) {
        if (++_count > MAX_DOCUMENT_VALUES + ENVELOPE_VALUES)
            return Fail(FormatMessage("It holds more than @ values.", MAX_DOCUMENT_VALUES));
        if (_stack.empty()) {
            _root = std::move(value);
        } else if (Frame& frame = _stack.back(); frame.isObject) {
            frame.object.emplace_back(std::move(frame.key), std::move(value));
        } else {
            frame.array.push_back(std::move(value));
        }
        return true;
    }
    Bool AddBlob(const DocumentValue& value) {
        const Result<const std::string&> text = value.GetText();
        Opt<std::string> bytes = text.IsOk() ? DecodeBase64(text.GetValue()) : std::nullopt;
        if (!bytes) return Fail("\"base64\" isn't followed by a text of that form.");
        --_count;  // its text was counted
        return Add(DocumentValue(DocumentValue::Blob{*std::move(bytes)}));
    }

    std::vector<Frame> _stack;
    DocumentValue _root;
    std::string _problem;
    Int _count = 0;
};

}  // namespace

Result<std::string> WriteJson(const DocumentValue& value) {
    JsonWriter writer(JsonWriter::FORM::INDENTED);
    writer.Write(value);
    if (writer.IsTooLong()) {
        return IllegalArgumentError::Create(FormatMessage("A document can't be longer than @ bytes.", MAX_DOCUMENT_SIZE));
    }
    return writer.Take();
}

void AppendJsonLine(const DocumentValue& value, std::string& text) {
    JsonWriter writer(JsonWriter::FORM::ONE_LINE, std::move(text));
    writer.Write(value);
    text = writer.Take();
}

Result<DocumentValue> ReadJson(std::string_view text) {
    if (Int64(text.size()) > MAX_DOCUMENT_SIZE) {
        return FileFormatError::Create(FormatMessage("It is longer than @ bytes.", MAX_DOCUMENT_SIZE));
    }
    JsonReader reader;
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &reader)) return FileFormatError::Create(reader.GetProblem());
    return reader.TakeRoot();
}

}  // namespace talvo
