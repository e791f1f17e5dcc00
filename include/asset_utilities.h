// What callers all over need: the first metadata of a new asset, version texts, icons, the origin of a link, and the query of a url.
#pragma once

#include "assets.h"
#include "kernel/data/data_dictionary.h"

namespace talvo {

/// Keys of the dictionary `net.talvo.asset.creationproperties`.
namespace CREATIONPROPERTIES {

inline constexpr LiteralId TV3VERSION{"net.talvo.asset.creationproperties.base.tv3version"};    ///< Int64
inline constexpr LiteralId TV3BUILDID{"net.talvo.asset.creationproperties.base.tv3buildid"};    ///< String
inline constexpr LiteralId RELEASETYPE{"net.talvo.asset.creationproperties.base.releasetype"};  ///< Int64

}  // namespace CREATIONPROPERTIES

/// What a new asset is called and where it stands.
struct AssetNameProperties {
    String userAssetName;  ///< as the user or a file gave it, possibly with a sort prefix ("#$12Wood")
    String assetVersion;   ///< version tag, may be empty
    Id assetCategory;
};

/// The application that made an asset.
struct AssetCreationProperties {
    Int64 tv3Version = 0;
    Int64 releaseType = 0;
    String tv3BuildId;
};

namespace AssetUtilities {

/// The version text that follows: "1.9" gives "2.0", "v9" gives "v10", "" gives "1.0", a text without digits itself.
Result<String> IncreaseAssetVersion(const String& currentVersion);
/// Stores name, sort key, category and version tag. Errors: NullptrError for a null `asset`; those of the stores, which ends it there.
Result<void> AssetSetMetaData(const AssetDescription& asset, const String& userAssetName, const String& assetVersion,
                              const Id& assetCategory);
/// The same.
Result<void> AssetSetMetaData(const AssetDescription& asset, const AssetNameProperties& properties);
/// Url of the icon to show: the asset's preview, else the icon of its type; empty for a type that isn't known.
Result<Url> GetAssetIcon(const AssetDescription& asset);
/// An enumeration with one entry a version, "latest" first; a version in two repositories is one entry that names both, and of two versions
/// with one text the second one's ends in " #2".
Result<DataType> GetEnumTypeForVersions(const AssetRepositoryRef& repo, const Id& type, const Id& assetId);
/// Stores what is known of the application that made the asset, over a value that is read-only to others.
Result<void> AssetSetCreationData(const AssetDescription& asset, Int64 tv3Version, const String& tv3BuildId, Int64 releaseType);
/// The same.
Result<void> AssetSetCreationData(const AssetDescription& asset, const AssetCreationProperties& properties);
/// The same with the running application.
Result<void> AssetSetCreationData(const AssetDescription& asset);
/// Where a link to `nodeAsset` came from: its name, repository and version tag, under what `link` itself knows.
/// @param lang null: the current language. A null `nodeAsset` gives nothing.
Result<DataDictionary> GetMergedAssetOriginData(const AssetDescription& nodeAsset, const AssetLink& link, LanguageRef lang);
/// Whether the text holds "&" or "=".
Bool HasUrlQueryCharacters(const String& query);
/// The text with these two masked as "%26" and "%3d".
Result<String> ReplaceUrlQueryCharacters(const String& query);
/// Appends `variableName=variableValue`, behind "&" where `query` isn't empty; an empty value appends nothing.
/// Errors: IllegalArgumentError for a name with "&" or "=".
Result<void> AppendUrlQueryVariable(String& query, const String& variableName, const String& variableValue);

}  // namespace AssetUtilities

}  // namespace talvo
