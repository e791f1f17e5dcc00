#include "browser_filter/search_table_builder.h"

#include "asset_presentation.h"
#include "asset_types/meta_strings.h"
#include "browser_filter/outline_pipe.h"
#include "category_asset.h"
#include "kernel/data/document_binary.h"
#include "kernel/description/stored_texts.h"
#include "kernel/thread/job.h"
#include "keyword_asset.h"
#include "subtype_asset.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr LiteralId HIDDEN_FLAG{"net.talvo.description.data.info.hidden"};
constexpr char SEPARATOR = '\n';
/// Texts longer than this are cut in the table's copy, whose assets then are looked at exactly.
constexpr std::size_t MAX_TEXT = 0xffff;
/// With so many to load their repository is asked for all of them at once, which it does on several threads.
constexpr std::size_t MANY_TO_LOAD = 1000;

/// Where values stand in an outline; languages stand behind them.
enum OUTLINE : std::size_t { SUBTYPE, CATEGORY, OWN_KEYWORDS, FIRST_UNTOLD };

/// Values that few assets have: those that do are loaded.
std::vector<InternedId> GetUntoldKeys() {
    std::vector<InternedId> keys = {InternedId(ASSETMETADATA::VALIDVERSION), InternedId(HIDDEN_FLAG),
                                    InternedId(ASSETMETADATA::SORT), InternedId(ASSETMETADATA::USERKEYWORDS)};
    if (GetRendererPluginId().IsPopulated()) keys.emplace_back(ASSETMETADATA::DEPENDENCIES);
    return keys;
}

/// Types whose texts and values are just what is stored: nothing is computed.
Bool HasStoredValuesOnly(const Id& type) {
    return type == ASSETTYPE_FILE || type == ASSETTYPE_CATEGORY || type == ASSETTYPE_KEYWORD;
}

Result<std::vector<Id>> ReadIds(const AssetDescription& asset, const LiteralId& key) {
    const Opt<BaseArray<Id>> list = TRY(asset->GetMetaData().Get<BaseArray<Id>>(key));
    return list ? std::vector<Id>(list->begin(), list->end()) : std::vector<Id>();
}

void AppendNew(std::vector<Id>& ids, const std::vector<Id>& more) {
    for (const Id& id : more) {
        if (std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    }
}

/// A stored value of type T; nothing if it is of another one, or damaged.
template <typename T>
Opt<T> Decode(const StoredValue& stored) {
    const Result<DocumentValue> document = ReadBinaryValue(stored.bytes);
    if (document.IsError()) return std::nullopt;
    const Result<Data> data = Data::FromBareDocument(*stored.type, document.GetValue());
    const T* value = data.IsOk() ? data.GetValue().GetPtr<T>() : nullptr;
    return value ? Opt<T>(*value) : std::nullopt;
}

void AppendUpper(std::string& target, std::string_view text) {
    const Bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return UChar(c) < 0x80; });
    if (!isAscii) {
        target += String(text).ToUpper().GetView();
        return;
    }
    for (const char c : text) target += c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
}

}  // namespace

SearchTableBuilder::SearchTableBuilder(SearchTable& table, AssetRepositoryRef repository)
    : _table(table),
      _repository(std::move(repository)),
      _keys{InternedId(ASSETMETADATA::SUBTYPE), InternedId(ASSETMETADATA::CATEGORY), InternedId(ASSETMETADATA::KEYWORDS)} {
    for (InternedId& key : GetUntoldKeys()) _keys.push_back(std::move(key));
}

