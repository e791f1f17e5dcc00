#include "browser_filter/search_table.h"

#include "browser_filter/asset_evaluation.h"
#include "browser_filter/byte_scan.h"
#include "browser_filter/filter_keywords.h"
#include "browser_filter/text_order.h"
#include "browser_filter/value_forms.h"
#include "kernel/thread/job.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::size_t FEW = 256;

/// Adds each row whose number is one of the wanted ones.
void AddWhere(const std::vector<UInt32>& numbers, const std::vector<Bool>& isWanted, Candidates& found) {
    if (std::find(isWanted.begin(), isWanted.end(), true) == isWanted.end()) return;
    const std::vector<UChar> wanted(isWanted.begin(), isWanted.end());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (wanted[numbers[i]] != 0) found.Add(i);
    }
}

}  // namespace

UInt32 SearchTable::IdTable::GetNumber(const Id& id) {
    if (id.IsEmpty()) return 0;
    const auto [known, isNew] = _numbers.emplace(id, UInt32(ids.size()));
    if (isNew) ids.push_back(id);
    return known->second;
}

SearchTable::~SearchTable() {
    for (auto& asset : _assets) StrongRef<AssetDescriptionInterface>::Adopt(asset.load(std::memory_order_relaxed));
}

// Several may ask for one at once; the first one stays.
Result<AssetDescription> SearchTable::GetAsset(std::size_t number, const AssetRepositoryRef& repository) const {
    std::atomic<AssetDescriptionInterface*>& slot = _assets[number];
    if (AssetDescriptionInterface* known = slot.load(std::memory_order_acquire)) return AssetDescription(known);
    AssetDescription asset = TRY(repository->FindLatestAsset(Id(), _aids[number], Id(), ASSET_FIND_MODE::LATEST));
    AssetDescription kept = asset;
    AssetDescriptionInterface* nothing = nullptr;
    if (asset && slot.compare_exchange_strong(nothing, kept.GetPointer(), std::memory_order_acq_rel)) kept.Detach();
    return asset;
}

Result<void> SearchTable::MakeRanks() {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (HasRanks()) return OK;
        TextOrder order;
        for (std::size_t i = 0; i < _rows.size(); ++i) TRY(order.Add(String(GetName(i)).ToLower()));
        std::vector<UInt32> ranks(_rows.size());
        UInt32 rank = 0;
        const std::vector<UInt32> sorted = TRY(order.Sort());
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            // Equal names have one.
            if (i == 0 || order.Compare(sorted[i - 1], sorted[i]) != 0) ++rank;
            ranks[sorted[i]] = rank;
        }
        _ranks = std::move(ranks);
        _hasRanks.store(true, std::memory_order_release);
        return OK;
    });
}

AssetFacts SearchTable::GetFacts(std::size_t number) const {
    const Row& row = _rows[number];
    std::string_view texts = std::string_view(_texts).substr(row.name);
    const auto take = [&](std::size_t length) {
        const std::string_view text = texts.substr(0, length);
        texts.remove_prefix(length);
        return text;
    };
    const std::string_view name = take(row.nameLength), second = take(row.secondLength), tags = take(row.tagsLength);
    const KeywordList& list = _keywordLists[_keywords[number]];
    return {.name = String(name),
            .secondName = second,
            .tags = tags,
            .sort = take(row.sortLength),
            .subtype = _ids.ids[_subtypes[number]],
            .category = _ids.ids[_categories[number]],
            .keywords = list.ids,
            .ownKeywords = list.own,
            .isFavourite = list.hasFavourite,
            .isHidden = (row.flags & HIDDEN) != 0,
            .needsRenderer = (row.flags & NEEDS_RENDERER) != 0,
            .rank = HasRanks() ? _ranks[number] : 0};
}

void SearchTable::FetchAhead(std::size_t number) const {
    __builtin_prefetch(&_rows[number]);
    __builtin_prefetch(_assets[number].load(std::memory_order_relaxed));
}

Result<Candidates> SearchTable::FindCandidates(const FilterExpression& expression, FilterCaches& caches) const {
    Candidates candidates(_rows.size(), true);
    for (Int i = 0; i < expression.GetConditions().GetCount(); ++i) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        Opt<Candidates> found = TRY(Find(expression, i, caches));
        if (!found) continue;
        for (const UInt32 number : _unreadable) found->Add(number);
        candidates.Intersect(*found);
        // To look at so few exactly costs less than to ask for all which of them meet the rest.
        if (candidates.HasAtMost(FEW)) break;
    }
    return candidates;
}

/// Nothing if the table knows nothing about the condition.
Result<Opt<Candidates>> SearchTable::Find(const FilterExpression& expression, Int index, FilterCaches& caches) const {
    const FilterCondition& condition = expression.GetConditions()[index];
    const AssetRepositoryRef& repository = expression.GetContext().lookupRepository;
    const Id& key = condition.key.GetId();
    Opt<Candidates> found;
    if (key.IsEmpty() || key == OBJECT_BASE_NAME || key == ASSETMETADATA::SUBTYPE || key == ASSETMETADATA::KEYWORDS) {
        found = TRY(FindByTexts(expression, index, caches));
    } else if (key == FILTERKEY::KEYWORDID || key == FILTERKEY::KEYWORDCOUNT || key == FILTERKEY::FAVORITE) {
        found = TRY(FindByKeywords(condition, caches, repository));
    } else if (key == FILTERKEY::ASSETID) {
        found = TRY(FindByAssetId(condition));
    } else if (key == FILTERKEY::CATEGORYID) {
        found = TRY(FindByCategory([&](const Id& category) -> Result<Bool> {
            return IsInMatchingCategory(condition, category, repository, caches, nullptr);
        }));
    }
    return found;
}

