#include "assets/asset_repository_decorators.h"

#include "kernel/text/format.h"

namespace talvo {

namespace {

ErrorRef MakeGoneError(const Id& id) {
    return NullptrError::Create(FormatMessage("The decorated repository @ doesn't exist any longer. Open it again.", id));
}

}  // namespace

Array<AssetRepositoryRef> AssetRepositoryDecoratorBase::GetBases() const {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->GetBases() : Array<AssetRepositoryRef>();
}

Result<Bool> AssetRepositoryDecoratorBase::GetDerived(Receiver<AssetRepositoryRef> receiver) const {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetDerived(receiver);
}

Result<void> AssetRepositoryDecoratorBase::InitBases(Block<const AssetRepositoryRef> bases) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->InitBases(bases);
}

Result<void> AssetRepositoryDecoratorBase::AddBase(const AssetRepositoryRef& base) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->AddBase(base);
}

Result<void> AssetRepositoryDecoratorBase::RemoveBase(const AssetRepositoryRef& base) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->RemoveBase(base);
}

AssetRepositoryRef AssetRepositoryDecoratorBase::FindRepository(const Id& repoId) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->FindRepository(repoId) : AssetRepositoryRef();
}

Bool AssetRepositoryDecoratorBase::IsWritable() const {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target && target->IsWritable();
}

Result<Bool> AssetRepositoryDecoratorBase::PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version,
                                                             ASSET_FIND_MODE findMode, AssetFindReceiver assets,
                                                             VisitedRepositories& visited, LatestAssets& latestMap) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->PrivateFindAssets(types, aid, version, findMode, assets, visited, latestMap);
}

Result<void> AssetRepositoryDecoratorBase::PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind,
                                                                   ASSET_FIND_MODE findMode, VisitedRepositories& visited) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->PrivatePrefetchMetaData(metaId, kind, findMode, visited);
}

Result<Bool> AssetRepositoryDecoratorBase::FindAssets(Block<const Id> types, const Id& aid, const Id& version,
                                                      ASSET_FIND_MODE findMode, AssetFindReceiver receiver) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->FindAssets(types, aid, version, findMode, receiver);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::FindLatestAsset(const Id& type, const Id& aid, const Id& version,
                                                                       ASSET_FIND_MODE findMode) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->FindLatestAsset(type, aid, version, findMode);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::GetDescription(const AssetBase& asset) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetDescription(asset);
}

Result<COMPARERESULT> AssetRepositoryDecoratorBase::CompareVersions(const AssetBase& first, const AssetBase& second) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->CompareVersions(first, second);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::StoreAsset(const Id& aid, const Asset& asset,
                                                                  const AssetMetaData& metaData) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->StoreAsset(aid, asset, metaData);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::OverwriteAsset(const Id& aid, const Asset& asset,
                                                                      const AssetMetaData& metaData) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->OverwriteAsset(aid, asset, metaData);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::DeleteAsset(const Id& aid) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->DeleteAsset(aid);
}

Result<void> AssetRepositoryDecoratorBase::EraseAsset(const AssetDescription& asset) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->EraseAsset(asset);
}

Result<AssetDescription> AssetRepositoryDecoratorBase::CopyAsset(const Id& aid, const AssetDescription& source,
                                                                 Bool addEncryption, Bool overwrite) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->CopyAsset(aid, source, addEncryption, overwrite);
}

Result<void> AssetRepositoryDecoratorBase::StoreMetaData(const AssetDescription& asset, const InternedId& metaId,
                                                         const Data& data, ASSET_METADATA_KIND kind) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->StoreMetaData(asset, metaId, data, kind);
}

Result<void> AssetRepositoryDecoratorBase::StoreUrlMetaData(const AssetDescription& asset, const InternedId& metaId,
                                                            const Url& source, ASSET_METADATA_KIND kind) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->StoreUrlMetaData(asset, metaId, source, kind);
}

AssetRepositoryInterface::ObserverBaseChanged* AssetRepositoryDecoratorBase::ObservableBaseChanged(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableBaseChanged(create) : nullptr;
}

AssetRepositoryInterface::ObserverAsset* AssetRepositoryDecoratorBase::ObservableAssetStored(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableAssetStored(create) : nullptr;
}

