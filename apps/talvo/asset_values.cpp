#include "apps/talvo/asset_values.h"

#include "colorcategory_asset.h"
#include "kernel/description/description.h"

namespace talvo {

namespace {

/// The language at the end of every chain: what it says is what a reader of any language sees at last.
LanguageRef GetLastLanguage() {
    LanguageRef language = Resource::GetDefaultLanguage();
    while (const LanguageRef next = language->GetFallbackLanguage()) language = next;
    return language;
}

Result<void> AddName(const String& name, const AssetMetaData& before, AssetMetaDataTable& table) {
    const InternedId key = TRY(AssetInterface::GetLanguageMetaDataId(GetLastLanguage()->GetIdentifier()));
    Opt<DataDescriptionDefinition> texts = TRY(before.Get<DataDescriptionDefinition>(key));
    if (!texts) texts.emplace();
    texts->SetCategory("string"_id);
    TRY(texts->ReplaceEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, name)));
    return table.Insert(key, AssetMetaDataEntry{Data(std::move(*texts)), ASSET_METADATA_KIND::PERSISTENT, true, 1});
}

}  // namespace

Result<AssetMetaData> MakeAssetValues(const AssetValues& values, const AssetMetaData& before) {
    AssetMetaDataTable table;
    const auto add = [&](const InternedId& key, Data value) -> Result<void> {
        return table.Insert(key, AssetMetaDataEntry{std::move(value), ASSET_METADATA_KIND::PERSISTENT, true, 1});
    };
    if (values.name) TRY(AddName(*values.name, before, table));
    if (values.category) TRY(add(ASSETMETADATA::CATEGORY, Data(*values.category)));
    if (values.subtype) TRY(add(ASSETMETADATA::SUBTYPE, Data(*values.subtype)));
    if (values.color) TRY(add(COLORCATEGORY_COLOR, Data(*values.color)));
    return AssetMetaData::Create(std::move(table));
}

}  // namespace talvo
