#include "builtin_assets/builtin_assets.h"

#include "category_asset.h"
#include "keyword_asset.h"
#include "plugin_asset.h"
#include "subtype_asset.h"

#include <algorithm>

namespace talvo {

namespace {

template <typename INTERFACE>
Result<Asset> Make() {
    const StrongRef<INTERFACE> asset = TRY(INTERFACE::Create());
    return Asset(StrongRef<AssetInterface>(asset));
}

/// It stands in for what isn't there, so it has no content.
Result<Asset> MakeEmptyFile() {
    const FileAsset asset = TRY(FileAsset::Create(Url()));
    return Asset(StrongRef<AssetInterface>(asset));
}

struct ModuleKind {
    LiteralId type;
    Id category;  // null: at the top
    Result<Asset> (*make)();
};

constexpr ModuleKind SUBTYPE{ASSETTYPE_SUBTYPE, NODE_CATEGORY_UNCATEGORIZED, Make<SubTypeAssetInterface>};
constexpr ModuleKind CATEGORY{ASSETTYPE_CATEGORY, Id(), Make<CategoryAssetInterface>};
constexpr ModuleKind KEYWORD{ASSETTYPE_KEYWORD, CATEGORY_BASE, Make<KeywordAssetInterface>};
constexpr ModuleKind FILE_STANDIN{ASSETTYPE_FILE, NODE_CATEGORY_UNCATEGORIZED, MakeEmptyFile};
constexpr ModuleKind PLUGIN_STANDIN{ASSETTYPE_PLUGIN, NODE_CATEGORY_UNCATEGORIZED, Make<PluginAssetInterface>};

struct ModuleAsset {
    LiteralId id;
    const ModuleKind& kind;
};

constexpr ModuleAsset ASSETS[] = {
    {ASSETSUBTYPE::MATERIAL, SUBTYPE},
    {ASSETSUBTYPE::OBJECT, SUBTYPE},
    {ASSETSUBTYPE::SCENE, SUBTYPE},
    {ASSETSUBTYPE::MEDIAIMAGE, SUBTYPE},
    {ASSETSUBTYPE::MEDIAMOVIE, SUBTYPE},
    {ASSETSUBTYPE::NODE_OPERATOR, SUBTYPE},
    {"net.talvo.asset.command.type.command"_id, SUBTYPE},
    {"net.talvo.asset.command.type.hotkey"_id, SUBTYPE},
    {"net.talvo.asset.command.type.tool"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.generator"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.deformer"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.effector"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.force"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.filter"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.primitive"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.field"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.scene"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.other"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.emitter"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.modifier"_id, SUBTYPE},
    {"net.talvo.asset.command.type.object.logic"_id, SUBTYPE},
    {"net.talvo.asset.command.type.tag"_id, SUBTYPE},
    {"net.talvo.asset.command.type.script"_id, SUBTYPE},
    {"net.talvo.asset.command.type.mode"_id, SUBTYPE},
    {"net.talvo.asset.command.type.manager"_id, SUBTYPE},
    {CATEGORY_BASE, CATEGORY},
    {NODE_CATEGORY_UNCATEGORIZED, CATEGORY},
    {CATEGORY_WATCHFOLDERS, CATEGORY},
    {CATEGORY_PRESETS, CATEGORY},
    {KEYWORD_FAVOURITE, KEYWORD},
    {"net.talvo.asset.file.missingassets"_id, FILE_STANDIN},
    {"net.talvo.asset.plugin.missing"_id, PLUGIN_STANDIN},
};

struct ModuleText {
    LiteralId id;
    const char* text;
};

constexpr ModuleText TEXTS_EN[] = {
#include "builtin_assets/texts_en.inc"
};
constexpr ModuleText TEXTS_DE[] = {
#include "builtin_assets/texts_de.inc"
};

struct ModuleLanguage {
    LiteralId code;
    Block<const ModuleText> texts;
};

/// "en", not one of its regions: the chain of every language ends there.
constexpr ModuleLanguage LANGUAGES[] = {{"en"_id, TEXTS_EN}, {"de"_id, TEXTS_DE}};

Result<DataDescriptionDefinition> MakeNames(const char* name) {
    DataDescriptionDefinition definition;
    definition.SetCategory("string"_id);
    TRY(definition.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, name)));
    return definition;
}

Result<DataDictionary> MakeMetaData(const ModuleAsset& asset) {
    DataDictionary values;
    // Always there: what isn't is computed, and written for each of them into the user's directories.
    values.Set(ASSETMETADATA::CATEGORY, asset.kind.category);
    for (const ModuleLanguage& language : LANGUAGES) {
        const auto found = std::find_if(language.texts.begin(), language.texts.end(),
                                        [&](const ModuleText& text) { return text.id == asset.id; });
        if (found == language.texts.end()) continue;
        const InternedId key = TRY(AssetInterface::GetLanguageMetaDataId(language.code));
        DataDescriptionDefinition names = TRY(MakeNames(found->text));
        values.Set(key.GetId(), std::move(names));
    }
    return values;
}

Bool IsWanted(const ModuleAsset& asset, Block<const Id> types, const Id& aid, ASSET_FIND_MODE findMode) {
    const Bool everyType = types.empty() || types.front().IsEmpty();
    if (!everyType && std::find(types.begin(), types.end(), asset.kind.type) == types.end()) return false;
    if (aid.IsEmpty()) return true;
    return HasFlag(findMode, ASSET_FIND_MODE::ID_PREFIX) ? asset.id.GetView().starts_with(aid.GetView()) : aid == asset.id;
}

Result<Bool> LoadModuleAssets(Block<const Id> types, const Id& aid, const Id&, ASSET_FIND_MODE findMode,
                              BuiltinAssetReceiver receiver) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        for (const ModuleAsset& row : ASSETS) {
            if (!IsWanted(row, types, aid, findMode)) continue;
            const Asset asset = TRY(row.kind.make());
            const DataDictionary metaData = TRY(MakeMetaData(row));
            const Bool goOn = TRY(receiver(row.id, asset, metaData, Url()));
            if (!goOn) return false;
        }
        return true;
    });
}

}  // namespace

BuiltinAssetLoader MakeModuleAssetLoader() { return BuiltinAssetLoader(LoadModuleAssets); }

}  // namespace talvo
