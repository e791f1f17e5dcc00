// Databases that users configured. None can be mounted yet.
#pragma once

#include "assets.h"

namespace talvo {

/// Threads: any.
namespace AssetDataBases {

/// Whether `repository` is a mounted database: false for every repository while there is no mounting.
Bool FindRepository(const AssetRepositoryRef& repository);

}  // namespace AssetDataBases

}  // namespace talvo
