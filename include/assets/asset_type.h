// What an asset of a kind is: how it is loaded, stored and copied, and what metadata it can compute.
#pragma once

#include "assets/asset.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/description/description.h"
#include "kernel/io/streams.h"
#include "kernel/thread/registry.h"

#include <tuple>

namespace talvo {

/// Metadata that arises from storing.
using AssetStoreMetaData = HashMap<InternedId, Data>;
/// Wraps the stream that a type writes to, so that what is written is hashed. The digest is set when the stream is closed.
using AssetHashStream = Delegate<Result<OutputStreamRef>(OutputStreamRef target, std::string& digest)>;

/// Behaviour of one kind of asset, one object in the registry `net.talvo.registry.assettypes`.
/// Threads: immutable, shared by all threads.
class AssetTypeInterface : public ObjectInterface {
public:
    /// The type id.
    virtual const Id& GetId() const = 0;
    /// Id of the reference type of its assets.
    virtual const Id& GetAssetDataType() const = 0;
    /// Suffix of the content file, without the dot. Errors: IllegalArgumentError for an asset of another class.
    virtual Result<String> GetUrlSuffix(const Asset& asset) const = 0;
    /// Icon for an asset that has no preview.
    virtual Result<Url> GetDefaultIcon(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                       const AssetMetaData& meta) const = 0;
    /// The loaded object of the content at `url`.
    virtual Result<Asset> Load(const AssetRepositoryRef& repo, const AssetDescription& assetDescription, const Url& url,
                               Bool updateLinks) const = 0;
    /// Writes the content to `url` (an empty url: hashes only) through `hashStream`, whose digest goes to `digest`.
    /// @return metadata that arose.
    virtual Result<AssetStoreMetaData> Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                             std::string& digest) const = 0;
    /// Copies stored content, enciphering it where the kind does.
    virtual Result<void> CopyWithEncryption(const AssetDescription& source, const Url& from, const Url& to) const = 0;
    /// The description of a category that the asset holds. @param mode 0: with what it includes; 1: its own entries only.
    virtual Result<DataDescriptionDefinition> LoadDescriptionDefinition(const AssetDescription& asset, Int32 mode,
                                                                        const Id& category, LanguageRef language) const = 0;
    /// Stores such a description. @return the description of the version that holds it now.
    virtual Result<AssetDescription> StoreDescriptionDefinition(const AssetDescription& asset, const Id& category,
                                                                LanguageRef language,
                                                                const DataDescriptionDefinition& overwrittenDescription,
                                                                const AssetRepositoryRef& storeRepository) const = 0;
    /// Id of an asset in another repository.
    virtual Result<Id> GetRepositoryId(const Id& id, Int32 fromTo) const = 0;
    /// Text of an asset for people.
    virtual Result<String> GetMetaString(const AssetDescription& asset, const InternedId& key, LanguageRef language,
                                         const String& fallback) const = 0;
    /// Sets a text of an asset.
    virtual Result<void> StoreMetaString(const AssetDescription& asset, const InternedId& key, const String& value,
                                         LanguageRef language) const = 0;
    /// A value that isn't stored: empty if the type knows none. The flag says not to keep it.
    virtual Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                           const AssetMetaData& meta, const InternedId& metaId) const = 0;
    /// A property of the type. Errors: IllegalArgumentError for an unknown one.
    virtual Result<Data> GetProperty(const Id& key) const = 0;
};

/// Reference to a type.
class AssetType : public StrongRef<AssetTypeInterface> {
public:
    using StrongRef::StrongRef;
    AssetType() = default;
    AssetType(StrongRef<AssetTypeInterface> ref) : StrongRef(std::move(ref)) {}
};

/// Property of a type, Bool: its assets keep versions.
inline constexpr LiteralId ASSETTYPE_SUPPORT_VERSIONS{"net.talvo.assettypeproperties.support.versions"};
/// Files and directories.
inline constexpr LiteralId ASSETTYPE_FILE{"net.talvo.assettype.file"};
inline constexpr LiteralId NODE_CATEGORY_UNCATEGORIZED{"net.talvo.assetcategory.uncategorized"};
inline constexpr LiteralId CATEGORY_BASE{"net.talvo.category.base"};

/// The default of every operation but GetId, GetAssetDataType, Load and Store. Kinds derive from it.
class AssetTypeBase : public AssetTypeInterface {
public:
    Result<String> GetUrlSuffix(const Asset& asset) const override;
    Result<Url> GetDefaultIcon(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                               const AssetMetaData& meta) const override;
    Result<void> CopyWithEncryption(const AssetDescription& source, const Url& from, const Url& to) const override;
    Result<DataDescriptionDefinition> LoadDescriptionDefinition(const AssetDescription& asset, Int32 mode, const Id& category,
                                                                LanguageRef language) const override;
    Result<AssetDescription> StoreDescriptionDefinition(const AssetDescription& asset, const Id& category, LanguageRef language,
                                                        const DataDescriptionDefinition& overwrittenDescription,
                                                        const AssetRepositoryRef& storeRepository) const override;
    Result<Id> GetRepositoryId(const Id& id, Int32 fromTo) const override;
    Result<String> GetMetaString(const AssetDescription& asset, const InternedId& key, LanguageRef language,
                                 const String& fallback) const override;
    Result<void> StoreMetaString(const AssetDescription& asset, const InternedId& key, const String& value,
                                 LanguageRef language) const override;
    Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                   const AssetMetaData& meta, const InternedId& metaId) const override;
    Result<Data> GetProperty(const Id& key) const override;
};

/// The registry `net.talvo.registry.assettypes`; the types of the module are there from the start.
Registry<AssetType>& GetAssetTypes();
/// The registry `net.talvo.registry.assetrenamings`: delegates from an old asset id to the new one, or the null id. Asked in order of registration.
Registry<Delegate<Result<Id>(const Id&)>>& GetAssetRenamings();
/// The registered type of this id, or null.
AssetType FindAssetType(const Id& typeId);

/// Copies or hashes a file or a directory as payload.
/// @param target where to; empty: hash only. @param hashStream null: copy only. @param digest set to the 32 bytes of the hash.
/// The hash of a directory is that of its listing: for each entry, sorted by its name in lower case, 64 hexadecimal digits of the entry's
/// own hash, two blanks, the lower-case name, LF. Links, fifos, sockets and devices are passed over with a warning.
/// Errors: IoError of the file that can't be read or written.
Result<void> StoreTree(const Url& source, const Url& target, const AssetHashStream& hashStream, std::string& digest);

}  // namespace talvo
