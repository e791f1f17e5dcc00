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
    Data(const Data& other);
    Data(Data&& other) noexcept;
    ~Data() { Reset(); }
    Data& operator=(Data other) noexcept;

    Bool IsEmpty() const { return _type == nullptr; }
    Bool IsPopulated() const { return _type != nullptr; }
    /// Null if empty. For a value of a type unknown here it is a descriptor that carries the type's id.
    DataType GetType() const { return _type; }
    /// The id of the type, also of one that is unknown here; the null id if empty.
    const Id& GetTypeId() const;

    /// The value if it is a `T`, else null. Valid as long as this Data is unchanged.
    template <typename T>
    const T* GetPtr() const {
        return _type == talvo::GetDataType<T>() ? static_cast<const T*>(GetMemory()) : nullptr;
    }
    /// A copy of the value. Errors: IllegalArgumentError that names both types.
    template <typename T>
    Result<T> Get() const {
        if (const T* value = GetPtr<T>()) return T(*value);
        return MakeTypeError(talvo::GetDataType<T>()->id);
    }

    /// Text for people and logs.
    std::string ToString() const;
    /// `{"type","value"}`. Errors: UnsupportedArgumentError that names the type, if it can't be stored.
    Result<DocumentValue> ToDocument() const;
    /// Reads what ToDocument gives. A type that isn't registered is carried unread and written back whole.
    /// Errors: FileFormatError.
    static Result<Data> FromDocument(const DocumentValue& value);

    void Reset();
    friend Bool operator==(const Data& first, const Data& second);
    UInt GetHashCode() const;
    template <typename H>
    friend H AbslHashValue(H state, const Data& data) {
        return H::combine(std::move(state), data.GetHashCode());
    }

private:
    template <typename T, typename U>
    void Emplace(U&& value);
    const void* GetMemory() const;
    ErrorRef MakeTypeError(const Id& wanted) const;

    DataType _type = nullptr;
    union {
        alignas(8) std::byte _inline[16];
        struct {
            void* _shared;  // counted box
        };
    };
};

static_assert(sizeof(Data) == 24);

}  // namespace talvo

#include "kernel/data/data.inl"
