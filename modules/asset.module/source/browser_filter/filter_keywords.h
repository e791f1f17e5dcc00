// The keywords of the filter language: what stands in front of a colon, and how the values behind it are read.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"

#include <span>
#include <string>

namespace talvo {

/// How an alternative is read.
enum class VALUE_FORM { TEXT, TYPE_ID, BOOL, NUMBER, FLOAT, LENGTH, DATE, COUNT_OR_TEXT, ORDERED_TEXT };

struct FilterKeyword {
    std::string_view word;
    LiteralId key;
    VALUE_FORM form;
};

/// Ids of keys that have no metadata of their name.
namespace FILTERKEY {

inline constexpr LiteralId UNDEFINED{"undefined"};
inline constexpr LiteralId ASSETID{"assetid"};
inline constexpr LiteralId DEPENDENCYCOUNT{"dependencycount"};
inline constexpr LiteralId CATEGORYID{"categoryid"};
inline constexpr LiteralId KEYWORDID{"keywordid"};
inline constexpr LiteralId KEYWORDCOUNT{"keywordcount"};
inline constexpr LiteralId LASTUSEDATE{"lastusedate"};
inline constexpr LiteralId USECOUNT{"usecount"};
inline constexpr LiteralId DATABASE{"database"};
inline constexpr LiteralId DATABASETYPE{"databasetype"};
inline constexpr LiteralId SIZE{"size"};
inline constexpr LiteralId INSTALLED{"installed"};
inline constexpr LiteralId DOWNLOADING{"downloading"};
inline constexpr LiteralId PROTECTED{"protected"};
inline constexpr LiteralId FAVORITE{"favorite"};
inline constexpr LiteralId VERSIONCOUNT{"versioncount"};
inline constexpr LiteralId SCOPE{"scope"};

}  // namespace FILTERKEY

/// All of them.
std::span<const FilterKeyword> GetFilterKeywords();
/// @param upperWord without the colon. @return null for an unknown one.
const FilterKeyword* FindFilterKeyword(std::string_view upperWord);
/// The first keyword of a key, or null.
const FilterKeyword* FindKeywordOfKey(const Id& key);
/// The keyword or option (without its colon) that somebody who wrote `upperWord` may have meant, or nothing.
Opt<std::string> SuggestFilterKeyword(std::string_view upperWord);

}  // namespace talvo
