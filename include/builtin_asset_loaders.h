// What brings assets into the built-in repository.
#pragma once

#include "assets.h"

namespace talvo {

/// Takes a built-in asset. @param metaData values by InternedId, all persistent. @param metaRoot directory with a directory of metadata files an
/// asset, or empty. @return false: enough.
using BuiltinAssetReceiver =
    FunctionRef<Result<Bool>(const Id& aid, const Asset& asset, const DataDictionary& metaData, const Url& metaRoot)>;
/// Hands out the assets of the wanted types and id; more than is wanted is fine. It must not look into the built-in repository from its receiver.
/// @param types empty, or the null id first: every type. @param aid null: every asset; with ID_PREFIX in `findMode` the beginning of ids.
/// @return false if the receiver said so.
/// Threads: any; may be called from several at once.
using BuiltinAssetLoader = Delegate<Result<Bool>(Block<const Id> types, const Id& aid, const Id& version,
                                                 ASSET_FIND_MODE findMode, BuiltinAssetReceiver receiver)>;

/// The registry `net.talvo.registry.builtinassetloaders`, asked in order of registration.
Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders();
/// The registry `net.talvo.registry.builtinassetloaders2`, asked after the first; what it gives has no metadata root.
Registry<BuiltinAssetLoader>& GetBuiltinAssetLoaders2();

}  // namespace talvo
