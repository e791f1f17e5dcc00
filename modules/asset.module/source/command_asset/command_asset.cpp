#include "command_asset.h"

#include "asset_presentation.h"
#include "asset_types/contentless_asset.h"
#include "category_asset.h"
#include "kernel/text/casing.h"
#include "kernel/thread/locks.h"
#include "subtype_asset.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::string_view OBJECT_TYPE_PREFIX = "net.talvo.asset.command.type.object.";
constexpr std::string_view OTHER_SCOPE_TEXT = "commandscopeother";

struct ScopeText {
    std::string_view scope;  ///< behind the prefix
    std::string_view key;    ///< of the name
};
constexpr ScopeText SCOPES[] = {
    {"mesh", "commandscopemesh"},
    {"model", "commandscopemodel"},
    {"spline", "commandscopespline"},
    {"sculpting", "commandscopesculpting"},
    {"painting", "commandscopepainting"},
    {"uvs", "commandscopeuv"},
    {"rigging", "commandscoperigging"},
    {"exchange", "commandscopeexchange"},
    {"materials", "commandscopematerial"},
    {"nodes", "commandscopenodeeditor"},
    {"particles", "commandscopeparticles"},
    {"cloth", "commandscopecloth"},
    {"simulation", "commandscopesimulation"},
    {"pyro", "commandscopepyro"},
    {"bullet", "commandscopebullet"},
    {"camera", "commandscopecamera"},
    {"lighting", "commandscopelighting"},
    {"animation", "commandscopeanimation"},
    {"slidebar", "commandscopeslidebar"},
    {"fanclone", "commandscopefanclone"},
    {"tracker", "commandscopetracker"},
    {"viewport", "commandscopeviewport"},
    {"assetbrowser", "commandscopeassetbrowser"},
    {"rendering", "commandscoperendering"},
    {"crewframes", "commandscopecrewframes"},
    {"quenlite", "commandscopequenlite"},
    {"substance", "commandscopesubstance"},
    {"objects", "commandscopeobjectmanager"},
    {"python", "commandscopepython"},
    {"other", "commandscopeother"},
};

/// What the host registered by the numbers of its commands.
struct LegacyCommands {
    HashMap<Int32, BaseArray<Id>> scopes;
    HashMap<Int32, Id> types;
};

Guarded<LegacyCommands, ARWLock>& GetLegacyCommands() {
    static Guarded<LegacyCommands, ARWLock> commands;
    return commands;
}

Result<void> CheckType(const AssetDescription& commandAsset) {
    if (!commandAsset) return NullptrError::Create("There is no command.");
    if (commandAsset->GetTypeId() == ASSETTYPE_COMMAND) return OK;
    return IllegalArgumentError::Create(FormatMessage("Asset input argument must be of type: '@'", ASSETTYPE_COMMAND));
}

template <typename T>
Result<Opt<T>> Read(const AssetDescription& commandAsset, const LiteralId& key) {
    TRY(CheckType(commandAsset));
    return commandAsset->GetMetaData().Get<T>(key);
}

}  // namespace

Result<CommandAsset> CommandAssetInterface::Create() { return CreateContentlessAsset<CommandAssetInterface>(ASSETTYPE_COMMAND); }

Result<void> CommandAssetInterface::Execute(const AssetDescription& commandAsset, Bool withOptions) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const COMMAND_STATE state = TRY(QueryState(commandAsset));
        if (!HasFlag(state, COMMAND_STATE::ENABLED)) return OK;
        const auto execute = TRY(Read<CommandExecuteDelegate>(commandAsset, COMMANDMETADATA::EXECUTE));
        if (!execute || !*execute) return IllegalStateError::Create("Command asset error: no execute delegate");
        return (*execute)(withOptions && HasFlag(state, COMMAND_STATE::HAS_OPTIONS));
    });
}

Result<COMMAND_STATE> CommandAssetInterface::QueryState(const AssetDescription& commandAsset) {
    return CatchOutOfMemory([&]() -> Result<COMMAND_STATE> {
        const auto query = TRY(Read<CommandQueryDelegate>(commandAsset, COMMANDMETADATA::QUERYSTATE));
        if (!query || !*query) return IllegalStateError::Create("Command asset error: no query delegate");
        return (*query)();
    });
}

Result<Int64> CommandAssetInterface::GetLegacyId(const AssetDescription& commandAsset) {
    const Opt<Int64> id = TRY(Read<Int64>(commandAsset, COMMANDMETADATA::LEGACYID));
    return id.value_or(-1);
}

Result<BaseArray<Id>> CommandAssetInterface::GetCommandScopes(const AssetDescription& commandAsset) {
    Opt<BaseArray<Id>> scopes = TRY(Read<BaseArray<Id>>(commandAsset, COMMANDMETADATA::SCOPES));
    return scopes ? std::move(*scopes) : BaseArray<Id>();
}

