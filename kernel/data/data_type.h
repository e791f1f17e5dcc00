// Run-time descriptors of value types, found by id, and the traits that make a C++ type a value type.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"
#include "kernel/data/document_value.h"
#include "kernel/text/string.h"

#include <string>
#include <type_traits>

namespace talvo {

class Data;

/// What a C++ type says of itself to be held by `Data`. Specialise it in the header of the type:
///
///     template <> struct DataTraits<Colour> {
///         static constexpr LiteralId ID{"net.talvo.datatype.colour"};
///         static Result<DocumentValue> ToDocument(const Colour& value);     // absent: the type can't be stored
///         static Result<Colour> FromDocument(const DocumentValue& value);   // FileFormatError for another shape
///     };
///
/// Equality is operator==, order operator<=>, hash AbslHashValue, text form ToText, each where there is one. A type without
/// equality is equal to its own copies only.
template <typename T>
struct DataTraits;

/// Descriptor of one type; one object per type in the process, compared by address.
struct DataTypeInfo {
    Id id;
    std::size_t size = 0;
    std::size_t alignment = 0;
    Bool fitsInline = false;  ///< at most 16 bytes, nothrow movable, comparable
    Bool isUnknown = false;   ///< stands for a type that isn't registered here; lives as long as the value
    void (*copy)(void* target, const void* source) = nullptr;
    void (*move)(void* target, void* source) = nullptr;
    void (*destroy)(void* value) = nullptr;
    Bool (*equal)(const void* first, const void* second) = nullptr;
    UInt (*hash)(const void* value) = nullptr;
    /// -1, 0 or 1. Null for types without an order.
    int (*compare)(const void* first, const void* second) = nullptr;
    std::string (*toText)(const void* value) = nullptr;
    /// Null for types that can't be stored.
    Result<DocumentValue> (*toDocument)(const void* value) = nullptr;
    Result<Data> (*fromDocument)(const DocumentValue& value) = nullptr;
};

using DataType = const DataTypeInfo*;

/// The descriptor of `T`; registered on first use if it can be stored.
template <typename T>
DataType GetDataType();

namespace DataTypes {

/// Makes a type known by its id, so that documents that hold it can be read. Types that a document may hold before
/// anyone used them in the process are registered at start; the standard types are always known. Registering twice is fine;
/// of two types with one id the first stays. Threads: any.
void Register(DataType type);
template <typename... T>
void RegisterAll() {
    (Register(GetDataType<T>()), ...);
}
/// Null for an id that nobody registered.
DataType Find(const Id& id);

}  // namespace DataTypes

}  // namespace talvo

#include "kernel/data/data_type.inl"
