#include "browser_filter/filter_expression.h"

#include "browser_filter/asset_evaluation.h"
#include "kernel/thread/job.h"
#include "keyword_asset.h"
#include "subtype_asset.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr Int MANY_VALUES = 1000;

Int CountValues(const FilterTerms& terms) {
    Int count = 0;
    for (const FilterCondition& condition : terms.conditions) count += condition.values.GetCount() + 1;
    return count;
}

}  // namespace

FilterExpression::FilterExpression(FilterContext context, FilterTerms terms)
    : _context(std::move(context)), _terms(std::move(terms)), _isLarge(CountValues(_terms) > MANY_VALUES) {}

Result<FilterExpressionRef> FilterExpression::Create(FilterContext context, std::string_view upperText, FilterCaches& caches,
                                                     const std::vector<AssetDescription>* references) {
    return CatchOutOfMemory([&]() -> Result<FilterExpressionRef> {
        const auto expression = FilterExpressionRef::Create(std::move(context), ParseFilterTerms(upperText));
        if (!expression->_terms.conditions.IsEmpty()) TRY(expression->FindPreMatches(caches, references));
        return expression;
    });
}

BaseArray<String> FilterExpression::GetSearchStrings() const {
    std::vector<String> strings;
    for (const FilterCondition& condition : _terms.conditions)
        strings.insert(strings.end(), condition.values.begin(), condition.values.end());
    return BaseArray<String>(std::move(strings));
}

Result<void> FilterExpression::FindPreMatches(FilterCaches& caches, const std::vector<AssetDescription>* references) {
    if (references) {
        for (const AssetDescription& reference : *references) TRY(AddPreMatch(reference, caches));
        return OK;
    }
    const Id types[] = {ASSETTYPE_KEYWORD, ASSETTYPE_SUBTYPE};
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::RANDOM_ORDER | ASSET_FIND_MODE::CANCELLABLE;
    TRY(FindAssets(_context.lookupRepository, types, Id(), Id(), mode, [&](const AssetDescription& asset) -> Result<Bool> {
        TRY(AddPreMatch(asset, caches));
        return true;
    }));
    return OK;
}

Result<void> FilterExpression::AddPreMatch(const AssetDescription& reference, FilterCaches& caches) {
    if (_isLarge && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
    AssetEvaluation evaluation(_context, reference, caches);
    PreMatch match{reference->GetIdAndVersion().first, reference->GetTypeId() == ASSETTYPE_KEYWORD, nullptr};
    std::vector<UInt32> conditions;
    for (Int i = 0; i < _terms.conditions.GetCount(); ++i) {
        const ConditionMatch met = TRY(evaluation.TestAsReference(_terms.conditions[i], match.isKeyword));
        if (met.isMet) conditions.push_back(UInt32(i));
    }
    if (conditions.empty()) return OK;
    match.conditions = &*_conditionSets.insert(std::move(conditions)).first;
    TRY((match.isKeyword ? _keywords : _subtypes).Insert(match.aid, _preMatches.size()));
    _preMatches.push_back(std::move(match));
    return OK;
}

void FilterExpression::Use(const PreMatch& match, std::vector<Bool>& met) const {
    for (const UInt32 condition : *match.conditions) met[condition] = true;
}

Bool FilterExpression::IsMetBy(const HashMap<Id, std::size_t>& matches, const Id& id, Int condition) const {
    const std::size_t* found = matches.Find(id);
    if (!found) return false;
    const std::vector<UInt32>& conditions = *_preMatches[*found].conditions;
    return std::binary_search(conditions.begin(), conditions.end(), UInt32(condition));
}

Result<void> FilterExpression::UsePreMatches(const AssetDescription& asset, const AssetFacts* facts, std::vector<Bool>& met,
                                             String& matchText, FilterCaches& caches) const {
    if (!_subtypes.IsEmpty()) {
        const Opt<Id> read = facts ? Opt<Id>() : TRY(asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
        const Id* subtype = facts ? &facts->subtype : read ? &*read : nullptr;
        const std::size_t* found = subtype ? _subtypes.Find(*subtype) : nullptr;
        if (found) Use(_preMatches[*found], met);
    }
    if (_keywords.IsEmpty()) return OK;
    const auto read = facts ? Opt<BaseArray<Id>>() : TRY(asset->GetMetaData().Get<BaseArray<Id>>(ASSETMETADATA::KEYWORDS));
    Block<const Id> keywords = facts ? facts->keywords.first(facts->ownKeywords) : Block<const Id>();
    if (read) keywords = *read;
    for (const Id& keyword : keywords) {
        const std::size_t* found = _keywords.Find(keyword);
        if (!found) continue;
        Use(_preMatches[*found], met);
        const String& name = TRY_REF(caches.GetKeywordName(_context.lookupRepository, keyword));
        AppendMatchText(matchText, name);
    }
    return OK;
}

Result<Bool> FilterExpression::IsFilteredOut(const AssetDescription& asset, String& matchText, FilterCaches& caches,
                                             const AssetFacts* facts) const {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        if (_terms.conditions.IsEmpty()) return true;
        if (_acceptedIds.GetCount() != 0 && _acceptedIds.Contains(asset->GetIdAndVersion().first)) return false;
        if (_isLarge && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        std::vector<Bool> met(std::size_t(_terms.conditions.GetCount()));
        TRY(UsePreMatches(asset, facts, met, matchText, caches));
        AssetEvaluation evaluation(_context, asset, caches, facts);
        for (Int i = 0; i < _terms.conditions.GetCount(); ++i) {
            if (met[std::size_t(i)]) continue;
            const ConditionMatch match = TRY(evaluation.Test(_terms.conditions[i]));
            if (!match.isMet) return true;
            AppendMatchText(matchText, match.text);
        }
        return false;
    });
}

Result<void> FilterExpression::Accept(const Id& aid) {
    TRY(_acceptedIds.Insert(aid));
    return OK;
}

Result<ConditionReport> FilterExpression::Explain(const AssetDescription& asset, Int condition, FilterCaches& caches) const {
    return CatchOutOfMemory([&]() -> Result<ConditionReport> {
        ConditionReport report;
        std::vector<Bool> met(std::size_t(_terms.conditions.GetCount()));
        TRY(UsePreMatches(asset, nullptr, met, report.matchText, caches));
        std::vector<std::pair<String, String>> reads;
        AssetEvaluation evaluation(_context, asset, caches, nullptr, &reads);
        const ConditionMatch match = TRY(evaluation.Test(_terms.conditions[condition]));
        report.isMet = match.isMet || met[std::size_t(condition)];
        if (met[std::size_t(condition)] && !match.isMet) reads.emplace_back(String("subtype or keyword"), report.matchText);
        if (match.isMet) report.matchText = match.text;
        report.reads = BaseArray<std::pair<String, String>>(std::move(reads));
        return report;
    });
}

}  // namespace talvo
