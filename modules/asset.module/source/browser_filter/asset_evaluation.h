// One asset held against conditions. What a condition doesn't ask for is never read, and what two ask for is read once.
#pragma once

#include "browser_filter/filter_expression.h"
#include "kernel/data/data_dictionary.h"

namespace talvo {

struct ConditionMatch {
    Bool isMet = false;
    String text;  ///< why, for people; may be empty
};

/// Puts ", " between what is there and what comes.
void AppendMatchText(String& text, const String& more);

/// Whether a category, or one above it, meets a condition on categories. @param met gets the ids that were looked at; may be null.
/// Errors: those of the lookups.
Result<Bool> IsInMatchingCategory(const FilterCondition& condition, Id category, const AssetRepositoryRef& repository,
                                  FilterCaches& caches, std::vector<String>* met);

/// Threads: as a plain value, for one asset of one update.
class AssetEvaluation {
public:
    using Reads = std::vector<std::pair<String, String>>;
    /// @param facts what is known of the asset; null: it is read. @param reads gets what was read; may be null.
    AssetEvaluation(const FilterContext& context, const AssetDescription& asset, FilterCaches& caches,
                    const AssetFacts* facts = nullptr, Reads* reads = nullptr)
        : _context(context), _asset(asset), _caches(caches), _facts(facts), _reads(reads) {}

    /// Errors: those of reading metadata and of the lookups.
    Result<ConditionMatch> Test(const FilterCondition& condition);
    /// What a keyword or a subtype meets on behalf of those that refer to it.
    Result<ConditionMatch> TestAsReference(const FilterCondition& condition, Bool isKeyword);

private:
    using Match = Result<ConditionMatch>;
    enum class COUNTS { ALLOWED, TEXT_ONLY };

    Match TestFreeText(const FilterCondition& condition);
    Match TestType(const FilterCondition& condition);
    Match TestAnnotations(const FilterCondition& condition);
    Match TestDependencies(const FilterCondition& condition);
    Match TestKeywords(const FilterCondition& condition, COUNTS counts);
    Match TestKeywordIds(const FilterCondition& condition);
    Match TestCategory(const FilterCondition& condition);
    Match TestVersions(const FilterCondition& condition);
    Match TestDate(const FilterCondition& condition, UniversalDateTime time);
    Match TestUseCount(const FilterCondition& condition);
    Match TestSize(const FilterCondition& condition);
    Match TestUrl(const FilterCondition& condition);
    Match TestBool(const FilterCondition& condition, const char* what, Bool answer);
    Match TestDatabase(const FilterCondition& condition);
    Match TestScope(const FilterCondition& condition);
    Match TestProperty(const FilterCondition& condition);
    Match TestNumberProperty(const FilterCondition& condition);
    Match TestFloatProperty(const FilterCondition& condition);
    Match TestDimensions(const FilterCondition& condition);
    Match TestName(const FilterCondition& condition);
    Match TestTags(const FilterCondition& condition);

    Result<Block<const String>> GetNames();
    Result<Block<const Id>> GetKeywords();
    Result<const DataDictionary&> GetProperties();
    Result<const std::vector<AssetDescription>&> GetVersions();
    Opt<Int64> FindInteger(const DataDictionary& properties, const Id& key) const;
    Opt<Float64> FindFloat(const DataDictionary& properties, const Id& key) const;
    void Note(const char* what, const String& value);
    /// There is nothing to hold against the condition.
    Match NoValue(const char* what);
    Bool IsOf(const Id& type) const { return _asset->GetTypeId() == type; }
    const Id& GetAssetId() const { return _asset->GetIdAndVersion().first; }

    const FilterContext& _context;
    const AssetDescription& _asset;
    FilterCaches& _caches;
    const AssetFacts* const _facts;
    Reads* const _reads;
    Opt<std::vector<String>> _names;
    Opt<std::vector<Id>> _keywords;
    Opt<DataDictionary> _properties;
    Opt<std::vector<AssetDescription>> _versions;
    std::vector<String> _usedTagGroups;
};

}  // namespace talvo
