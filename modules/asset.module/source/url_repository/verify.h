// The checks of one asset's directory, of which a check of a whole repository is made.
#pragma once

#include "urlassetrepository.h"

#include <vector>

namespace talvo {

/// What one directory below the root holds, and what is wrong with it.
struct AssetCheck {
    Opt<Id> id;     ///< nothing if the directory names no asset
    Url directory;  ///< empty before the check
    Int versions = 0;
    Int64 bytes = 0;
    std::vector<RepositoryFinding> findings;
};

/// Reads and hashes all of one asset; changes nothing and follows no link.
AssetCheck CheckAssetDirectory(const Url& directory);

}  // namespace talvo
