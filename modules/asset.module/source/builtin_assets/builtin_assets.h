// The assets that lookups of the asset system itself end in: subtypes, types of commands, categories, and what stands in for what is missing.
#pragma once

#include "builtin_asset_loaders.h"

namespace talvo {

/// The loader of these assets. Each comes with its name in every language that there is a table of texts for, and the category it stands in.
BuiltinAssetLoader MakeModuleAssetLoader();

}  // namespace talvo
