// Smart searches: assets that keep the text of a filter under a name.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content: name and filter are metadata.
inline constexpr LiteralId ASSETTYPE_SMARTSEARCH{"net.talvo.assettype.smartsearch"};

/// A smart search as an asset object.
class SmartSearchAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<SmartSearchAssetInterface>> Create();
    /// Stores the filter of `asset`. Errors: NullptrError for a null `asset`; those of AssetDescription::StoreMetaData.
    static Result<void> SetFilterString(const AssetDescription& asset, const String& filter);
    /// The text of the filter; empty if there is none, and if it can't be read.
    virtual String GetFilterString() const;
};
using SmartSearchAsset = StrongRef<SmartSearchAssetInterface>;

}  // namespace talvo
