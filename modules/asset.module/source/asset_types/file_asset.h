// The type of files and directories, for the registry of types.
#pragma once

#include "assets/asset_type.h"

namespace talvo {

/// Throws std::bad_alloc.
AssetType MakeFileAssetType();

}  // namespace talvo
