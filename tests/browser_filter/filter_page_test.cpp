// The page that teaches the filter language tells all of it, and its examples are right.
#include "asset_filter.h"
#include "browser_filter/filter_keywords.h"
#include "browser_filter/filter_options.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace talvo {
namespace {

TEST(FilterPage, TellsEachKeywordAndOption) {
    std::ifstream file(std::string(TALVO_DOCS) + "/filter.md");
    std::stringstream stream;
    stream << file.rdbuf();
    const String page(stream.str());
    for (const FilterKeyword& keyword : GetFilterKeywords())
        EXPECT_NE(page.FindUpperIndex(String("`" + std::string(keyword.word) + ":`")), String::NOT_FOUND) << keyword.word;
    for (const std::string_view option : GetOptionNames()) {
        EXPECT_NE(page.FindUpperIndex(String("`" + std::string(option) + "`")), String::NOT_FOUND) << option;
        for (const std::string_view word : GetOptionWords(option)) {
            const Bool isOther = word == "TRUE" || word == "FALSE" || word == "1" || word == "0";
            EXPECT_TRUE(isOther || page.FindUpperIndex(String("`" + std::string(word) + "`")) != String::NOT_FOUND) << word;
        }
    }
    // The examples have no unknown keyword.
    Int examples = 0;
    for (const String& line : page.Split(String("\n"), String::SPLIT::DROP_EMPTY)) {
        if (!line.StartsWith(String("| `")) || line.FindIndex(String(":` |")) != String::NOT_FOUND) continue;
        if (line.FindIndex(String("`, `")) != String::NOT_FOUND) continue;
        const String text = line.GetPart(3, line.FindIndex(String("` |")) - 3).Replace(String("\\|"), String("|"));
        FilterPieces pieces;
        pieces.filterString = text;
        const Result<FilterReading> reading = ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST);
        ASSERT_TRUE(reading.IsOk());
        EXPECT_TRUE(reading.GetValue().unknownKeys.IsEmpty()) << text.GetView();
        ++examples;
    }
    EXPECT_EQ(examples, 20);
}

}  // namespace
}  // namespace talvo
