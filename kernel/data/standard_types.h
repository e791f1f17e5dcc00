// The plain types that values are made of: each with its id and its form in documents.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/date_time.h"
#include "kernel/base/delegate.h"
#include "kernel/base/object.h"
#include "kernel/base/uuid.h"
#include "kernel/data/data.h"

#include <array>
#include <compare>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

namespace talvo {

/// A colour, linear, usually 0 to 1.
struct Color {
    Float64 r = 0;
    Float64 g = 0;
    Float64 b = 0;
    Bool operator==(const Color&) const = default;
};

/// Bytes that are no text.
struct MemoryBlock {
    std::string bytes;
    auto operator<=>(const MemoryBlock&) const = default;
    template <typename H>
    friend H AbslHashValue(H state, const MemoryBlock& block) {
        return H::combine(std::move(state), block.bytes);
    }
};

#define TALVO_STANDARD_TYPE(TYPE, NAME)                               \
    template <>                                                       \
    struct DataTraits<TYPE> {                                         \
        static constexpr LiteralId ID{"net.talvo.datatype." NAME};    \
        static Result<DocumentValue> ToDocument(const TYPE& value);   \
        static Result<TYPE> FromDocument(const DocumentValue& value); \
    }

TALVO_STANDARD_TYPE(Bool, "bool");
TALVO_STANDARD_TYPE(Int, "int");
TALVO_STANDARD_TYPE(Int32, "int32");
TALVO_STANDARD_TYPE(UInt, "uint");
/// Not-a-number and the infinities can be held, not stored.
TALVO_STANDARD_TYPE(Float64, "float64");
TALVO_STANDARD_TYPE(String, "string");
TALVO_STANDARD_TYPE(CString, "cstring");
TALVO_STANDARD_TYPE(Id, "id");
/// RFC 3339 text with 6 fraction digits in the years 1 to 9999, else the number of microseconds.
TALVO_STANDARD_TYPE(UniversalDateTime, "universaldatetime");
TALVO_STANDARD_TYPE(Uuid, "uuid");
/// [r, g, b]
TALVO_STANDARD_TYPE(Color, "color");
/// Bytes, never text.
TALVO_STANDARD_TYPE(MemoryBlock, "memoryblock");
/// A value in a value, with its type.
TALVO_STANDARD_TYPE(Data, "data");

#undef TALVO_STANDARD_TYPE

namespace detail {

/// Id texts of types made of types, put together at compile time: `NAME(FIRST,SECOND)`.
template <const auto& NAME, typename... T>
struct CompositeId {
    static constexpr std::size_t LENGTH =
        NAME.size() + 2 + (sizeof...(T) ? sizeof...(T) - 1 : 0) + (std::size_t(0) + ... + DataTraits<T>::ID.GetLength());
    static constexpr auto TEXT = [] {
        std::array<char, LENGTH + 1> text{};
        std::size_t end = 0;
        const auto append = [&](std::string_view part) {
            for (const char c : part) text[end++] = c;
        };
        append(NAME);
        char separator = '(';
        ((append(std::string_view(&separator, 1)), append(DataTraits<T>::ID.GetView()), separator = ','), ...);
        append(sizeof...(T) ? ")" : "()");
        return text;
    }();
};

inline constexpr std::string_view ARRAY_NAME = "net.talvo.datatype.array";
inline constexpr std::string_view TUPLE_NAME = "net.talvo.datatype.tuple";
inline constexpr std::string_view PAIR_NAME = "net.talvo.datatype.pair";

/// Errors: FileFormatError if `value` is no list of `count` values.
Result<const DocumentValue::ArrayType&> ReadList(const DocumentValue& value, std::size_t count);

template <typename TUPLE, std::size_t... INDEX>
Result<DocumentValue> WriteTuple(const TUPLE& value, std::index_sequence<INDEX...>) {
    DocumentValue::ArrayType list;
    list.reserve(sizeof...(INDEX));
    Result<void> outcome;
    const auto append = [&]<typename T>(const T& element) -> Result<void> {
        DocumentValue document = TRY(DataTraits<T>::ToDocument(element));
        list.push_back(std::move(document));
        return OK;
    };
    ((outcome = append(std::get<INDEX>(value)), outcome.IsOk()) && ...);
    if (outcome.IsError()) return outcome.GetError();
    return DocumentValue(std::move(list));
}

template <typename TUPLE, std::size_t... INDEX>
Result<TUPLE> ReadTuple(const DocumentValue& value, std::index_sequence<INDEX...>) {
    const DocumentValue::ArrayType& list = TRY_REF(ReadList(value, sizeof...(INDEX)));
    TUPLE result;
    Result<void> outcome;
    const auto read = [&]<typename T>(T& element, const DocumentValue& document) -> Result<void> {
        element = TRY(DataTraits<T>::FromDocument(document));
        return OK;
    };
    ((outcome = read(std::get<INDEX>(result), list[INDEX]), outcome.IsOk()) && ...);
    if (outcome.IsError()) return outcome.GetError();
    return result;
}

void RegisterStandardTypes();

}  // namespace detail

/// A list of values of one type.
template <typename T>
struct DataTraits<BaseArray<T>> {
private:
    using Name = detail::CompositeId<detail::ARRAY_NAME, T>;

public:
    static constexpr LiteralId ID{Name::TEXT.data(), Name::LENGTH};
    static Result<DocumentValue> ToDocument(const BaseArray<T>& value)
        requires detail::IsStorable<T>
    {
        DocumentValue::ArrayType list;
        list.reserve(std::size_t(value.GetCount()));
        for (const T& element : value) {
            DocumentValue document = TRY(DataTraits<T>::ToDocument(element));
            list.push_back(std::move(document));
        }
        return DocumentValue(std::move(list));
    }
    static Result<BaseArray<T>> FromDocument(const DocumentValue& value)
        requires detail::IsStorable<T>
    {
        const DocumentValue::ArrayType& list = TRY_REF(value.GetArray());
        BaseArray<T> result;
        TRY(result.EnsureCapacity(Int(list.size())));
        for (const DocumentValue& document : list) {
            T element = TRY(DataTraits<T>::FromDocument(document));
            TRY(result.Append(std::move(element)));
        }
        return result;
    }
};

/// A list of fixed length with a type for each place.
template <typename... T>
struct DataTraits<std::tuple<T...>> {
private:
    using Name = detail::CompositeId<detail::TUPLE_NAME, T...>;
    using Indices = std::index_sequence_for<T...>;

public:
    static constexpr LiteralId ID{Name::TEXT.data(), Name::LENGTH};
    static Result<DocumentValue> ToDocument(const std::tuple<T...>& value)
        requires(detail::IsStorable<T> && ...)
    {
        return detail::WriteTuple(value, Indices());
    }
    static Result<std::tuple<T...>> FromDocument(const DocumentValue& value)
        requires(detail::IsStorable<T> && ...)
    {
        return detail::ReadTuple<std::tuple<T...>>(value, Indices());
    }
};

/// As a tuple of two. A pair of Float64 serves as range.
template <typename A, typename B>
struct DataTraits<std::pair<A, B>> {
private:
    using Name = detail::CompositeId<detail::PAIR_NAME, A, B>;
    using Indices = std::index_sequence_for<A, B>;

public:
    static constexpr LiteralId ID{Name::TEXT.data(), Name::LENGTH};
    static Result<DocumentValue> ToDocument(const std::pair<A, B>& value)
        requires(detail::IsStorable<A> && detail::IsStorable<B>)
    {
        return detail::WriteTuple(value, Indices());
    }
    static Result<std::pair<A, B>> FromDocument(const DocumentValue& value)
        requires(detail::IsStorable<A> && detail::IsStorable<B>)
    {
        return detail::ReadTuple<std::pair<A, B>>(value, Indices());
    }
};

// References and callables can be held and compare by identity; they can't be stored.
template <typename T>
struct DataTraits<StrongRef<T>> {
    static constexpr LiteralId ID{"net.talvo.datatype.strongref"};
};
template <typename T>
struct DataTraits<WeakRef<T>> {
    static constexpr LiteralId ID{"net.talvo.datatype.weakref"};
};
template <typename SIGNATURE>
struct DataTraits<Delegate<SIGNATURE>> {
    static constexpr LiteralId ID{"net.talvo.datatype.delegate"};
};

}  // namespace talvo
