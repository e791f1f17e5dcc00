// The values with which the program begins an asset.
#pragma once

#include "assets.h"

namespace talvo {

/// What is left out is not set.
struct AssetValues {
    Opt<String> name;
    Opt<Id> category;
    Opt<Id> subtype;
    Opt<Color> color;  ///< of a colour category
};

/// As a store takes them. @param before values of the version before, whose other texts stay; may be null.
Result<AssetMetaData> MakeAssetValues(const AssetValues& values, const AssetMetaData& before);

}  // namespace talvo
