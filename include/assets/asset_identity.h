// How an asset is named: ids, versions, the order of versions, and the interfaces of everything that has an identity.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/base/id.h"
#include "kernel/base/object.h"
#include "kernel/base/result.h"
#include "kernel/text/string.h"

#include <compare>
#include <utility>

namespace talvo {

class AssetRepositoryInterface;
using AssetRepositoryRef = StrongRef<AssetRepositoryInterface>;
class AssetLinkInterface;

/// `first` the asset id, `second` the version id. A version id says nothing about order; AssetVersionKey does.
using IdAndVersion = std::pair<Id, Id>;

/// As a version id: the version that a lookup finds now. Newer than every stored version; never stored.
inline constexpr LiteralId g_newVersion{"*"};
/// The version id of a deletion marker; refused for a version with a payload.
inline constexpr LiteralId DELETED_VERSION{"deleted"};

/// `id/version`, how an identity reads in messages.
String ToIdentityText(const IdAndVersion& identity);

/// Order of the versions of one asset: by time, then origin, then counter, each unsigned. All zero: no key.
struct AssetVersionKey {
    UInt time = 0;     ///< `net.talvo.asset.timestamp` of the version, microseconds since 1970
    UInt counter = 0;  ///< 1 for the first version of the asset in its repository
    UInt origin = 0;   ///< masked word of the id of the repository that made the first version

    /// All zero: there is no key.
    Bool IsEmpty() const { return time == 0 && counter == 0 && origin == 0; }
    friend std::strong_ordering operator<=>(const AssetVersionKey& first, const AssetVersionKey& second) {
        if (const auto order = first.time <=> second.time; order != 0) return order;
        if (const auto order = first.origin <=> second.origin; order != 0) return order;
        return first.counter <=> second.counter;
    }
    friend Bool operator==(const AssetVersionKey&, const AssetVersionKey&) = default;
    /// The key of "*".
    static constexpr AssetVersionKey GetMax() { return {UInt(UniversalDateTime::GetMax().GetValue()), 0, 0}; }
};

/// One id that stands for a version in a repository: `asset[?=version][#=repository]`.
namespace AssetIdentityText {

/// Errors: IllegalArgumentError if the text gets too long for an id.
Result<Id> Write(const IdAndVersion& identity, const AssetRepositoryRef& repository);
/// Drops the repository's part; a text without "?=" has an empty version id. Errors: IllegalArgumentError, as Id::Create.
Result<IdAndVersion> Read(const Id& text);

}  // namespace AssetIdentityText

/// Something with a type and an identity.
class AssetIdentifierInterface : public ObjectInterface {
public:
    /// Type of the asset; the null id if unknown.
    virtual const Id& GetTypeId() const = 0;
    /// Asset id and version id.
    virtual const IdAndVersion& GetIdAndVersion() const = 0;
    /// How this reads in messages: "id/version".
    virtual String ToString() const { return ToIdentityText(GetIdAndVersion()); }
};
using AssetIdentifier = StrongRef<AssetIdentifierInterface>;

/// Something that lies in a repository.
class AssetBaseInterface : public AssetIdentifierInterface {
public:
    /// Id of the repository that stores it; stays known when the repository has gone.
    virtual const Id& GetRepositoryId() const = 0;
    /// The repository, or null when it has gone.
    virtual AssetRepositoryRef GetRepository() const = 0;
};
using AssetBase = StrongRef<AssetBaseInterface>;

/// Something that counts its updates in memory.
class AssetBaseWithUpdateInterface : public AssetBaseInterface {
public:
    /// 0 for a plain one; each update adds 1.
    virtual Int GetUpdate() const = 0;
};
using AssetBaseWithUpdate = StrongRef<AssetBaseWithUpdateInterface>;

/// A place inside an asset that refers to another one.
class AssetReferenceInterface : public AssetBaseWithUpdateInterface {
public:
    /// The link that made this reference, or null.
    virtual StrongRef<AssetLinkInterface> GetLink() const = 0;
    /// Where in the referring asset, for people.
    virtual String GetPath() const = 0;
};
using AssetReference = StrongRef<AssetReferenceInterface>;

}  // namespace talvo
