// All assets that a repository and its bases show, side by side: folded names to be scanned, and numbers in place of ids.
//
// It answers which assets may meet a condition, never which do: the exact tests decide about those.
#pragma once

#include "browser_filter/asset_facts.h"
#include "browser_filter/filter_expression.h"

#include <absl/hash/hash.h>

#include <atomic>
#include <bit>
#include <cstdint>
#include <unordered_map>

namespace talvo {

/// A bit for each asset of a table.
class Candidates {
public:
    explicit Candidates(std::size_t count, Bool all) : _words((count + BITS - 1) / BITS, all ? ~UInt64(0) : 0) {
        if (all && count % BITS != 0) _words.back() = (UInt64(1) << count % BITS) - 1;
    }
    void Add(std::size_t number) { _words[number / BITS] |= UInt64(1) << number % BITS; }
    Bool Contains(std::size_t number) const { return (_words[number / BITS] >> number % BITS & 1) != 0; }
    void Unite(const Candidates& other) {
        for (std::size_t i = 0; i < _words.size(); ++i) _words[i] |= other._words[i];
    }
    void Intersect(const Candidates& other) {
        for (std::size_t i = 0; i < _words.size(); ++i) _words[i] &= other._words[i];
    }
    Bool HasAtMost(std::size_t limit) const {
        std::size_t count = 0;
        for (std::size_t i = 0; i < _words.size() && count <= limit; ++i) count += std::size_t(std::popcount(_words[i]));
        return count <= limit;
    }
    std::vector<UInt32> List() const {
        std::vector<UInt32> numbers;
        for (std::size_t i = 0; i < _words.size(); ++i) {
            for (UInt64 word = _words[i]; word != 0; word &= word - 1)
                numbers.push_back(UInt32(i * BITS) + UInt32(std::countr_zero(word)));
        }
        return numbers;
    }

private:
    static constexpr std::size_t BITS = 64;
    std::vector<UInt64> _words;
};

/// Threads: any, once it is made. What it finds never changes; ranks and loaded assets are added while others read.
class SearchTable final : public ObjectInterface {
public:
    ~SearchTable() override;
    /// Reads what all assets are found by. Most of those that an index tells of are not loaded for that. Errors: those of the lookup;
    /// OperationCancelledError.
    static Result<StrongRef<SearchTable>> Build(const AssetRepositoryRef& repository);

    std::size_t GetCount() const { return _rows.size(); }
    const Id& GetAssetId(std::size_t number) const { return _aids[number]; }
    const Id& GetTypeId(std::size_t number) const { return _ids.ids[_types[number]]; }
    /// The asset itself, loaded at first need; null if it is no longer there. @param repository that the table was built for. Errors: those of the lookup.
    Result<AssetDescription> GetAsset(std::size_t number, const AssetRepositoryRef& repository) const;
    Bool IsValid(std::size_t number) const { return (_rows[number].flags & VALID) != 0; }
    /// False: the asset has to be read.
    Bool HasFacts(std::size_t number) const { return (_rows[number].flags & (TOO_LONG | UNREADABLE)) == 0; }
    AssetFacts GetFacts(std::size_t number) const;
    /// Has what is known of an asset brought into the caches.
    void FetchAhead(std::size_t number) const;
    /// Numbers of all keywords and subtypes.
    const std::vector<UInt32>& GetReferences() const { return _references; }

    /// Of the asset's category; one number for each, below that of GetIdCount.
    std::size_t GetCategoryNumber(std::size_t number) const { return _categories[number]; }
    std::size_t GetIdCount() const { return _ids.ids.size(); }

    /// Those that may meet all conditions. Errors: those of looking names up.
    Result<Candidates> FindCandidates(const FilterExpression& expression, FilterCaches& caches) const;
    /// Those whose category is wanted; asks once about each. The null id stands for none. Errors: those of `isWanted`; OperationCancelledError.
    Result<Candidates> FindByCategory(FunctionRef<Result<Bool>(const Id& category)> isWanted) const;

    Bool HasRanks() const { return _hasRanks.load(std::memory_order_acquire); }
    /// Gives each name its place among all, which many rows are sorted by faster. Once, by one thread. Errors: OperationCancelledError; OutOfMemoryError.
    Result<void> MakeRanks();

private:
    friend StrongRef<SearchTable>;
    friend class SearchTableBuilder;
    SearchTable() = default;

    enum FLAG : UChar { HIDDEN = 1, VALID = 2, ODD_TAGS = 4, NEEDS_RENDERER = 8, TOO_LONG = 16, UNREADABLE = 32 };
    struct Row {
        UInt32 name = 0;  // where its texts begin in the pool of shown texts
        std::uint16_t nameLength = 0, secondLength = 0, tagsLength = 0, sortLength = 0;
        UChar flags = 0;
    };
    struct KeywordList {
        std::vector<Id> ids;
        std::size_t own = 0;
        Bool hasFavourite = false;
    };
    /// Ids by number; 0 is the null id.
    class IdTable {
    public:
        IdTable() : ids(1) {}
        UInt32 GetNumber(const Id& id);
        std::vector<Id> ids;

    private:
        std::unordered_map<Id, UInt32, absl::Hash<Id>> _numbers;
    };

    std::string_view GetName(std::size_t number) const {
        return std::string_view(_texts).substr(_rows[number].name, _rows[number].nameLength);
    }
    Result<Opt<Candidates>> Find(const FilterExpression& expression, Int condition, FilterCaches& caches) const;
    Result<Candidates> FindByTexts(const FilterExpression& expression, Int condition, FilterCaches& caches) const;
    Result<Candidates> FindByKeywords(const FilterCondition& condition, FilterCaches& caches,
                                      const AssetRepositoryRef& repository) const;
    Result<Bool> MeetsByKeywords(const KeywordList& list, const FilterCondition& condition, FilterCaches& caches,
                                 const AssetRepositoryRef& repository) const;
    Result<Candidates> FindByAssetId(const FilterCondition& condition) const;
    void FindByText(const String& value, Candidates& found) const;

    std::vector<Id> _aids;
    std::vector<Row> _rows;
    std::vector<UInt32> _foldedBegins;  // where the texts of each begin in the folded pool
    // Numbers of ids and lists, apart from the rest, since they are run through for each condition.
    std::vector<UInt32> _types;
    std::vector<UInt32> _subtypes;
    std::vector<UInt32> _categories;
    std::vector<UInt32> _keywords;
    std::vector<UInt32> _odd;         // rows whose texts here are not all
    std::vector<UInt32> _unreadable;  // rows of which nothing is known
    std::vector<UInt32> _references;
    std::string _texts;   // name, second name, tags, sort text of each asset
    std::string _folded;  // the first three in upper case, each behind a line end
    IdTable _ids;
    std::vector<KeywordList> _keywordLists = std::vector<KeywordList>(1);
    std::vector<UInt32> _ranks;  // constant once `_hasRanks` is set
    std::atomic<Bool> _hasRanks{false};
    mutable std::vector<std::atomic<AssetDescriptionInterface*>> _assets;  // null: not asked for yet
};
using SearchTableRef = StrongRef<SearchTable>;

}  // namespace talvo
