// The registries of what brings built-in assets.
#include "builtin_asset_loaders.h"

#include "builtin_assets/builtin_assets.h"

#include <memory>
#include <new>

namespace talvo {

namespace {

using LoaderRegistry = Registry<BuiltinAssetLoader>;

/// With the module's own loader, which is asked first.
LoaderRegistry& MakeLoaders() {
    auto loaders = std::make_unique<LoaderRegistry>("net.talvo.registry.builtinassetloaders"_id);
    // The first entry of an empty registry can only fail for lack of memory; thrown, so that the next one who asks makes it.
    if (loaders->Register("net.talvo.asset"_id, MakeModuleAssetLoader()).IsError()) throw std::bad_alloc();
    return *loaders.release();
}

}  // namespace

// Made at first use and never destroyed: static objects of other files may ask before this file's are made and after they are gone.
Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders() {
    static LoaderRegistry& loaders = MakeLoaders();
    return loaders;
}

Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders2() {
    static auto& loaders = *new LoaderRegistry("net.talvo.registry.builtinassetloaders2"_id);
    return loaders;
}

}  // namespace talvo
