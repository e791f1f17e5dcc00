// Copying, comparing and storing of values, and the ones whose type nobody here knows.
#include "kernel/data/data.h"

#include "kernel/data/document_ids.h"
#include "kernel/data/document_json.h"
#include "kernel/text/format.h"

#include <atomic>
#include <new>

namespace talvo {

namespace {

using BoxCount = std::atomic<UInt32>;

BoxCount& GetCount(void* box) { return *static_cast<BoxCount*>(box); }

/// A value of a type that isn't registered: what the document held, and the descriptor with the type's id. The descriptor
/// lies beside the value instead of in a table, where hostile documents could pile them up.
struct UnknownValue {
    DataTypeInfo info;
    DocumentValue document;
};

const UnknownValue& AsUnknown(const void* value) { return *static_cast<const UnknownValue*>(value); }

DataTypeInfo MakeUnknownInfo(const Id& typeId) {
    DataTypeInfo info;
    info.id = typeId;
    info.isUnknown = true;
    info.size = sizeof(UnknownValue);
    info.alignment = alignof(UnknownValue);
    info.destroy = [](void* value) { static_cast<UnknownValue*>(value)->~UnknownValue(); };
    info.equal = [](const void* first, const void* second) -> Bool {
        return AsUnknown(first).document == AsUnknown(second).document;
    };
    info.hash = [](const void*) -> UInt { return 0; };
    info.toText = [](const void* value) { return AsUnknown(value).document.ToString(); };
    info.toDocument = [](const void* value) -> Result<DocumentValue> { return AsUnknown(value).document; };
    return info;
}

}  // namespace

void* detail::DataBox::Allocate(std::size_t size, std::size_t alignment) {
    static_assert(sizeof(BoxCount) <= 8);
    const std::size_t offset = GetOffset(alignment);
    // Memory of ordinary alignment is packed tighter.
    void* box = offset <= __STDCPP_DEFAULT_NEW_ALIGNMENT__ ? ::operator new(offset + size)
                                                           : ::operator new(offset + size, std::align_val_t(offset));
    new (box) BoxCount(1);
    return box;
}

void detail::DataBox::Free(void* box, std::size_t alignment) {
    const std::size_t offset = GetOffset(alignment);
    if (offset <= __STDCPP_DEFAULT_NEW_ALIGNMENT__) return ::operator delete(box);
    ::operator delete(box, std::align_val_t(offset));
}

Data::Data(const LiteralId& id) : Data(static_cast<const Id&>(id)) {}

Data::Data(const InternedId& id) : Data(id.GetId()) {}

Data::Data(const Data& other) {
    if (!other._type) return;
    if (other._type->fitsInline) {
        other._type->copy(_inline, other._inline);
    } else {
        _shared = other._shared;
        GetCount(_shared).fetch_add(1, std::memory_order_relaxed);
    }
    _type = other._type;
}

Data& Data::operator=(Data other) noexcept {
    const Data old(std::move(*this));  // goes last: its destructor may look at this
    MoveFrom(other);
    return *this;
}

void Data::MoveFrom(Data& other) noexcept {
    if (!other._type) return;
    if (other._type->fitsInline) {
        other._type->move(_inline, other._inline);
        other._type->destroy(other._inline);
    } else {
        _shared = other._shared;
    }
    _type = std::exchange(other._type, nullptr);
}

void Data::Reset() {
    const DataType type = std::exchange(_type, nullptr);
    if (!type) return;
    if (type->fitsInline) return type->destroy(_inline);
    if (GetCount(_shared).fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    // Read first: the descriptor of an unknown type goes with its value.
    const std::size_t alignment = type->alignment;
    void* const box = _shared;
    type->destroy(detail::DataBox::GetValue(box, alignment));
    detail::DataBox::Free(box, alignment);
}

const Id& Data::GetTypeId() const {
    static constexpr Id NONE;
    return _type ? _type->id : NONE;
}

Bool operator==(const Data& first, const Data& second) {
    if (!first._type || !second._type) return first._type == second._type;
    const Bool sameType =
        first._type == second._type || (first._type->isUnknown && second._type->isUnknown && first._type->id == second._type->id);
    return sameType && first._type->equal(first.GetMemory(), second.GetMemory());
}

std::string Data::MakeOrderText() const {
    const Result<DocumentValue> document = ToBareDocument();
    if (document.IsError()) return ToString();
    // Whole and unmistakable, unlike the text for people: hostile keys must not tie by the thousand.
    Result<std::string> text = WriteJson(document.GetValue());
    return text.IsOk() ? std::move(text).GetValue() : ToString();
}

int Data::CompareForOrder(const Data& first, const Data& second) {
    const std::strong_ordering types = first.GetTypeId() <=> second.GetTypeId();
    if (types != 0) return types < 0 ? -1 : 1;
    if (first._type && first._type == second._type && first._type->compare) {
        return first._type->compare(first.GetMemory(), second.GetMemory());
    }
    const int texts = first.MakeOrderText().compare(second.MakeOrderText());
    return texts < 0 ? -1 : texts > 0 ? 1 : 0;
}

UInt Data::GetHashCode() const {
    if (!_type) return 0;
    return absl::HashOf(_type->id.GetWord(), _type->hash(GetMemory()));
}

std::string Data::ToString() const { return _type ? _type->toText(GetMemory()) : std::string(); }

const DocumentValue* Data::FindUnread(const Id& typeId) const {
    return _type && _type->isUnknown && _type->id == typeId ? &AsUnknown(GetMemory()).document : nullptr;
}

ErrorRef Data::MakeTypeError(const Id& wanted) const {
    if (IsEmpty()) return IllegalArgumentError::Create(FormatMessage("There is no value; one of type @ is wanted.", wanted));
    return IllegalArgumentError::Create(FormatMessage("The value is of type @; one of type @ is wanted.", GetTypeId(), wanted));
}

Result<DocumentValue> Data::ToBareDocument() const {
    if (!_type) return DocumentValue();
    if (!_type->toDocument) {
        return UnsupportedArgumentError::Create(FormatMessage("A value of type @ can't be stored in a document.", _type->id));
    }
    return _type->toDocument(GetMemory());
}

Result<DocumentValue> Data::ToDocument() const {
    if (!_type) return DocumentValue();
    DocumentValue value = TRY(ToBareDocument());
    DocumentValue::ObjectType object;
    object.reserve(2);
    object.emplace_back("type", DocumentValue::FromBytes(_type->id.GetView()));
    object.emplace_back("value", std::move(value));
    return DocumentValue(std::move(object));
}

Result<Data> Data::FromBareDocument(const Id& typeId, const DocumentValue& value) {
    if (typeId.IsEmpty()) {
        if (!value.IsNull()) return FileFormatError::Create("A value stands there without a type.");
        return Data();
    }
    const DataType type = DataTypes::Find(typeId);
    if (!type) {
        Data result;
        void* const box = detail::DataBox::Allocate(sizeof(UnknownValue), alignof(UnknownValue));
        // From here on the box belongs to nobody until it is whole.
        try {
            auto* unknown =
                new (detail::DataBox::GetValue(box, alignof(UnknownValue))) UnknownValue{MakeUnknownInfo(typeId), value};
            result._shared = box;
            result._type = &unknown->info;
        } catch (...) {
            detail::DataBox::Free(box, alignof(UnknownValue));
            throw;
        }
        return result;
    }
    if (!type->fromDocument) {
        return FileFormatError::Create(FormatMessage("A value of type @ can't come from a document.", typeId));
    }
    return type->fromDocument(value);
}

Result<Data> Data::FromDocument(const DocumentValue& value) {
    if (value.IsNull()) return Data();
    const DocumentValue::ObjectType& members = TRY_REF(value.GetObject());
    if (members.size() != 2) return FileFormatError::Create("A value must stand as \"type\" and \"value\", and nothing else.");
    const DocumentValue& typeText = TRY_REF(value.GetMember("type"));
    const DocumentValue& bare = TRY_REF(value.GetMember("value"));
    const Id typeId = TRY(detail::ReadDocumentId(typeText));
    if (typeId.IsEmpty()) return FileFormatError::Create("A value has an empty type.");
    return FromBareDocument(typeId, bare);
}

}  // namespace talvo
