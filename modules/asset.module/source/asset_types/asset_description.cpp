// Where the content of a version lies, and its loaded form.
#include "asset_types/asset_description_impl.h"
#include "asset_types/meta_strings.h"
#include "assets/asset_repository.h"
#include "assets/asset_type.h"
#include "baseassetrepository.h"
#include "kernel/text/format.h"

#include <typeinfo>
#include <utility>

namespace talvo {

namespace {

constexpr ASSET_FIND_MODE NEWEST_HERE = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES;

Id GetIdOf(const AssetRepositoryRef& repository) { return repository ? repository->GetId() : Id(); }

ErrorRef MakeRepositoryGoneError(const IdAndVersion& identity) {
    return NullptrError::Create(
        FormatMessage("The repository of asset @ doesn't exist any longer. Open it again and look the asset up there.",
                      ToIdentityText(identity)));
}

}  // namespace

AssetDescriptionImpl::AssetDescriptionImpl(const AssetRepositoryRef& repository, AssetDescription::Parts parts)
    : _identity(std::move(parts.identity)),
      _type(std::move(parts.type)),
      _key(parts.key),
      _metaData(parts.metaData ? std::move(parts.metaData) : AssetMetaData::DefaultValuePtr()),
      _repositoryId(GetIdOf(repository)),
      _repository(repository),
      _urlState(parts.url.IsEmpty() ? UNKNOWN : KNOWN),
      _deleted(parts.deleted),
      _url(std::move(parts.url)) {}

AssetDescriptionImpl::~AssetDescriptionImpl() { delete _caches.load(std::memory_order_acquire); }

const AssetDescriptionImpl* AssetDescriptionImpl::Find(const AssetDescription& description) {
    const AssetDescriptionInterface* object = description.GetPointer();
    return object && typeid(*object) == typeid(AssetDescriptionImpl) ? static_cast<const AssetDescriptionImpl*>(object) : nullptr;
}

const AssetDescriptionImpl& AssetDescriptionImpl::Of(const AssetDescription& description) {
    return static_cast<const AssetDescriptionImpl&>(*description);
}

AssetDescription AssetDescriptionImpl::GetSelf() const {
    return AssetDescription(StrongRef<AssetDescriptionInterface>(const_cast<AssetDescriptionImpl*>(this)));
}

Result<Url> AssetDescriptionImpl::GetStoredUrl(const AssetRepositoryRef& repository) const {
    if (_urlState.load(std::memory_order_acquire) == KNOWN) return Url(_url);
    const auto backend = Cast<BaseAssetRepositoryInterface>(repository);
    return backend && _vdata.IsPopulated() ? backend->GetUrlImpl(_vdata) : Result<Url>(Url());
}

Result<const Url&> AssetDescriptionImpl::GetUrl() const {
    for (;;) {
        UInt32 state = _urlState.load(std::memory_order_acquire);
        if (state == KNOWN) return _url;
        if (state == BEING_FOUND) {
            _urlState.wait(BEING_FOUND, std::memory_order_acquire);
        } else if (_urlState.compare_exchange_strong(state, BEING_FOUND, std::memory_order_acq_rel)) {
            break;
        }
    }
    Result<Url> found = CatchOutOfMemory([&] { return FindUrl(); });
    if (found.IsOk()) _url = found.GetValue();
    _urlState.store(found.IsOk() ? KNOWN : UNKNOWN, std::memory_order_release);
    _urlState.notify_all();
    if (found.IsError()) return found.GetError();
    return _url;
}

Result<Url> AssetDescriptionImpl::FindUrl() const {
    const AssetRepositoryRef repository = _repository.Promote();
    if (!repository) return MakeRepositoryGoneError(_identity);
    Url own = TRY(GetStoredUrl(repository));
    if (own.IsPopulated()) return own;
    const Id version = _identity.second == g_newVersion ? Id() : _identity.second;
    AssetDescription other;
    TRY(FindAssets(repository, Block<const Id>(&_type, 1), _identity.first, version, NEWEST_HERE,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       if (found.GetPointer() == this) return true;
                       other = found;
                       return false;
                   }));
    if (!other) return Url();
    // The url that is stored there, not the one that it would look up: two descriptions must not wait for each other.
    if (const AssetDescriptionImpl* impl = Find(other)) return impl->GetStoredUrl(repository);
    const Url& url = TRY_REF(other->GetUrl());
    return url;
}

