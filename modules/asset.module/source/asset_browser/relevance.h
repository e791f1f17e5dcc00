// The keys by which rows are ordered under relevance: what the user looked for, and what fits the place the view stands in.
#pragma once

#include "asset_browser/browser_row.h"
#include "asset_browser/browser_settings.h"

namespace talvo {

/// Where the search texts were found in a name.
struct NameMatch {
    static constexpr Int64 NOWHERE = INT64_MAX;
    Bool found = false;
    Int64 position = NOWHERE;  ///< the smaller the better
};

/// @param searchStrings the values of all conditions. @param upperFilterText what the user typed, in upper case with single blanks.
NameMatch FindInName(const String& name, Block<const String> searchStrings, const String& upperFilterText);

/// Makes the keys of the rows of one update.
/// Threads: as a plain value; calls the host's delegates.
class Relevance {
public:
    struct Source {
        AssetDescription asset;
        Id type;
        Id subtype;
        Bool needsRenderer = false;
        Bool isFavourite = false;
    };
    Relevance(const BrowserSettings& settings, ASSET_CONTEXT context, BaseArray<String> searchStrings);

    /// Errors: those of reading metadata, and of the delegates.
    Result<RelevanceKeys> MakeKeys(const String& name, const Source& source) const;

private:
    Result<Int64> GetRank(const Source& source) const;
    Result<Int64> GetCommandRank(const Source& source) const;
    Result<Int64> GetDefaultsRank(const Source& source) const;

    const ASSET_CONTEXT _context;
    const BaseArray<String> _searchStrings;
    const String _upperFilterText;
    const CommandRestrictionDelegate _commandRestriction;
    const DefaultPresetPluginTypeDelegate _defaultPresetPluginType;
    const Int32 _activeManager;
};

}  // namespace talvo
