// The metadata that a version gets as it is stored, so that it is whole from the first moment.
#pragma once

#include "assets.h"

namespace talvo {

/// @param name for people, in the language that every other falls back to. @param tag of the version. Nothing of both: null.
Result<AssetMetaData> MakeNewAssetMetaData(const Opt<String>& name, const Opt<String>& tag);

}  // namespace talvo
