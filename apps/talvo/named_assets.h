// Assets that are nothing but a name, and finding them again by it.
#pragma once

#include "assets.h"

#include <string>

namespace talvo {

/// Stores a new asset of a kind without content.
/// @param id nothing: a fresh one that begins with `prefix`. Errors: IllegalArgumentError for an id that is taken.
Result<AssetDescription> StoreNamedAsset(const AssetRepositoryRef& repository, const Opt<std::string>& id, const char* prefix,
                                         const Asset& asset, const struct AssetValues& values);
/// What people call an asset.
Result<String> GetAssetName(const AssetDescription& asset);
/// The asset of a type that `word` names, by its id or else by its name, without regard to case.
/// Errors: UnresolvedError if there is none; IllegalArgumentError with the ids if several have the name.
Result<AssetDescription> FindNamedAsset(const AssetRepositoryRef& repository, const Id& type, const std::string& word,
                                        const char* what);

}  // namespace talvo
