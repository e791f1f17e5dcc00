// Assets as texts and colours: names of types, colour bars, tags, and what is missing.
#pragma once

#include "assets.h"
#include "kernel/base/hash_map.h"
#include "kernel/data/standard_types.h"
#include "node_library.h"

#include <string>
#include <unordered_map>

namespace talvo {

/// A text of the asset system itself in the current language, or those that it falls back to; an unknown key gives the key. A text may have "@" for
/// arguments. Threads: any.
String LoadGlobalString(std::string_view key);
/// All keys, sorted. @param language code such as "de"; texts of which are counted.
std::vector<std::string_view> GetGlobalStringKeys(const Id& language);

/// Names of assets that were looked up. Belongs to one thread.
using TypeNameCache = std::unordered_map<std::string, String>;

/// Name of a type, and what orders types among each other, such as "#$07".
std::tuple<String, String> GetAssetTypeName(const Id& id);
/// Name of an asset; of its type if it has none or isn't there. @param addParentCategories with those above it, the outermost first, "/" between.
/// @param cacheMap may be null. Errors: NullptrError for a null `repository`; those of the lookup.
Result<String> GetAssetTypeName(const AssetRepositoryRef& repository, const Id& assetType, const Id& assetId, const Id& versionId,
                                Bool addParentCategories, TypeNameCache* cacheMap);
/// The same.
Result<String> GetAssetTypeName(const AssetRepositoryRef& repository, const AssetType& assetType, const Id& assetId,
                                const Id& versionId, Bool addParentCategories, TypeNameCache* cacheMap);

/// The colour to show beside an asset, ready for the screen (sRGB, IEC 61966-2-1); nothing without one.
Result<Opt<Color>> GetAssetColorBar(const AssetDescription& asset, const AssetRepositoryRef& lookupRepository);

/// Tags that were expanded in one update, to be stored when its rows are delivered.
class TagRecords {
public:
    /// Takes one. Throws std::bad_alloc.
    void Add(const AssetDescription& asset, Data record) { _records.emplace_back(asset, std::move(record)); }
    /// Stores them; what can't be stored is logged and is expanded again next time.
    void Store();

private:
    std::vector<std::pair<AssetDescription, Data>> _records;
};
/// The tags of an asset: groups with ";" between of words with "," between; a word with "$%$" in front is shown to people.
/// @param filterCache takes what was expanded; null: that is stored at once. Errors: those of reading metadata and of the node library.
Result<String> GetTagStrings(const AssetDescription& asset, const NodeSystemClassRef& nodeSystemClass, TagRecords* filterCache);

/// Whether something that the asset needs, directly or not, is not there. @param checked what was met. Errors: those of the lookups.
Result<Bool> HasMissingDependencies(const AssetRepositoryRef& lookupRepository, const AssetDescription& asset,
                                    CheckedAssets& checked);
/// The renderer's plug-in, whose id belongs to the host. Empty: no asset needs a renderer of its own. Threads: before any browser is made.
void SetRendererPluginId(const Id& id);
Id GetRendererPluginId();
/// Whether the asset needs the renderer's plug-in. False for null.
Result<Bool> HasQuenliteDependencies(const AssetDescription& ad);

}  // namespace talvo