AssetRepositoryInterface::ObserverAsset* AssetRepositoryDecoratorBase::ObservableAssetErased(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableAssetErased(create) : nullptr;
}

AssetRepositoryInterface::ObserverAsset* AssetRepositoryDecoratorBase::ObservableAssetUpdated(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableAssetUpdated(create) : nullptr;
}

AssetRepositoryInterface::ObserverMetaDataStored* AssetRepositoryDecoratorBase::ObservableMetaDataStored(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableMetaDataStored(create) : nullptr;
}

AssetRepositoryInterface::ObserverDownload* AssetRepositoryDecoratorBase::ObservableDownloadStateChanged(Bool create) {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->ObservableDownloadStateChanged(create) : nullptr;
}

Result<Data> AssetRepositoryDecoratorBase::GetCachedData(const Data& key, FunctionRef<Result<Data>()> callback) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetCachedData(key, callback);
}

Result<Id> AssetRepositoryDecoratorBase::GetDescriptionDatabaseId() const {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetDescriptionDatabaseId();
}

Result<DataDescription> AssetRepositoryDecoratorBase::LoadDescription(const Id& category, LanguageRef language,
                                                                      const AssetIdentifier& asset) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->LoadDescription(category, language, asset);
}

Result<DataDescription> AssetRepositoryDecoratorBase::LoadDescription(const Id& category, LanguageRef language,
                                                                      const Id& dataType) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->LoadDescription(category, language, dataType);
}

Result<DataDescriptionDefinition> AssetRepositoryDecoratorBase::LoadDescriptionDefinition(Int32 mode, const Id& category,
                                                                                          LanguageRef language,
                                                                                          const AssetIdentifier& asset) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->LoadDescriptionDefinition(mode, category, language, asset);
}

Result<String> AssetRepositoryDecoratorBase::GetRepositoryName(LanguageRef language, Bool addDetails) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetRepositoryName(language, addDetails);
}

Result<void> AssetRepositoryDecoratorBase::SetRepositoryName(const String& name, LanguageRef language) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->SetRepositoryName(name, language);
}

Result<DerivedAssetRepositoryDataRef> AssetRepositoryDecoratorBase::GetCachedData(
    const Data& key, FunctionRef<Result<DerivedAssetRepositoryDataRef>()> callback) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->GetCachedData(key, callback);
}

void AssetRepositoryDecoratorBase::HandleBaseChanged(const AssetRepositoryRef& base, Bool added) {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->HandleBaseChanged(base, added);
}

void AssetRepositoryDecoratorBase::HandleAssetStored(const AssetBase& asset) {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->HandleAssetStored(asset);
}

void AssetRepositoryDecoratorBase::HandleAssetErased(const AssetBase& asset) {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->HandleAssetErased(asset);
}

void AssetRepositoryDecoratorBase::HandleAssetUpdated(const AssetBase& asset) {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->HandleAssetUpdated(asset);
}

void AssetRepositoryDecoratorBase::HandleMetaDataStored(const AssetBase& asset, const InternedId& metaId,
                                                        ASSET_METADATA_KIND kind, const Data& prevData, const Data& newData) {
    if (const AssetRepositoryRef target = GetDecoratedObject())
        target->HandleMetaDataStored(asset, metaId, kind, prevData, newData);
}

void AssetRepositoryDecoratorBase::HandleDownloadStateChanged(const AssetRepositoryRef& repository, Bool finished) {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->HandleDownloadStateChanged(repository, finished);
}

void AssetRepositoryDecoratorBase::RequestUnloadRepository() {
    if (const AssetRepositoryRef target = GetDecoratedObject()) target->RequestUnloadRepository();
}

Data AssetRepositoryDecoratorBase::GetAttribute(const Id& key) const {
    const AssetRepositoryRef target = GetDecoratedObject();
    return target ? target->GetAttribute(key) : Data();
}

Result<void> AssetRepositoryDecoratorBase::SetAttribute(const Id& key, const Data& value) {
    const AssetRepositoryRef target = GetDecoratedObject();
    if (!target) return MakeGoneError(_id);
    return target->SetAttribute(key, value);
}

}  // namespace talvo
