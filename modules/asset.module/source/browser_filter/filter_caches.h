// What the assets of one update share while they are filtered: names and categories are looked up once.
#pragma once

#include "asset_presentation.h"

namespace talvo {

/// Belongs to one update.
class FilterCaches {
public:
    /// Name of a keyword; empty for one that isn't there or has none. Errors: those of the lookup.
    Result<const String&> GetKeywordName(const AssetRepositoryRef& repository, const Id& keyword);
    /// The category that a category stands in; the null id at the end of the chain. Errors: those of the lookup.
    Result<const Id&> GetParentCategory(const AssetRepositoryRef& repository, const Id& category);

    TypeNameCache typeNames;
    TagRecords tags;

private:
    HashMap<Id, String> _keywordNames;
    HashMap<Id, Id> _parents;
};

}  // namespace talvo
