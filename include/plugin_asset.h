// Plug-ins: an asset of this kind says that a plug-in exists. Its id follows the plug-in when that is replaced by another.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content.
inline constexpr LiteralId ASSETTYPE_PLUGIN{"net.talvo.assettype.plugin"};
/// What the id of the asset of a plug-in begins with; the plug-in's own id follows.
inline constexpr LiteralId PLUGIN_ID_PREFIX{"builtin_plugin_"};

/// A plug-in as an asset object.
class PluginAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<PluginAssetInterface>> Create();
    /// The id that the asset `aid` has now, if its plug-in was replaced (GetReplacedModules), else the null id.
    static Result<Id> GetRenamed(const Id& aid);
};
using PluginAsset = StrongRef<PluginAssetInterface>;

}  // namespace talvo
