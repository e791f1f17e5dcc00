// Fills a search table: from what repositories tell of assets that nobody has loaded, and else from the assets.
#pragma once

#include "baseassetrepository.h"
#include "browser_filter/search_table.h"

#include <absl/container/flat_hash_map.h>

namespace talvo {

/// Threads: as a plain value, used once.
class SearchTableBuilder {
public:
    SearchTableBuilder(SearchTable& table, AssetRepositoryRef repository);
    /// Errors: those of the lookup; OperationCancelledError.
    Result<void> Run();

private:
    /// What is put into one row.
    struct Values {
        Id aid;
        UInt32 type = 0, subtype = 0, category = 0, keywords = 0;
        UChar flags = 0;
        std::string_view name, secondName, tags, sort;
    };
    /// The texts of one language that assets are found by.
    struct Language {
        LanguageRef language = nullptr;
        std::string baseName, baseTags;  // what each asset has that was given none
    };
    /// The texts that a stored description has of its own.
    struct StoredTexts {
        std::string_view name, tags;
    };

    /// All that a lookup walks through. Errors: those of the lookup.
    Result<std::vector<AssetRepositoryRef>> ListRepositories() const;
    /// Adds what the outlines of a repository tell; what they don't is to be loaded.
    Result<void> AddOutlines(BaseAssetRepository& repository, const std::vector<BaseAssetRepository*>& others);
    /// @return false: the asset has to be loaded. Errors of all that add: OutOfMemoryError.
    Result<Bool> AddOutline(const Id& aid, const Id& type, Block<const StoredValue> values);
    Bool ReadTexts(Block<const StoredValue> values);
    /// The first text that one of the languages has, from a given one on.
    std::string_view ChooseText(std::string_view StoredTexts::* text, std::size_t first, std::string_view fallback) const;
    Result<void> Add(const AssetDescription& asset);
    Result<void> AddRead(const AssetDescription& asset);
    Result<void> AddRow(const Values& values, const AssetDescription& asset);
    Opt<UInt32> ReadId(const StoredValue& value);
    Opt<UInt32> ReadKeywords(const StoredValue& value);
    UInt32 AddKeywords(const std::vector<Id>& own, const std::vector<Id>& users);

    SearchTable& _table;
    const AssetRepositoryRef _repository;
    std::vector<Language> _languages;       // the current one and those that it falls back to
    std::vector<InternedId> _keys;          // of the values in outlines
    std::vector<StoredTexts> _texts;        // of the asset at hand
    std::vector<AssetDescription> _assets;  // of each row; null where it is not loaded
    std::vector<Id> _toLoad;
    // Numbers of values in the form in which they are stored, where they are stored.
    absl::flat_hash_map<std::string_view, UInt32> _storedIds;
    absl::flat_hash_map<std::string_view, UInt32> _storedKeywords;
    absl::flat_hash_map<std::string, UInt32> _keywordLists;
};

}  // namespace talvo
