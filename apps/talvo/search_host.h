// A host of a browser for the command line: it sets what to look for, and takes the rows.
#pragma once

#include "apps/talvo/options.h"
#include "asset_browser.h"

#include <functional>
#include <string>
#include <vector>

namespace talvo {

/// What a search looks for.
struct SearchRequest {
    ASSET_BROWSE_MODE mode = ASSET_BROWSE_MODE::ASSET_LIST;
    String text, master, group, sort;
    Bool isLocal = false;
    std::vector<std::string> smart;    ///< ids of smart searches, keywords and categories
    std::vector<std::string> parents;  ///< ids of categories
    HashSet<Id> types;
    HashSet<Id> withoutDatabases;
    UniversalDateTime now;  ///< empty: the clock
    Int limit = 0;          ///< 0: all
};

/// A row as the browser delivers it.
struct SearchRow {
    Int depth = 0;
    Id group;  ///< its own, if it is one; else that it lies in
    const BuildEntryRecord& record;
};

namespace SearchHost {

/// One repository that looks into all of these. Errors: those of opening.
Result<AssetRepositoryRef> OpenAll(const std::vector<std::string>& paths, const CommonOptions& options);
/// Runs one search to its end and calls `take` for each row, in order. @param what is looked for must be of `repository`.
/// Errors: UnresolvedError for an id that names nothing; what went wrong with the search; `take`'s.
Result<void> Run(const AssetRepositoryRef& repository, const SearchRequest& request,
                 const std::function<Result<void>(const SearchRow& row)>& take);
/// "category" stands for "groupby:category", and likewise for sorting.
String MakeOptionText(const Opt<std::string>& word, const char* option);
/// Ids separated by commas. Errors: IllegalArgumentError.
Result<HashSet<Id>> ReadIds(const Opt<std::string>& list);

}  // namespace SearchHost

}  // namespace talvo