AssetDescriptionImpl::LoadSlot& AssetDescriptionImpl::GetSlot(Bool updateLinks) const {
    LoadCaches* caches = _caches.load(std::memory_order_acquire);
    if (!caches) {
        auto made = std::make_unique<LoadCaches>();
        if (_caches.compare_exchange_strong(caches, made.get(), std::memory_order_acq_rel)) caches = made.release();
    }
    return updateLinks ? caches->withLinks : caches->plain;
}

Result<Asset> AssetDescriptionImpl::Load(Bool updateLinks) const {
    return CatchOutOfMemory([&]() -> Result<Asset> {
        if (_deleted) return IllegalStateError::Create(FormatMessage("Can't load deleted asset @", ToIdentityText(_identity)));
        LoadSlot& slot = GetSlot(updateLinks);
        {
            const auto cached = slot.Read();
            if (*cached) return *cached;
        }
        return LoadIntoSlot(slot, updateLinks);
    });
}

// Two threads may load one version at once; the object of the one that is first to enter it in the slot is the asset for both.
Result<Asset> AssetDescriptionImpl::LoadIntoSlot(LoadSlot& slot, Bool updateLinks) const {
    const AssetRepositoryRef repository = _repository.Promote();
    Loaded loaded =
        TRY(_identity.second == g_newVersion ? LoadNewest(repository, updateLinks) : LoadOwn(repository, updateLinks));
    CHECK_EXPECTED(loaded.asset, "loaded");
    if (loaded.asset->GetReferenceCount() > 1) loaded.asset = TRY(loaded.asset->Clone());
    loaded.asset->SetId(loaded.identity, updateLinks ? 1 : 0, repository, loaded.url);
    loaded.asset->SetMetaData(_metaData);
    {
        const auto cached = slot.Write();
        if (*cached) return *cached;
        *cached = loaded.asset;
    }
    if (const auto backend = Cast<BaseAssetRepositoryInterface>(repository))
        TRY(backend->AssetLoadedImpl(loaded.asset, updateLinks));
    return loaded.asset;
}

Result<AssetDescriptionImpl::Loaded> AssetDescriptionImpl::LoadNewest(const AssetRepositoryRef& repository,
                                                                      Bool updateLinks) const {
    if (!repository) return MakeRepositoryGoneError(_identity);
    AssetDescription newest;
    TRY(FindAssets(repository, Block<const Id>(&_type, 1), _identity.first, Id(), NEWEST_HERE,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       newest = found;
                       return false;
                   }));
    if (!newest) return IllegalStateError::Create(FormatMessage("Can't load asset for @.", ToIdentityText(_identity)));
    Loaded loaded;
    loaded.asset = TRY(newest->Load(updateLinks));
    loaded.identity = {_identity.first, newest->GetIdAndVersion().second};
    loaded.url = TRY_REF(newest->GetUrl());
    return loaded;
}

Result<AssetDescriptionImpl::Loaded> AssetDescriptionImpl::LoadOwn(const AssetRepositoryRef& repository, Bool updateLinks) const {
    const AssetType type = FindAssetType(_type);
    if (!type) return IllegalStateError::Create(FormatMessage("Unknown asset type @.", _type));
    const Url& url = TRY_REF(GetUrl());
    if (url.IsEmpty()) return IllegalStateError::Create(FormatMessage("Empty Url for asset @.", ToIdentityText(_identity)));
    const AssetDescription self = GetSelf();
    const Bool valid = TRY(AssetInterface::IsAssetValid(self));
    if (!valid) return IllegalStateError::Create("Asset not valid for this app version.");
    CheckNoLockHeld(LOCK_USE::CALLBACK, "a load by an asset type");
    Loaded loaded;
    loaded.asset = TRY(type->Load(repository, self, url, updateLinks));
    loaded.identity = _identity;
    loaded.url = url;
    return loaded;
}