Result<Bool> CommandAssetInterface::AddCommandScope(const Id& scope, BaseArray<Id>& scopeArray) {
    if (std::find(scopeArray.begin(), scopeArray.end(), scope) != scopeArray.end()) return false;
    TRY(scopeArray.Append(scope));
    return true;
}

Result<Bool> CommandAssetInterface::EraseCommandScope(const Id& scope, BaseArray<Id>& scopeArray) {
    const auto found = std::find(scopeArray.begin(), scopeArray.end(), scope);
    if (found == scopeArray.end()) return false;
    scopeArray.Erase(found - scopeArray.begin());
    return true;
}

Result<void> CommandAssetInterface::StoreCommandScopes(const AssetDescription& commandAsset, const BaseArray<Id>& scopeArray) {
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(CheckType(commandAsset));
        return commandAsset.StoreMetaData(InternedId(COMMANDMETADATA::SCOPES), Data(scopeArray), ASSET_METADATA_KIND::PERSISTENT);
    });
}

Result<Bool> CommandAssetInterface::ContainsCommandScope(const AssetDescription& commandAsset, const Id& scope) {
    const BaseArray<Id> scopes = TRY(GetCommandScopes(commandAsset));
    return std::find(scopes.begin(), scopes.end(), scope) != scopes.end();
}

Result<BaseArray<String>> CommandAssetInterface::GetCommandScopeNames(const AssetDescription& commandAsset) {
    return CatchOutOfMemory([&]() -> Result<BaseArray<String>> {
        BaseArray<String> names;
        const BaseArray<Id> scopes = TRY(GetCommandScopes(commandAsset));
        for (const Id& scope : scopes) TRY(names.Append(GetCommandScopeName(scope)));
        const Opt<String> legacy = TRY(Read<String>(commandAsset, COMMANDMETADATA::LEGACYSCOPE));
        if (legacy && legacy->IsPopulated()) TRY(names.Append(*legacy));
        if (names.IsEmpty()) TRY(names.Append(LoadGlobalString(OTHER_SCOPE_TEXT)));
        std::sort(names.begin(), names.end(), [](const String& first, const String& second) {
            return CompareText(first, second, COMPARE_MODE::DISPLAY) < 0;
        });
        return names;
    });
}

String CommandAssetInterface::GetCommandScopeName(const Id& scope) {
    std::string_view text = scope.GetView();
    if (text.starts_with(COMMANDSCOPE::PREFIX.GetView())) {
        text.remove_prefix(COMMANDSCOPE::PREFIX.GetLength());
        for (const ScopeText& row : SCOPES) {
            if (row.scope == text) return LoadGlobalString(row.key);
        }
    }
    return LoadGlobalString(OTHER_SCOPE_TEXT);
}

Result<Id> CommandAssetInterface::GetCommandType(const AssetDescription& commandAsset) {
    const Opt<Id> type = TRY(Read<Id>(commandAsset, ASSETMETADATA::SUBTYPE));
    return type.value_or(Id());
}

Result<String> CommandAssetInterface::GetCommandTypeName(const Id& commandType, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!repository) return NullptrError::Create("There is no repository to look a type of commands up in.");
        if (commandType.IsPopulated()) {
            const AssetDescription subtype =
                TRY(repository->FindLatestAsset(ASSETTYPE_SUBTYPE, commandType, Id(), ASSET_FIND_MODE::LATEST));
            if (subtype) {
                const String name = TRY(subtype->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
                if (name.IsPopulated()) return name;
            }
        }
        return String::FromId(commandType);
    });
}

Bool CommandAssetInterface::AssetIsObjectCommandType(const AssetDescription& commandAsset) {
    return IsObjectCommandType(GetCommandType(commandAsset).GetValueOr(Id()));
}

Bool CommandAssetInterface::IsObjectCommandType(const Id& commandType) {
    return commandType.GetView().starts_with(OBJECT_TYPE_PREFIX);
}

Result<void> CommandAssetInterface::RegisterLegacyCommandScopes(Int32 commandId, const BaseArray<Id>& scopes) {
    return CatchOutOfMemory([&]() -> Result<void> {
        auto commands = GetLegacyCommands().Write();
        return commands->scopes.Insert(commandId, scopes);
    });
}

Result<BaseArray<Id>> CommandAssetInterface::GetRegisteredLegacyCommandScopes(Int32 commandId) {
    return CatchOutOfMemory([&]() -> Result<BaseArray<Id>> {
        auto commands = GetLegacyCommands().Read();
        const BaseArray<Id>* scopes = commands->scopes.Find(commandId);
        return scopes ? *scopes : BaseArray<Id>();
    });
}

Result<void> CommandAssetInterface::RegisterLegacyCommandType(Int32 commandId, const Id& type) {
    auto commands = GetLegacyCommands().Write();
    return commands->types.Insert(commandId, type);
}

Id CommandAssetInterface::GetRegisteredLegacyCommandType(Int32 commandId) {
    auto commands = GetLegacyCommands().Read();
    const Id* type = commands->types.Find(commandId);
    return type ? *type : Id();
}

}  // namespace talvo
