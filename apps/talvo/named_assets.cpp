#include "apps/talvo/named_assets.h"

#include "apps/talvo/asset_values.h"
#include "kernel/text/casing.h"

namespace talvo {

Result<AssetDescription> StoreNamedAsset(const AssetRepositoryRef& repository, const Opt<std::string>& id, const char* prefix,
                                         const Asset& asset, const AssetValues& values) {
    Id aid;
    if (id) {
        aid = TRY(Id::Create(*id));
        const AssetDescription present = TRY(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::NONE));
        if (present) return IllegalArgumentError::Create(FormatMessage("The id @ is taken. Choose another one.", aid));
    } else {
        aid = TRY(AssetInterface::MakeUuid(prefix, true));
    }
    const AssetMetaData metaData = TRY(MakeAssetValues(values, nullptr));
    return repository->StoreAsset(aid, asset, metaData);
}

Result<String> GetAssetName(const AssetDescription& asset) {
    return asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String());
}

Result<AssetDescription> FindNamedAsset(const AssetRepositoryRef& repository, const Id& type, const std::string& word,
                                        const char* what) {
    const Result<Id> id = Id::Create(word);
    if (id.IsOk() && id.GetValue().IsPopulated()) {
        const AssetDescription found = TRY(repository->FindLatestAsset(type, id.GetValue(), Id(), ASSET_FIND_MODE::NONE));
        if (found) return found;
    }
    const String wanted = String(word).ToLower();
    std::vector<AssetDescription> named;
    TRY(FindAssets(repository, Block<const Id>(&type, 1), Id(), Id(), ASSET_FIND_MODE::LATEST,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       const String name = TRY(GetAssetName(found));
                       if (name.ToLower() == wanted) named.push_back(found);
                       return true;
                   }));
    if (named.size() == 1) return named.front();
    if (named.empty()) return UnresolvedError::Create(FormatMessage("There is no @ \"@\".", what, word));
    std::string ids;
    for (const AssetDescription& each : named)
        ids += (ids.empty() ? "" : ", ") + std::string(each->GetIdAndVersion().first.GetView());
    return IllegalArgumentError::Create(FormatMessage("Several have the name \"@\": @. Say which one by its id.", word, ids));
}

}  // namespace talvo
