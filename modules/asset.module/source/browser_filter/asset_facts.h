// What lists ask of each asset, as a table knows it beforehand: read once, used by rules, conditions and rows.
#pragma once

#include "assets.h"

namespace talvo {

/// Values of one asset. Refers to the table, which must outlive it.
struct AssetFacts {
    String name;                  ///< in the current language
    std::string_view secondName;  ///< in the language that it falls back to, if that is another one
    std::string_view tags;
    std::string_view sort;
    const Id& subtype;
    const Id& category;
    Block<const Id> keywords;     ///< those that came with the asset first, then those of the user, each once
    std::size_t ownKeywords = 0;  ///< how many of them came with the asset
    Bool isFavourite = false;
    Bool isHidden = false;
    Bool needsRenderer = false;
    UInt32 rank = 0;  ///< of the name in lower case among all, from 1 on
};

}  // namespace talvo
