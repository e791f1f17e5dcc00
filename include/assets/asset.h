// The loaded form of one version, and the static entry points of the asset system.
#pragma once

#include "assets/asset_description.h"
#include "assets/asset_link.h"
#include "kernel/base/delegate.h"
#include "kernel/base/hash_map.h"

#include <functional>

namespace talvo {

class AssetType;
class UpdatableAssetRepositoryInterface;
using UpdatableAssetRepositoryRef = StrongRef<UpdatableAssetRepositoryInterface>;

/// How a version fits this application's version.
struct AssetVersionValidity {
    /// Which limit is not kept.
    enum class STATE : Int32 { VALID = 0, NEEDS_LATER = 1, NEEDS_EARLIER = 2 };
    STATE state = STATE::VALID;
    Float64 minVersion = 0;  ///< 0 if valid, as the next two
    Float64 maxVersion = 0;
    Float64 applicationVersion = 0;
};

/// Takes a reference and the newer asset that it is to take.
using AssetUpdateReceiver = FunctionRef<Result<Bool>(const AssetReference& reference, const AssetBase& updated)>;

/// What `ResolveAssetsWithMissingAssets` has met already.
using CheckedAssets = HashSet<IdAndVersion>;

/// A loaded asset. Threads: it belongs to whoever loaded it; a cached one is shared read-only.
class AssetInterface : public AssetBaseWithUpdateInterface {
public:
    /// Sets identity, update counter, repository (held weakly) and, where a kind keeps one, the place of its content.
    virtual void SetId(const IdAndVersion& identity, Int update, const AssetRepositoryRef& repository, const Url& url) = 0;
    /// The type of the asset; never null for a registered class.
    virtual AssetType GetType() const = 0;
    /// The description in its repository; null without a repository. Errors: IllegalArgumentError if the version isn't known there.
    virtual Result<AssetDescription> GetDescription() const = 0;
    /// Hands out the references inside this asset. @param onlyUpdatable those alone that can take a new target.
    virtual Result<Bool> GetReferencedAssets(Bool onlyUpdatable, Receiver<AssetReference> receiver) const = 0;
    /// For each reference that one of `updatedAssets` is an update of: both. Errors: IllegalArgumentError "Ambiguous update."
    virtual Result<Bool> GetPendingUpdates(Block<const AssetDescription> updatedAssets, AssetUpdateReceiver receiver) const = 0;
    /// Sets the metadata, held weakly.
    virtual void SetMetaData(const AssetMetaData& data) = 0;
    /// The metadata that was set, else that of the description.
    virtual Result<AssetMetaData> GetMetaData() const = 0;
    /// A copy whose identity may be changed without anyone else seeing it.
    virtual Result<Asset> Clone() const = 0;

    // The standard repositories; null before the module has made them.
    /// Built into the program.
    static const AssetRepositoryRef& GetBuiltinRepository();
    /// Shipped with the application.
    static const AssetRepositoryRef& GetApplicationRepository();
    /// The user's own; its bases reach all the others.
    static const AssetRepositoryRef& GetUserPrefsRepository();
    /// Puts a repository in the slot of the user preferences repository; hosts that need just one. Not while lookups run.
    static void SetUserPrefsRepository(const AssetRepositoryRef& repository);

    /// Opens the repository at `url`, or makes one of an existing directory if `writable`.
    /// @param rid its id, or empty: the one it has, or a fresh one. @param bases where lookups go on, in order.
    /// @param derivedInPrefs keep derived metadata in the generated files, not below the root.
    /// @param tempRepository it won't outlive the session.
    /// Errors: IllegalArgumentError if `url` is no directory or `repoType` is unknown; IllegalStateError if there is no identifier
    /// and it may not be written; IoError.
    static Result<UpdatableAssetRepositoryRef> CreateRepositoryFromUrl(const Id& rid, const Id& repoType,
                                                                       Block<const AssetRepositoryRef> bases, const Url& url,
                                                                       Bool writable, Bool derivedInPrefs, Bool tempRepository);
    /// A fresh id: `prefix`, "_" if it isn't empty, and a unique part.
    static Result<Id> MakeUuid(const char* prefix, Bool compact);
    /// The url with what it resolves to in `repository` attached, so that a later open needs no search. Other schemes than `asset` and `meta`
    /// come back as they are. Errors: IoError if it names nothing there; those of the lookup.
    static Result<Url> AddRepositoryScope(const Url& url, const AssetRepositoryRef& repository);
    /// Id of the metadata that holds the texts of one language.
    static Result<InternedId> GetLanguageMetaDataId(const Id& languageId);
    /// Tag and local time of the version, else its version id.
    static Result<String> GetVersionString(const AssetDescription& asset);
    /// The same for a loaded asset.
    static Result<String> GetVersionString(const Asset& asset);
    /// The version that `url` names in `repository`, or null: by id for the schemes `asset` and `meta`, else the asset whose content lies at `url`.
    /// Errors: NullptrError for a null `repository`; IllegalArgumentError for text that is no id; those of the lookup.
    static Result<AssetDescription> ResolveAsset(const Url& url, const AssetRepositoryRef& repository);
    /// The `asset` url of a version, with name, repository and version tag for people in its query; empty for a version without content.
    /// @param isLatest the url is to lead to the newest version whenever it is opened. Errors: NullptrError for null, or if the repository has gone.
    static Result<Url> GetAssetUrl(const AssetDescription& asset, Bool isLatest);
    /// Whether the version is for this application's version. True for null.
    static Result<Bool> IsAssetValid(const AssetDescription& asset);
    /// The same answer as IsAssetValid.
    static Result<Bool> IsAssetVisible(const AssetDescription& asset);
    /// The same with the reason.
    static Result<AssetVersionValidity> IsAssetVersionValid(const AssetDescription& asset);
    /// One step in the walk over dependencies: finds `idVersion`, or a version that may stand in for it.
    /// @param checked what was met; a second call for one identity calls nothing. Null delegates count as success.
    static Result<void> ResolveAssetsWithMissingAssets(
        const AssetRepositoryRef& searchRepository, const Id& typeId, const IdAndVersion& idVersion,
        UniversalDateTime assetCreationDate, CheckedAssets& checked,
        const Delegate<Result<void>(const AssetDescription& found, CheckedAssets& checked)>& callbackFound,
        const Delegate<Result<void>(Bool newerVersionRequired)>& callbackMissing);
};

/// Reference to a loaded asset.
class Asset : public StrongRef<AssetInterface> {
public:
    using StrongRef::StrongRef;
    Asset() = default;
    Asset(StrongRef<AssetInterface> ref) : StrongRef(std::move(ref)) {}

