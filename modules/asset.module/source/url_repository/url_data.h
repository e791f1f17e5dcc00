// What the engine keeps for this backend: of an asset the name of its directory, of a version its names, and until it is published,
// where it is written and where it will be. There are many of them, so they hold no urls: those are put together from the names.
#pragma once

#include "kernel/io/url.h"

namespace talvo {

/// `adata` of an asset.
struct UrlAssetData {
    Id directory;  ///< its name below the root; often the asset id, and then that very text

    Bool operator==(const UrlAssetData&) const = default;
};

/// Never stored.
template <>
struct DataTraits<UrlAssetData> {
    static constexpr LiteralId ID{"net.talvo.asset.urlassetdata"};
};

/// `adata` of the asset `aid` in the directory of this name. Errors: IllegalArgumentError for a name that is no id.
Result<Data> MakeAssetData(const Id& aid, std::string_view directory);

/// `adata` of an asset that an index knows: nothing of it is copied from there.
struct IndexedAssetData {
    UInt32 index;   ///< number of the index directory among those that were loaded
    UInt32 record;  ///< of the asset in its text

    Bool operator==(const IndexedAssetData&) const = default;
};

/// Never stored.
template <>
struct DataTraits<IndexedAssetData> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.indexedassetdata"};
};

/// `vdata` of a version that an index knows.
struct IndexedVersionData {
    UInt32 index;
    UInt32 record;
    UInt position;  ///< of the version in the text

    Bool operator==(const IndexedVersionData&) const = default;
};

/// Never stored.
template <>
struct DataTraits<IndexedVersionData> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.indexedversiondata"};
};

/// `vdata` of a version. What many versions have in common stands once in memory.
struct UrlVersionData {
    Id assetDirectory;
    InternedId directory;
    InternedId payload;  ///< its name in there; empty for a deletion mark

    Bool operator==(const UrlVersionData&) const = default;
};

/// Never stored.
template <>
struct DataTraits<UrlVersionData> {
    static constexpr LiteralId ID{"net.talvo.datatype.local.asset.urlversiondata"};
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

/// `vdata` of a version that is published. Errors: IllegalArgumentError for a name that is no id.
Result<Data> MakeVersionData(const Id& assetDirectory, std::string_view directory, std::string_view payload);
/// `vdata` of one in a hidden directory.
Data MakeStagedVersionData(Url directory, StagedVersion staged);
/// Nothing once the version is published.
Opt<StagedVersion> FindStaged(const Url& versionDirectory);
/// Where the version will be seen: `versionDirectory` itself once it is published.
Url GetFinalUrl(const Url& versionDirectory);

}  // namespace talvo