Result<void> SearchTableBuilder::Run() {
    for (const LanguageRef language : MetaStrings::GetLanguageChain(nullptr)) {
        const InternedId metaId = TRY(AssetInterface::GetLanguageMetaDataId(language->GetIdentifier()));
        const auto base = [&](const LiteralId& key) {
            return std::string(MetaStrings::GetBaseText(InternedId(key), language).GetView());
        };
        _languages.push_back({language, base(OBJECT_BASE_NAME), base(OBJECT_BASE_TAGS)});
        _keys.push_back(metaId);
    }
    _texts.resize(_languages.size());
    const std::vector<AssetRepositoryRef> repositories = TRY(ListRepositories());
    std::vector<BaseAssetRepository*> backends;
    for (const AssetRepositoryRef& repository : repositories)
        backends.push_back(dynamic_cast<BaseAssetRepository*>(repository.GetPointer()));
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::CANCELLABLE;
    if (std::find(backends.begin(), backends.end(), nullptr) != backends.end()) {
        TRY(FindAssets(_repository, {}, Id(), Id(), mode, [&](const AssetDescription& asset) -> Result<Bool> {
            TRY(Add(asset));
            return true;
        }));
    } else {
        for (BaseAssetRepository* backend : backends) TRY(AddOutlines(*backend, backends));
    }
    std::sort(_toLoad.begin(), _toLoad.end());
    _toLoad.erase(std::unique(_toLoad.begin(), _toLoad.end()), _toLoad.end());
    for (const Id& aid : _toLoad) {
        const AssetDescription asset = TRY(_repository->FindLatestAsset(Id(), aid, Id(), mode));
        if (asset) TRY(Add(asset));
    }
    _table._assets = std::vector<std::atomic<AssetDescriptionInterface*>>(_assets.size());
    for (std::size_t i = 0; i < _assets.size(); ++i) _table._assets[i].store(_assets[i].Detach(), std::memory_order_relaxed);
    return OK;
}

Result<std::vector<AssetRepositoryRef>> SearchTableBuilder::ListRepositories() const {
    std::vector<AssetRepositoryRef> repositories;
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::ASK_REPOSITORY;
    TRY(_repository->FindAssets({}, Id(), Id(), mode, [&](const AssetFindItem& item) -> Result<Bool> {
        if (const AssetRepositoryRef* repository = item.GetRepository()) repositories.push_back(*repository);
        return false;  // its assets are not wanted
    }));
    return repositories;
}

Result<void> SearchTableBuilder::AddOutlines(BaseAssetRepository& repository, const std::vector<BaseAssetRepository*>& others) {
    const std::size_t before = _toLoad.size();
    // What the built-in repository doesn't store is computed.
    const Bool computes = &repository == AssetInterface::GetBuiltinRepository().GetPointer();
    const auto add = [&](const Id& aid, const Id& type, Opt<Block<const StoredValue>> values) -> Result<void> {
        // Of several repositories that have an asset the newest version counts.
        const Bool isHereOnly =
            values && !computes && std::none_of(others.begin(), others.end(), [&](BaseAssetRepository* other) {
                return other != &repository && other->HasEntry(aid);
            });
        const Bool isAdded = isHereOnly && TRY(AddOutline(aid, type, *values));
        if (!isAdded) _toLoad.push_back(aid);
        return OK;
    };
    OutlinePipe pipe(_keys.size(), add);
    TRY(repository.ReadOutlines(
        _keys, [&](const Id& aid, const Id& type, Opt<Block<const StoredValue>> values) { return pipe.Put(aid, type, values); }));
    TRY(pipe.Finish());
    if (_toLoad.size() - before < MANY_TO_LOAD) return OK;
    const auto mode = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES | ASSET_FIND_MODE::CANCELLABLE;
    TRY(repository.FindAssets({}, Id(), Id(), mode, [](const AssetFindItem&) -> Result<Bool> { return true; }));
    return OK;
}

Result<Bool> SearchTableBuilder::AddOutline(const Id& aid, const Id& type, Block<const StoredValue> values) {
    if (!HasStoredValuesOnly(type)) return false;
    const std::size_t firstLanguage = values.size() - _languages.size();
    const auto untold = values.subspan(FIRST_UNTOLD, firstLanguage - FIRST_UNTOLD);
    if (std::any_of(untold.begin(), untold.end(), [](const StoredValue& value) { return value.type != nullptr; })) return false;
    if (!ReadTexts(values.subspan(firstLanguage))) return false;
    const Opt<UInt32> subtype = ReadId(values[SUBTYPE]);
    const Opt<UInt32> category = ReadId(values[CATEGORY]);
    const Opt<UInt32> keywords = ReadKeywords(values[OWN_KEYWORDS]);
    if (!subtype || !category || !keywords) return false;
    Values row{aid, _table._ids.GetNumber(type), *subtype, *category, *keywords, SearchTable::VALID, {}, {}, {}, {}};
    row.name = ChooseText(&StoredTexts::name, 0, aid.GetView());
    if (_languages.size() > 1) row.secondName = ChooseText(&StoredTexts::name, 1, aid.GetView());
    if (row.secondName == row.name) row.secondName = {};
    row.tags = ChooseText(&StoredTexts::tags, 0, {});
    TRY(AddRow(row, nullptr));
    return true;
}

