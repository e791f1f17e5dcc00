// Keywords: assets that name a tag. Other assets carry the ids of theirs, in one list that came with the asset and one of the user's.
#pragma once

#include "assets.h"

namespace talvo {

/// Assets of this type have no content: the name is metadata.
inline constexpr LiteralId ASSETTYPE_KEYWORD{"net.talvo.assettype.keyword"};
/// The keyword that marks favourites.
inline constexpr LiteralId KEYWORD_FAVOURITE{"net.talvo.keyword.favourite"};
/// The setting that holds the default asset of each subtype: a dictionary of IdAndVersion by subtype.
inline constexpr LiteralId SETTING_DEFAULTASSETS{"net.talvo.appsettings.assets.defaults"};

/// A keyword as an asset object.
/// Threads: the static operations may come from any thread. Changes of the keywords of one asset and of the defaults run one after the other in this
/// process; one that an observer makes from inside of such a change waits for nobody.
class KeywordAssetInterface : public AssetInterface {
public:
    /// A new object, without metadata.
    static Result<StrongRef<KeywordAssetInterface>> Create();
    /// Puts a keyword on `target`. @param userScope into the user's list. @param updateUsageRepository where the use of the keyword is counted; null:
    /// nowhere. A count that can't be written is logged.
    /// @return false if either list has it already. Errors: NullptrError for a null `target`; those of reading and storing.
    static Result<Bool> AddKeyword(const AssetDescription& target, const Id& keywordId, Bool userScope,
                                   const AssetRepositoryRef& updateUsageRepository);
    /// Takes a keyword off one of the lists. @return false if it wasn't there. Errors: as AddKeyword.
    static Result<Bool> RemoveKeyword(const AssetDescription& target, const Id& keywordId, Bool userScope);
    /// The metadata id of the list that has it, the user's first; the null id if neither has.
    static Result<Id> HasKeyword(const AssetDescription& target, const Id& keywordId);
    /// Whether it has the keyword of favourites; false if that can't be read.
    static Bool IsFavouriteAsset(const AssetDescription& ad);
    /// First: a default is possible for this asset; second: this asset is it.
    /// Errors: IllegalArgumentError for null and for what is no preset; those of reading the settings.
    static Result<std::tuple<Bool, Bool>> GetDefaultAssetState(const AssetDescription& ad);
    /// The default asset of a subtype; null if there is none.
    static Result<AssetDescription> GetDefaultAsset(const Id& type, const AssetRepositoryRef& lookupRepository);
    /// Makes `ad` the default of its subtype, or drops the default. Errors: as GetDefaultAssetState; IllegalArgumentError without a subtype.
    static Result<void> SetDefaultAsset(const AssetDescription& ad, Bool on);
};
using KeywordAsset = StrongRef<KeywordAssetInterface>;

/// Counts a use of an asset in its metadata, in the user's own values. Errors: those of reading and storing.
Result<void> CountAssetUsage(const AssetDescription& asset);

}  // namespace talvo
