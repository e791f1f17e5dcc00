// How a descriptor is made from a C++ type and its traits.

#include "kernel/text/format.h"

#include <absl/hash/hash.h>

#include <compare>
#include <new>

namespace talvo {

namespace detail {

template <typename T>
concept HasEquality = requires(const T& value) {
    { value == value } -> std::convertible_to<Bool>;
};
/// Known to the compiler too, so that it never looks at a large value as if it lay in place.
template <typename T>
inline constexpr Bool FITS_INLINE =
    sizeof(T) <= 16 && alignof(T) <= 8 && std::is_nothrow_move_constructible_v<T> && HasEquality<T>;
template <typename T>
concept HasOrder = requires(const T& value) {
    { value <=> value } -> std::convertible_to<std::partial_ordering>;
};
template <typename T>
concept HasHash = std::is_default_constructible_v<absl::Hash<T>>;
template <typename T>
concept HasText = requires(const T& value) {
    { ToText(value) } -> std::convertible_to<std::string>;
};
template <typename T>
concept IsStorable = requires(const T& value, const DocumentValue& document) {
    { DataTraits<T>::ToDocument(value) } -> std::same_as<Result<DocumentValue>>;
    { DataTraits<T>::FromDocument(document) } -> std::same_as<Result<T>>;
};

/// What the type is compared by if it has no equality: values of it lie in a shared box, so copies share the address.
inline Bool IsSameAddress(const void* first, const void* second) { return first == second; }

template <typename T>
Result<Data> ReadData(const DocumentValue& value);

template <typename T>
std::string MakeText(const void* value) {
    if constexpr (HasText<T>) {
        return ToText(*static_cast<const T*>(value));
    } else if constexpr (IsStorable<T>) {
        const Result<DocumentValue> document = DataTraits<T>::ToDocument(*static_cast<const T*>(value));
        return document.IsOk() ? document.GetValue().ToString() : std::string(DataTraits<T>::ID.GetView());
    } else {
        return std::string(DataTraits<T>::ID.GetView());
    }
}

template <typename T>
UInt MakeHash(const void* value) {
    if constexpr (HasHash<T>) {
        return absl::Hash<T>()(*static_cast<const T*>(value));
    } else if constexpr (HasEquality<T>) {
        return 0;  // equal values must agree, and nothing else is known of them
    } else {
        return absl::Hash<const void*>()(value);
    }
}

template <typename T>
int CompareValues(const void* first, const void* second) {
    const std::partial_ordering order = *static_cast<const T*>(first) <=> *static_cast<const T*>(second);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

template <typename T>
DataTypeInfo MakeTypeInfo() {
    DataTypeInfo info;
    info.id = DataTraits<T>::ID;
    info.size = sizeof(T);
    info.alignment = alignof(T);
    info.fitsInline = FITS_INLINE<T>;
    info.copy = [](void* target, const void* source) { new (target) T(*static_cast<const T*>(source)); };
    info.move = [](void* target, void* source) { new (target) T(std::move(*static_cast<T*>(source))); };
    info.destroy = [](void* value) { static_cast<T*>(value)->~T(); };
    if constexpr (HasEquality<T>) {
        info.equal = [](const void* first, const void* second) -> Bool {
            return *static_cast<const T*>(first) == *static_cast<const T*>(second);
        };
    } else {
        info.equal = IsSameAddress;
    }
    info.hash = MakeHash<T>;
    if constexpr (HasOrder<T>) info.compare = CompareValues<T>;
    info.toText = MakeText<T>;
    if constexpr (IsStorable<T>) {
        info.toDocument = [](const void* value) { return DataTraits<T>::ToDocument(*static_cast<const T*>(value)); };
        info.fromDocument = ReadData<T>;
    }
    return info;
}

/// Never freed: values in static objects may outlive everything else.
template <typename T>
DataType MakeType() {
    const DataType type = new DataTypeInfo(MakeTypeInfo<T>());
    if (type->fromDocument) DataTypes::Register(type);
    return type;
}

}  // namespace detail

template <typename T>
DataType GetDataType() {
    static const DataType TYPE = detail::MakeType<T>();
    return TYPE;
}

}  // namespace talvo
