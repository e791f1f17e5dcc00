// What kinds of presets build on: an object that stands for values rather than a file, and a type that says how it shows up.
#pragma once

#include "category_asset.h"
#include "kernel/base/hash_map.h"
#include "kernel/io/streams.h"

namespace talvo {

/// Types of presets have ids that begin so.
inline constexpr LiteralId ASSETTYPE_PRESET_PREFIX{"net.talvo.assettype.preset."};

/// A preset as an asset object. Arguments that only a kind and its host know are one Data.
class BasePresetAssetInterface : public AssetInterface {
public:
    /// Brings the values to where the host says.
    virtual Result<Data> Apply(const Data& arguments) = 0;
    /// Makes a picture of it.
    virtual Result<Data> GeneratePreview(const Data& arguments) = 0;
    /// Takes over what an older host kept.
    virtual Result<Data> ConvertFromLegacyBrowser(const Data& arguments) = 0;
    /// Writes the preset.
    virtual Result<void> Serialize(const OutputStreamRef& stream) const = 0;
    /// The settings as they lie in memory. Errors: FunctionNotImplementedError for a kind that doesn't show them.
    virtual Result<Data> GetPresetInternalConstDataPtr() const;
    /// The settings as one value. Errors: the same.
    virtual Result<Data> GetPresetInternalData() const;
};
using BasePresetAsset = StrongRef<BasePresetAssetInterface>;

/// The type of a kind of presets. A kind derives from it and gives GetId, GetAssetDataType and Load.
class BasePresetAssetType : public AssetTypeBase {
public:
    /// The kind's plain name.
    virtual String GetName() const { return String(); }
    /// Whether `Load` gives the values at once.
    virtual Bool LoadPreset() const { return false; }
    /// New settings of the kind. Errors: FunctionNotImplementedError.
    virtual Result<Data> CreateNewPresetSettings(const Data& arguments) const;
    /// The term that shows only presets of this kind.
    virtual String GetFilterString() const;
    /// Whether one of them can be the default of its subtype.
    virtual Bool DoesSupportSetAsDefault() const { return false; }
    /// Where new presets go.
    virtual Id GetSuggestedCategory() const { return CATEGORY_PRESETS; }

    Result<String> GetUrlSuffix(const Asset& asset) const override;
    /// Errors: IllegalArgumentError for an asset that is no preset, before anything is written.
    Result<AssetStoreMetaData> Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                     std::string& digest) const override;
    Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                   const AssetMetaData& meta, const InternedId& metaId) const override;
    Result<Data> GetProperty(const Id& key) const override;
};

// The context of creating assets with what they depend on: carried along by this module, read by those who create them.

/// Where an asset is stored.
struct StoreAssetStruct {
    Id id;
    AssetRepositoryRef storeRepository;
    AssetRepositoryRef lookupRepository;
};
/// How dependencies are found.
struct ResolveAssetDependenciesStruct {
    Delegate<Result<AssetDescription>(const Url&)> resolve;
    HashMap<Id, AssetDescription> resolved;
};
/// What a dependency is added to.
struct AddAssetDepencendyStruct {
    StoreAssetStruct store;
    HashMap<Id, AssetDescription> added;
};

/// Held by values of this process only.
template <>
struct DataTraits<StoreAssetStruct> {
    static constexpr LiteralId ID{"net.talvo.datatype.storeassetstruct"};
};
template <>
struct DataTraits<ResolveAssetDependenciesStruct> {
    static constexpr LiteralId ID{"net.talvo.datatype.resolveassetdependenciesstruct"};
};
template <>
struct DataTraits<AddAssetDepencendyStruct> {
    static constexpr LiteralId ID{"net.talvo.datatype.addassetdepencendystruct"};
};

}  // namespace talvo
