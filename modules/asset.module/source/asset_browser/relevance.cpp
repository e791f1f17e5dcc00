#include "asset_browser/relevance.h"

#include "command_asset.h"
#include "kernel/text/casing.h"
#include "node_library.h"
#include "subtype_asset.h"

namespace talvo {

namespace {

constexpr Int64 UNRANKED = 1000;
constexpr Int64 NOT_VALID = 2000;
constexpr Int64 NOT_ENABLED_THERE = 2999;
constexpr Int64 NOT_ENABLED = 3000;
constexpr Int64 OUT_OF_PLACE = 4000;
/// Matches inside of words come behind all matches at the beginning of one.
constexpr Int64 INSIDE_OF_WORD = 1000;

/// Ranks of one kind of asset in the contexts OBJECTOM, OBJECTVP, MESH, SPLINE, MATERIAL, UVEDITOR, UVVP, NODE and OTHER.
using ContextRanks = std::array<Int64, 9>;
constexpr ContextRanks SCENE_RANKS = {13, 13, 13, 8, 10, 12, 12, 10, 13};
constexpr ContextRanks OBJECT_RANKS = {6, 6, 4, 3, 7, 9, 9, 7, 7};
constexpr ContextRanks MATERIAL_RANKS = {8, 8, 6, 5, 3, 7, 7, 6, 6};
constexpr ContextRanks MEDIA_RANKS = {12, 12, 9, 6, 4, 6, 6, 5, 11};
constexpr ContextRanks PRESET_RANKS = {11, 11, 12, 4, 8, 10, 10, 8, 10};
constexpr ContextRanks SPECIAL_PRESET_RANKS = {OUT_OF_PLACE, OUT_OF_PLACE, OUT_OF_PLACE, OUT_OF_PLACE, 8,
                                               OUT_OF_PLACE, OUT_OF_PLACE, OUT_OF_PLACE, OUT_OF_PLACE};
constexpr ContextRanks SCENE_NODE_RANKS = {2, 2, 1, 1, 0, 0, 0, 0, 2};  // 0: not asked
constexpr ContextRanks OPERATOR_RANKS = {10, 10, 11, 7, 9, 8, 8, 1, 12};
constexpr ContextRanks TEMPLATE_RANKS = {9, 9, 10, 7, 9, 11, 11, 2, 12};

constexpr LiteralId SPECIAL_PRESETS[] = {"net.talvo.assettype.preset.sketch",           "net.talvo.assettype.preset.spline",
                                         "net.talvo.assettype.preset.gradient",         "net.talvo.assettype.preset.capsandbevel",
                                         "net.talvo.assettype.preset.exchangesettings", "net.talvo.assettype.preset.iconchooser",
                                         "net.talvo.assettype.preset.colorswatch"};
constexpr LiteralId DEFAULTS_PRESET{"net.talvo.assettype.preset.defaults"};
constexpr std::string_view PRESET_TYPE_PREFIX = "net.talvo.assettype.preset.";

// The plug-in types, as hosts number them, whose presets of defaults belong to a context.
constexpr Int32 OBJECT_PLUGIN_TYPES[] = {5, 6};
constexpr Int32 MESH_PLUGIN_TYPES[] = {5, 9};

template <std::size_t COUNT>
Bool IsOneOf(Int32 value, const Int32 (&values)[COUNT]) {
    return std::find(std::begin(values), std::end(values), value) != std::end(values);
}

Bool IsLetterOrDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

Bool IsSpecialPreset(const Id& type) {
    return std::any_of(std::begin(SPECIAL_PRESETS), std::end(SPECIAL_PRESETS), [&](const Id& id) { return id == type; });
}

/// The ranks of kinds that the context alone decides about; null for others.
const ContextRanks* FindRanks(const Relevance::Source& source) {
    if (source.type == ASSETTYPE_FILE) {
        if (source.subtype == ASSETSUBTYPE::SCENE) return &SCENE_RANKS;
        if (source.subtype == ASSETSUBTYPE::OBJECT) return &OBJECT_RANKS;
        if (source.subtype == ASSETSUBTYPE::MATERIAL) return &MATERIAL_RANKS;
        if (source.subtype == ASSETSUBTYPE::MEDIAIMAGE || source.subtype == ASSETSUBTYPE::MEDIAMOVIE) return &MEDIA_RANKS;
        return nullptr;
    }
    if (source.type.GetView().starts_with(PRESET_TYPE_PREFIX))
        return IsSpecialPreset(source.type) ? &SPECIAL_PRESET_RANKS : &PRESET_RANKS;
    if (source.type == ASSETTYPE_NODETEMPLATE)
        return source.subtype == ASSETSUBTYPE::NODE_OPERATOR ? &OPERATOR_RANKS : &TEMPLATE_RANKS;
    return nullptr;
}

/// What kinds of commands a rank asks for.
struct CommandTraits {
    Id type;
    BaseArray<Id> scopes;

