#include "browser_filter/search_table.h"

#include "asset_presentation.h"
#include "browser_filter/byte_scan.h"
#include "browser_filter/value_forms.h"
#include "category_asset.h"
#include "kernel/text/casing.h"
#include "kernel/thread/job.h"
#include "keyword_asset.h"
#include "subtype_asset.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace talvo {

namespace {

constexpr LiteralId HIDDEN_FLAG{"net.talvo.description.data.info.hidden"};
constexpr char SEPARATOR = '\n';
/// Texts longer than this are cut in the table's copy, whose assets then are looked at exactly.
constexpr std::size_t MAX_TEXT = 0xffff;
constexpr std::size_t FEW = 256;

Result<std::vector<Id>> ReadIds(const AssetDescription& asset, const LiteralId& key) {
    const Opt<BaseArray<Id>> list = TRY(asset->GetMetaData().Get<BaseArray<Id>>(key));
    return list ? std::vector<Id>(list->begin(), list->end()) : std::vector<Id>();
}

/// Adds each row whose number is one of the wanted ones.
void AddWhere(const std::vector<UInt32>& numbers, const std::vector<Bool>& isWanted, Candidates& found) {
    if (std::find(isWanted.begin(), isWanted.end(), true) == isWanted.end()) return;
    const std::vector<UChar> wanted(isWanted.begin(), isWanted.end());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (wanted[numbers[i]] != 0) found.Add(i);
    }
}

void AppendNew(std::vector<Id>& ids, const std::vector<Id>& more) {
    for (const Id& id : more) {
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    }
}

}  // namespace

UInt32 SearchTable::IdTable::GetNumber(const Id& id) {
    if (id.IsEmpty()) return 0;
    const auto [known, isNew] = _numbers.emplace(std::string(id.GetView()), UInt32(ids.size()));
    if (isNew) ids.push_back(id);
    return known->second;
}

Result<SearchTableRef> SearchTable::Build(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<SearchTableRef> {
        const SearchTableRef table(new SearchTable);
        table->_language = Resource::GetCurrentLanguage();
        const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::CANCELLABLE;
        TRY(FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& asset) -> Result<Bool> {
            if (table->_rows.size() % 1024 == 0 && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            Result<Bool> added = table->Add(asset);
            // What is wrong with one asset costs that asset only, as in a walk.
            if (added.IsError() && OutOfMemoryError::IsClassOf(added.GetError())) return added;
            return true;
        }));
        table->SetRanks();
        return table;
    });
}

