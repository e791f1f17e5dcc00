#include "apps/talvo/store_file.h"

#include "apps/talvo/asset_values.h"

namespace talvo {

namespace {

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
    AssetValues values;
    if (file.name || !newest) values.name = file.name.value_or(file.sourceName);
    if (!newest) {
        values.category = file.category;
        values.subtype = file.subtype;
    }
    const AssetMetaData metaData = TRY(MakeAssetValues(values, before));
    return file.place == FileToStore::PLACE::OVER_NEWEST ? repository->OverwriteAsset(file.id, Asset(asset), metaData)
                                                         : repository->StoreAsset(file.id, Asset(asset), metaData);
}

}  // namespace talvo
