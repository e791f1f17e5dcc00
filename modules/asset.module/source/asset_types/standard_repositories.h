// The slots of the standard repositories, which the start of the module fills.
#pragma once

#include "assets/asset_repository.h"

namespace talvo {

/// Puts `repository`, which may be null, in the slot of one of the three standard ids. Not while lookups run.
void SetStandardRepository(const Id& id, AssetRepositoryRef repository);

}  // namespace talvo
