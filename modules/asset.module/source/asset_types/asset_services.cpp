// The static entry points of the asset system: standard repositories, text of a version, fit to the application, dependencies.
#include "asset_types/standard_repositories.h"
#include "assets/asset.h"
#include "assets/asset_repository.h"
#include "kernel/app/application.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <atomic>
#include <string>

namespace talvo {

namespace {

/// A slot that is never destroyed: what it holds belongs to the host, and statics that still look things up may go later.
AssetRepositoryRef& GetSlot(const Id& id) {
    static auto& builtin = *new AssetRepositoryRef;
    static auto& application = *new AssetRepositoryRef;
    static auto& userPrefs = *new AssetRepositoryRef;
    if (id == REPOSITORY_BUILTIN) return builtin;
    return id == REPOSITORY_APPLICATION ? application : userPrefs;
}

/// The application's version, asked for until it is known, then kept: what fits now fits for the whole session.
class ApplicationVersion {
public:
    static Result<Float64> Get() {
        static ApplicationVersion version;
        return version.Read();
    }

private:
    enum STATE : UInt32 { UNKNOWN = 0, BEING_READ = 1, KNOWN = 2 };

    Result<Float64> Read() {
        for (;;) {
            UInt32 state = _state.load(std::memory_order_acquire);
            if (state == KNOWN) return Float64(_value);
            if (state == BEING_READ) {
                _state.wait(BEING_READ, std::memory_order_acquire);
            } else if (_state.compare_exchange_strong(state, BEING_READ, std::memory_order_acq_rel)) {
                break;
            }
        }
        const Result<Application::Version> version = Application::GetVersion();
        if (version.IsOk()) _value = version.GetValue().number / 1000.0;
        _state.store(version.IsOk() ? KNOWN : UNKNOWN, std::memory_order_release);
        _state.notify_all();
        if (version.IsError()) return version.GetError();
        return Float64(_value);
    }

    std::atomic<UInt32> _state{UNKNOWN};
    Float64 _value = 0;
};

Result<String> MakeVersionString(const Id& version, const AssetMetaData& metaData) {
    const Opt<String> tag = TRY(metaData.Get<String>(InternedId(ASSETMETADATA::VERSIONTAG)));
    const Opt<UniversalDateTime> time = TRY(metaData.Get<UniversalDateTime>(InternedId(ASSETMETADATA::TIMESTAMP)));
    String text = tag.value_or(String());
    if (time) {
        if (text.IsPopulated()) text += " - ";
        text += String(time->FormatLocal("%Y-%m-%d %H:%M"));
    }
    return text.IsEmpty() ? String::FromId(version) : text;
}

}  // namespace

const AssetRepositoryRef& AssetInterface::GetBuiltinRepository() { return GetSlot(REPOSITORY_BUILTIN); }

const AssetRepositoryRef& AssetInterface::GetApplicationRepository() { return GetSlot(REPOSITORY_APPLICATION); }

const AssetRepositoryRef& AssetInterface::GetUserPrefsRepository() { return GetSlot(REPOSITORY_USERPREFS); }

void SetStandardRepository(const Id& id, AssetRepositoryRef repository) { std::swap(GetSlot(id), repository); }

void AssetInterface::SetUserPrefsRepository(const AssetRepositoryRef& repository) { GetSlot(REPOSITORY_USERPREFS) = repository; }

Result<Id> AssetInterface::MakeUuid(const char* prefix, Bool compact) {
    return CatchOutOfMemory(
        [&] { return IdHelper::MakeUuid(prefix ? prefix : "", compact ? UUID_FORM::COMPACT : UUID_FORM::HYPHENS); });
}

Result<InternedId> AssetInterface::GetLanguageMetaDataId(const Id& languageId) {
    static auto& known = *new Guarded<HashMap<Id, InternedId>, ARWLock>;
    return CatchOutOfMemory([&]() -> Result<InternedId> {
        {
            const auto ids = known.Read();
            if (const InternedId* id = ids->Find(languageId)) return *id;
        }
        const Id id = TRY(Id::Create("strings_" + std::string(languageId.GetView())));
        const InternedId interned(id);
        const auto ids = known.Write();
        TRY(ids->Insert(languageId, interned));
        return interned;
    });
}

Result<String> AssetInterface::GetVersionString(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!asset) return MakeVersionString(Id(), AssetMetaData::DefaultValuePtr());
        return MakeVersionString(asset->GetIdAndVersion().second, asset->GetMetaData());
    });
}

