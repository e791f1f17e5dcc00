// Stores one file or folder as a version of an asset, with what belongs to the asset.
#pragma once

#include "assets.h"

namespace talvo {

/// What to store, and how.
struct FileToStore {
    enum class PLACE { NEXT_VERSION, OVER_NEWEST };
    Id id;
    Url source;
    String sourceName;  ///< the name of an asset that begins with this version
    Opt<String> name;   ///< the name that the asset gets in any case
    Opt<Id> category;   ///< of an asset that begins with this version
    Opt<Id> subtype;    ///< likewise
    PLACE place = PLACE::NEXT_VERSION;
};

/// The version keeps the persistent values of the newest version before it, and is whole from the first moment.
Result<AssetDescription> StoreFile(const AssetRepositoryRef& repository, const FileToStore& file);

}  // namespace talvo