/// @return false if the type may have a text.
Bool SearchTableBuilder::ReadTexts(Block<const StoredValue> values) {
    const Id keys[] = {OBJECT_BASE_NAME, OBJECT_BASE_TAGS};
    std::size_t last = 0;  // behind the last language with texts
    for (std::size_t i = 0; i < _languages.size(); ++i) {
        StoredTexts& texts = _texts[i];
        texts = StoredTexts();
        if (!values[i].type) continue;
        std::string_view found[std::size(keys)];
        if (!ReadStoredTexts(*values[i].type, values[i].bytes, keys, found)) return false;
        if (found[0] != _languages[i].baseName) texts.name = found[0];
        if (found[1] != _languages[i].baseTags) texts.tags = found[1];
        last = i + 1;
    }
    // The second name is looked for without the first language.
    return last >= std::min<std::size_t>(_languages.size(), 2);
}

std::string_view SearchTableBuilder::ChooseText(std::string_view StoredTexts::* text, std::size_t first,
                                                std::string_view fallback) const {
    for (std::size_t i = first; i < _texts.size(); ++i) {
        if (!(_texts[i].*text).empty()) return _texts[i].*text;
    }
    return fallback;
}

Opt<UInt32> SearchTableBuilder::ReadId(const StoredValue& value) {
    if (!value.type) return 0;
    const auto known = _storedIds.find(value.bytes);
    if (known != _storedIds.end()) return known->second;
    const Opt<Id> id = Decode<Id>(value);
    if (!id) return std::nullopt;
    const UInt32 number = _table._ids.GetNumber(*id);
    _storedIds.emplace(value.bytes, number);
    return number;
}

Opt<UInt32> SearchTableBuilder::ReadKeywords(const StoredValue& value) {
    if (!value.type) return 0;
    const auto known = _storedKeywords.find(value.bytes);
    if (known != _storedKeywords.end()) return known->second;
    const Opt<BaseArray<Id>> ids = Decode<BaseArray<Id>>(value);
    if (!ids) return std::nullopt;
    const UInt32 number = AddKeywords(std::vector<Id>(ids->begin(), ids->end()), {});
    _storedKeywords.emplace(value.bytes, number);
    return number;
}

UInt32 SearchTableBuilder::AddKeywords(const std::vector<Id>& own, const std::vector<Id>& users) {
    SearchTable::KeywordList list;
    AppendNew(list.ids, own);
    list.own = list.ids.size();
    AppendNew(list.ids, users);
    if (list.ids.empty()) return 0;
    list.hasFavourite = std::find(list.ids.begin(), list.ids.end(), KEYWORD_FAVOURITE) != list.ids.end();
    std::string key = std::to_string(list.own);
    for (const Id& id : list.ids) (key += SEPARATOR) += id.GetView();
    const auto [known, isNew] = _keywordLists.emplace(std::move(key), UInt32(_table._keywordLists.size()));
    if (isNew) _table._keywordLists.push_back(std::move(list));
    return known->second;
}

/// What is wrong with one asset concerns that one only: it is looked at again by each search.
Result<void> SearchTableBuilder::Add(const AssetDescription& asset) {
    if (_assets.size() % 1024 == 0 && Job::IsCurrentCancelled()) return OperationCancelledError::Create();
    const Result<void> added = AddRead(asset);
    if (added.IsOk() || OutOfMemoryError::IsClassOf(added.GetError())) return added;
    Values row;
    row.aid = asset->GetIdAndVersion().first;
    row.type = _table._ids.GetNumber(asset->GetTypeId());
    row.flags = SearchTable::UNREADABLE;
    return AddRow(row, asset);
}

