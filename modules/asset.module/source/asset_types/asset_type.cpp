// What a type does unless it knows better, and the registries of types and renamings.
#include "assets/asset_type.h"

#include "asset_types/contentless_asset.h"
#include "asset_types/file_asset.h"
#include "asset_types/meta_strings.h"
#include "asset_types/type_defaults.h"
#include "assets/asset_repository.h"
#include "kernel/io/connection.h"
#include "kernel/text/format.h"
#include "plugin_asset.h"

#include <memory>
#include <new>

namespace talvo {

namespace {

/// Types of values that a document may hold before anyone used them in this process.
[[maybe_unused]] const Bool DATA_TYPES_KNOWN = [] {
    DataTypes::RegisterAll<AssetLink, BaseArray<AssetLink>, AssetDependencyStruct, BaseArray<AssetDependencyStruct>,
                           ASSET_UPDATE_POLICY, AssetVersionRange, AssetUsage, BaseArray<Id>, IdAndVersion, Url, DataDictionary,
                           DataDescriptionDefinition>();
    return true;
}();

Registry<AssetType>& MakeAssetTypes() {
    auto types = std::make_unique<Registry<AssetType>>("net.talvo.registry.assettypes"_id);
    const AssetType file = MakeFileAssetType();
    // The first entry of an empty registry can only fail for lack of memory; thrown, so that the next one who asks makes it.
    if (types->Register(file->GetId(), file).IsError()) throw std::bad_alloc();
    RegisterContentlessTypes(*types);
    return *types.release();
}

using AssetRenaming = Delegate<Result<Id>(const Id&)>;

Registry<AssetRenaming>& MakeAssetRenamings() {
    auto renamings = std::make_unique<Registry<AssetRenaming>>("net.talvo.registry.assetrenamings"_id);
    const Result<void> registered = renamings->Register("net.talvo.asset.renaming.plugin"_id, &PluginAssetInterface::GetRenamed);
    if (registered.IsError()) throw std::bad_alloc();
    return *renamings.release();
}

}  // namespace

// Both are made at first use and never destroyed: static objects of other files may ask before this file's are made and after they are gone.
Registry<AssetType>& GetAssetTypes() {
    static Registry<AssetType>& types = MakeAssetTypes();
    return types;
}

Registry<Delegate<Result<Id>(const Id&)>>& GetAssetRenamings() {
    static Registry<AssetRenaming>& renamings = MakeAssetRenamings();
    return renamings;
}

AssetType FindAssetType(const Id& typeId) { return GetAssetTypes().FindEntryValue(typeId).value_or(AssetType()); }

Result<String> AssetTypeBase::GetUrlSuffix(const Asset&) const { return String(); }

Result<Url> AssetTypeBase::GetDefaultIcon(const AssetRepositoryRef&, const IdAndVersion&, const AssetMetaData&) const {
    return GetModuleIcon("genericasset.svg");
}

Result<void> AssetTypeBase::CopyWithEncryption(const AssetDescription&, const Url& from, const Url& to) const {
    const IoConnectionRef connection = TRY(from.OpenConnection());
    return connection->IoCopyFile(to);
}

Result<Id> AssetTypeBase::GetRepositoryId(const Id& id, Int32) const { return id; }

Result<String> AssetTypeBase::GetMetaString(const AssetDescription& asset, const InternedId& key, LanguageRef language,
                                            const String& fallback) const {
    return MetaStrings::Get(this, asset, key, language, fallback);
}

Result<void> AssetTypeBase::StoreMetaString(const AssetDescription& asset, const InternedId& key, const String& value,
                                            LanguageRef language) const {
    return MetaStrings::Store(this, asset, key, value, language);
}

Result<std::tuple<Data, Bool>> AssetTypeBase::ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion&,
                                                              const AssetMetaData&, const InternedId& metaId) const {
    const AssetRepositoryRef& builtin = AssetInterface::GetBuiltinRepository();
    if (metaId.GetId() == ASSETMETADATA::CATEGORY && builtin && repository == builtin) {
        return std::tuple(Data(NODE_CATEGORY_UNCATEGORIZED), false);
    }
    return std::tuple(Data(), false);
}

Result<Data> AssetTypeBase::GetProperty(const Id& key) const {
    if (key == ASSETTYPE_SUPPORT_VERSIONS) return Data(true);
    return IllegalArgumentError::Create(FormatMessage("Asset type @ has no property @.", GetId(), key));
}

}  // namespace talvo
