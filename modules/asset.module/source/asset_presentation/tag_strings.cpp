// Tags of assets, with the entries of ports put in where a placeholder "{node/port}" stands.
#include "asset_presentation.h"
#include "kernel/app/log.h"
#include "kernel/data/data_type.h"

#include <string>
#include <string_view>
#include <tuple>

namespace talvo {

namespace {

constexpr const char* SHOWN_MARK = "$%$";

/// An expansion that was kept: text, the stamp of derived values that it belongs to, and the language.
using TagRecord = std::tuple<String, CString, CString>;

[[maybe_unused]] const Bool DATA_TYPES_KNOWN = [] {
    DataTypes::RegisterAll<TagRecord>();
    return true;
}();

Result<std::string> ExpandPlaceholder(const AssetDescription& asset, const NodeSystemClassRef& cls, std::string_view placeholder,
                                      LanguageRef language) {
    const std::size_t slash = placeholder.find('/');
    const String node(placeholder.substr(0, slash));
    const String port(slash == std::string_view::npos ? std::string_view() : placeholder.substr(slash + 1));
    const BaseArray<String> entries = TRY(NodeLibrary::GetPortEntries(asset, cls, node, port, language));
    std::string joined;
    for (const String& entry : entries) {
        if (entry.IsEmpty()) continue;
        if (!joined.empty()) joined += ", ";
        joined += SHOWN_MARK;
        joined += entry.GetView();
    }
    return joined;
}

Result<String> ExpandTags(const AssetDescription& asset, const NodeSystemClassRef& cls, const String& tags,
                          LanguageRef language) {
    std::string expanded;
    std::string_view rest = tags.GetView();
    for (;;) {
        const std::size_t begin = rest.find('{');
        const std::size_t end = begin == std::string_view::npos ? begin : rest.find('}', begin);
        if (end == std::string_view::npos) return String((expanded += rest));
        const Result<std::string> entries = ExpandPlaceholder(asset, cls, rest.substr(begin + 1, end - begin - 1), language);
        if (entries.IsError()) {
            Log(LOG_LEVEL::WARNING, "The tags of @ can't be told: @", asset->ToString(), entries.GetError()->GetMessage());
            return entries.GetError();
        }
        expanded += rest.substr(0, begin);
        expanded += ";" + entries.GetValue() + ";";
        rest.remove_prefix(end + 1);
    }
}

void StoreRecord(const AssetDescription& asset, const Data& record) {
    const Result<void> stored =
        asset.StoreMetaData(InternedId(OBJECT_BASE_TAGS), record, ASSET_METADATA_KIND::PERSISTENT | ASSET_METADATA_KIND::DERIVED);
    if (stored.IsError())
        Log(LOG_LEVEL::WARNING, "The tags of @ are told anew each time: @", asset->ToString(), stored.GetError()->GetMessage());
}

}  // namespace

void TagRecords::Store() {
    for (const auto& [asset, record] : _records) StoreRecord(asset, record);
    _records.clear();
}

Result<String> GetTagStrings(const AssetDescription& asset, const NodeSystemClassRef& nodeSystemClass, TagRecords* filterCache) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!asset) return NullptrError::Create("There is no asset whose tags could be told.");
        const InternedId key(OBJECT_BASE_TAGS);
        const LanguageRef language = Resource::GetCurrentLanguage();
        const String tags = TRY(asset->GetMetaString(key, language, String()));
        // Most tags have no placeholder: they are what they say.
        if (tags.FindIndex(String("{")) == String::NOT_FOUND) return tags;
        const CString code(language->GetIdentifier().GetView());
        // Whatever is there: a text that somebody stored or a record.
        const Opt<Data> kept = TRY(asset->GetMetaData()->Get(key));
        const Opt<CString> stamp = TRY(asset->GetMetaData().Get<CString>(ASSETMETADATA::DERIVEDMETADATASTAMP));
        if (kept) {
            if (const String* text = kept->GetPtr<String>(); text && text->IsPopulated()) return *text;
            const TagRecord* record = kept->GetPtr<TagRecord>();
            const Bool isFresh = record && std::get<1>(*record) == stamp.value_or(CString()) && std::get<2>(*record) == code;
            if (isFresh) return std::get<0>(*record);
        }
        String expanded = TRY(ExpandTags(asset, nodeSystemClass, tags, language));
        Data record(TagRecord(expanded, stamp.value_or(CString()), code));
        if (filterCache) {
            filterCache->Add(asset, std::move(record));
        } else {
            StoreRecord(asset, record);
        }
        return expanded;
    });
}

}  // namespace talvo
