// A repository whose assets exist only as far as the engine keeps them: to measure the engine without any storage.
#pragma once

#include "baseassetrepository.h"

namespace talvo::bench {

/// The ids with the numbers `first` to `first + count - 1`; each has one version with a time, a name that is not read yet, and a url.
/// Nothing is loaded of them but the ids.
BaseAssetRepositoryRef MakeGeneratedRepository(const Id& id, Block<const AssetRepositoryRef> bases, Int first, Int count);
/// The id with this number.
Id MakeGeneratedId(Int number);
/// Loads the newest versions of all ids, here and below. @return how many ids that are.
Int LoadAll(const AssetRepositoryRef& repository);

}  // namespace talvo::bench