/// By names, types and keywords, be they those of an asset or of what it refers to.
Result<Candidates> SearchTable::FindByTexts(const FilterExpression& expression, Int index, FilterCaches& caches) const {
    const FilterCondition& condition = expression.GetConditions()[index];
    const Id& key = condition.key.GetId();
    Candidates found(_rows.size(), false);
    if (key.IsEmpty() || key == OBJECT_BASE_NAME) {
        for (const String& value : condition.values) {
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            FindByText(value, found);
        }
        for (const UInt32 number : _odd) found.Add(number);
    }
    if (key.IsEmpty() || key == ASSETMETADATA::KEYWORDS)
        found.Unite(TRY(FindByKeywords(condition, caches, expression.GetContext().lookupRepository)));
    std::vector<Bool> ids(_ids.ids.size());
    if (key == ASSETMETADATA::SUBTYPE) {
        for (std::size_t i = 1; i < ids.size(); ++i) {
            const std::string_view id = _ids.ids[i].GetView();
            ids[i] = std::any_of(condition.values.begin(), condition.values.end(),
                                 [&](const String& value) { return MatchId(id, value) || value.GetView() == "NODE_OM"; });
        }
        AddWhere(_types, ids, found);
    }
    // What a subtype or a keyword meets on behalf of those that refer to it.
    for (std::size_t i = 1; i < ids.size(); ++i) ids[i] = ids[i] || expression.IsMetBySubtype(_ids.ids[i], index);
    std::vector<Bool> lists(_keywordLists.size());
    for (std::size_t i = 1; i < lists.size(); ++i) {
        for (const Id& keyword : _keywordLists[i].ids) lists[i] = lists[i] || expression.IsMetByKeyword(keyword, index);
    }
    AddWhere(_subtypes, ids, found);
    AddWhere(_keywords, lists, found);
    return found;
}

Result<Candidates> SearchTable::FindByKeywords(const FilterCondition& condition, FilterCaches& caches,
                                               const AssetRepositoryRef& repository) const {
    std::vector<Bool> lists(_keywordLists.size());
    for (std::size_t i = 0; i < lists.size(); ++i) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        lists[i] = TRY(MeetsByKeywords(_keywordLists[i], condition, caches, repository));
    }
    Candidates found(_rows.size(), false);
    AddWhere(_keywords, lists, found);
    return found;
}

/// Whether an asset with these keywords may meet the condition.
Result<Bool> SearchTable::MeetsByKeywords(const KeywordList& list, const FilterCondition& condition, FilterCaches& caches,
                                          const AssetRepositoryRef& repository) const {
    const Id& key = condition.key.GetId();
    const auto meets = [&](const auto& matches) {
        return std::any_of(condition.values.begin(), condition.values.end(), matches);
    };
    if (key == FILTERKEY::FAVORITE) return meets([&](const String& value) { return MatchesBool(list.hasFavourite, value); });
    // For free text "<3" is text.
    const Bool isOfCount =
        key.IsPopulated() && meets([&](const String& value) { return MatchesNumber(Int64(list.ids.size()), value); });
    if (isOfCount || key == FILTERKEY::KEYWORDCOUNT) return isOfCount;
    for (const Id& keyword : list.ids) {
        const String text =
            key == FILTERKEY::KEYWORDID ? String::FromId(keyword) : TRY_REF(caches.GetKeywordName(repository, keyword));
        if (text.IsPopulated() && meets([&](const String& value) { return ContainsText(text, value); })) return true;
    }
    return false;
}

Result<Candidates> SearchTable::FindByAssetId(const FilterCondition& condition) const {
    Candidates found(_rows.size(), false);
    for (std::size_t i = 0; i < _aids.size(); ++i) {
        if (i % ROWS_OF_A_RUN == 0) TRY(CheckGoesOn());
        const String id = String::FromId(_aids[i]);
        if (std::any_of(condition.values.begin(), condition.values.end(),
                        [&](const String& value) { return ContainsText(id, value); }))
            found.Add(i);
    }
    return found;
}

Result<Candidates> SearchTable::FindByCategory(FunctionRef<Result<Bool>(const Id& category)> isWanted) const {
    std::vector<Opt<Bool>> answers(_ids.ids.size());
    Candidates found(_rows.size(), false);
    for (std::size_t i = 0; i < _categories.size(); ++i) {
        Opt<Bool>& answer = answers[_categories[i]];
        if (!answer) {
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            answer = TRY(isWanted(_ids.ids[_categories[i]]));
        }
        if (*answer) found.Add(i);
    }
    for (const UInt32 number : _unreadable) found.Add(number);
    return found;
}

void SearchTable::FindByText(const String& value, Candidates& found) const {
    const std::string_view wanted = value.GetView();
    const std::string_view folded(_folded);
    std::size_t number = 0;
    for (std::size_t place = 0; place < folded.size();) {
        const std::size_t hit = FindBytes(folded.substr(place), wanted);
        if (hit == std::string_view::npos) break;
        const auto offset = UInt32(place + hit);
        // Rows stand in the order of their texts, and the next hit is near as a rule.
        std::size_t step = 1;
        const std::vector<UInt32>& begins = _foldedBegins;
        while (number + step < begins.size() && begins[number + step] <= offset) step *= 2;
        const auto next = std::upper_bound(begins.begin() + Int(number + step / 2),
                                           begins.begin() + Int(std::min(number + step, begins.size())), offset);
        number = std::size_t(next - begins.begin());
        found.Add(number - 1);
        if (number == begins.size()) break;
        place = begins[number];
    }
}

}  // namespace talvo
