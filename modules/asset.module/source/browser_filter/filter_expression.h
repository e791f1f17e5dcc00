// The conditions of a filter text, held against assets.
#pragma once

#include "browser_filter/asset_facts.h"
#include "browser_filter/filter_caches.h"
#include "browser_filter/filter_terms.h"

#include <set>

namespace talvo {

/// What conditions are understood in.
struct FilterContext {
    AssetRepositoryRef lookupRepository;
    NodeSystemClassRef nodeSystemClass;
    Int32 lengthUnitSystem = 0;  ///< 1: lengths in miles, yards, feet and inches; else metric
};

/// Why an asset does or doesn't meet one condition, for people.
struct ConditionReport {
    Bool isMet = false;
    String matchText;
    BaseArray<std::pair<String, String>> reads;  ///< what was read of the asset, and its value
};

class FilterExpression;
using FilterExpressionRef = StrongRef<FilterExpression>;

/// An asset passes if it meets each condition. Keywords and subtypes are looked at once beforehand: what one of them meets is met by each asset that
/// refers to it.
/// Threads: belongs to one update.
class FilterExpression final : public ObjectInterface {
public:
    /// @param upperText in upper case, without options. @param references all keywords and subtypes, if they are known; null: they are looked for.
    /// Errors: those of the lookup; OperationCancelledError.
    static Result<FilterExpressionRef> Create(FilterContext context, std::string_view upperText, FilterCaches& caches,
                                              const std::vector<AssetDescription>* references = nullptr);

    const BaseArray<FilterCondition>& GetConditions() const { return _terms.conditions; }
    const FilterContext& GetContext() const { return _context; }
    /// Whether each asset of a subtype, or with a keyword of its own, meets a condition.
    Bool IsMetBySubtype(const Id& subtype, Int condition) const { return IsMetBy(_subtypes, subtype, condition); }
    Bool IsMetByKeyword(const Id& keyword, Int condition) const { return IsMetBy(_keywords, keyword, condition); }
    const FilterTypeFlags& GetTypeFlags() const { return _terms.types; }
    /// The values of all conditions.
    BaseArray<String> GetSearchStrings() const;

    /// Whether the asset isn't listed. Without any condition nothing is. @param matchText gets why it is.
    /// @param facts what is known of the asset; null: it is read. Errors: those of reading metadata and of the lookups.
    Result<Bool> IsFilteredOut(const AssetDescription& asset, String& matchText, FilterCaches& caches,
                               const AssetFacts* facts) const;
    /// The asset passes from now on, whatever its version.
    Result<void> Accept(const Id& aid);
    /// How one condition alone judges. Errors: as IsFilteredOut.
    Result<ConditionReport> Explain(const AssetDescription& asset, Int condition, FilterCaches& caches) const;

private:
    /// A keyword or subtype, and which conditions it meets on behalf of those that refer to it.
    struct PreMatch {
        Id aid;
        Bool isKeyword = false;
        const std::vector<UInt32>* conditions = nullptr;
    };
    friend StrongRef<FilterExpression>;
    FilterExpression(FilterContext context, FilterTerms terms);

    Result<void> FindPreMatches(FilterCaches& caches, const std::vector<AssetDescription>* references);
    Result<void> AddPreMatch(const AssetDescription& reference, FilterCaches& caches);
    Result<void> UsePreMatches(const AssetDescription& asset, const AssetFacts* facts, std::vector<Bool>& met, String& matchText,
                               FilterCaches& caches) const;
    Bool IsMetBy(const HashMap<Id, std::size_t>& matches, const Id& id, Int condition) const;
    void Use(const PreMatch& match, std::vector<Bool>& met) const;

    const FilterContext _context;
    const FilterTerms _terms;
    /// So many values that a look at the job's state costs nothing beside them.
    const Bool _isLarge;
    std::set<std::vector<UInt32>> _conditionSets;  // each once: with many conditions most pre-matches meet the same ones
    std::vector<PreMatch> _preMatches;
    HashMap<Id, std::size_t> _subtypes;  // numbers of pre-matches
    HashMap<Id, std::size_t> _keywords;
    HashSet<Id> _acceptedIds;
};

}  // namespace talvo
