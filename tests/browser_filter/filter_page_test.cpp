// The page that teaches the filter language tells all of it, and its examples are right.
#include "browser_filter/filter_keywords.h"
#include "browser_filter/filter_options.h"
#include "support/asset_test_support.h"

#include <fstream>
#include <iterator>
#include <regex>

namespace talvo {
namespace {

class FilterPage : public testing::Test {
protected:
    FilterPage() {
        std::ifstream file(std::string(TALVO_DOCS) + "/filter.md");
        page.assign(std::istreambuf_iterator<char>(file), {});
    }
    Bool Has(const std::string& text) const { return page.find(text) != std::string::npos; }
    static std::string Lower(std::string_view text) { return std::string(String(text).ToLower().GetView()); }

    std::string page;
};

TEST_F(FilterPage, TellsEachKeywordWithItsForm) {
    // In the order of VALUE_FORM.
    const char* forms[] = {"text",   "type", "yes or no",     "number",      "decimal number",
                           "length", "date", "count or text", "ordered text"};
    for (const FilterKeyword& keyword : GetFilterKeywords()) {
        const std::string row = "| `" + Lower(keyword.word) + ":` | " + forms[int(keyword.form)] + " | ";
        EXPECT_TRUE(Has(row)) << row;
    }
    for (const char* form : forms) EXPECT_TRUE(Has(std::string("\n| ") + form + " | ")) << form;
    for (const char* op : {"`=` or none", "`<`", "`>`", "`<=`", "`>=`"}) EXPECT_TRUE(Has(std::string("\n| ") + op + " | ")) << op;
}

TEST_F(FilterPage, TellsEachOptionWithItsWords) {
    for (const std::string_view option : GetOptionNames()) {
        const std::size_t begin = page.find("\n| `" + Lower(option) + "` | ");
        ASSERT_NE(begin, std::string::npos) << option;
        const std::string row = page.substr(begin, page.find('\n', begin + 1) - begin);
        for (const std::string_view word : GetOptionWords(option))
            EXPECT_NE(row.find("`" + Lower(word) + "`"), std::string::npos) << option << word;
    }
}

TEST_F(FilterPage, TwentyExamplesAreUnderstood) {
    const std::regex example("\n[0-9]+\\. `([^`]*)`");
    int count = 0;
    for (std::sregex_iterator found(page.begin(), page.end(), example), none; found != none; ++found, ++count) {
        FilterPieces pieces;
        pieces.filterString = String((*found)[1].str());
        const FilterReading reading = Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST));
        EXPECT_TRUE(reading.unknownKeys.IsEmpty()) << (*found)[1];
        EXPECT_FALSE(reading.conditions.IsEmpty()) << (*found)[1];
    }
    EXPECT_EQ(count, 20);
}

}  // namespace
}  // namespace talvo
