// What the engine keeps for this backend: of an asset its directory, of a version its directory and, until it is published, where
// that will be.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

/// `adata` of an asset.
struct UrlAssetData {
    Url url;  ///< the asset's directory

    Bool operator==(const UrlAssetData&) const = default;
};

/// Never stored.
template <>
struct DataTraits<UrlAssetData> {
    static constexpr LiteralId ID{"net.talvo.asset.urlassetdata"};
};

/// Side data of the `vdata` of a version that nobody can see yet.
struct StagedVersion {
    enum class PURPOSE : Int32 { NEW, OVERWRITE };
    Url finalDirectory;
    UInt number = 0;
    PURPOSE purpose = PURPOSE::NEW;

    Bool operator==(const StagedVersion&) const = default;
};

/// Never stored.
template <>
struct DataTraits<StagedVersion> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.stagedversion"};
};

/// `vdata` of a version: its directory.
Data MakeVersionData(const Url& directory);
/// `vdata` of one in a hidden directory.
Data MakeStagedVersionData(Url directory, StagedVersion staged);
/// The directory of a version. Errors: IllegalArgumentError if `vdata` is no url.
Result<Url> GetVersionUrl(const Data& vdata);
/// Nothing once the version is published.
Opt<StagedVersion> FindStaged(const Url& versionDirectory);
/// Where the version will be seen: `versionDirectory` itself once it is published.
Url GetFinalUrl(const Url& versionDirectory);

}  // namespace talvo
