// One value of any registered type.
#pragma once

#include "kernel/data/data_type.h"

#include <string>
#include <utility>

namespace talvo {

/// Value type with copy semantics; values over 16 bytes are shared and never changed in place.
/// Two are equal if they have one type and equal values; a type without equality compares by identity.
/// Threads: as a plain value; copies may go to other threads.
class Data {
public:
    Data() = default;
    template <typename T>
        requires(!std::same_as<std::remove_cvref_t<T>, Data> && requires { DataTraits<std::remove_cvref_t<T>>::ID; })
    explicit Data(T&& value) {
        Emplace<std::remove_cvref_t<T>>(std::forward<T>(value));
    }
    /// Ids of all kinds are held as `Id`, so that one text is one value.
    explicit Data(const LiteralId& id);
    explicit Data(const InternedId& id);
    Data(const Data& other);
    Data(Data&& other) noexcept { MoveFrom(other); }
    ~Data() { Reset(); }
    Data& operator=(Data other) noexcept;

    Bool IsEmpty() const { return _type == nullptr; }
    Bool IsPopulated() const { return _type != nullptr; }
    /// Null if empty. For a value of a type unknown here it is a descriptor that carries the type's id; that one lives only as
    /// long as a copy of the value, so that hostile documents can't fill a table with ids.
    DataType GetType() const { return _type; }
    /// The id of the type, also of one that is unknown here; the null id if empty.
    const Id& GetTypeId() const;

    /// The value if it is a `T`, else null. Valid as long as this Data is unchanged. `Data` itself counts as its own type.
    template <typename T>
    const T* GetPtr() const;
    /// A copy of the value. One that was carried unread, since its type wasn't known yet, is read now.
    /// Errors: IllegalArgumentError that names both types; FileFormatError if such a value doesn't read as a `T`.
    template <typename T>
    Result<T> Get() const;

    /// The memory of the value, laid out as its type; null if empty.
    const void* GetMemory() const;

    /// Text for people and logs.
    std::string ToString() const;
    /// `{"type","value"}`. Errors: UnsupportedArgumentError that names the type, if it can't be stored.
    Result<DocumentValue> ToDocument() const;
    /// Reads what ToDocument gives. A type that isn't registered is carried unread and written back whole.
    /// Errors: FileFormatError.
    static Result<Data> FromDocument(const DocumentValue& value);
    /// The value alone, for where its type is known. Errors: as ToDocument.
    Result<DocumentValue> ToBareDocument() const;
    /// Reads what ToBareDocument gives; the null id stands for the empty Data. Errors: FileFormatError.
    static Result<Data> FromBareDocument(const Id& typeId, const DocumentValue& value);

    void Reset();
    friend Bool operator==(const Data& first, const Data& second);
    /// Order by type id, then by value where the type has an order, else by its form in documents. 0 doesn't mean equal.
    static int CompareForOrder(const Data& first, const Data& second);
    UInt GetHashCode() const;
    template <typename H>
    friend H AbslHashValue(H state, const Data& data) {
        return H::combine(std::move(state), data.GetHashCode());
    }

private:
    template <typename T, typename U>
    void Emplace(U&& value);
    /// What a value of the unregistered type `typeId` was read from, or null.
    const DocumentValue* FindUnread(const Id& typeId) const;
    void MoveFrom(Data& other) noexcept;
    std::string MakeOrderText() const;
    ErrorRef MakeTypeError(const Id& wanted) const;

    DataType _type = nullptr;
    union {
        alignas(8) std::byte _inline[16];
        void* _shared;  // counted box
    };
};

static_assert(sizeof(Data) == 24);

}  // namespace talvo

#include "kernel/data/data.inl"
// Whoever can hold a value knows the plain types, so that no file sees them without.
#include "kernel/data/standard_types.h"
