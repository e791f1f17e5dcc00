#include "apps/talvo/new_asset_meta_data.h"

#include "kernel/description/description.h"

namespace talvo {

namespace {

// The language at the end of every chain: what it says is what a reader of any language sees at last.
LanguageRef GetLastLanguage() {
    LanguageRef language = Resource::GetDefaultLanguage();
    while (const LanguageRef next = language->GetFallbackLanguage()) language = next;
    return language;
}

Result<void> Add(AssetMetaDataTable& table, const InternedId& key, Data value, ASSET_METADATA_KIND kind) {
    AssetMetaDataEntry entry;
    entry.value = std::move(value);
    entry.kind = kind;
    return table.Insert(key, std::move(entry));
}

}  // namespace

Result<AssetMetaData> MakeNewAssetMetaData(const Opt<String>& name, const Opt<String>& tag) {
    AssetMetaDataTable table;
    if (name) {
        const InternedId key = TRY(AssetInterface::GetLanguageMetaDataId(GetLastLanguage()->GetIdentifier()));
        DataDescriptionDefinition texts;
        texts.SetCategory("string"_id);
        TRY(texts.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, *name)));
        TRY(Add(table, key, Data(std::move(texts)), ASSET_METADATA_KIND::PERSISTENT));
    }
    if (tag) {
        TRY(Add(table, InternedId(ASSETMETADATA::VERSIONTAG), Data(*tag), ASSET_METADATA_KIND::PERSISTENT | ASSET_METADATA_KIND::VERSIONED));
    }
    return table.IsEmpty() ? AssetMetaData() : AssetMetaData::Create(std::move(table));
}

}  // namespace talvo
