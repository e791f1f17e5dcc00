// Names of types and of assets.
#include "asset_presentation.h"
#include "base_preset_asset.h"
#include "category_asset/category_chain.h"

namespace talvo {

namespace {

constexpr std::string_view FILE_SUBTYPE_PREFIX = "net.talvo.asset.subtype.file.";
constexpr const char* UNKNOWN_TYPE_PREFIX = "#$99";

struct TypeName {
    LiteralId type;
    const char* sortPrefix;
    const char* key;
};
constexpr TypeName TYPE_NAMES[] = {
    {ASSETTYPE_CATEGORY, "#$01", "assettypecategory"},
    {ASSETTYPE_NODETEMPLATE, "#$05", "assettypenode"},
    {"net.talvo.node.assettype.nodedescription"_id, "#$05", "assettypenodedescription"},
    {"net.talvo.assettype.preset.defaults.node"_id, "#$05", "assettypenodedefaultspreset"},
    {ASSETTYPE_FILE, "#$07", "assettypefile"},
    {"net.talvo.assettype.keyword"_id, "#$08", "assettypekeyword"},
    {"net.talvo.assettype.smartsearch"_id, "#$10", "assettypesmartsearch"},
    {"net.talvo.assettype.subtype"_id, "#$10", "assettypesubtype"},
    {"net.talvo.assettype.nodecontext"_id, "#$10", "assettypenodecontext"},
    {"net.talvo.assettype.nodespace"_id, "#$11", "assettypenodespace"},
    {"net.talvo.assettype.plugin"_id, "#$11", "assettypeplugin"},
};

/// Empty for an asset without one.
Result<String> ReadName(const AssetDescription& asset) {
    const String name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
    // A name falls back to the id, which is none.
    return name.GetView() == asset->GetIdAndVersion().first.GetView() ? String() : name;
}

Result<String> AddParents(const AssetRepositoryRef& repository, const AssetDescription& asset, String text) {
    TRY(WalkCategories(asset, repository, [&](const AssetDescription& category) -> Result<Bool> {
        const String name = TRY(ReadName(category));
        text = name + String("/") + text;
        return true;
    }));
    return text;
}

Result<String> FindName(const AssetRepositoryRef& repository, const Id& assetType, const Id& assetId, const Id& versionId,
                        Bool addParentCategories) {
    if (!repository) return NullptrError::Create("There is no repository to look a name up in.");
    if (assetId.IsPopulated()) {
        const AssetDescription asset = TRY(repository->FindLatestAsset(assetType, assetId, versionId, ASSET_FIND_MODE::NONE));
        const String name = asset ? TRY(ReadName(asset)) : String();
        if (name.IsPopulated()) return addParentCategories ? AddParents(repository, asset, name) : Result<String>(name);
    }
    std::string_view text = assetId.GetView();
    if (!text.starts_with(FILE_SUBTYPE_PREFIX)) return std::get<0>(GetAssetTypeName(assetType));
    text.remove_prefix(FILE_SUBTYPE_PREFIX.size());
    return String(FormatMessage("@ (*.@)", std::get<0>(GetAssetTypeName(ASSETTYPE_FILE)), text));
}

std::string MakeKey(const Id& assetType, const Id& assetId, const Id& versionId, Bool addParentCategories) {
    std::string key(assetType.GetView());
    for (const Id& id : {assetId, versionId}) {
        key += '\n';
        key += id.GetView();
    }
    return key + (addParentCategories ? "\n1" : "\n0");
}

}  // namespace

std::tuple<String, String> GetAssetTypeName(const Id& id) {
    for (const TypeName& row : TYPE_NAMES) {
        if (row.type == id) return {LoadGlobalString(row.key), String(row.sortPrefix)};
    }
    const AssetType type = FindAssetType(id);
    if (const auto* preset = dynamic_cast<const BasePresetAssetType*>(type.GetPointer())) return {preset->GetName(), String()};
    return {String::FromId(id), String(UNKNOWN_TYPE_PREFIX)};
}

Result<String> GetAssetTypeName(const AssetRepositoryRef& repository, const Id& assetType, const Id& assetId, const Id& versionId,
                                Bool addParentCategories, TypeNameCache* cacheMap) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!cacheMap) return FindName(repository, assetType, assetId, versionId, addParentCategories);
        std::string key = MakeKey(assetType, assetId, versionId, addParentCategories);
        if (const auto known = cacheMap->find(key); known != cacheMap->end()) return known->second;
        const String name = TRY(FindName(repository, assetType, assetId, versionId, addParentCategories));
        cacheMap->emplace(std::move(key), name);
        return name;
    });
}

Result<String> GetAssetTypeName(const AssetRepositoryRef& repository, const AssetType& assetType, const Id& assetId,
                                const Id& versionId, Bool addParentCategories, TypeNameCache* cacheMap) {
    if (!assetType) return NullptrError::Create("There is no asset type to name an asset by.");
    return GetAssetTypeName(repository, assetType->GetId(), assetId, versionId, addParentCategories, cacheMap);
}

}  // namespace talvo