    /// Same class, identity and update counter.
    Bool IsEqual(const Asset& other) const;
};

/// An asset whose references can take new targets.
class UpdatableAssetInterface : public AssetInterface {
public:
    /// Gives each reference its newer target.
    virtual Result<void> Update(Block<const std::pair<AssetReference, AssetBase>> updates,
                                const AssetRepositoryRef& repository) = 0;
};
using UpdatableAsset = StrongRef<UpdatableAssetInterface>;

/// An asset that is a file or a directory.
class FileAssetInterface : public AssetInterface {
public:
    /// Where the content lies.
    virtual const Url& GetUrl() const = 0;
};

/// Reference to a file asset.
class FileAsset : public StrongRef<FileAssetInterface> {
public:
    using StrongRef::StrongRef;
    FileAsset() = default;
    FileAsset(StrongRef<FileAssetInterface> ref) : StrongRef(std::move(ref)) {}

    /// An asset of the file or directory at `url`, which is read when the asset is stored.
    static Result<FileAsset> Create(const Url& url);
};

/// Whether `updated` is a newer target for `reference`: its link follows updates, the asset is the same one, the version or update counter
/// is another, later one, and the referring asset's repository can be reached from the updated one's.
Result<Bool> IsUpdateOf(const AssetReference& reference, const AssetDescription& updated);

/// State that every loaded asset has; kinds derive from it with the interface that they offer.
/// Threads: not synchronised.
struct AssetObjectState {
    IdAndVersion identity;
    Int update = 0;
    Id repositoryId;
    WeakRef<AssetRepositoryInterface> repository;
    WeakRef<AssetMetaDataInterface> metaData;

    /// The default of `AssetInterface::GetDescription`.
    static Result<AssetDescription> GetDescription(const AssetInterface& asset);
    /// The default of `AssetInterface::GetMetaData`.
    Result<AssetMetaData> GetMetaData(const AssetInterface& asset) const;
    /// The default of `AssetInterface::GetPendingUpdates`.
    static Result<Bool> GetPendingUpdates(const AssetInterface& asset, Block<const AssetDescription> updatedAssets,
                                          AssetUpdateReceiver receiver);
    /// Sets all but the metadata.
    void SetId(const IdAndVersion& newIdentity, Int newUpdate, const AssetRepositoryRef& newRepository);
};

/// The default behaviour of an asset object. A kind derives from it, with `INTERFACE` the interface it offers, and adds `GetType` and `Clone`.
template <typename INTERFACE>
class AssetObject : public INTERFACE {
public:
    const Id& GetTypeId() const override { return _typeId; }
    const IdAndVersion& GetIdAndVersion() const override { return _state.identity; }
    const Id& GetRepositoryId() const override { return _state.repositoryId; }
    AssetRepositoryRef GetRepository() const override { return _state.repository.Promote(); }
    Int GetUpdate() const override { return _state.update; }
    void SetId(const IdAndVersion& identity, Int update, const AssetRepositoryRef& repository, const Url&) override {
        _state.SetId(identity, update, repository);
    }
    Result<AssetDescription> GetDescription() const override { return AssetObjectState::GetDescription(*this); }
    Result<Bool> GetReferencedAssets(Bool, Receiver<AssetReference>) const override { return true; }
    Result<Bool> GetPendingUpdates(Block<const AssetDescription> updatedAssets, AssetUpdateReceiver receiver) const override {
        return AssetObjectState::GetPendingUpdates(*this, updatedAssets, receiver);
    }
    void SetMetaData(const AssetMetaData& data) override { _state.metaData = data; }
    Result<AssetMetaData> GetMetaData() const override { return _state.GetMetaData(*this); }

protected:
    explicit AssetObject(Id typeId) : _typeId(std::move(typeId)) {}

    const Id _typeId;
    AssetObjectState _state;
};

}  // namespace talvo
