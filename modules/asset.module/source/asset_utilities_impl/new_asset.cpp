// The first metadata of a new asset: what it is called, where it stands, and which application made it.
#include "asset_utilities.h"
#include "category_asset.h"
#include "kernel/app/application.h"

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;

constexpr KIND KIND_VERSIONED = KIND::PERSISTENT | KIND::VERSIONED;
constexpr KIND KIND_REPLACED = KIND_VERSIONED | KIND::READ_ONLY | KIND::OVERRIDE_READ_ONLY;
constexpr std::string_view SORT_MARK = "#$";

/// How many bytes of a name are its sort prefix: the mark and the digits behind it.
std::size_t GetSortLength(std::string_view name) {
    if (!name.starts_with(SORT_MARK)) return 0;
    return std::min(name.find_first_not_of("0123456789", SORT_MARK.size()), name.size());
}

ErrorRef MakeNoAssetError() { return NullptrError::Create("Metadata of a new asset was to be stored for no asset."); }

}  // namespace

Result<void> AssetUtilities::AssetSetMetaData(const AssetDescription& asset, const String& userAssetName,
                                              const String& assetVersion, const Id& assetCategory) {
    return AssetSetMetaData(asset, AssetNameProperties{userAssetName, assetVersion, assetCategory});
}

Result<void> AssetUtilities::AssetSetMetaData(const AssetDescription& asset, const AssetNameProperties& properties) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!asset) return MakeNoAssetError();
        const std::string_view name = properties.userAssetName.GetView();
        const std::size_t sortLength = GetSortLength(name);
        if (sortLength != 0) {
            const Data sort(String(name.substr(0, sortLength)));
            TRY(asset.StoreMetaData(InternedId(ASSETMETADATA::SORT), sort, KIND::PERSISTENT));
        }
        const String shown(name.substr(sortLength));
        TRY(asset->StoreMetaString(InternedId(OBJECT_BASE_NAME), shown, Resource::GetDefaultLanguage()));
        TRY(CategoryAssetInterface::SetAssetCategory(asset, properties.assetCategory));
        if (properties.assetVersion.IsEmpty()) return OK;
        return asset.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(properties.assetVersion), KIND_VERSIONED);
    });
}

Result<void> AssetUtilities::AssetSetCreationData(const AssetDescription& asset, Int64 tv3Version, const String& tv3BuildId,
                                                  Int64 releaseType) {
    return AssetSetCreationData(asset, AssetCreationProperties{tv3Version, releaseType, tv3BuildId});
}

Result<void> AssetUtilities::AssetSetCreationData(const AssetDescription& asset, const AssetCreationProperties& properties) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!asset) return MakeNoAssetError();
        const InternedId id(ASSETMETADATA::CREATIONPROPERTIES);
        const Opt<DataDictionary> present = TRY(asset->GetMetaData().Get<DataDictionary>(id));
        DataDictionary changed = present.value_or(DataDictionary());
        changed.Set(CREATIONPROPERTIES::TV3VERSION, properties.tv3Version);
        changed.Set(CREATIONPROPERTIES::TV3BUILDID, properties.tv3BuildId);
        changed.Set(CREATIONPROPERTIES::RELEASETYPE, properties.releaseType);
        return asset.StoreMetaData(id, Data(changed), KIND_REPLACED);
    });
}

Result<void> AssetUtilities::AssetSetCreationData(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Application::Version version = TRY(Application::GetVersion());
        return AssetSetCreationData(asset, version.number, String(version.build.GetView()), 0);
    });
}

}  // namespace talvo