Result<Bool> SearchTable::Add(const AssetDescription& asset) {
    const InternedId nameKey(OBJECT_BASE_NAME);
    const LanguageRef second = _language->GetFallbackLanguage();
    const String name = TRY(asset->GetMetaString(nameKey, _language, String()));
    String secondName = second ? TRY(asset->GetMetaString(nameKey, second, String())) : String();
    if (secondName == name) secondName = String();
    const String tags = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_TAGS), _language, String()));
    const Opt<String> sort = TRY(asset->GetMetaData().Get<String>(ASSETMETADATA::SORT));
    const Opt<Id> subtype = TRY(asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
    std::vector<Id> own = TRY(ReadIds(asset, ASSETMETADATA::KEYWORDS));
    const std::vector<Id> users = TRY(ReadIds(asset, ASSETMETADATA::USERKEYWORDS));
    const Opt<Bool> hidden = TRY(asset->GetMetaData().Get<Bool>(HIDDEN_FLAG));
    const Bool isValid = AssetInterface::IsAssetValid(asset).GetValueOr(false);
    const Bool needsRenderer = TRY(HasQuenliteDependencies(asset));
    Row row;
    const UInt32 type = _ids.GetNumber(asset->GetTypeId());
    const UInt32 subtypeNumber = _ids.GetNumber(subtype.value_or(Id()));
    row.category = _ids.GetNumber(CategoryAssetInterface::GetParentCategory(asset));
    std::vector<Id> keywords;
    AppendNew(keywords, own);
    const std::size_t ownCount = keywords.size();
    AppendNew(keywords, users);
    const Bool isFavourite = std::find(keywords.begin(), keywords.end(), KEYWORD_FAVOURITE) != keywords.end();
    const UInt32 keywordList = AddKeywords(std::move(keywords), ownCount);
    row.flags = UChar((isFavourite ? FAVOURITE : 0) | (hidden.value_or(false) ? HIDDEN : 0) | (isValid ? VALID : 0) |
                      (needsRenderer ? NEEDS_RENDERER : 0));
    const String sortText = sort.value_or(String());
    const String* texts[] = {&name, &secondName, &tags, &sortText};
    constexpr std::size_t SEARCHED = 3;
    if (tags.FindIndex(String("{")) != String::NOT_FOUND) row.flags |= ODD_TAGS;
    if (std::any_of(std::begin(texts), std::end(texts), [](const String* text) { return text->GetView().size() > MAX_TEXT; }))
        row.flags |= TOO_LONG;
    row.name = UInt32(_texts.size());
    row.folded = UInt32(_folded.size());
    std::uint16_t* lengths[] = {&row.nameLength, &row.secondLength, &row.tagsLength, &row.sortLength};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        const std::string_view text = texts[i]->GetView().substr(0, MAX_TEXT);
        *lengths[i] = std::uint16_t(text.size());
        _texts += text;
        if (i >= SEARCHED || text.empty()) continue;
        _folded += SEPARATOR;
        _folded += String(text).ToUpper().GetView();
    }
    _folded += SEPARATOR;
    if (_texts.size() > UInt32(-1) || _folded.size() > UInt32(-1))
        return OutOfMemoryError::Create("The names of a table are too long.");
    const auto number = UInt32(_rows.size());
    if ((row.flags & (ODD_TAGS | TOO_LONG)) != 0) _odd.push_back(number);
    if (asset->GetTypeId() == ASSETTYPE_KEYWORD || asset->GetTypeId() == ASSETTYPE_SUBTYPE) _references.push_back(number);
    _assets.push_back(asset);
    _types.push_back(type);
    _subtypes.push_back(subtypeNumber);
    _keywords.push_back(keywordList);
    _rows.push_back(row);
    return true;
}

UInt32 SearchTable::AddKeywords(std::vector<Id> ids, std::size_t own) {
    if (ids.empty()) return 0;
    std::string key = std::to_string(own);
    for (const Id& id : ids) (key += SEPARATOR) += id.GetView();
    const auto [known, isNew] = _keywordListNumbers.emplace(std::move(key), UInt32(_keywordLists.size()));
    if (isNew) _keywordLists.push_back({std::move(ids), own});
    return known->second;
}

/// Names in lower case in display order; equal ones have one rank.
void SearchTable::SetRanks() {
    struct Key {
        std::string bytes;
        UInt32 row;
    };
    std::vector<Key> keys(_rows.size());
    for (std::size_t i = 0; i < _rows.size(); ++i) {
        const Row& row = _rows[i];
        keys[i].bytes = MakeSortKey(String(std::string_view(_texts).substr(row.name, row.nameLength)).ToLower());
        keys[i].row = UInt32(i);
    }
    std::sort(keys.begin(), keys.end(), [](const Key& first, const Key& second) { return first.bytes < second.bytes; });
    UInt32 rank = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i == 0 || keys[i].bytes != keys[i - 1].bytes) ++rank;
        _rows[keys[i].row].rank = rank;
    }
}

AssetFacts SearchTable::GetFacts(std::size_t number) const {
    const Row& row = _rows[number];
    std::string_view texts = std::string_view(_texts).substr(row.name);
    const auto take = [&](std::size_t length) {
        String text(texts.substr(0, length));
        texts.remove_prefix(length);
        return text;
    };
    AssetFacts facts;
    facts.name = take(row.nameLength);
    facts.secondName = take(row.secondLength);
    facts.tags = take(row.tagsLength);
    facts.sort = take(row.sortLength);
    facts.subtype = _ids.ids[_subtypes[number]];
    facts.category = _ids.ids[row.category];
    const KeywordList& list = _keywordLists[_keywords[number]];
    facts.keywords = list.ids;
    facts.ownKeywords = list.own;
    facts.isFavourite = (row.flags & FAVOURITE) != 0;
    facts.isHidden = (row.flags & HIDDEN) != 0;
    facts.needsRenderer = (row.flags & NEEDS_RENDERER) != 0;
    facts.rank = row.rank;
    return facts;
}

