// From an accepted asset to its row in an asset list.
#pragma once

#include "asset_browser/listing_request.h"
#include "asset_browser/relevance.h"
#include "asset_browser/row_groups.h"
#include "browser_filter/asset_facts.h"

namespace talvo {

/// Name and sort prefix of an asset as `net.talvo.asset.sort` and its name give them: what orders rows of a tree. Errors: those of reading metadata.
Result<String> MakeSortText(const AssetDescription& asset, const String& name);

/// Threads: as a plain value, of one update.
class RowBuilder {
public:
    RowBuilder(const ListingRequest& request, ListingTexts& texts, BaseArray<String> searchStrings);

    /// @param facts what is known of the asset; null: it is read. Errors: those of reading metadata.
    Result<void> Add(const AssetDescription& asset, String matchText, const AssetFacts* facts);
    /// The groups with their rows, nothing sorted yet.
    std::vector<BrowserRow> TakeGroups() { return _groups.TakeGroups(); }

private:
    Result<void> FillCommand(BrowserRow& row, const String& typeName) const;
    Result<void> SetOrder(BrowserRow& row, const GroupSource& source, const AssetFacts* facts) const;

    const ListingRequest& _request;
    ListingTexts& _texts;
    const Relevance _relevance;
    RowGroups _groups;
};

/// How the rows of groups are sorted.
RowConfig MakeRowConfig(const FilterOptions& options);

}  // namespace talvo
