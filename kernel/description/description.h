// Data descriptions: tables of attributes and texts by id, as assets carry them for a category and a language.
#pragma once

#include "kernel/base/array.h"
#include "kernel/data/data_dictionary.h"

#include <string>

namespace talvo {

/// Ids of the attributes of entries.
namespace DESCRIPTION {
inline constexpr LiteralId IDENTIFIER{"net.talvo.description.base.identifier"};  ///< Id of the entry
inline constexpr LiteralId COMMAND{"net.talvo.description.base.command"};        ///< String: what kind of entry it is
inline constexpr LiteralId INCLUDE{"net.talvo.description.data.base.include"};   ///< Id of what an entry includes
inline constexpr LiteralId TRANSLATEDSTRING{"net.talvo.description.string.base.translatedstring"};  ///< String
inline constexpr LiteralId CATEGORY{"net.talvo.description.info.category"};  ///< in the info: Id of the category
/// The description that all others include.
inline constexpr LiteralId BASE{"net.talvo.category.base"};

/// An entry that includes all entries of the description `included`.
DataDictionary MakeIncludeEntry(const Id& included);
/// An entry that holds a text.
DataDictionary MakeStringEntry(const Id& key, const String& text);
/// What `entry` includes; the null id if it is no such entry.
Id GetIncluded(const DataDictionary& entry);
}  // namespace DESCRIPTION

/// A description as it is stored: entries in order, each with an identifier of its own, and an info about the whole.
/// Threads: as a plain value; copies share and are cheap.
class DataDescriptionDefinition {
public:
    /// The empty definition; lives as long as the process.
    static const DataDescriptionDefinition* DefaultValuePtr();
    /// All entries at once. Errors: IllegalArgumentError for an entry without an identifier, or with that of another.
    static Result<DataDescriptionDefinition> Create(DataDictionary info, BaseArray<DataDictionary> entries);

    Bool IsEmpty() const { return _info.IsEmpty() && _entries.IsEmpty(); }
    const DataDictionary& GetInfo() const { return _info; }
    void SetInfo(DataDictionary info) { _info = std::move(info); }
    /// "string", say; the null id if none was set.
    Id GetCategory() const { return _info.Get<Id>(DESCRIPTION::CATEGORY).value_or(Id()); }
    void SetCategory(const Id& category) { _info.Set(DESCRIPTION::CATEGORY, category); }

    Int GetEntryCount() const { return _entries.GetCount(); }
    /// Valid as long as this definition is unchanged.
    Block<const DataDictionary> GetEntries() const { return {_entries.begin(), std::size_t(_entries.GetCount())}; }
    /// A copy of the entry. Errors: IllegalArgumentError if there is none.
    Result<DataDictionary> GetEntry(const Id& identifier) const;
    /// Null if there is none. Valid as long as this definition is unchanged.
    const DataDictionary* FindEntry(const Id& identifier) const;

    // Each copies the list of entries. Errors of all: OutOfMemoryError, and what is said; the definition then stays as it was.

    /// Adds an entry at the end. Errors: IllegalArgumentError if it has no identifier, or that of another.
    Result<void> AddEntry(DataDictionary entry);
    /// Puts an entry in the place of the one with its identifier; adds it if there is none.
    /// Errors: IllegalArgumentError if it has no identifier.
    Result<void> ReplaceEntry(DataDictionary entry);
    /// @return false if there was none, which is no error.
    Result<Bool> EraseEntry(const Id& identifier);
    /// Entries of `other` take the place of those with the same identifier; new ones come behind. Its info does the same by key.
    Result<void> MergeDescriptionDefinition(const DataDescriptionDefinition& other);
    void Reset() { *this = {}; }

    std::string ToString() const;
    friend Bool operator==(const DataDescriptionDefinition& first, const DataDescriptionDefinition& second);

private:
    Int FindIndex(const Id& identifier) const;

    DataDictionary _info;
    Array<DataDictionary> _entries;
};

/// {"info": dictionary, "entries": [dictionary, ...]}
template <>
struct DataTraits<DataDescriptionDefinition> {
    static constexpr LiteralId ID{"net.talvo.datatype.datadescriptiondefinition"};
    static Result<DocumentValue> ToDocument(const DataDescriptionDefinition& value);
    static Result<DataDescriptionDefinition> FromDocument(const DocumentValue& value);
};

/// A description ready for use: what its definition includes is filled in. Threads: as a plain value.
class DataDescription {
public:
    DataDescription() = default;
    explicit DataDescription(DataDescriptionDefinition definition) : _definition(std::move(definition)) {}

    const DataDictionary& GetInfo() const { return _definition.GetInfo(); }
    Int GetEntryCount() const { return _definition.GetEntryCount(); }
    Block<const DataDictionary> GetEntries() const { return _definition.GetEntries(); }
    /// A copy of the entry. Errors: IllegalArgumentError if there is none.
    Result<DataDictionary> GetEntry(const Id& identifier) const { return _definition.GetEntry(identifier); }
    /// Null if there is none.
    const DataDictionary* FindEntry(const Id& identifier) const { return _definition.FindEntry(identifier); }

private:
    DataDescriptionDefinition _definition;  // no entry includes another
};

}  // namespace talvo
