#include "apps/talvo/store_file.h"

#include "kernel/description/description.h"

namespace talvo {

namespace {

// The language at the end of every chain: what it says is what a reader of any language sees at last.
LanguageRef GetLastLanguage() {
    LanguageRef language = Resource::GetDefaultLanguage();
    while (const LanguageRef next = language->GetFallbackLanguage()) language = next;
    return language;
}

// The texts of the version before, with another name.
Result<AssetMetaData> MakeName(const String& name, const AssetMetaData& before) {
    const InternedId key = TRY(AssetInterface::GetLanguageMetaDataId(GetLastLanguage()->GetIdentifier()));
    Opt<DataDescriptionDefinition> texts = TRY(before.Get<DataDescriptionDefinition>(key));
    if (!texts) texts.emplace();
    texts->SetCategory("string"_id);
    TRY(texts->ReplaceEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, name)));
    AssetMetaDataEntry entry;
    entry.value = Data(std::move(*texts));
    entry.kind = ASSET_METADATA_KIND::PERSISTENT;
    AssetMetaDataTable table;
    TRY(table.Insert(key, std::move(entry)));
    return AssetMetaData::Create(std::move(table));
}

// The newest version with content, also of a deleted asset: storing it again brings back what was known of it.
Result<AssetDescription> FindNewestContent(const AssetRepositoryRef& repository, const Id& id) {
    AssetDescription newest = TRY(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
    if (newest) return newest;
    const ASSET_FIND_MODE mode = ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::WITH_DELETED | ASSET_FIND_MODE::WITHOUT_BASES;
    TRY(FindAssets(repository, {}, id, Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
        if (!found->IsDeleted()) newest = found;
        return !newest;
    }));
    return newest;
}

}  // namespace

Result<AssetDescription> StoreFile(const AssetRepositoryRef& repository, const FileToStore& file) {
    const FileAsset asset = TRY(FileAsset::Create(file.source));
    // It must live until the store is done, since the asset holds its metadata weakly.
    const AssetDescription newest = TRY(FindNewestContent(repository, file.id));
    const AssetMetaData before = newest ? newest->GetMetaData() : AssetMetaData();
    if (newest) asset->SetMetaData(before);
    AssetMetaData metaData;
    if (file.name || !newest) metaData = TRY(MakeName(file.name.value_or(file.sourceName), before));
    return file.place == FileToStore::PLACE::OVER_NEWEST ? repository->OverwriteAsset(file.id, Asset(asset), metaData)
                                                         : repository->StoreAsset(file.id, Asset(asset), metaData);
}

}  // namespace talvo
