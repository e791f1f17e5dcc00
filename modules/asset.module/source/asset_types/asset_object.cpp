// What every loaded asset does by default, and when a reference has a newer target.
#include "asset_types/asset_description_impl.h"
#include "assets/asset_repository.h"
#include "assets/asset_type.h"

#include <typeinfo>

namespace talvo {

namespace {

/// Update counter of what the description stands for: its own, where the class has one, else that of the form that was loaded with links.
Int GetUpdateOf(const AssetDescription& updated) {
    if (const auto counted = Cast<AssetBaseWithUpdateInterface>(StrongRef<AssetDescriptionInterface>(updated)))
        return counted->GetUpdate();
    const AssetDescriptionImpl* impl = AssetDescriptionImpl::Find(updated);
    return impl ? impl->GetLoadedUpdate() : 0;
}

/// The one of `updatedAssets` that `reference` is to take, or null. Errors: IllegalArgumentError if there are two.
Result<AssetDescription> FindUpdate(const AssetReference& reference, Block<const AssetDescription> updatedAssets) {
    AssetDescription match;
    for (const AssetDescription& updated : updatedAssets) {
        const Bool matches = TRY(IsUpdateOf(reference, updated));
        if (!matches) continue;
        if (match) return IllegalArgumentError::Create("Ambiguous update.");
        match = updated;
    }
    return match;
}

}  // namespace

Bool Asset::IsEqual(const Asset& other) const {
    if (GetPointer() == other.GetPointer()) return true;
    if (!*this || !other) return false;
    const AssetInterface& first = **this;
    const AssetInterface& second = *other;
    return typeid(first) == typeid(second) && first.GetIdAndVersion() == second.GetIdAndVersion() &&
           first.GetUpdate() == second.GetUpdate();
}

Result<Bool> IsUpdateOf(const AssetReference& reference, const AssetDescription& updated) {
    if (!reference || !updated) return false;
    const AssetLink link(reference->GetLink());
    if (!link || link->GetUpdatePolicy() == ASSET_UPDATE_POLICY::NEVER) return false;
    const IdAndVersion& target = reference->GetIdAndVersion();
    const IdAndVersion& fresh = updated->GetIdAndVersion();
    if (target.first != fresh.first) return false;
    if (target.second == fresh.second && GetUpdateOf(updated) <= reference->GetUpdate()) return false;
    // Only who can reach the referring asset's repository may hand it a new target.
    const AssetRepositoryRef repository = updated->GetRepository();
    const Id& referring = reference->GetRepositoryId();
    return repository && referring.IsPopulated() && repository->FindRepository(referring);
}

Result<AssetDescription> AssetObjectState::GetDescription(const AssetInterface& asset) {
    const AssetRepositoryRef repository = asset.GetRepository();
    if (!repository) return AssetDescription();
    return repository->GetDescription(AssetBase(const_cast<AssetInterface*>(&asset)));
}

Result<AssetMetaData> AssetObjectState::GetMetaData(const AssetInterface& asset) const {
    if (AssetMetaData own = metaData.Promote()) return own;
    const AssetDescription description = TRY(asset.GetDescription());
    return description ? description->GetMetaData() : AssetMetaData::DefaultValuePtr();
}

Result<Bool> AssetObjectState::GetPendingUpdates(const AssetInterface& asset, Block<const AssetDescription> updatedAssets,
                                                 AssetUpdateReceiver receiver) {
    return asset.GetReferencedAssets(true, [&](const AssetReference& reference) -> Result<Bool> {
        const AssetDescription updated = TRY(FindUpdate(reference, updatedAssets));
        return updated ? receiver(reference, updated) : Result<Bool>(true);
    });
}

void AssetObjectState::SetId(const IdAndVersion& newIdentity, Int newUpdate, const AssetRepositoryRef& newRepository) {
    identity = newIdentity;
    update = newUpdate;
    repositoryId = newRepository ? newRepository->GetId() : Id();
    repository = newRepository;
}

}  // namespace talvo
