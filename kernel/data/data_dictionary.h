// A small sorted map from value to value, and the interface of objects that have attributes.
#pragma once

#include "kernel/base/array.h"
#include "kernel/data/data.h"

namespace talvo {

/// Copy-on-write map. Ids of one text are one key, whatever kind of id they are. Iteration is in a fixed order: by type,
/// then value, so that what is printed or written is the same each time.
class DataDictionary {
public:
    struct Entry {
        Data key;
        Data value;
        Bool operator==(const Entry&) const = default;
    };

    /// All entries at once, in any order. Errors: IllegalArgumentError that names a key that is there twice.
    static Result<DataDictionary> Create(BaseArray<Entry> entries);

    Bool IsEmpty() const { return _entries.IsEmpty(); }
    Int GetCount() const { return _entries.GetCount(); }
    const Entry* begin() const { return _entries.begin(); }
    const Entry* end() const { return _entries.end(); }

    /// The value of `key`, or null.
    const Data* Find(const Data& key) const;
    const Data* Find(const Id& key) const { return Find(Data(Id(key))); }
    /// The value of `key`; empty if there is none or it is of another type.
    template <typename T>
    Opt<T> Get(const Id& key) const {
        const Data* data = Find(key);
        if (!data) return {};
        Result<T> value = data->Get<T>();
        return value.IsOk() ? Opt<T>(std::move(value).GetValue()) : Opt<T>();
    }
    /// An empty `value` erases the key. Throws std::bad_alloc.
    void Set(const Data& key, Data value);
    template <typename T>
    void Set(const Id& key, T&& value) {
        Set(Data(Id(key)), Data(std::forward<T>(value)));
    }
    Bool Erase(const Data& key);
    Bool Erase(const Id& key) { return Erase(Data(Id(key))); }
    void Reset() { _entries = {}; }

    std::string ToString() const;
    friend Bool operator==(const DataDictionary& first, const DataDictionary& second);
    UInt GetHashCode() const;
    template <typename H>
    friend H AbslHashValue(H state, const DataDictionary& dictionary) {
        return H::combine(std::move(state), dictionary.GetHashCode());
    }

private:
    Int FindIndex(const Data& key) const;
    void Publish(BaseArray<Entry> entries) { _entries = Array<Entry>(std::move(entries)); }

    Array<Entry> _entries;  // sorted by Data::CompareForOrder of the keys; keys that tie stand together
};

/// An object by id text if all keys are ids, else a list of pairs. Values stand with their types.
template <>
struct DataTraits<DataDictionary> {
    static constexpr LiteralId ID{"net.talvo.datatype.datadictionary"};
    static Result<DocumentValue> ToDocument(const DataDictionary& value);
    static Result<DataDictionary> FromDocument(const DocumentValue& value);
};

}  // namespace talvo
