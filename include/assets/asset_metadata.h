// Metadata of one version: a table of values in which each value has a kind that says who may change it and where it lives.
#pragma once

#include "assets/asset_identity.h"
#include "assets/asset_metadata_table.h"
#include "kernel/base/array.h"
#include "kernel/data/data.h"
#include "kernel/data/standard_types.h"
#include "kernel/text/language.h"

#include <new>
#include <tuple>
#include <vector>

namespace talvo {

constexpr ASSET_METADATA_KIND operator|(ASSET_METADATA_KIND first, ASSET_METADATA_KIND second) {
    return ASSET_METADATA_KIND(UInt32(first) | UInt32(second));
}
constexpr ASSET_METADATA_KIND operator&(ASSET_METADATA_KIND first, ASSET_METADATA_KIND second) {
    return ASSET_METADATA_KIND(UInt32(first) & UInt32(second));
}
/// Whether any bit of `flag` is set.
constexpr Bool HasFlag(ASSET_METADATA_KIND kind, ASSET_METADATA_KIND flag) { return (kind & flag) != ASSET_METADATA_KIND::NONE; }
/// The kind with the bits of `flag` cleared.
constexpr ASSET_METADATA_KIND WithoutFlag(ASSET_METADATA_KIND kind, ASSET_METADATA_KIND flag) {
    return ASSET_METADATA_KIND(UInt32(kind) & ~UInt32(flag));
}

/// Id and kind of one entry.
using AssetMetaDataExistingEntry = std::pair<InternedId, ASSET_METADATA_KIND>;

/// Threads: any. A lazy read holds the object's lock, so it blocks other readers of this one version only.
class AssetMetaDataInterface : public ObjectInterface {
public:
    /// All ids and kinds, in no order, those not yet loaded too.
    virtual Result<BaseArray<AssetMetaDataExistingEntry>> GetExistingEntries() const = 0;
    /// The value, loaded or computed at need. Nothing there is no error.
    /// Errors: IllegalStateError if the repository has gone; those of the backend but IoError, and of the type.
    virtual Result<Opt<Data>> Get(const InternedId& metaId) const = 0;
    /// How often the entry was set, 0 for no entry.
    virtual UInt GetTimeStamp(const InternedId& metaId) const = 0;
    /// The typed read that the others go through. `mem` is raw memory for one value of `type` (null: a `Data`), constructed there
    /// if `isSet` comes back true.
    virtual Result<void> PrivateGet(const InternedId& metaId, DataType type, void* mem, Bool& isSet) const = 0;
};

/// Reference to the metadata of one version.
class AssetMetaData : public StrongRef<AssetMetaDataInterface> {
public:
    using KIND = ASSET_METADATA_KIND;
    using StrongRef::StrongRef;
    AssetMetaData() = default;
    AssetMetaData(StrongRef<AssetMetaDataInterface> ref) : StrongRef(std::move(ref)) {}

    /// The shared empty one.
    static const AssetMetaData& DefaultValuePtr();
    /// Metadata without a repository: what a store takes as additional values.
    static Result<AssetMetaData> Create(AssetMetaDataTable entries);
    /// Metadata of one version, as a backend makes it. @param vdata handed to the backend's metadata operations.
    static Result<AssetMetaData> Create(const AssetRepositoryRef& repository, const Id& type, const IdAndVersion& identity,
                                        Data vdata, AssetMetaDataTable entries);

    /// The value of `metaId` if there is one that reads as `T`. On a null reference: nothing.
    template <typename T>
    Result<Opt<T>> Get(const InternedId& metaId) const {
        if (!*this) return Opt<T>();
        alignas(T) std::byte memory[sizeof(T)];
        Bool isSet = false;
        TRY((*this)->PrivateGet(metaId, talvo::GetDataType<T>(), memory, isSet));
        if (!isSet) return Opt<T>();
        T* value = std::launder(reinterpret_cast<T*>(memory));
        Opt<T> result(std::move(*value));
        value->~T();
        return result;
    }
};

/// Ids of metadata.
namespace ASSETMETADATA {

inline constexpr LiteralId TIMESTAMP{"net.talvo.asset.timestamp"};
inline constexpr LiteralId VERSIONTAG{"net.talvo.asset.versiontag"};
inline constexpr LiteralId CREATIONPROPERTIES{"net.talvo.asset.creationproperties"};
inline constexpr LiteralId METAPROPERTIES{"net.talvo.asset.metaproperties"};
inline constexpr LiteralId SUBTYPE{"net.talvo.asset.subtype"};
inline constexpr LiteralId KEYWORDS{"net.talvo.asset.keywords"};
inline constexpr LiteralId USERKEYWORDS{"net.talvo.asset.userkeywords"};
inline constexpr LiteralId COLORCATEGORY{"net.talvo.asset.colorcategory"};
inline constexpr LiteralId SORT{"net.talvo.asset.sort"};
inline constexpr LiteralId USAGE{"net.talvo.asset.usage"};
inline constexpr LiteralId PREVIEWIMAGEURL{"net.talvo.asset.previewimageurl"};
inline constexpr LiteralId PREVIEWANIMURL{"net.talvo.asset.previewanimurl"};
inline constexpr LiteralId DEPENDENCIES{"net.talvo.asset.dependencies.2"};
inline constexpr LiteralId VALIDVERSION{"net.talvo.asset.validversion"};
inline constexpr LiteralId SIZE{"net.talvo.asset.size"};
inline constexpr LiteralId DERIVEDMETADATASTAMP{"net.talvo.asset.derivedmetadatastamp"};
inline constexpr LiteralId CATEGORY{"net.talvo.node.category"};
inline constexpr LiteralId SMARTSEARCH{"net.talvo.node.smartsearch"};

}  // namespace ASSETMETADATA

inline constexpr LiteralId OBJECT_BASE_NAME{"net.talvo.object.base.name"};
inline constexpr LiteralId OBJECT_BASE_TAGS{"net.talvo.object.base.tags"};

/// Range of application versions, min and max.
using AssetVersionRange = std::pair<Float64, Float64>;
/// Last use and count of uses.
using AssetUsage = std::tuple<UniversalDateTime, Int>;

}  // namespace talvo
