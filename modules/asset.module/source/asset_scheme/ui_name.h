// What people call the asset that a url names.
#pragma once

#include "assets/asset_repository.h"

namespace talvo {

/// @param repository null: the one that urls are looked up in.
/// Errors: those of the lookup and of reading metadata.
Result<String> ConvertAssetUrlToUiName(const Url& url, UI_NAME flags, AssetRepositoryRef repository);

}  // namespace talvo
