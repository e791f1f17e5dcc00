// Forms in documents of the plain types.
#include "kernel/data/standard_types.h"

#include "kernel/data/data_dictionary.h"
#include "kernel/data/document_ids.h"
#include "kernel/text/format.h"

#include <limits>

namespace talvo {

namespace {

// Years 1 to 9999: what RFC 3339 text can say.
constexpr Int64 FIRST_TEXT_TIME = -62'135'596'800'000'000;
constexpr Int64 LAST_TEXT_TIME = 253'402'300'799'999'999;

}  // namespace

Result<DocumentValue> DataTraits<Bool>::ToDocument(const Bool& value) { return DocumentValue(value); }
Result<Bool> DataTraits<Bool>::FromDocument(const DocumentValue& value) { return value.GetBool(); }

Result<DocumentValue> DataTraits<Int>::ToDocument(const Int& value) { return DocumentValue(value); }
Result<Int> DataTraits<Int>::FromDocument(const DocumentValue& value) { return value.GetInt(); }

Result<DocumentValue> DataTraits<Int32>::ToDocument(const Int32& value) { return DocumentValue(Int64(value)); }
Result<Int32> DataTraits<Int32>::FromDocument(const DocumentValue& value) {
    const Int64 number = TRY(value.GetInt());
    if (number < std::numeric_limits<Int32>::min() || number > std::numeric_limits<Int32>::max()) {
        return FileFormatError::Create(FormatMessage("@ doesn't fit into 32 bits.", number));
    }
    return Int32(number);
}

Result<DocumentValue> DataTraits<UInt>::ToDocument(const UInt& value) { return DocumentValue(value); }
Result<UInt> DataTraits<UInt>::FromDocument(const DocumentValue& value) { return value.GetUInt(); }

Result<DocumentValue> DataTraits<Float64>::ToDocument(const Float64& value) { return DocumentValue(value); }
Result<Float64> DataTraits<Float64>::FromDocument(const DocumentValue& value) { return value.GetFloat(); }

Result<DocumentValue> DataTraits<String>::ToDocument(const String& value) { return DocumentValue(value.GetCString()); }
Result<String> DataTraits<String>::FromDocument(const DocumentValue& value) {
    const std::string& text = TRY_REF(value.GetText());
    return String(text);
}

Result<DocumentValue> DataTraits<CString>::ToDocument(const CString& value) { return DocumentValue::FromBytes(value.GetView()); }
Result<CString> DataTraits<CString>::FromDocument(const DocumentValue& value) {
    const std::string bytes = TRY(value.GetBytes());
    return CString(std::string_view(bytes));
}

Result<DocumentValue> DataTraits<Id>::ToDocument(const Id& value) { return DocumentValue::FromBytes(value.GetView()); }
Result<Id> DataTraits<Id>::FromDocument(const DocumentValue& value) { return detail::ReadDocumentId(value); }

Result<DocumentValue> DataTraits<UniversalDateTime>::ToDocument(const UniversalDateTime& value) {
    const Int64 microseconds = value.GetValue();
    if (microseconds < FIRST_TEXT_TIME || microseconds > LAST_TEXT_TIME) return DocumentValue(microseconds);
    return DocumentValue(value.Format());
}
Result<UniversalDateTime> DataTraits<UniversalDateTime>::FromDocument(const DocumentValue& value) {
    if (std::holds_alternative<Int64>(value.GetVariant())) {
        const Int64 microseconds = TRY(value.GetInt());
        return UniversalDateTime(microseconds);
    }
    const std::string& text = TRY_REF(value.GetText());
    return UniversalDateTime::Parse(text);
}

Result<DocumentValue> DataTraits<Uuid>::ToDocument(const Uuid& value) { return DocumentValue(value.ToString()); }
Result<Uuid> DataTraits<Uuid>::FromDocument(const DocumentValue& value) {
    const std::string& text = TRY_REF(value.GetText());
    Result<Uuid> uuid = Uuid::Create(text);
    if (uuid.IsError()) return FileFormatError::Create(uuid.GetError()->GetMessage(), uuid.GetError());
    return uuid;
}

Result<DocumentValue> DataTraits<Color>::ToDocument(const Color& value) {
    return DataTraits<std::tuple<Float64, Float64, Float64>>::ToDocument({value.r, value.g, value.b});
}
Result<Color> DataTraits<Color>::FromDocument(const DocumentValue& value) {
    const auto [r, g, b] = TRY(DataTraits<std::tuple<Float64, Float64, Float64>>::FromDocument(value));
    return Color{r, g, b};
}

Result<DocumentValue> DataTraits<MemoryBlock>::ToDocument(const MemoryBlock& value) {
    return DocumentValue(DocumentValue::Blob{value.bytes});
}
Result<MemoryBlock> DataTraits<MemoryBlock>::FromDocument(const DocumentValue& value) {
    std::string bytes = TRY(value.GetBytes());
    return MemoryBlock{std::move(bytes)};
}

Result<DocumentValue> DataTraits<Data>::ToDocument(const Data& value) { return value.ToDocument(); }
Result<Data> DataTraits<Data>::FromDocument(const DocumentValue& value) { return Data::FromDocument(value); }

Result<const DocumentValue::ArrayType&> detail::ReadList(const DocumentValue& value, std::size_t count) {
    const DocumentValue::ArrayType& list = TRY_REF(value.GetArray());
    if (list.size() == count) return list;
    return FileFormatError::Create(FormatMessage("A list holds @ values where @ must stand.", Int(list.size()), Int(count)));
}

void detail::RegisterStandardTypes() {
    DataTypes::RegisterAll<Bool, Int, Int32, UInt, Float64, String, CString, Id, UniversalDateTime, Uuid, Color, MemoryBlock,
                           DataDictionary>();
    DataTypes::RegisterAll<BaseArray<Bool>, BaseArray<Int>, BaseArray<Float64>, BaseArray<String>, BaseArray<CString>,
                           BaseArray<Id>, BaseArray<UniversalDateTime>, BaseArray<Data>, BaseArray<DataDictionary>>();
    DataTypes::RegisterAll<std::tuple<UniversalDateTime, Int>, std::pair<Float64, Float64>, std::pair<Id, Id>>();
}

}  // namespace talvo
