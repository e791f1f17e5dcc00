#include "category_asset/category_chain.h"

#include "kernel/base/hash_map.h"

namespace talvo {

Id CategoryAssetInterface::GetParentCategory(const AssetDescription& asset) {
    if (!asset) return Id();
    const Result<Opt<Id>> parent = asset->GetMetaData().Get<Id>(InternedId(ASSETMETADATA::CATEGORY));
    return parent.IsOk() && parent.GetValue() ? *parent.GetValue() : Id();
}

Result<Bool> WalkCategories(const AssetDescription& asset, const AssetRepositoryRef& repository,
                            Receiver<AssetDescription> receiver) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        HashSet<Id> met;
        if (asset) TRY(met.Insert(asset->GetIdAndVersion().first));
        for (Id next = CategoryAssetInterface::GetParentCategory(asset); next.IsPopulated();) {
            const Bool isNew = TRY(met.Insert(next));
            if (!isNew) return true;
            if (!repository) return NullptrError::Create("Categories can't be found without a repository.");
            const AssetDescription category =
                TRY(repository->FindLatestAsset(ASSETTYPE_CATEGORY, next, Id(), ASSET_FIND_MODE::NONE));
            if (!category) return true;
            const Bool goOn = TRY(receiver(category));
            if (!goOn) return false;
            next = CategoryAssetInterface::GetParentCategory(category);
        }
        return true;
    });
}

}  // namespace talvo
