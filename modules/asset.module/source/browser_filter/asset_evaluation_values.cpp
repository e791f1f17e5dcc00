// What conditions read of an asset, and the tests of names, tags and properties.
#include "asset_presentation.h"
#include "browser_filter/asset_evaluation.h"
#include "browser_filter/length_formula.h"
#include "browser_filter/value_forms.h"

#include <algorithm>
#include <limits>

namespace talvo {

namespace {

constexpr LiteralId WIDTH{"net.talvo.asset.metaproperties.media.width"};
constexpr LiteralId HEIGHT{"net.talvo.asset.metaproperties.media.height"};
constexpr LiteralId RESOLUTION{"net.talvo.asset.metaproperties.media.resolution"};
constexpr std::string_view SHOWN_MARK = "$%$";

const ConditionMatch NOT_MET;

/// The larger of what is there.
Opt<Int64> Largest(const Opt<Int64>& first, const Opt<Int64>& second) {
    if (!first || !second) return first ? first : second;
    return std::max(*first, *second);
}

/// The largest extent of a box given as minimum x, y, z and maximum x, y, z; 0 for one that is turned inside out, and nothing for the box around
/// nothing, from which the boxes of files are grown.
Opt<Float64> GetExtent(const BaseArray<Float64>& box) {
    constexpr Int AXES = 3;
    if (box.GetCount() != 2 * AXES) return std::nullopt;
    constexpr Float64 LIMIT = std::numeric_limits<Float64>::max();
    if (box[0] == LIMIT && box[AXES] == -LIMIT) return std::nullopt;
    Float64 largest = 0;
    for (Int axis = 0; axis < AXES; ++axis) {
        const Float64 extent = box[axis + AXES] - box[axis];
        if (!(extent >= 0)) return 0;
        largest = std::max(largest, extent);
    }
    return largest;
}

}  // namespace

Result<Block<const String>> AssetEvaluation::GetNames() {
    if (_names) return Block<const String>(*_names);
    if (_facts && _facts->secondName.empty()) return Block<const String>(&_facts->name, 1);
    if (_facts) {
        _names.emplace({_facts->name, String(_facts->secondName)});
        return Block<const String>(*_names);
    }
    const InternedId key(OBJECT_BASE_NAME);
    const LanguageRef current = Resource::GetCurrentLanguage();
    std::vector<String> names;
    for (LanguageRef language : {current, current->GetFallbackLanguage()}) {
        if (!language) continue;
        String name = TRY(_asset->GetMetaString(key, language, String()));
        if (name.IsEmpty() || std::find(names.begin(), names.end(), name) != names.end()) continue;
        Note("name", name);
        names.push_back(std::move(name));
    }
    _names = std::move(names);
    return Block<const String>(*_names);
}

Result<Block<const Id>> AssetEvaluation::GetKeywords() {
    if (_keywords) return Block<const Id>(*_keywords);
    if (_facts) return Block<const Id>(_facts->keywords);
    std::vector<Id> keywords;
    for (const LiteralId& key : {ASSETMETADATA::KEYWORDS, ASSETMETADATA::USERKEYWORDS}) {
        const Opt<BaseArray<Id>> list = TRY(_asset->GetMetaData().Get<BaseArray<Id>>(key));
        if (!list) continue;
        for (const Id& keyword : *list) {
            if (std::find(keywords.begin(), keywords.end(), keyword) != keywords.end()) continue;
            if (_reads) {
                const String& name = TRY_REF(_caches.GetKeywordName(_context.lookupRepository, keyword));
                Note("keyword", name.IsEmpty() ? String::FromId(keyword) : name + String(", ") + String::FromId(keyword));
            }
            keywords.push_back(keyword);
        }
    }
    _keywords = std::move(keywords);
    return Block<const Id>(*_keywords);
}

Result<const DataDictionary&> AssetEvaluation::GetProperties() {
    if (_properties) return *_properties;
    Opt<DataDictionary> properties = TRY(_asset->GetMetaData().Get<DataDictionary>(ASSETMETADATA::METAPROPERTIES));
    _properties = properties ? std::move(*properties) : DataDictionary();
    return *_properties;
}

Result<const std::vector<AssetDescription>&> AssetEvaluation::GetVersions() {
    if (_versions) return *_versions;
    std::vector<AssetDescription> versions;
    const Id types[] = {_asset->GetTypeId()};
    const auto mode = ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::CANCELLABLE;
    TRY(FindAssets(_context.lookupRepository, types, GetAssetId(), Id(), mode,
                   [&](const AssetDescription& version) -> Result<Bool> {
                       versions.push_back(version);
                       return true;
                   }));
    _versions = std::move(versions);
    return *_versions;
}

Opt<Int64> AssetEvaluation::FindInteger(const DataDictionary& properties, const Id& key) const {
    if (const Opt<Int64> number = properties.Get<Int64>(key)) return *number >= 0 ? number : std::nullopt;
    if (const Opt<UInt> count = properties.Get<UInt>(key))
        return Int64(std::min(*count, UInt(std::numeric_limits<Int64>::max())));
    const Opt<Int32> shorter = properties.Get<Int32>(key);
    return shorter && *shorter >= 0 ? Opt<Int64>(*shorter) : std::nullopt;
}

Opt<Float64> AssetEvaluation::FindFloat(const DataDictionary& properties, const Id& key) const {
    if (const Opt<Float64> number = properties.Get<Float64>(key)) return number;
    const Opt<Int64> whole = FindInteger(properties, key);
    return whole ? Opt<Float64>(Float64(*whole)) : std::nullopt;
}

Result<ConditionMatch> AssetEvaluation::TestNumberProperty(const FilterCondition& condition) {
    const DataDictionary& properties = TRY_REF(GetProperties());
    const Id& key = condition.key.GetId();
    const Opt<Int64> number = key == RESOLUTION ? Largest(FindInteger(properties, WIDTH), FindInteger(properties, HEIGHT))
                                                : FindInteger(properties, key);
    if (!number) return NoValue("property");
    const String text(std::to_string(*number));
    Note("property", text);
    for (const String& value : condition.values) {
        if (MatchesNumber(*number, value)) return ConditionMatch{true, text};
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestFloatProperty(const FilterCondition& condition) {
    const DataDictionary& properties = TRY_REF(GetProperties());
    const Opt<Float64> number = FindFloat(properties, condition.key.GetId());
    // Media without a length or a rate say so with these.
    if (!number || *number < 0 || *number == std::numeric_limits<Float64>::max()) return NoValue("property");
    const String text(WriteFloat(*number));
    Note("property", text);
    for (const String& value : condition.values) {
        if (MatchesFloat(*number, value)) return ConditionMatch{true, text};
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestDimensions(const FilterCondition& condition) {
    const DataDictionary& properties = TRY_REF(GetProperties());
    const Opt<BaseArray<Float64>> box = properties.Get<BaseArray<Float64>>(condition.key.GetId());
    const Opt<Float64> extent = box ? GetExtent(*box) : std::nullopt;
    if (!extent) return NoValue("largest extent");
    const String text = WriteLength(*extent, _context.lengthUnitSystem);
    Note("largest extent", text);
    for (const String& value : condition.values) {
        if (MatchesFloat(*extent, value)) return ConditionMatch{true, text};
    }
    return NOT_MET;
}

Result<ConditionMatch> AssetEvaluation::TestName(const FilterCondition& condition) {
    const Block<const String> names = TRY(GetNames());
    for (const String& value : condition.values) {
        for (const String& name : names) {
            if (ContainsText(name, value)) return ConditionMatch{true, String()};
        }
    }
    return TestTags(condition);
}

/// The shortest word with an alternative in it counts, of the first group that has one.
Result<ConditionMatch> AssetEvaluation::TestTags(const FilterCondition& condition) {
    const Bool isKnown = _facts && _facts->tags.find('{') == std::string_view::npos;
    if (isKnown && _facts->tags.empty()) return NOT_MET;
    const String tags = isKnown ? String(_facts->tags) : TRY(GetTagStrings(_asset, _context.nodeSystemClass, &_caches.tags));
    if (tags.IsEmpty()) return NOT_MET;
    Note("tags", tags);
    const BaseArray<String> groups = tags.Split(String(";"), String::SPLIT::DROP_EMPTY);
    for (const String& value : condition.values) {
        for (const String& group : groups) {
            const BaseArray<String> words = group.Split(String(","), String::SPLIT::DROP_EMPTY);
            const String* best = nullptr;
            for (const String& word : words) {
                if (ContainsText(word, value) && (!best || word.GetLength() < best->GetLength())) best = &word;
            }
            if (!best) continue;
            const String word = best->Trim();
            const Bool isShown = word.GetView().starts_with(SHOWN_MARK);
            const Bool isUsed = std::find(_usedTagGroups.begin(), _usedTagGroups.end(), group) != _usedTagGroups.end();
            if (!isUsed) _usedTagGroups.push_back(group);
            return ConditionMatch{true, isShown && !isUsed ? word.GetPart(Int(SHOWN_MARK.size())) : String()};
        }
    }
    return NOT_MET;
}

}  // namespace talvo
