// What a repository keeps of an asset of a library, in the module's own types.
#pragma once

#include "assets.h"
#include "bench/library/library_model.h"

namespace talvo::bench {

struct LibraryValue {
    InternedId key;
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;
    Data value;
};

/// All values of a version, sorted by key. Of a file these are six: time, two names, category, subtype and keywords.
std::vector<LibraryValue> MakeLibraryValues(const LibraryAsset& asset, Int version);
/// The name of its payload.
std::string MakeLibraryPayloadName(const LibraryAsset& asset);

}  // namespace talvo::bench