Result<Candidates> SearchTable::FindCandidates(const FilterExpression& expression, FilterCaches& caches) const {
    Candidates candidates(_rows.size(), true);
    for (Int i = 0; i < expression.GetConditions().GetCount(); ++i) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        const Opt<Candidates> found = TRY(Find(expression, i, caches));
        if (!found) continue;
        candidates.Intersect(*found);
        // To look at so few exactly costs less than to ask for all which of them meet the rest.
        if (candidates.HasAtMost(FEW)) break;
    }
    return candidates;
}

/// Nothing if the table knows nothing about the condition.
Result<Opt<Candidates>> SearchTable::Find(const FilterExpression& expression, Int index, FilterCaches& caches) const {
    const FilterCondition& condition = expression.GetConditions()[index];
    const Id& key = condition.key.GetId();
    const Bool isFree = condition.key.IsEmpty();
    const Bool isName = isFree || key == OBJECT_BASE_NAME;
    const Bool isType = key == ASSETMETADATA::SUBTYPE;
    const Bool isKeyword = isFree || key == ASSETMETADATA::KEYWORDS;
    if (!isName && !isType && !isKeyword) return Opt<Candidates>();
    // A number of keywords is no text.
    if (!isFree && isKeyword && std::any_of(condition.values.begin(), condition.values.end(), IsComparison))
        return Opt<Candidates>();
    Candidates found(_rows.size(), false);
    if (isName) {
        for (const String& value : condition.values) {
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            FindByText(value, found);
        }
        for (const UInt32 number : _odd) found.Add(number);
    }
    std::vector<Bool> ids(_ids.ids.size());
    std::vector<Bool> lists(_keywordLists.size());
    if (isType) {
        for (std::size_t i = 1; i < ids.size(); ++i) {
            const std::string_view id = _ids.ids[i].GetView();
            ids[i] = std::any_of(condition.values.begin(), condition.values.end(),
                                 [&](const String& value) { return MatchId(id, value) || value.GetView() == "NODE_OM"; });
        }
        AddWhere(_types, ids, found);
    }
    // What a subtype or a keyword meets on behalf of those that refer to it.
    for (std::size_t i = 1; i < ids.size(); ++i) ids[i] = ids[i] || expression.IsMetBySubtype(_ids.ids[i], index);
    if (isKeyword) TRY(FindByKeyword(condition, caches, expression.GetContext().lookupRepository, lists));
    for (std::size_t i = 1; i < lists.size(); ++i) {
        for (const Id& keyword : _keywordLists[i].ids) lists[i] = lists[i] || expression.IsMetByKeyword(keyword, index);
    }
    AddWhere(_subtypes, ids, found);
    AddWhere(_keywords, lists, found);
    return Opt<Candidates>(std::move(found));
}

Result<void> SearchTable::FindByKeyword(const FilterCondition& condition, FilterCaches& caches,
                                        const AssetRepositoryRef& repository, std::vector<Bool>& lists) const {
    for (std::size_t i = 1; i < lists.size(); ++i) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        for (const Id& keyword : _keywordLists[i].ids) {
            const String& name = TRY_REF(caches.GetKeywordName(repository, keyword));
            if (name.IsEmpty()) continue;
            lists[i] = lists[i] || std::any_of(condition.values.begin(), condition.values.end(),
                                               [&](const String& value) { return ContainsText(name, value); });
        }
    }
    return OK;
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
        while (number + step < _rows.size() && _rows[number + step].folded <= offset) step *= 2;
        const auto next =
            std::upper_bound(_rows.begin() + Int(number + step / 2), _rows.begin() + Int(std::min(number + step, _rows.size())),
                             offset, [](UInt32 at, const Row& row) { return at < row.folded; });
        number = std::size_t(next - _rows.begin());
        found.Add(number - 1);
        if (number == _rows.size()) break;
        place = _rows[number].folded;
    }
}

}  // namespace talvo
