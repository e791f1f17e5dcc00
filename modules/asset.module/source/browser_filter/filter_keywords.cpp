#include "browser_filter/filter_keywords.h"

#include "assets.h"
#include "browser_filter/filter_options.h"

#include <algorithm>
#include <vector>

namespace talvo {

namespace {

using enum VALUE_FORM;

constexpr FilterKeyword KEYWORDS[] = {
    {"TYPE", ASSETMETADATA::SUBTYPE, TYPE_ID},
    {"NAME", OBJECT_BASE_NAME, TEXT},
    {"ANNOTATIONS", "net.talvo.object.base.annotations"_id, TEXT},
    {"ASSETID", FILTERKEY::ASSETID, TEXT},
    {"DEPENDENCY", ASSETMETADATA::DEPENDENCIES, COUNT_OR_TEXT},
    {"DEPENDENCYCOUNT", FILTERKEY::DEPENDENCYCOUNT, NUMBER},
    {"CATEGORYID", FILTERKEY::CATEGORYID, TEXT},
    {"KEYWORD", ASSETMETADATA::KEYWORDS, COUNT_OR_TEXT},
    {"KEYWORDID", FILTERKEY::KEYWORDID, COUNT_OR_TEXT},
    {"KEYWORDCOUNT", FILTERKEY::KEYWORDCOUNT, NUMBER},
    {"LASTUSEDATE", FILTERKEY::LASTUSEDATE, DATE},
    {"USECOUNT", FILTERKEY::USECOUNT, NUMBER},
    {"DATABASE", FILTERKEY::DATABASE, TEXT},
    {"DATABASETYPE", FILTERKEY::DATABASETYPE, TEXT},
    {"SIZE", FILTERKEY::SIZE, NUMBER},
    {"INSTALLED", FILTERKEY::INSTALLED, BOOL},
    {"DOWNLOADING", FILTERKEY::DOWNLOADING, BOOL},
    {"PROTECTED", FILTERKEY::PROTECTED, BOOL},
    {"FAVORITE", FILTERKEY::FAVORITE, BOOL},
    {"FAVOURITE", FILTERKEY::FAVORITE, BOOL},
    {"VERSION", ASSETMETADATA::VERSIONTAG, COUNT_OR_TEXT},
    {"VERSIONCOUNT", FILTERKEY::VERSIONCOUNT, NUMBER},
    {"CREATIONDATE", ASSETMETADATA::TIMESTAMP, DATE},
    {"PREVIEW", ASSETMETADATA::PREVIEWIMAGEURL, BOOL},
    {"PREVIEWANIM", ASSETMETADATA::PREVIEWANIMURL, BOOL},
    {"FPS", "net.talvo.asset.metaproperties.media.fps"_id, FLOAT},
    {"ANIMATIONLENGTH", "net.talvo.asset.metaproperties.media.animlength"_id, FLOAT},
    {"BITDEPTH", "net.talvo.asset.metaproperties.media.bitdepth"_id, NUMBER},
    {"PIXELFORMAT", "net.talvo.asset.metaproperties.media.pixelformat"_id, TEXT},
    {"COLORPROFILE", "net.talvo.asset.metaproperties.media.colorprofile"_id, ORDERED_TEXT},
    {"RESOLUTION", "net.talvo.asset.metaproperties.media.resolution"_id, NUMBER},
    {"ALPHACHANNELS", "net.talvo.asset.metaproperties.media.alphachannels"_id, NUMBER},
    {"FILEVERSION", "net.talvo.asset.metaproperties.base.fileformatversion"_id, ORDERED_TEXT},
    {"FILEFORMAT", "net.talvo.asset.metaproperties.base.fileformat"_id, ORDERED_TEXT},
    {"POINTS", "net.talvo.asset.metaproperties.tv3file.pointcount"_id, NUMBER},
    {"POLYGONS", "net.talvo.asset.metaproperties.tv3file.polygoncount"_id, NUMBER},
    {"OBJECTS", "net.talvo.asset.metaproperties.tv3file.geometryobjectcount"_id, NUMBER},
    {"MATERIALS", "net.talvo.asset.metaproperties.tv3file.materialcount"_id, NUMBER},
    {"DIMENSIONS", "net.talvo.asset.metaproperties.tv3file.boundingbox"_id, LENGTH},
    {"PROXY", "net.talvo.assetmetadata.proxygeometry"_id, BOOL},
    {"SCOPE", FILTERKEY::SCOPE, TEXT},
};

constexpr std::size_t LONGEST_WORD = 32;

/// How many characters have to be put in, left out, replaced or swapped with their neighbour (Damerau's distance between neighbours).
std::size_t GetDistance(std::string_view first, std::string_view second) {
    std::vector<std::vector<std::size_t>> cost(first.size() + 1, std::vector<std::size_t>(second.size() + 1));
    for (std::size_t i = 0; i <= first.size(); ++i) cost[i][0] = i;
    for (std::size_t j = 0; j <= second.size(); ++j) cost[0][j] = j;
    for (std::size_t i = 1; i <= first.size(); ++i) {
        for (std::size_t j = 1; j <= second.size(); ++j) {
            const std::size_t replaced = cost[i - 1][j - 1] + (first[i - 1] == second[j - 1] ? 0 : 1);
            cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, replaced});
            const Bool isSwapped = i > 1 && j > 1 && first[i - 1] == second[j - 2] && first[i - 2] == second[j - 1];
            if (isSwapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
        }
    }
    return cost[first.size()][second.size()];
}

}  // namespace

std::span<const FilterKeyword> GetFilterKeywords() { return KEYWORDS; }

const FilterKeyword* FindFilterKeyword(std::string_view upperWord) {
    for (const FilterKeyword& keyword : KEYWORDS) {
        if (keyword.word == upperWord) return &keyword;
    }
    return nullptr;
}

const FilterKeyword* FindKeywordOfKey(const Id& key) {
    for (const FilterKeyword& keyword : KEYWORDS) {
        if (keyword.key == key) return &keyword;
    }
    return nullptr;
}

Opt<std::string> SuggestFilterKeyword(std::string_view upperWord) {
    if (upperWord.empty() || upperWord.size() > LONGEST_WORD) return std::nullopt;
    // A third of a word wrong is another word.
    std::size_t best = upperWord.size() / 3 + 1;
    Opt<std::string> suggestion;
    const auto consider = [&](std::string_view word) {
        const std::size_t distance = GetDistance(upperWord, word);
        if (distance >= best) return;
        best = distance;
        suggestion = std::string(word);
    };
    for (const FilterKeyword& keyword : KEYWORDS) consider(keyword.word);
    for (const std::string_view option : GetOptionNames()) consider(option.substr(0, option.size() - 1));
    return suggestion;
}

}  // namespace talvo
