// The groups of an asset list: which group a row belongs to, what it is called, and where it stands among the others.
#pragma once

#include "asset_browser/browser_row.h"
#include "asset_browser/listing_texts.h"

#include <unordered_map>

namespace talvo {

/// What a date or a count of uses puts an asset under.
struct Bucket {
    Int64 key = 0;
    String text;

    static constexpr Int64 NO_DATE = INT64_MAX;
    static constexpr Int64 NEVER_USED = INT64_MIN;
};

/// The bucket of a calendar day. @param today the other one; both as days since 1970-01-01.
Bucket GetDayBucket(Int64 day, Int64 today);
/// The bucket of how often an asset was used.
Bucket GetUseCountBucket(Int64 count);

/// What of an asset its group depends on. Refers to what its maker has.
struct GroupSource {
    const AssetDescription& asset;
    const Id& type;
    const Id& subtype;
    const Id& category;
    const String& typeName;
};

/// The groups of one update.
/// Threads: as a plain value.
class RowGroups {
public:
    RowGroups(ASSET_GROUP_BY groupBy, const RowConfig& config, ListingTexts& texts)
        : _groupBy(groupBy), _config(config), _texts(texts) {}

    /// A group as one of its rows tells it.
    struct Place {
        std::string key;
        String name;
        SortValue sortValue;
    };
    /// The group of a row, whose sort value is set to what counts inside of the group. Errors: those of reading metadata.
    Result<Place> FindPlace(BrowserRow& row, const GroupSource& source);
    /// Puts a row into its group, which is made by its first row.
    Result<void> Add(BrowserRow row, const Place& place);
    /// The groups, in the order of their first rows.
    std::vector<BrowserRow> TakeGroups() { return std::move(_groups); }

private:
    Result<Place> FindCategory(BrowserRow& row, const GroupSource& source);
    Place FindType(BrowserRow& row, const GroupSource& source) const;
    Result<Place> FindDatabase(BrowserRow& row, const GroupSource& source);

    const ASSET_GROUP_BY _groupBy;
    const RowConfig _config;
    ListingTexts& _texts;
    std::vector<BrowserRow> _groups;
    std::unordered_map<std::string, std::size_t> _numbers;
};

/// Whether an asset is what "relevant" means just now.
Bool IsRelevantItem(ASSET_RELEVANT_ITEMS relevantItems, const Id& type, const Id& subtype);

}  // namespace talvo