Result<String> AssetInterface::GetVersionString(const Asset& asset) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!asset) return MakeVersionString(Id(), AssetMetaData::DefaultValuePtr());
        const AssetMetaData metaData = TRY(asset->GetMetaData());
        return MakeVersionString(asset->GetIdAndVersion().second, metaData);
    });
}

Result<AssetVersionValidity> AssetInterface::IsAssetVersionValid(const AssetDescription& asset) {
    return CatchOutOfMemory([&]() -> Result<AssetVersionValidity> {
        using STATE = AssetVersionValidity::STATE;
        if (!asset) return AssetVersionValidity();
        const auto range = TRY(asset->GetMetaData().Get<AssetVersionRange>(InternedId(ASSETMETADATA::VALIDVERSION)));
        const auto [min, max] = range.value_or(AssetVersionRange(0, 0));
        if (min == 0 && max == 0) return AssetVersionValidity();
        const Float64 version = TRY(ApplicationVersion::Get());
        if (min > version) return AssetVersionValidity{STATE::NEEDS_LATER, min, max, version};
        if (max != 0 && version > max) return AssetVersionValidity{STATE::NEEDS_EARLIER, min, max, version};
        return AssetVersionValidity();
    });
}

Result<Bool> AssetInterface::IsAssetValid(const AssetDescription& asset) {
    const AssetVersionValidity validity = TRY(IsAssetVersionValid(asset));
    return validity.state == AssetVersionValidity::STATE::VALID;
}

Result<Bool> AssetInterface::IsAssetVisible(const AssetDescription& asset) { return IsAssetValid(asset); }

namespace {

using FoundDelegate = Delegate<Result<void>(const AssetDescription& found, CheckedAssets& checked)>;
using MissingDelegate = Delegate<Result<void>(Bool newerVersionRequired)>;

Result<void> CallMissing(const MissingDelegate& callback, Bool newerVersionRequired) {
    return callback ? callback(newerVersionRequired) : Result<void>(OK);
}

/// Whether `stored` is too old to stand in for a version that was there when the dependent asset was made.
Result<Bool> IsOlderThan(const AssetDescription& stored, UniversalDateTime creationDate) {
    const auto time = TRY(stored->GetMetaData().Get<UniversalDateTime>(InternedId(ASSETMETADATA::TIMESTAMP)));
    return time && !time->IsEmpty() && *time < creationDate;
}

}  // namespace

Result<void> AssetInterface::ResolveAssetsWithMissingAssets(const AssetRepositoryRef& searchRepository, const Id& typeId,
                                                            const IdAndVersion& idVersion, UniversalDateTime assetCreationDate,
                                                            CheckedAssets& checked, const FoundDelegate& callbackFound,
                                                            const MissingDelegate& callbackMissing) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const auto& [aid, version] = idVersion;
        const Bool isNew = TRY(checked.Insert(idVersion));
        if (!isNew) return OK;
        if (!searchRepository) return NullptrError::Create("Dependencies can't be resolved without a repository to search.");
        AssetDescription found = TRY(searchRepository->FindLatestAsset(typeId, aid, version, ASSET_FIND_MODE::NONE));
        if (!found && version.IsPopulated()) {
            found = TRY(searchRepository->FindLatestAsset(typeId, aid, Id(), ASSET_FIND_MODE::NONE));
            if (found) {
                const Bool tooOld = TRY(IsOlderThan(found, assetCreationDate));
                if (tooOld) return CallMissing(callbackMissing, true);
            }
        }
        if (!found) return CallMissing(callbackMissing, false);
        return callbackFound ? callbackFound(found, checked) : Result<void>(OK);
    });
}

}  // namespace talvo
