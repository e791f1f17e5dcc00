// The registries of what brings built-in assets.
#include "builtin_asset_loaders.h"

namespace talvo {

// Made at first use and never destroyed: static objects of other files may ask before this file's are made and after they are gone.
Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders() {
    static auto& loaders = *new Registry<BuiltinAssetLoader>("net.talvo.registry.builtinassetloaders"_id);
    return loaders;
}

Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders2() {
    static auto& loaders = *new Registry<BuiltinAssetLoader>("net.talvo.registry.builtinassetloaders2"_id);
    return loaders;
}

}  // namespace talvo
