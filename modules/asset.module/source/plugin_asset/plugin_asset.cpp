#include "plugin_asset.h"

#include "asset_types/contentless_asset.h"
#include "kernel/app/replaced_modules.h"

namespace talvo {

Result<PluginAsset> PluginAssetInterface::Create() { return CreateContentlessAsset<PluginAssetInterface>(ASSETTYPE_PLUGIN); }

Result<Id> PluginAssetInterface::GetRenamed(const Id& aid) {
    return CatchOutOfMemory([&]() -> Result<Id> {
        const std::string_view prefix = PLUGIN_ID_PREFIX.GetView();
        if (!aid.GetView().starts_with(prefix)) return Id();
        const Id module = TRY(Id::Create(aid.GetView().substr(prefix.size())));
        if (module.IsEmpty()) return Id();
        const Data replacement = GetReplacedModules().FindEntryValue(module).value_or(Data());
        const Id* id = replacement.GetPtr<Id>();
        if (!id || id->IsEmpty()) return Id();
        return Id::Create(std::string(prefix).append(id->GetView()));
    });
}

}  // namespace talvo
