// What the browser asks the host's library of nodes. A host without one sets nothing.
#pragma once

#include "assets.h"

namespace talvo {

inline constexpr LiteralId ASSETTYPE_NODETEMPLATE{"net.talvo.node.assettype.nodetemplate"};

/// A class of node systems; only the host looks into it.
class NodeSystemClassInterface : public ObjectInterface {};
using NodeSystemClassRef = StrongRef<NodeSystemClassInterface>;

/// Threads: the setters before any browser is made; the rest from any thread.
namespace NodeLibrary {

/// Texts of the entries of an enumerated port, for people who read `language`.
using PortEntriesDelegate = Delegate<Result<BaseArray<String>>(const AssetDescription& asset, const NodeSystemClassRef& cls,
                                                               const String& node, const String& port, LanguageRef language)>;

/// Whether a node belongs to a class of node systems. Unset: every node does. A null class has all nodes.
void SetAssetSupports(Delegate<Bool(const AssetDescription&, const NodeSystemClassRef&)> supports);
Bool AssetSupports(const AssetDescription& asset, const NodeSystemClassRef& cls);
/// Whether a node is an object of the scene. Unset: none is.
void SetIsMorvaneObjectAsset(Delegate<Bool(const AssetDescription&)> isObject);
Bool IsMorvaneObjectAsset(const AssetDescription& asset);
/// Unset: ports have no entries.
void SetPortEntries(PortEntriesDelegate entries);
Result<BaseArray<String>> GetPortEntries(const AssetDescription& asset, const NodeSystemClassRef& cls, const String& node,
                                         const String& port, LanguageRef language);

}  // namespace NodeLibrary

}  // namespace talvo