    Bool IsOf(const Id& wanted) const { return type == wanted; }
    Bool IsObject() const { return CommandAssetInterface::IsObjectCommandType(type); }
    Bool IsToolOrCommand() const { return IsOf(COMMANDTYPE::TOOL) || IsOf(COMMANDTYPE::COMMAND); }
    Bool IsTagOrManager() const { return IsOf(COMMANDTYPE::TAG) || IsOf(COMMANDTYPE::MANAGER); }
    Bool Has(const Id& scope) const { return std::find(scopes.begin(), scopes.end(), scope) != scopes.end(); }
};

Int64 GetObjectRank(const CommandTraits& command, const Id& scope, Int64 scoped) {
    if (command.IsOf(COMMANDTYPE::PRIMITIVE)) return 1;
    if (command.IsOf(COMMANDTYPE::TAG) || command.IsObject()) return 2;
    return command.Has(scope) ? scoped : 7;
}

Int64 GetMeshRank(const CommandTraits& command) {
    if (command.Has(COMMANDSCOPE::MESH) || command.Has(COMMANDSCOPE::MODEL)) return 1;
    return command.Has(COMMANDSCOPE::VIEWPORT) ? 7 : 8;
}

Int64 GetMaterialRank(const CommandTraits& command) {
    const Bool isScoped = command.Has(COMMANDSCOPE::MATERIALS);
    if (command.IsToolOrCommand()) return isScoped ? 1 : 5;
    if (command.IsTagOrManager()) return isScoped ? 2 : 5;
    return command.IsOf(COMMANDTYPE::MODE) || command.IsObject() ? 6 : 5;
}

Int64 GetUvRank(const CommandTraits& command, Bool isScoped) {
    if (command.IsObject()) return 5;
    if (command.IsToolOrCommand()) return isScoped ? 1 : 4;
    if (command.IsTagOrManager()) return isScoped ? 2 : 5;
    return isScoped ? 3 : 5;
}

Int64 GetOtherRank(const CommandTraits& command) {
    if (command.IsToolOrCommand()) return 3;
    if (command.IsOf(COMMANDTYPE::MODE)) return 4;
    if (command.IsOf(COMMANDTYPE::MANAGER)) return 5;
    if (command.IsOf(COMMANDTYPE::PRIMITIVE) || command.IsOf(COMMANDTYPE::SCENE) || command.IsObject()) return 2;
    return command.IsOf(COMMANDTYPE::TAG) ? 8 : 9;
}

Int64 GetEnabledRank(const CommandTraits& command, ASSET_CONTEXT context) {
    switch (context) {
        case ASSET_CONTEXT::OBJECTOM: return GetObjectRank(command, COMMANDSCOPE::OBJECTS, 5);
        case ASSET_CONTEXT::OBJECTVP: return GetObjectRank(command, COMMANDSCOPE::VIEWPORT, 4);
        case ASSET_CONTEXT::MESH: return GetMeshRank(command);
        case ASSET_CONTEXT::SPLINE: return command.Has(COMMANDSCOPE::SPLINE) ? 1 : 2;
        case ASSET_CONTEXT::MATERIAL: return GetMaterialRank(command);
        case ASSET_CONTEXT::UVEDITOR: return GetUvRank(command, command.Has(COMMANDSCOPE::UVS));
        case ASSET_CONTEXT::UVVP:
            return GetUvRank(command, command.Has(COMMANDSCOPE::UVS) || command.Has(COMMANDSCOPE::VIEWPORT));
        case ASSET_CONTEXT::NODE: return command.Has(COMMANDSCOPE::NODES) ? 4 : 9;
        case ASSET_CONTEXT::OTHER: return GetOtherRank(command);
    }
    return UNRANKED;
}

/// One search text is looked for word by word: at the beginning of a word, or of a part of one, counts most.
NameMatch FindInWords(const String& name, const String& searchString) {
    NameMatch match;
    Int64 inside = NameMatch::NOWHERE;
    Int64 index = -1;
    for (const String& word : name.ToUpper().Split(String(" "), String::SPLIT::DROP_EMPTY)) {
        ++index;
        const std::size_t place = word.GetView().find(searchString.GetView());
        if (place == std::string_view::npos) continue;
        match.found = true;
        const Bool beginsPart = place == 0 || (place < word.GetView().size() && IsLetterOrDigit(word.GetView()[place]) &&
                                               !IsLetterOrDigit(word.GetView()[place - 1]));
        if (beginsPart) {
            match.position = index;
            return match;
        }
        if (inside == NameMatch::NOWHERE) inside = index + INSIDE_OF_WORD;
    }
    match.position = inside;
    return match;
}

}  // namespace

NameMatch FindInName(const String& name, Block<const String> searchStrings, const String& upperFilterText) {
    if (searchStrings.empty()) return {};
    if (searchStrings.size() == 1) return FindInWords(name, searchStrings.front());
    const Int position = name.FindUpperIndex(upperFilterText);
    return position == String::NOT_FOUND ? NameMatch() : NameMatch{true, position};
}

Relevance::Relevance(const BrowserSettings& settings, ASSET_CONTEXT context, BaseArray<String> searchStrings)
    : _context(context),
      _searchStrings(std::move(searchStrings)),
      _upperFilterText(MakeUpperFilterText(settings.filter.filterString)),
      _commandRestriction(settings.commandRestriction),
      _defaultPresetPluginType(settings.defaultPresetPluginType),
      _activeManager(settings.activeManager) {}

Result<RelevanceKeys> Relevance::MakeKeys(const String& name, const Source& source) const {
    const NameMatch match = FindInName(name, _searchStrings, _upperFilterText);
    const Int64 rank = TRY(GetRank(source));
    return RelevanceKeys{match.found ? 0 : 1, rank, match.position, source.isFavourite ? 0 : 1, source.needsRenderer ? 0 : 1};
}

Result<Int64> Relevance::GetRank(const Source& source) const {
    const Bool isValid = TRY(AssetInterface::IsAssetValid(source.asset));
    if (!isValid) return NOT_VALID;
    const auto context = std::size_t(_context) - 1;
    if (context >= SCENE_RANKS.size()) return UNRANKED;
    if (source.type == ASSETTYPE_COMMAND) return GetCommandRank(source);
    if (source.type == DEFAULTS_PRESET && _context <= ASSET_CONTEXT::MESH) return GetDefaultsRank(source);
    if (source.type == ASSETTYPE_NODETEMPLATE && SCENE_NODE_RANKS[context] != 0 &&
        NodeLibrary::IsMorvaneObjectAsset(source.asset))
        return SCENE_NODE_RANKS[context];
    const ContextRanks* ranks = FindRanks(source);
    return ranks ? (*ranks)[context] : UNRANKED;
}

Result<Int64> Relevance::GetDefaultsRank(const Source& source) const {
    Int32 plugin = 0;
    if (_defaultPresetPluginType) plugin = TRY(_defaultPresetPluginType(source.asset));
    if (_context == ASSET_CONTEXT::MESH) return IsOneOf(plugin, MESH_PLUGIN_TYPES) ? 5 : 12;
    return IsOneOf(plugin, OBJECT_PLUGIN_TYPES) ? 3 : 11;
}

Result<Int64> Relevance::GetCommandRank(const Source& source) const {
    const COMMAND_STATE state = TRY(CommandAssetInterface::QueryState(source.asset));
    const Bool isEnabled = HasFlag(state, COMMAND_STATE::ENABLED);
    if (_context == ASSET_CONTEXT::OTHER && _commandRestriction) {
        const Int32 manager = TRY(_commandRestriction(source.asset));
        if (manager != 0 && manager == _activeManager) return isEnabled ? 1 : NOT_ENABLED_THERE;
    }
    if (!isEnabled) return NOT_ENABLED;
    CommandTraits command;
    command.type = source.subtype;
    command.scopes = TRY(CommandAssetInterface::GetCommandScopes(source.asset));
    return GetEnabledRank(command, _context);
}

}  // namespace talvo
