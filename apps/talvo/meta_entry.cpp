#include "apps/talvo/meta_entry.h"

#include "apps/talvo/value_parser.h"
#include "apps/talvo/version_record.h"

#include <algorithm>

namespace talvo {

namespace {

// Reads the value; an error becomes part of the entry, so that one damaged document doesn't hide the others.
MetaEntry ReadEntry(const AssetMetaData& metaData, const InternedId& key, ASSET_METADATA_KIND kind) {
    MetaEntry entry{key, kind, Data(), nullptr};
    Result<Opt<Data>> value = metaData->Get(key);
    if (value.IsError()) {
        entry.problem = value.GetError();
    } else if (value.GetValue()) {
        entry.value = *std::move(value).GetValue();
    }
    return entry;
}

}  // namespace

Result<Opt<MetaEntry>> MetaEntry::Find(const AssetDescription& description, const InternedId& key) {
    const AssetMetaData& metaData = description->GetMetaData();
    const BaseArray<AssetMetaDataExistingEntry> existing = TRY(metaData->GetExistingEntries());
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;
    for (const auto& [otherKey, otherKind] : existing) {
        if (otherKey == key) kind = otherKind;
    }
    MetaEntry entry = ReadEntry(metaData, key, kind);  // values that are computed have no entry before they are asked for
    if (entry.problem) return entry.problem;
    return entry.value.IsEmpty() ? Opt<MetaEntry>() : Opt<MetaEntry>(std::move(entry));
}

Result<std::vector<MetaEntry>> MetaEntry::ReadAll(const AssetDescription& description) {
    const AssetMetaData& metaData = description->GetMetaData();
    BaseArray<AssetMetaDataExistingEntry> existing = TRY(metaData->GetExistingEntries());
    std::sort(existing.begin(), existing.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<MetaEntry> entries;
    for (const auto& [key, kind] : existing) entries.push_back(ReadEntry(metaData, key, kind));
    return entries;
}

void MetaEntry::AppendJson(DocumentValue::ObjectType& object) const {
    object.emplace_back("kind", ValueParser::GetKindName(kind));
    if (value.IsEmpty()) return;
    object.emplace_back("type", ToJsonText(value.GetTypeId()));
    Result<DocumentValue> document = value.ToBareDocument();
    object.emplace_back("value", document.IsOk() ? document.GetValue() : DocumentValue(MakeUtf8(value.ToString())));
}

std::string MetaEntry::GetText() const {
    if (problem) return "(" + problem->GetMessage() + ")";
    const Url* url = value.GetPtr<Url>();
    return url ? url->GetUrl() : value.ToString();
}

}  // namespace talvo
