// Reference from one asset to another, with a policy of how it follows new versions.
#pragma once

#include "assets/asset_description.h"
#include "kernel/data/data_dictionary.h"

namespace talvo {

/// How a link follows new versions of its target.
enum class ASSET_UPDATE_POLICY : UInt32 { NEVER = 0, EXPLICIT = 1, IMPLICIT = 2 };

/// Keys of a link's origin data.
namespace ASSETLINK_ORIGIN {

inline constexpr LiteralId REPOID{"net.talvo.assetlink.origin.repoid"};
inline constexpr LiteralId REPONAME{"net.talvo.assetlink.origin.reponame"};
inline constexpr LiteralId NAME{"net.talvo.assetlink.origin.name"};
inline constexpr LiteralId VERSIONTAG{"net.talvo.assetlink.origin.versiontag"};

}  // namespace ASSETLINK_ORIGIN

/// Points by identity or by url, never both. Threads: as a plain object; share it read-only or copy it.
class AssetLinkInterface : public AssetIdentifierInterface {
public:
    /// The url that the link points by; empty for a link by identity.
    virtual const Url& GetUrl() const = 0;
    /// The target now: in the repository it came from if that can be reached from the user preferences repository, else in `context`.
    /// Nothing found is null. Errors: NullptrError if `context` is needed and null; those of the lookup.
    virtual Result<AssetDescription> Resolve(const AssetRepositoryRef& context) const = 0;
    /// The policy; EXPLICIT for a fresh link.
    virtual ASSET_UPDATE_POLICY GetUpdatePolicy() const = 0;
    /// Sets the policy.
    virtual void SetUpdatePolicy(ASSET_UPDATE_POLICY policy) = 0;
    /// Points by url: clears the identity, sets the policy to NEVER.
    virtual void SetUrl(const Url& url) = 0;
    /// Points by identity: clears the url, leaves the policy.
    virtual void SetIdAndVersion(const IdAndVersion& identity) = 0;
    /// Where the target was found when the link was made.
    virtual const DataDictionary& GetOriginData() const = 0;
    /// Replaces the origin data.
    virtual void SetOriginData(const DataDictionary& originData) = 0;

    /// How much of a link its text shows.
    enum class TEXT_LEVEL { SHORT, FULL };
    /// The short text of a link, or all of it.
    virtual String ToText(TEXT_LEVEL level) const = 0;
};

/// Reference to a link.
class AssetLink : public StrongRef<AssetLinkInterface> {
public:
    using StrongRef::StrongRef;
    AssetLink() = default;
    AssetLink(StrongRef<AssetLinkInterface> ref) : StrongRef(std::move(ref)) {}

    /// A link to `asset` with its identity and origin data. Errors: IllegalArgumentError for a null asset.
    static Result<AssetLink> Create(const Asset& asset, ASSET_UPDATE_POLICY policy);
    /// A link by identity.
    static Result<AssetLink> Create(const Id& type, const IdAndVersion& identity, ASSET_UPDATE_POLICY policy);
    /// A link by url; its policy is NEVER.
    static Result<AssetLink> Create(const Id& type, const Url& url);
    /// A copy that may be changed.
    Result<AssetLink> Clone() const;
    /// Equality of all members.
    Bool IsEqual(const AssetLink& other) const;
    /// Hash of all members.
    UInt GetHashCode() const;

    /// A link is a value: two of one content are one, also as values in tables.
    friend Bool operator==(const AssetLink& first, const AssetLink& second) { return first.IsEqual(second); }
    /// As GetHashCode.
    template <typename H>
    friend H AbslHashValue(H state, const AssetLink& link) {
        return H::combine(std::move(state), link.GetHashCode());
    }
};

/// One dependency of an asset, as metadata lists it.
struct AssetDependencyStruct {
    IdAndVersion assetIdAndVersion;
    Id assetTypeId;
    UniversalDateTime assetCreationDate;
    String originalName;
    ASSET_UPDATE_POLICY updatePolicy = ASSET_UPDATE_POLICY::EXPLICIT;
    Bool operator==(const AssetDependencyStruct&) const = default;
};

/// A policy is stored as its number.
template <>
struct DataTraits<ASSET_UPDATE_POLICY> {
    static constexpr LiteralId ID{"net.talvo.datatype.enum.asset_update_policy"};
    static Result<DocumentValue> ToDocument(const ASSET_UPDATE_POLICY& value);
    static Result<ASSET_UPDATE_POLICY> FromDocument(const DocumentValue& value);
};

/// A link can be stored as a value.
template <>
struct DataTraits<AssetLink> {
    static constexpr LiteralId ID{"net.talvo.class.assetlink"};
    static Result<DocumentValue> ToDocument(const AssetLink& value);
    static Result<AssetLink> FromDocument(const DocumentValue& value);
};

/// Dependencies are stored as a list.
template <>
struct DataTraits<AssetDependencyStruct> {
    static constexpr LiteralId ID{"net.talvo.datatype.asset.dependencystruct"};
    static Result<DocumentValue> ToDocument(const AssetDependencyStruct& value);
    static Result<AssetDependencyStruct> FromDocument(const DocumentValue& value);
};

}  // namespace talvo
