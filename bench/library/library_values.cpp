#include "bench/library/library_values.h"

#include "bench/measure.h"
#include "kernel/description/description.h"

namespace talvo::bench {

namespace {

using KIND = ASSET_METADATA_KIND;
constexpr KIND STORE_TIME_KIND = KIND::PERSISTENT | KIND::VERSIONED | KIND::READ_ONLY;

Id MakeId(std::string_view text) { return Need(Id::Create(text)); }

Data MakeName(const std::string& name) {
    DataDescriptionDefinition texts;
    texts.SetCategory("string"_id);
    Need(texts.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, String(name))));
    return Data(std::move(texts));
}

Data MakeIds(const std::vector<std::string>& texts) {
    BaseArray<Id> ids;
    for (const std::string& text : texts) Need(ids.Append(MakeId(text)));
    return Data(std::move(ids));
}

}  // namespace

std::vector<LibraryValue> MakeLibraryValues(const LibraryAsset& asset, Int version) {
    static const InternedId TIME{ASSETMETADATA::TIMESTAMP};
    static const InternedId SUBTYPE{ASSETMETADATA::SUBTYPE};
    static const InternedId KEYWORDS{ASSETMETADATA::KEYWORDS};
    static const InternedId CATEGORY{ASSETMETADATA::CATEGORY};
    static const InternedId ENGLISH = Need(AssetInterface::GetLanguageMetaDataId("en"_id));
    static const InternedId GERMAN = Need(AssetInterface::GetLanguageMetaDataId("de"_id));
    std::vector<LibraryValue> values;
    // In the order of their keys.
    if (!asset.keywords.empty()) values.push_back({KEYWORDS, KIND::PERSISTENT, MakeIds(asset.keywords)});
    if (!asset.subtype.empty()) values.push_back({SUBTYPE, KIND::PERSISTENT, Data(MakeId(asset.subtype))});
    values.push_back({TIME, STORE_TIME_KIND, Data(UniversalDateTime(asset.versions[std::size_t(version)].time))});
    if (!asset.category.empty()) values.push_back({CATEGORY, KIND::PERSISTENT, Data(MakeId(asset.category))});
    if (!asset.german.empty()) values.push_back({GERMAN, KIND::PERSISTENT, MakeName(asset.german)});
    if (!asset.english.empty()) values.push_back({ENGLISH, KIND::PERSISTENT, MakeName(asset.english)});
    return values;
}

std::string MakeLibraryPayloadName(const LibraryAsset& asset) {
    return asset.suffix.empty() ? "asset" : "asset." + std::string(asset.suffix);
}

}  // namespace talvo::bench
