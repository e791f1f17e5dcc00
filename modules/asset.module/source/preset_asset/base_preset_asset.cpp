#include "base_preset_asset.h"

#include "kernel/io/streams.h"

namespace talvo {

namespace {

[[maybe_unused]] const Bool DATA_TYPES_KNOWN = [] {
    DataTypes::RegisterAll<StoreAssetStruct, ResolveAssetDependenciesStruct, AddAssetDepencendyStruct>();
    return true;
}();

ErrorRef MakeMissingError(const char* what) {
    return FunctionNotImplementedError::Create(FormatMessage("This kind of presets has no @.", what));
}

}  // namespace

Result<Data> BasePresetAssetInterface::GetPresetInternalConstDataPtr() const { return MakeMissingError("settings in memory"); }
Result<Data> BasePresetAssetInterface::GetPresetInternalData() const { return MakeMissingError("settings"); }
Result<Data> BasePresetAssetType::CreateNewPresetSettings(const Data&) const { return MakeMissingError("new settings"); }

String BasePresetAssetType::GetFilterString() const { return String(FormatMessage("type:@", GetId())); }

Result<String> BasePresetAssetType::GetUrlSuffix(const Asset&) const { return String(); }

Result<AssetStoreMetaData> BasePresetAssetType::Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                                      std::string& digest) const {
    return CatchOutOfMemory([&]() -> Result<AssetStoreMetaData> {
        const auto* preset = dynamic_cast<const BasePresetAssetInterface*>(asset.GetPointer());
        if (!preset) return IllegalArgumentError::Create("Illegal argument: Condition basePreset not fulfilled. ");
        OutputStreamRef output = TRY(url.IsPopulated() ? url.OpenOutputStream(OUTPUT_MODE::OVERWRITE) : CreateNullOutputStream());
        if (hashStream) output = TRY(hashStream(output, digest));
        TRY(preset->Serialize(output));
        TRY(output->Close());
        return AssetStoreMetaData();
    });
}

Result<std::tuple<Data, Bool>> BasePresetAssetType::ComputeMetaData(const AssetRepositoryRef& repository,
                                                                    const IdAndVersion& asset, const AssetMetaData& meta,
                                                                    const InternedId& metaId) const {
    if (metaId.GetId() == OBJECT_BASE_TAGS) return std::tuple(Data(String()), true);
    return AssetTypeBase::ComputeMetaData(repository, asset, meta, metaId);
}

Result<Data> BasePresetAssetType::GetProperty(const Id& key) const {
    return key == ASSETTYPE_SUPPORT_VERSIONS ? Result<Data>(Data(false)) : AssetTypeBase::GetProperty(key);
}

}  // namespace talvo
