// The description class of the module, with what the repository engine may do to it beyond the public interface.
#pragma once

#include "assets/asset.h"
#include "kernel/thread/locks.h"

#include <atomic>

namespace talvo {

/// Description of one stored version.
///
/// Threads:    any. A thread that needs the url while another one looks it up sleeps until it is there; a lookup never waits for a url.
/// Lock order: the two locks of loaded assets are leaves; types, assets and repositories are called outside of them.
/// Ownership:  holds what was loaded strongly and the repository weakly. Most versions are never loaded, so the caches are made at first need.
class AssetDescriptionImpl final : public AssetDescriptionInterface {
public:
    AssetDescriptionImpl(const AssetRepositoryRef& repository, AssetDescription::Parts parts);
    ~AssetDescriptionImpl() override;

    /// The object behind a description that this module made.
    static const AssetDescriptionImpl& Of(const AssetDescription& description);
    /// Null for null and for an object of another class.
    static const AssetDescriptionImpl* Find(const AssetDescription& description);

    const Id& GetTypeId() const override { return _type; }
    const IdAndVersion& GetIdAndVersion() const override { return _identity; }
    const Id& GetRepositoryId() const override { return _repositoryId; }
    AssetRepositoryRef GetRepository() const override { return _repository.Promote(); }
    Result<const Url&> GetUrl() const override;
    Result<Asset> Load(Bool updateLinks) const override;
    const AssetMetaData& GetMetaData() const override { return _metaData; }
    Bool IsDeleted() const override { return _deleted; }
    Result<String> GetMetaString(const InternedId& key, LanguageRef language, const String& fallback) const override;
    Result<void> StoreMetaString(const InternedId& key, const String& value, LanguageRef language) const override;

    const AssetVersionKey& GetVersionKey() const { return _key; }
    /// The backend's data of the version. Set once by the engine, before anybody else has the description.
    const Data& GetVersionData() const { return _vdata; }
    void SetVersionData(const Data& vdata) const { _vdata = vdata; }
    /// The url if it is known by now or the backend tells it, else the empty one; waits for nothing.
    Result<Url> GetStoredUrl(const AssetRepositoryRef& repository) const;
    /// How often the loaded form was updated in memory; 0 if nothing was loaded with links.
    Int GetLoadedUpdate() const;

    /// Both ways of loading give `asset` from now on: what was stored just now needs no load.
    void PresetLoaded(const Asset& asset) const;
    /// Puts what `make` gives in the place of the form loaded with links. `make` gets the present one (null if there is none), runs outside of
    /// the lock, and runs again if another thread was faster.
    void ReplaceLoadedWithLinks(FunctionRef<Asset(const Asset& old)> make) const;

private:
    enum URL_STATE : UInt32 { UNKNOWN = 0, BEING_FOUND = 1, KNOWN = 2 };
    struct LoadCaches {
        Guarded<Asset, ARWLock> plain;
        Guarded<Asset, ARWLock> withLinks;
    };
    using LoadSlot = Guarded<Asset, ARWLock>;
    struct Loaded {
        Asset asset;
        IdAndVersion identity;
        Url url;
    };

    AssetDescription GetSelf() const;
    Result<Url> FindUrl() const;
    LoadSlot& GetSlot(Bool updateLinks) const;
    Result<Asset> LoadIntoSlot(LoadSlot& slot, Bool updateLinks) const;
    Result<Loaded> LoadOwn(const AssetRepositoryRef& repository, Bool updateLinks) const;
    Result<Loaded> LoadNewest(const AssetRepositoryRef& repository, Bool updateLinks) const;

    const IdAndVersion _identity;
    const Id _type;
    const AssetVersionKey _key;
    const AssetMetaData _metaData;
    const Id _repositoryId;
    const WeakRef<AssetRepositoryInterface> _repository;
    mutable std::atomic<UInt32> _urlState;
    const Bool _deleted;
    mutable Data _vdata;
    mutable Url _url;  // written by the thread that moved _urlState to BEING_FOUND, constant once it is KNOWN
    mutable std::atomic<LoadCaches*> _caches{nullptr};
};

}  // namespace talvo