Result<void> SearchTableBuilder::AddRead(const AssetDescription& asset) {
    const InternedId nameKey(OBJECT_BASE_NAME);
    const String name = TRY(asset->GetMetaString(nameKey, _languages[0].language, String()));
    String secondName;
    if (_languages.size() > 1) secondName = TRY(asset->GetMetaString(nameKey, _languages[1].language, String()));
    if (secondName == name) secondName = String();
    const String tags = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_TAGS), _languages[0].language, String()));
    const Opt<String> sort = TRY(asset->GetMetaData().Get<String>(ASSETMETADATA::SORT));
    const Opt<Id> subtype = TRY(asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
    const std::vector<Id> own = TRY(ReadIds(asset, ASSETMETADATA::KEYWORDS));
    const std::vector<Id> users = TRY(ReadIds(asset, ASSETMETADATA::USERKEYWORDS));
    const Opt<Bool> hidden = TRY(asset->GetMetaData().Get<Bool>(HIDDEN_FLAG));
    const Bool isValid = AssetInterface::IsAssetValid(asset).GetValueOr(false);
    const Bool needsRenderer = TRY(HasQuenliteDependencies(asset));
    const String sortText = sort.value_or(String());
    Values row;
    row.aid = asset->GetIdAndVersion().first;
    row.type = _table._ids.GetNumber(asset->GetTypeId());
    row.subtype = _table._ids.GetNumber(subtype.value_or(Id()));
    row.category = _table._ids.GetNumber(CategoryAssetInterface::GetParentCategory(asset));
    row.keywords = AddKeywords(own, users);
    row.flags = UChar((hidden.value_or(false) ? SearchTable::HIDDEN : 0) | (isValid ? SearchTable::VALID : 0) |
                      (needsRenderer ? SearchTable::NEEDS_RENDERER : 0));
    row.name = name.GetView();
    row.secondName = secondName.GetView();
    row.tags = tags.GetView();
    row.sort = sortText.GetView();
    return AddRow(row, asset);
}

Result<void> SearchTableBuilder::AddRow(const Values& values, const AssetDescription& asset) {
    SearchTable::Row row;
    row.flags = values.flags;
    const std::string_view texts[] = {values.name, values.secondName, values.tags, values.sort};
    constexpr std::size_t SEARCHED = 3;
    if (values.tags.find('{') != std::string_view::npos) row.flags |= SearchTable::ODD_TAGS;
    const Bool isTooLong =
        std::any_of(std::begin(texts), std::end(texts), [](std::string_view text) { return text.size() > MAX_TEXT; });
    if (isTooLong) row.flags |= SearchTable::TOO_LONG;
    row.name = UInt32(_table._texts.size());
    _table._foldedBegins.push_back(UInt32(_table._folded.size()));
    std::uint16_t* lengths[] = {&row.nameLength, &row.secondLength, &row.tagsLength, &row.sortLength};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        const std::string_view text = texts[i].substr(0, MAX_TEXT);
        *lengths[i] = std::uint16_t(text.size());
        _table._texts += text;
        if (i >= SEARCHED || text.empty()) continue;
        _table._folded += SEPARATOR;
        AppendUpper(_table._folded, text);
    }
    _table._folded += SEPARATOR;
    if (_table._texts.size() > UInt32(-1) || _table._folded.size() > UInt32(-1))
        return OutOfMemoryError::Create("The names of a table are too long.");
    const auto number = UInt32(_table._rows.size());
    if ((row.flags & (SearchTable::ODD_TAGS | SearchTable::TOO_LONG)) != 0) _table._odd.push_back(number);
    if ((row.flags & SearchTable::UNREADABLE) != 0) _table._unreadable.push_back(number);
    const Id& type = _table._ids.ids[values.type];
    if (type == ASSETTYPE_KEYWORD || type == ASSETTYPE_SUBTYPE) _table._references.push_back(number);
    _table._aids.push_back(values.aid);
    _table._types.push_back(values.type);
    _table._subtypes.push_back(values.subtype);
    _table._categories.push_back(values.category);
    _table._keywords.push_back(values.keywords);
    _table._rows.push_back(row);
    _assets.push_back(asset);
    return OK;
}

Result<SearchTableRef> SearchTable::Build(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<SearchTableRef> {
        const SearchTableRef table(new SearchTable);
        TRY(SearchTableBuilder(*table, repository).Run());
        return table;
    });
}

}  // namespace talvo
