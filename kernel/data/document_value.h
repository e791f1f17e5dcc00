// The tree that stands between values and the bytes of a document, the same for JSON and binary form.
#pragma once

#include "kernel/base/result.h"
#include "kernel/base/types.h"

#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace talvo {

/// Null, Bool, Int, UInt, Float, text (UTF-8), blob (any bytes), array, or object with keys in order.
/// Readers must not trust its shape: ask with the Get functions, which give FileFormatError for another shape.
class DocumentValue {
public:
    struct Blob {
        std::string bytes;
        Bool operator==(const Blob&) const = default;
    };
    using ArrayType = std::vector<DocumentValue>;
    using ObjectType = std::vector<std::pair<std::string, DocumentValue>>;

    DocumentValue() = default;
    DocumentValue(Bool value) : _value(value) {}
    DocumentValue(Int64 value) : _value(value) {}
    /// Held as Int64 where it fits, so that equal numbers are equal values.
    DocumentValue(UInt64 value) {
        if (value <= UInt64(INT64_MAX)) {
            _value = Int64(value);
        } else {
            _value = value;
        }
    }
    DocumentValue(Float64 value) : _value(value) {}
    DocumentValue(std::string text) : _value(std::move(text)) {}
    DocumentValue(const char* text) : _value(std::string(text)) {}
    DocumentValue(Blob blob) : _value(std::move(blob)) {}
    DocumentValue(ArrayType array) : _value(std::move(array)) {}
    DocumentValue(ObjectType object) : _value(std::move(object)) {}
    /// Text if `bytes` are UTF-8, else a blob.
    static DocumentValue FromBytes(std::string_view bytes);

    Bool IsNull() const { return std::holds_alternative<std::monostate>(_value); }
    Result<Bool> GetBool() const;
    /// Any integer that fits; UInt and Int convert where exact.
    Result<Int64> GetInt() const;
    Result<UInt64> GetUInt() const;
    /// Any number; integers convert.
    Result<Float64> GetFloat() const;
    Result<const std::string&> GetText() const;
    /// Text or blob.
    Result<std::string> GetBytes() const;
    Result<const ArrayType&> GetArray() const;
    Result<const ObjectType&> GetObject() const;
    /// Member of an object. Errors: FileFormatError that names `key`.
    Result<const DocumentValue&> GetMember(std::string_view key) const;
    /// Member of an object or null; null for anything that is no object.
    const DocumentValue* FindMember(std::string_view key) const;

    Bool operator==(const DocumentValue&) const = default;
    const auto& GetVariant() const { return _value; }
    /// One line like JSON, for people and logs; long values are cut.
    std::string ToString() const;

private:
    std::variant<std::monostate, Bool, Int64, UInt64, Float64, std::string, Blob, ArrayType, ObjectType> _value;
};

}  // namespace talvo
