// Who refers to whom, kept so that updates find those that they concern.
#include "asset_impl/repository_engine.h"

namespace talvo {

Bool RepositoryEngine::IsNewest(AssetIdData& record, const IdAndVersion& identity) {
    const AssetVersionTable table = record.GetVersions();
    const AssetVersionEntry* last = table.GetLast();
    return last && last->description && last->description->GetIdAndVersion() == identity;
}

Result<void> RepositoryEngine::RegisterReferences(AssetIdData& record, const Asset& asset) {
    if (!Cast<UpdatableAssetInterface>(StrongRef<AssetInterface>(asset))) return OK;
    if (!IsNewest(record, asset->GetIdAndVersion())) return OK;

    CheckNoLockHeld(LOCK_USE::CALLBACK, "a question for references");
    HashMap<Id, BaseArray<AssetReference>> byTarget;
    TRY(asset->GetReferencedAssets(true, [&](const AssetReference& reference) -> Result<Bool> {
        const AssetLink link(reference->GetLink());
        if (!link || link->GetUpdatePolicy() == ASSET_UPDATE_POLICY::NEVER) return true;
        BaseArray<AssetReference>* list = TRY(byTarget.InsertKey(reference->GetIdAndVersion().first));
        TRY(list->Append(reference));
        return true;
    }));

    auto references = _references.Write();
    // Looked at once more under the lock: a newer version may have come while the asset was asked.
    if (!IsNewest(record, asset->GetIdAndVersion())) return OK;
    for (auto& [target, list] : byTarget) {
        HashMap<Id, AssetReferenceEntry>* referring = TRY(references->InsertKey(target));
        TRY(referring->Insert(record.id, AssetReferenceEntry{WeakRef<AssetInterface>(asset), std::move(list)}));
    }
    return OK;
}

Result<void> RepositoryEngine::RegisterLoadedAsset(const Asset& asset) {
    AssetIdData* record = asset ? _table.Find(asset->GetIdAndVersion().first) : nullptr;
    return record ? RegisterReferences(*record, asset) : Result<void>(OK);
}

void RepositoryEngine::NoteUpdated(const AssetBase& asset) {
    if (!asset) return;
    AssetDescription description(Cast<AssetDescriptionInterface>(asset));
    if (!description) {
        const auto loaded = Cast<AssetInterface>(asset);
        const Result<AssetDescription> found = loaded ? loaded->GetDescription() : Result<AssetDescription>(AssetDescription());
        if (found.IsOk()) description = found.GetValue();
    }
    if (!description) return;
    auto updated = _updatedAssets.Write();
    const Result<AssetDescription*> known = updated->InsertKey(description->GetIdAndVersion().first);
    if (known.IsError()) return;  // without memory an update is not announced; the version stands all the same
    AssetDescription& element = *known.GetValue();
    if (!element || element.GetVersionKey() <= description.GetVersionKey()) element = description;
}

}  // namespace talvo
