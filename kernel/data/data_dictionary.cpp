// The sorted map and its form in documents.
#include "kernel/data/data_dictionary.h"

#include "kernel/text/format.h"

#include <algorithm>
#include <new>

namespace talvo {

namespace {

using Entry = DataDictionary::Entry;

Bool IsLess(const Entry& first, const Entry& second) { return Data::CompareForOrder(first.key, second.key) < 0; }

/// The range of keys that tie with `key`: mostly one or none, more only for types without an order.
std::pair<const Entry*, const Entry*> GetTies(const Entry* begin, const Entry* end, const Data& key) {
    const Entry* first =
        std::partition_point(begin, end, [&](const Entry& entry) { return Data::CompareForOrder(entry.key, key) < 0; });
    const Entry* last =
        std::partition_point(first, end, [&](const Entry& entry) { return Data::CompareForOrder(entry.key, key) <= 0; });
    return {first, last};
}

void ThrowIfFailed(const Result<void>& growth) {
    if (growth.IsError()) throw std::bad_alloc();
}

/// The text under which a key can stand in an object; null if it can't.
const Id* FindObjectKey(const Data& key) {
    const Id* id = key.GetPtr<Id>();
    return id && IsUtf8(id->GetView()) ? id : nullptr;
}

Result<DocumentValue> WriteAsObject(const DataDictionary& dictionary) {
    DocumentValue::ObjectType object;
    object.reserve(std::size_t(dictionary.GetCount()));
    for (const Entry& entry : dictionary) {
        DocumentValue value = TRY(entry.value.ToDocument());
        object.emplace_back(std::string(entry.key.GetPtr<Id>()->GetView()), std::move(value));
    }
    return DocumentValue(std::move(object));
}

Result<DocumentValue> WriteAsPairs(const DataDictionary& dictionary) {
    DocumentValue::ArrayType pairs;
    pairs.reserve(std::size_t(dictionary.GetCount()));
    for (const Entry& entry : dictionary) {
        DocumentValue key = TRY(entry.key.ToDocument());
        DocumentValue value = TRY(entry.value.ToDocument());
        DocumentValue::ArrayType pair;
        pair.push_back(std::move(key));
        pair.push_back(std::move(value));
        pairs.emplace_back(std::move(pair));
    }
    return DocumentValue(std::move(pairs));
}

Result<void> AppendRead(BaseArray<Entry>& entries, Data key, const DocumentValue& document) {
    Data value = TRY(Data::FromDocument(document));
    if (value.IsEmpty()) return FileFormatError::Create(FormatMessage("The key @ has no value.", key));
    return entries.Append(Entry{std::move(key), std::move(value)});
}

Result<BaseArray<Entry>> ReadObject(const DocumentValue::ObjectType& object) {
    BaseArray<Entry> entries;
    TRY(entries.EnsureCapacity(Int(object.size())));
    for (const auto& [text, document] : object) {
        Result<Id> id = Id::Create(text);
        if (id.IsError()) return FileFormatError::Create(id.GetError()->GetMessage(), id.GetError());
        TRY(AppendRead(entries, Data(InternedId::FindSame(std::move(id).GetValue())), document));
    }
    return entries;
}

Result<BaseArray<Entry>> ReadPairs(const DocumentValue::ArrayType& pairs) {
    BaseArray<Entry> entries;
    TRY(entries.EnsureCapacity(Int(pairs.size())));
    for (const DocumentValue& element : pairs) {
        const DocumentValue::ArrayType& pair = TRY_REF(element.GetArray());
        if (pair.size() != 2) return FileFormatError::Create("A dictionary's entry must be a key and a value.");
        Data key = TRY(Data::FromDocument(pair[0]));
        TRY(AppendRead(entries, std::move(key), pair[1]));
    }
    return entries;
}

}  // namespace

Result<DataDictionary> DataDictionary::Create(BaseArray<Entry> entries) {
    std::sort(entries.begin(), entries.end(), IsLess);
    // Equal keys tie, so they stand in one run; runs are short.
    for (Int run = 0; run < entries.GetCount();) {
        Int next = run + 1;
        for (; next < entries.GetCount() && Data::CompareForOrder(entries[run].key, entries[next].key) == 0; ++next) {
            for (Int other = run; other < next; ++other) {
                if (!(entries[other].key == entries[next].key)) continue;
                return IllegalArgumentError::Create(FormatMessage("The key @ is there twice.", entries[next].key));
            }
        }
        run = next;
    }
    DataDictionary result;
    result.Publish(std::move(entries));
    return result;
}

Int DataDictionary::FindIndex(const Data& key) const {
    const auto [first, last] = GetTies(begin(), end(), key);
    for (const Entry* entry = first; entry != last; ++entry) {
        if (entry->key == key) return entry - begin();
    }
    return -1;
}

const Data* DataDictionary::Find(const Data& key) const {
    const Int index = FindIndex(key);
    return index < 0 ? nullptr : &_entries[index].value;
}

void DataDictionary::Set(const Data& key, Data value) {
    if (value.IsEmpty()) {
        Erase(key);
        return;
    }
    BaseArray<Entry> entries = _entries.CopyValues();
    if (const Int index = FindIndex(key); index >= 0) {
        entries[index].value = std::move(value);
    } else {
        const Int position = GetTies(begin(), end(), key).second - begin();
        ThrowIfFailed(entries.Insert(position, Entry{key, std::move(value)}));
    }
    Publish(std::move(entries));
}

Bool DataDictionary::Erase(const Data& key) {
    const Int index = FindIndex(key);
    if (index < 0) return false;
    BaseArray<Entry> entries = _entries.CopyValues();
    entries.Erase(index);
    Publish(std::move(entries));
    return true;
}

std::string DataDictionary::ToString() const {
    std::string text = "{";
    for (const Entry& entry : _entries) {
        if (&entry != begin()) text += ", ";
        text += entry.key.ToString() + ": " + entry.value.ToString();
    }
    return text + "}";
}

Bool operator==(const DataDictionary& first, const DataDictionary& second) {
    if (first.begin() == second.begin() && first.GetCount() == second.GetCount()) return true;
    if (first.GetCount() != second.GetCount()) return false;
    // Not entry by entry: keys that tie may stand in another order.
    return std::all_of(first.begin(), first.end(), [&](const Entry& entry) {
        const Data* other = second.Find(entry.key);
        return other && *other == entry.value;
    });
}

UInt DataDictionary::GetHashCode() const {
    UInt hash = UInt(GetCount());
    for (const Entry& entry : _entries) hash += absl::HashOf(entry.key.GetHashCode(), entry.value.GetHashCode());
    return hash;
}

Result<DocumentValue> DataTraits<DataDictionary>::ToDocument(const DataDictionary& value) {
    const Bool isPlain = std::all_of(value.begin(), value.end(), [](const Entry& entry) { return FindObjectKey(entry.key); });
    return isPlain ? WriteAsObject(value) : WriteAsPairs(value);
}

Result<DataDictionary> DataTraits<DataDictionary>::FromDocument(const DocumentValue& value) {
    BaseArray<Entry> entries;
    if (std::holds_alternative<DocumentValue::ArrayType>(value.GetVariant())) {
        const DocumentValue::ArrayType& pairs = TRY_REF(value.GetArray());
        entries = TRY(ReadPairs(pairs));
    } else {
        const DocumentValue::ObjectType& object = TRY_REF(value.GetObject());
        entries = TRY(ReadObject(object));
    }
    Result<DataDictionary> dictionary = DataDictionary::Create(std::move(entries));
    if (dictionary.IsError()) {
        return FileFormatError::Create(dictionary.GetError()->GetMessage(), dictionary.GetError());
    }
    return dictionary;
}

}  // namespace talvo
