// The default asset of each subtype, as the user's settings keep them.
#include "base_preset_asset.h"
#include "kernel/app/settings.h"
#include "kernel/thread/locks.h"
#include "keyword_asset.h"

namespace talvo {

namespace {

/// The settings are read, changed and written as a whole.
LockClass DEFAULTS_LOCK{"default assets", LOCK_FLAGS::IO};

ARWLock& GetDefaultsLock() {
    static ARWLock lock{DEFAULTS_LOCK};
    return lock;
}

Result<DataDictionary> ReadDefaults(SETTINGS_LEVEL level) {
    const SettingsRef settings = TRY(SettingsInterface::GetSettings(level));
    const Data stored = TRY(settings->Get(SETTING_DEFAULTASSETS));
    const DataDictionary* defaults = stored.GetPtr<DataDictionary>();
    return defaults ? *defaults : DataDictionary();
}

/// The null identity if there is none. A bare id stands for its newest version.
IdAndVersion FindDefault(const DataDictionary& defaults, const Id& subtype) {
    if (const Opt<Id> id = defaults.Get<Id>(subtype)) return IdAndVersion(*id, Id());
    return defaults.Get<IdAndVersion>(subtype).value_or(IdAndVersion());
}

ErrorRef MakeConditionError(const char* condition) {
    return IllegalArgumentError::Create(FormatMessage("Illegal argument: Condition @ not fulfilled. ", condition));
}

/// The type of a preset, kept by `holder`.
Result<const BasePresetAssetType*> FindPresetType(const AssetDescription& ad, AssetType& holder) {
    if (!ad) return MakeConditionError("ad");
    holder = FindAssetType(ad->GetTypeId());
    if (!holder) return MakeConditionError("assetType");
    const auto* preset = dynamic_cast<const BasePresetAssetType*>(holder.GetPointer());
    if (!preset) return MakeConditionError("presetType.GetPointer()");
    return preset;
}

/// Those of the user, to be changed. From a damaged file nothing can be taken over; the store sets it aside.
Result<DataDictionary> ReadDefaultsToChange() {
    Result<DataDictionary> defaults = ReadDefaults(SETTINGS_LEVEL::USER);
    if (defaults.IsError() && FileFormatError::IsClassOf(defaults.GetError())) return DataDictionary();
    return defaults;
}

Result<void> WriteDefault(const Id& subtype, const Opt<IdAndVersion>& asset) {
    const ScopedWriteLock<ARWLock> lock(GetDefaultsLock());
    DataDictionary defaults = TRY(ReadDefaultsToChange());
    if (asset) {
        defaults.Set(subtype, *asset);
    } else {
        defaults.Erase(subtype);
    }
    const SettingsRef settings = TRY(SettingsInterface::GetSettings(SETTINGS_LEVEL::USER));
    return settings->Set(SETTING_DEFAULTASSETS, Data(std::move(defaults)));
}

}  // namespace

Result<std::tuple<Bool, Bool>> KeywordAssetInterface::GetDefaultAssetState(const AssetDescription& ad) {
    return CatchOutOfMemory([&]() -> Result<std::tuple<Bool, Bool>> {
        AssetType holder;
        const BasePresetAssetType* type = TRY(FindPresetType(ad, holder));
        if (!type->DoesSupportSetAsDefault()) return std::tuple(false, false);
        const Result<Opt<Id>> subtype = ad->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE);
        if (subtype.IsError() || !subtype.GetValue() || subtype.GetValue()->IsEmpty()) return std::tuple(false, false);
        const DataDictionary defaults = TRY(ReadDefaults(SETTINGS_LEVEL::MERGED));
        const Bool isDefault = FindDefault(defaults, *subtype.GetValue()).first == ad->GetIdAndVersion().first;
        return std::tuple(true, isDefault);
    });
}

Result<AssetDescription> KeywordAssetInterface::GetDefaultAsset(const Id& type, const AssetRepositoryRef& lookupRepository) {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        if (!lookupRepository) return NullptrError::Create("There is no repository to look a default asset up in.");
        const DataDictionary defaults = TRY(ReadDefaults(SETTINGS_LEVEL::MERGED));
        const IdAndVersion found = FindDefault(defaults, type);
        if (found.first.IsEmpty()) return AssetDescription();
        return lookupRepository->FindLatestAsset(Id(), found.first, found.second, ASSET_FIND_MODE::LATEST);
    });
}

Result<void> KeywordAssetInterface::SetDefaultAsset(const AssetDescription& ad, Bool on) {
    return CatchOutOfMemory([&]() -> Result<void> {
        AssetType holder;
        const BasePresetAssetType* type = TRY(FindPresetType(ad, holder));
        if (!type->DoesSupportSetAsDefault()) return OK;
        const Opt<Id> subtype = TRY(ad->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
        if (!subtype || subtype->IsEmpty()) return MakeConditionError("subType.IsPopulated()");
        TRY(WriteDefault(*subtype, on ? Opt<IdAndVersion>(ad->GetIdAndVersion()) : std::nullopt));
        const AssetRepositoryRef repository = ad->GetRepository();
        auto* observable = repository ? repository->ObservableMetaDataStored(false) : nullptr;
        if (observable)
            observable->Notify(AssetBase(ad), InternedId(SETTING_DEFAULTASSETS), ASSET_METADATA_KIND::NONE, Data(), Data());
        return OK;
    });
}

}  // namespace talvo
