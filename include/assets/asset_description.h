// Light handle of one stored version.
#pragma once

#include "assets/asset_identity.h"
#include "assets/asset_metadata.h"
#include "kernel/io/url.h"
#include "kernel/text/language.h"

namespace talvo {

class Asset;

/// Identity, metadata and place of one version. It holds its repository weakly and outlives it.
/// Threads: any. `GetUrl` may run a lookup; a lookup never waits for a description's url.
class AssetDescriptionInterface : public AssetBaseInterface {
public:
    /// Where the content lies, found through the repository at first need.
    /// Errors: NullptrError if the repository has gone before the url was known; those of the lookup.
    virtual Result<const Url&> GetUrl() const = 0;
    /// The loaded object. Both answers are cached apart. @param updateLinks follow links to their present targets.
    /// Errors: IllegalStateError for a deleted version, an unknown type, no content, a version that isn't for this application.
    virtual Result<Asset> Load(Bool updateLinks) const = 0;
    /// Metadata of this version; never null.
    virtual const AssetMetaData& GetMetaData() const = 0;
    /// True for a deletion marker.
    virtual Bool IsDeleted() const = 0;
    /// Text for people in a language (null: the current one) or the languages it falls back to, else `fallback`; the name falls back to the id.
    virtual Result<String> GetMetaString(const InternedId& key, LanguageRef language, const String& fallback) const = 0;
    /// Sets a text of `language`; a regional language whose base has none yet fills the base first.
    virtual Result<void> StoreMetaString(const InternedId& key, const String& value, LanguageRef language) const = 0;
};

/// Reference to a description. Two are equal (`IsEqual`) if they have one identity, whatever their repositories.
class AssetDescription : public StrongRef<AssetDescriptionInterface> {
public:
    using StrongRef::StrongRef;
    AssetDescription() = default;
    AssetDescription(StrongRef<AssetDescriptionInterface> ref) : StrongRef(std::move(ref)) {}

    /// What a backend knows of a version.
    struct Parts {
        Id type;
        IdAndVersion identity;
        AssetVersionKey key;
        AssetMetaData metaData;  ///< null: the empty one
        Bool deleted = false;
        Url url;  ///< empty: found at need
    };
    /// A description of a version in `repository`.
    static Result<AssetDescription> Create(const AssetRepositoryRef& repository, Parts parts);

    /// The order key; all zero for a null reference.
    AssetVersionKey GetVersionKey() const;
    /// Equality of identity.
    Bool IsEqual(const AssetDescription& other) const;
    /// Hands over to the repository's StoreMetaData. Errors: NullptrError if it has gone.
    Result<void> StoreMetaData(const InternedId& metaId, const Data& data, ASSET_METADATA_KIND kind) const;
};

}  // namespace talvo
