// Definitions of descriptions: entries by identifier, merging, and their form in documents.
#include "kernel/description/description.h"

#include "kernel/base/hash_map.h"
#include "kernel/text/format.h"

#include <array>

namespace talvo {

namespace {

/// Held for ever, so that the descriptions of all assets share these texts. The compiler may not drop the only reference to them.
[[gnu::used]] const auto& g_wellKnownIds = *new std::array<InternedId, 5>{
    InternedId(DESCRIPTION::IDENTIFIER), InternedId(DESCRIPTION::COMMAND), InternedId(DESCRIPTION::INCLUDE),
    InternedId(DESCRIPTION::TRANSLATEDSTRING), InternedId(DESCRIPTION::CATEGORY)};

constexpr std::string_view INCLUDE_COMMAND = "include";
constexpr const char* STRING_COMMAND = "exportedstring";

using Entries = BaseArray<DataDictionary>;

// Documents may hold definitions before anything else in the process has made one.
[[maybe_unused]] const Bool IS_REGISTERED = (DataTypes::RegisterAll<DataDescriptionDefinition>(), true);

Id GetIdentifier(const DataDictionary& entry) { return entry.Get<Id>(DESCRIPTION::IDENTIFIER).value_or(Id()); }

Result<Id> RequireIdentifier(const DataDictionary& entry) {
    Id identifier = GetIdentifier(entry);
    if (identifier.IsPopulated()) return identifier;
    return IllegalArgumentError::Create(
        FormatMessage("An entry of a description needs an id under @: @", DESCRIPTION::IDENTIFIER, entry));
}

/// Entries by identifier, for work on many at once. Errors: IllegalArgumentError as Create says.
Result<HashMap<Id, Int>> MakeIndex(Block<const DataDictionary> entries) {
    HashMap<Id, Int> index;
    for (const DataDictionary& entry : entries) {
        const Id identifier = TRY(RequireIdentifier(entry));
        if (index.Contains(identifier)) {
            return IllegalArgumentError::Create(FormatMessage("A description has the entry @ already.", identifier));
        }
        TRY(index.Insert(identifier, index.GetCount()));
    }
    return index;
}

}  // namespace

DataDictionary DESCRIPTION::MakeIncludeEntry(const Id& included) {
    DataDictionary entry;
    entry.Set(IDENTIFIER, included);
    entry.Set(COMMAND, String(std::string(INCLUDE_COMMAND)));
    entry.Set(INCLUDE, included);
    return entry;
}

DataDictionary DESCRIPTION::MakeStringEntry(const Id& key, const String& text) {
    DataDictionary entry;
    entry.Set(IDENTIFIER, key);
    entry.Set(COMMAND, String(STRING_COMMAND));
    entry.Set(TRANSLATEDSTRING, text);
    return entry;
}

Id DESCRIPTION::GetIncluded(const DataDictionary& entry) {
    const Data* command = entry.Find(COMMAND);
    // An id is read too: the text is what counts.
    if (!command || command->ToString() != INCLUDE_COMMAND) return {};
    return entry.Get<Id>(INCLUDE).value_or(Id());
}

const DataDescriptionDefinition* DataDescriptionDefinition::DefaultValuePtr() {
    static const DataDescriptionDefinition* const EMPTY = new DataDescriptionDefinition;
    return EMPTY;
}

Result<DataDescriptionDefinition> DataDescriptionDefinition::Create(DataDictionary info, BaseArray<DataDictionary> entries) {
    return CatchOutOfMemory([&]() -> Result<DataDescriptionDefinition> {
        TRY(MakeIndex(entries));
        DataDescriptionDefinition definition;
        definition._info = std::move(info);
        definition._entries = Array<DataDictionary>(std::move(entries));
        return definition;
    });
}

Int DataDescriptionDefinition::FindIndex(const Id& identifier) const {
    for (Int i = 0; i < _entries.GetCount(); ++i) {
        const Data* own = _entries[i].Find(DESCRIPTION::IDENTIFIER);
        const Id* id = own ? own->GetPtr<Id>() : nullptr;
        if (id && *id == identifier) return i;
    }
    return -1;
}

const DataDictionary* DataDescriptionDefinition::FindEntry(const Id& identifier) const {
    const Int index = FindIndex(identifier);
    return index < 0 ? nullptr : &_entries[index];
}

Result<DataDictionary> DataDescriptionDefinition::GetEntry(const Id& identifier) const {
    if (const DataDictionary* entry = FindEntry(identifier)) return *entry;
    return IllegalArgumentError::Create(FormatMessage("A description has no entry @.", identifier));
}

Result<void> DataDescriptionDefinition::AddEntry(DataDictionary entry) {
    const Id identifier = TRY(RequireIdentifier(entry));
    if (FindIndex(identifier) >= 0) {
        return IllegalArgumentError::Create(FormatMessage("A description has the entry @ already.", identifier));
    }
    return ReplaceEntry(std::move(entry));
}

Result<void> DataDescriptionDefinition::ReplaceEntry(DataDictionary entry) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Id identifier = TRY(RequireIdentifier(entry));
        Entries entries = _entries.CopyValues();
        if (const Int index = FindIndex(identifier); index >= 0) {
            entries[index] = std::move(entry);
        } else {
            TRY(entries.Append(std::move(entry)));
        }
        _entries = Array<DataDictionary>(std::move(entries));
        return OK;
    });
}

