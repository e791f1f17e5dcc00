// Commands: assets that stand for what the host can do. The delegates that tell their state and run them are metadata of this process.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content.
inline constexpr LiteralId ASSETTYPE_COMMAND{"net.talvo.assettype.command"};

/// Bits of a command's state.
enum class COMMAND_STATE : UInt32 { NONE = 0, ENABLED = 1, HAS_OPTIONS = 8 };
constexpr COMMAND_STATE operator|(COMMAND_STATE first, COMMAND_STATE second) {
    return COMMAND_STATE(UInt32(first) | UInt32(second));
}
/// Whether any bit of `flag` is set.
constexpr Bool HasFlag(COMMAND_STATE state, COMMAND_STATE flag) { return (UInt32(state) & UInt32(flag)) != 0; }

using CommandExecuteDelegate = Delegate<Result<void>(Bool withOptions)>;
using CommandQueryDelegate = Delegate<Result<COMMAND_STATE>()>;

namespace COMMANDMETADATA {

inline constexpr LiteralId EXECUTE{"net.talvo.asset.command.metadata.execute"};
inline constexpr LiteralId QUERYSTATE{"net.talvo.asset.command.metadata.querystate"};
inline constexpr LiteralId LEGACYID{"net.talvo.asset.command.metadata.legacyid"};        ///< Int64
inline constexpr LiteralId SCOPES{"net.talvo.asset.command.metadata.scopes"};            ///< BaseArray<Id>
inline constexpr LiteralId LEGACYSCOPE{"net.talvo.asset.command.metadata.legacyscope"};  ///< String
inline constexpr LiteralId HIDDEN{"net.talvo.asset.command.metadata.hidden"};            ///< Bool
inline constexpr LiteralId SHORTCUTS{"net.talvo.asset.command.metadata.shortcuts"};      ///< String
inline constexpr LiteralId HELP{"net.talvo.asset.command.metadata.help"};                ///< String

}  // namespace COMMANDMETADATA

/// Types of commands that the browser ranks; each is a subtype.
namespace COMMANDTYPE {

inline constexpr LiteralId COMMAND{"net.talvo.asset.command.type.command"};
inline constexpr LiteralId TOOL{"net.talvo.asset.command.type.tool"};
inline constexpr LiteralId PRIMITIVE{"net.talvo.asset.command.type.object.primitive"};
inline constexpr LiteralId DEFORMER{"net.talvo.asset.command.type.object.deformer"};
inline constexpr LiteralId FIELD{"net.talvo.asset.command.type.object.field"};
inline constexpr LiteralId SCENE{"net.talvo.asset.command.type.object.scene"};
inline constexpr LiteralId TAG{"net.talvo.asset.command.type.tag"};
inline constexpr LiteralId MODE{"net.talvo.asset.command.type.mode"};
inline constexpr LiteralId MANAGER{"net.talvo.asset.command.type.manager"};

}  // namespace COMMANDTYPE

/// Scopes that the browser ranks by. All others have ids of the same form.
namespace COMMANDSCOPE {

inline constexpr LiteralId PREFIX{"net.talvo.asset.command.scope."};
inline constexpr LiteralId MESH{"net.talvo.asset.command.scope.mesh"};
inline constexpr LiteralId MODEL{"net.talvo.asset.command.scope.model"};
inline constexpr LiteralId SPLINE{"net.talvo.asset.command.scope.spline"};
inline constexpr LiteralId MATERIALS{"net.talvo.asset.command.scope.materials"};
inline constexpr LiteralId UVS{"net.talvo.asset.command.scope.uvs"};
inline constexpr LiteralId NODES{"net.talvo.asset.command.scope.nodes"};
inline constexpr LiteralId OBJECTS{"net.talvo.asset.command.scope.objects"};
inline constexpr LiteralId VIEWPORT{"net.talvo.asset.command.scope.viewport"};

}  // namespace COMMANDSCOPE

/// A command as an asset object.
///
/// Threads: any; the delegates run on the calling thread. The legacy tables have their own lock.
/// Errors:  operations that take a command: IllegalArgumentError for an asset of another type, NullptrError for null; those of reading metadata.
class CommandAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<CommandAssetInterface>> Create();
    /// Runs the command; nothing happens if it is not enabled. @param withOptions counts only where the command has options.
    /// Errors: IllegalStateError if there is nothing to run; the delegates'.
    static Result<void> Execute(const AssetDescription& commandAsset, Bool withOptions);
    /// Errors: IllegalStateError if nobody can tell; the delegate's.
    static Result<COMMAND_STATE> QueryState(const AssetDescription& commandAsset);
    /// Its number in the host; -1 for none.
    static Result<Int64> GetLegacyId(const AssetDescription& commandAsset);
    /// Empty for none.
    static Result<BaseArray<Id>> GetCommandScopes(const AssetDescription& commandAsset);
    /// @return false if it was there.
    static Result<Bool> AddCommandScope(const Id& scope, BaseArray<Id>& scopeArray);
    /// @return false if it wasn't there.
    static Result<Bool> EraseCommandScope(const Id& scope, BaseArray<Id>& scopeArray);
    static Result<void> StoreCommandScopes(const AssetDescription& commandAsset, const BaseArray<Id>& scopeArray);
    static Result<Bool> ContainsCommandScope(const AssetDescription& commandAsset, const Id& scope);
    /// For people, in display order; never empty.
    static Result<BaseArray<String>> GetCommandScopeNames(const AssetDescription& commandAsset);
    /// Name of a scope; that of "other" for an unknown one.
    static String GetCommandScopeName(const Id& scope);
    /// The subtype.
    static Result<Id> GetCommandType(const AssetDescription& commandAsset);
    /// Name of a type of commands, or its id. Errors: NullptrError for a null `repository`; those of the lookup.
    static Result<String> GetCommandTypeName(const Id& commandType, const AssetRepositoryRef& repository);
    static Bool AssetIsObjectCommandType(const AssetDescription& commandAsset);
    static Bool IsObjectCommandType(const Id& commandType);
    /// What the host knows of its commands by their numbers, before it makes assets of them. The last one counts.
    static Result<void> RegisterLegacyCommandScopes(Int32 commandId, const BaseArray<Id>& scopes);
    static Result<BaseArray<Id>> GetRegisteredLegacyCommandScopes(Int32 commandId);
    static Result<void> RegisterLegacyCommandType(Int32 commandId, const Id& type);
    static Id GetRegisteredLegacyCommandType(Int32 commandId);
};
using CommandAsset = StrongRef<CommandAssetInterface>;

}  // namespace talvo
