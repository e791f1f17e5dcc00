#include "kernel/text/casing.h"
#include "kernel/base/hashing.h"
#include "kernel/text/utf8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace talvo {
namespace {

int Sign(int order) { return (order > 0) - (order < 0); }

TEST(FoldNameFrozen, foldsCharactersAndLeavesOtherBytes) {
    EXPECT_EQ(FoldNameFrozen("Chair_\u00c4\u0130\u1e9e\u03a3.OBJ"), "chair_\u00e4i\u00df\u03c3.obj");
    EXPECT_EQ(FoldNameFrozen("\xff"
                             "A\xc3"),
              "\xff"
              "a\xc3");
    EXPECT_EQ(FoldNameFrozen("\u00d7\u0101\U00010400"), "\u00d7\u0101\U00010428") << "beside and between mapped characters";
}

TEST(FoldNameFrozen, wholeTableIsPinned) {
    std::string all;
    int mapped = 0;
    for (Utf32Char character = 0; character <= 0x10ffff; ++character) {
        if (character >= 0xd800 && character <= 0xdfff) continue;
        std::string bytes;
        detail::AppendChar(bytes, character);
        const std::string folded = FoldNameFrozen(bytes);
        mapped += folded != bytes;
        all += folded;
    }
    EXPECT_EQ(mapped, 1433);
    EXPECT_EQ(GetStoredHash64(all), 3336846867841094281u) << "stored names and hashes rest on this table: it never changes";
}

const std::vector<String>& SortedTexts() {
    static const std::vector<String> texts{"",           "\x01",    "_x",      "a 1",        "a 01",     "a 2",
                                           "a 10",       "a10",     "a\u0301", "\u00e1",     "ab",       "Ab",
                                           "b\u0300",    "chair 9", "Chair 9", "chair 10",   "z",        "\u00e4pfel",
                                           "\u00c4pfel", "zebra",   "\u6f22",  "\U0001F600", "a\u200b1", "\ufffd"};
    return texts;
}

TEST(CompareText, displayOrderIsWhatPeopleExpect) {
    const auto less = [](const char* first, const char* second) { return CompareText(first, second, COMPARE_MODE::DISPLAY) < 0; };
    EXPECT_TRUE(less("chair 9", "chair 10"));
    EXPECT_TRUE(less("a", "B"));
    EXPECT_TRUE(less("\u00e4pfel", "zebra"));
    EXPECT_TRUE(less("chair", "Chair"));
}

TEST(CompareText, displayOrderIsTotalAndThatOfTheSortKeys) {
    const auto& texts = SortedTexts();
    for (const String& first : texts) {
        for (const String& second : texts) {
            SCOPED_TRACE("\"" + first.GetCString() + "\" and \"" + second.GetCString() + "\"");
            const int order = CompareText(first, second, COMPARE_MODE::DISPLAY);
            EXPECT_EQ(order == 0, first == second) << "equal for the library is not equal";
            EXPECT_EQ(order, -CompareText(second, first, COMPARE_MODE::DISPLAY));
            EXPECT_EQ(order, Sign(MakeSortKey(first).compare(MakeSortKey(second))));
        }
    }
    std::vector<String> sorted = texts;
    std::sort(sorted.begin(), sorted.end(),
              [](const String& a, const String& b) { return CompareText(a, b, COMPARE_MODE::DISPLAY) < 0; });
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t k = i + 1; k < sorted.size(); ++k)
            EXPECT_LT(CompareText(sorted[i], sorted[k], COMPARE_MODE::DISPLAY), 0);
    }
}

TEST(CompareText, otherModes) {
    EXPECT_EQ(CompareText("a", "B", COMPARE_MODE::BYTES), 1);
    EXPECT_EQ(CompareText("a", "B", COMPARE_MODE::NO_CASE), -1);
    EXPECT_EQ(CompareText("\u00e4", "\u00c4", COMPARE_MODE::NO_CASE), 0);
    EXPECT_EQ(CompareText("z", "\u00e4", COMPARE_MODE::BYTES), -1) << "bytes are unsigned";
}

}  // namespace
}  // namespace talvo