Int AssetDescriptionImpl::GetLoadedUpdate() const {
    const LoadCaches* caches = _caches.load(std::memory_order_acquire);
    if (!caches) return 0;
    const auto asset = caches->withLinks.Read();
    return *asset ? (*asset)->GetUpdate() : 0;
}

void AssetDescriptionImpl::PresetLoaded(const Asset& asset) const {
    for (const Bool updateLinks : {false, true}) {
        Asset former = asset;  // released outside of the lock
        const auto slot = GetSlot(updateLinks).Write();
        std::swap(*slot, former);
    }
}

void AssetDescriptionImpl::ReplaceLoadedWithLinks(FunctionRef<Asset(const Asset& old)> make) const {
    LoadSlot& slot = GetSlot(true);
    for (;;) {
        const Asset old = [&] {
            const auto present = slot.Read();
            return *present;
        }();
        const Asset fresh = make(old);
        const auto present = slot.Write();
        if (*present != old) continue;
        *present = fresh;
        return;
    }
}

Result<String> AssetDescriptionImpl::GetMetaString(const InternedId& key, LanguageRef language, const String& fallback) const {
    return CatchOutOfMemory([&]() -> Result<String> {
        const Bool namesItself = key.GetId() == OBJECT_BASE_NAME && fallback.IsEmpty();
        const String text = namesItself ? String::FromId(_identity.first) : fallback;
        CheckNoLockHeld(LOCK_USE::CALLBACK, "a text of an asset type");
        const AssetType type = FindAssetType(_type);
        return type ? type->GetMetaString(GetSelf(), key, language, text)
                    : MetaStrings::Get(nullptr, GetSelf(), key, language, text);
    });
}

Result<void> AssetDescriptionImpl::StoreMetaString(const InternedId& key, const String& value, LanguageRef language) const {
    return CatchOutOfMemory([&]() -> Result<void> {
        const AssetDescription self = GetSelf();
        const AssetType type = FindAssetType(_type);
        TRY(type ? type->StoreMetaString(self, key, value, language) : MetaStrings::Store(nullptr, self, key, value, language));
        MetaStrings::NoteChange(self, language);
        return OK;
    });
}

Result<AssetDescription> AssetDescription::Create(const AssetRepositoryRef& repository, Parts parts) {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        return AssetDescription(StrongRef<AssetDescriptionInterface>(new AssetDescriptionImpl(repository, std::move(parts))));
    });
}

AssetVersionKey AssetDescription::GetVersionKey() const {
    const AssetDescriptionImpl* impl = AssetDescriptionImpl::Find(*this);
    return impl ? impl->GetVersionKey() : AssetVersionKey();
}

Bool AssetDescription::IsEqual(const AssetDescription& other) const {
    if (GetPointer() == other.GetPointer()) return true;
    if (!*this || !other) return false;
    const AssetDescriptionInterface& first = **this;
    const AssetDescriptionInterface& second = *other;
    return typeid(first) == typeid(second) && first.GetIdAndVersion() == second.GetIdAndVersion();
}

Result<void> AssetDescription::StoreMetaData(const InternedId& metaId, const Data& data, ASSET_METADATA_KIND kind) const {
    if (!*this) return NullptrError::Create("A metadata value was to be stored for no asset.");
    const AssetRepositoryRef repository = (*this)->GetRepository();
    if (!repository) return MakeRepositoryGoneError((*this)->GetIdAndVersion());
    return repository->StoreMetaData(*this, metaId, data, kind);
}

}  // namespace talvo