Result<Bool> DataDescriptionDefinition::EraseEntry(const Id& identifier) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        const Int index = FindIndex(identifier);
        if (index < 0) return false;
        Entries entries = _entries.CopyValues();
        entries.Erase(index);
        _entries = Array<DataDictionary>(std::move(entries));
        return true;
    });
}

Result<void> DataDescriptionDefinition::MergeDescriptionDefinition(const DataDescriptionDefinition& other) {
    return CatchOutOfMemory([&]() -> Result<void> {
        Entries entries = _entries.CopyValues();
        HashMap<Id, Int> index = TRY(MakeIndex(entries));
        for (const DataDictionary& entry : other.GetEntries()) {
            const Id identifier = TRY(RequireIdentifier(entry));
            if (const Int* place = index.Find(identifier)) {
                entries[*place] = entry;
                continue;
            }
            TRY(index.Insert(identifier, entries.GetCount()));
            TRY(entries.Append(entry));
        }
        DataDictionary info = _info;
        for (const DataDictionary::Entry& entry : other._info) info.Set(entry.key, entry.value);
        _info = std::move(info);
        _entries = Array<DataDictionary>(std::move(entries));
        return OK;
    });
}

std::string DataDescriptionDefinition::ToString() const {
    std::string text = "{info: " + _info.ToString() + ", entries: [";
    for (const DataDictionary& entry : _entries) {
        if (&entry != _entries.begin()) text += ", ";
        text += entry.ToString();
    }
    return text + "]}";
}

Bool operator==(const DataDescriptionDefinition& first, const DataDescriptionDefinition& second) {
    return first._info == second._info &&
           std::equal(first._entries.begin(), first._entries.end(), second._entries.begin(), second._entries.end());
}

Result<DocumentValue> DataTraits<DataDescriptionDefinition>::ToDocument(const DataDescriptionDefinition& value) {
    DocumentValue info = TRY(DataTraits<DataDictionary>::ToDocument(value.GetInfo()));
    DocumentValue::ArrayType entries;
    for (const DataDictionary& entry : value.GetEntries()) {
        DocumentValue document = TRY(DataTraits<DataDictionary>::ToDocument(entry));
        entries.push_back(std::move(document));
    }
    DocumentValue::ObjectType object;
    object.emplace_back("info", std::move(info));
    object.emplace_back("entries", std::move(entries));
    return DocumentValue(std::move(object));
}

Result<DataDescriptionDefinition> DataTraits<DataDescriptionDefinition>::FromDocument(const DocumentValue& value) {
    const DocumentValue& infoDocument = TRY_REF(value.GetMember("info"));
    DataDictionary info = TRY(DataTraits<DataDictionary>::FromDocument(infoDocument));
    const DocumentValue& list = TRY_REF(value.GetMember("entries"));
    Entries entries = TRY(DataTraits<Entries>::FromDocument(list));
    Result<DataDescriptionDefinition> definition = DataDescriptionDefinition::Create(std::move(info), std::move(entries));
    if (definition.IsError()) return FileFormatError::Create(definition.GetError()->GetMessage(), definition.GetError());
    return definition;
}

}  // namespace talvo
