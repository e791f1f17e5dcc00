#include "kernel/text/string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace talvo {
namespace {

const String UMLAUTS = "a\u00e4\u20ac\U0001F600z";  // 1, 2, 3, 4 and 1 bytes

std::vector<std::string> Texts(const BaseArray<String>& parts) {
    std::vector<std::string> texts;
    for (const String& part : parts) texts.push_back(part.GetCString());
    return texts;
}

TEST(String, positionsAreCharacters) {
    EXPECT_EQ(sizeof(String), 24u);
    EXPECT_EQ(UMLAUTS.GetLength(), 5);
    EXPECT_FALSE(UMLAUTS.IsAscii());
    EXPECT_EQ(UMLAUTS.GetChar(1), U'\u00e4');
    EXPECT_EQ(UMLAUTS.GetChar(3), U'\U0001F600');
    EXPECT_EQ(UMLAUTS.GetChar(5), 0u);
    EXPECT_EQ(UMLAUTS.GetChar(-1), 0u);
    EXPECT_EQ(UMLAUTS.FindIndex("z"), 4);
    EXPECT_EQ(UMLAUTS.FindIndex("\U0001F600", 3), 3);
    EXPECT_EQ(UMLAUTS.FindIndex("a", 1), String::NOT_FOUND);
    EXPECT_EQ(UMLAUTS.FindIndex("", 5), 5);
    EXPECT_EQ(UMLAUTS.FindIndex("", 6), String::NOT_FOUND);
    EXPECT_EQ((UMLAUTS + UMLAUTS).FindLastIndex("\u00e4"), 6);
    EXPECT_EQ(String::FromUtf32(UMLAUTS.GetUtf32()), UMLAUTS);
    EXPECT_EQ(String::FromUtf32(BaseArray<Utf32Char>{0xd800, 0x110000, 'x'}), String("\ufffd\ufffdx"));
}

TEST(String, partsAreClamped) {
    struct Row {
        Int position, count;
        const char* part;
    };
    const Row rows[] = {{1, 2, "\u00e4\u20ac"},
                        {3, -1, "\U0001F600z"},
                        {4, INT64_MAX, "z"},
                        {5, 1, ""},
                        {9, -1, ""},
                        {-2, 3, "a"},
                        {-2, -1, "a\u00e4\u20ac\U0001F600z"},
                        {-2, 1, ""},
                        {0, 0, ""}};
    for (const Row& row : rows)
        EXPECT_EQ(UMLAUTS.GetPart(row.position, row.count), String(row.part)) << row.position << "," << row.count;
    EXPECT_TRUE(UMLAUTS.GetPart(4).IsAscii()) << "a part knows that it is ASCII";
}

TEST(String, editsKeepTrackOfAscii) {
    String text = "abc";
    text.SetChar(1, U'\u20ac');
    EXPECT_EQ(text, String("a\u20acc"));
    EXPECT_EQ(text.GetLength(), 3);
    text.Insert(2, "\u00e4x");
    EXPECT_EQ(text, String("a\u20ac\u00e4xc"));
    text.Erase(1, 2);
    EXPECT_EQ(text, String("axc"));
    EXPECT_TRUE(text.IsAscii());
    text.SetChar(7, 'y');
    text.Erase(-1, 1);
    text.Erase(3, 1);
    EXPECT_EQ(text, String("axc")) << "outside of the text nothing happens";
    text.Erase(1, INT64_MAX);
    EXPECT_EQ(text, String("a"));
    text.AppendChar(U'\U0001F600');
    EXPECT_EQ(text.GetLength(), 2);
    EXPECT_FALSE(text.IsAscii());
    text.SetChar(1, 'b');
    EXPECT_TRUE(text.IsAscii());
}

TEST(String, copiesDoNotSeeChangesWhateverTheirLength) {
    for (const std::size_t length : {0, 1, 21, 22, 23, 24, 100, 5000}) {
        SCOPED_TRACE(length);
        const std::string bytes(length, 'x');
        String text{bytes};
        const String copy = text;
        String moved = std::move(text);
        moved.Append("tail").Append("!");
        EXPECT_EQ(copy.GetCString(), bytes);
        EXPECT_EQ(moved.GetCString(), bytes + "tail!");
        moved = copy;
        moved = *&moved;
        moved.Append(moved);
        EXPECT_EQ(moved.GetCString(), bytes + bytes) << "a text may be appended to itself";
        moved.Insert(Int(length), moved);
        EXPECT_EQ(moved.GetLength(), Int(4 * length));
        EXPECT_EQ(copy.GetCString(), bytes);
    }
    String grown;
    for (int i = 0; i < 1000; ++i) grown.Append("ab");
    EXPECT_EQ(grown.GetLength(), 2000);
    EXPECT_EQ(grown.GetPart(1998), String("ab"));
}

TEST(String, bytesThatAreNoUtf8AreReplaced) {
    struct Row {
        std::string_view bytes;
        const char* text;
        const char* why;
    };
    const Row rows[] = {
        {"a\xff", "a\ufffd", "no lead byte"},
        {"\xc3", "\ufffd", "cut off"},
        {"\xe2\x82", "\ufffd", "cut off: one mark for what belongs together"},
        {"\xe2\x82z", "\ufffdz", "cut off inside"},
        {"\xc0\xaf", "\ufffd\ufffd", "overlong"},
        {"\xe0\x80\xaf", "\ufffd\ufffd\ufffd", "overlong, three bytes"},
        {"\xed\xa0\x80", "\ufffd\ufffd\ufffd", "surrogate"},
        {"\xf4\x90\x80\x80", "\ufffd\ufffd\ufffd\ufffd", "beyond the last character"},
        {"\xf0\x9f\x98", "\ufffd", "cut off, four bytes"},
        {"\x80\x80", "\ufffd\ufffd", "continuations alone"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_FALSE(IsUtf8(row.bytes));
        EXPECT_EQ(String(row.bytes).GetView(), row.text);
        EXPECT_TRUE(IsUtf8(String(row.bytes).GetView()));
    }
    EXPECT_TRUE(IsUtf8("\u00e4\u20ac\U0010ffff\ued00"));
    EXPECT_EQ(CString("\xff").GetView(), "\xff") << "8-bit text takes any bytes";
}

TEST(String, findsInUpperCaseAtTheRightPosition) {
    EXPECT_EQ(String("My Chair").FindUpperIndex("CHAIR"), 3);
    EXPECT_EQ(String("My Chair chair").FindUpperIndex("CHAIR", 4), 9);
    EXPECT_EQ(String("chair").FindUpperIndex("", 5), 5);
    EXPECT_EQ(String("chair").FindUpperIndex("\u00c4"), String::NOT_FOUND);
    EXPECT_EQ(String("stra\u00dfe \u00e4pfel").FindUpperIndex("\u00c4PF"), 7);
    EXPECT_EQ(String("\u017ftuhl").FindUpperIndex("STUHL"), 0) << "the long s is an S in upper case";
    EXPECT_EQ(String("\u0131d").FindUpperIndex("ID"), 0) << "so is the dotless i an I";
}

TEST(String, caseIsOneCharacterToOne) {
    EXPECT_EQ(String("stra\u00dfe\u0149").ToUpper(), String("STRA\u00dfE\u0149")) << "no growth";
    EXPECT_EQ(String("\u0131").ToUpper(), String("I"));
    EXPECT_TRUE(String("\u0131").ToUpper().IsAscii());
    EXPECT_EQ(String("\u0130\u1e9e\u03a3").ToLower(), String("i\u00df\u03c3"));
}

TEST(String, trimSplitReplace) {
    EXPECT_EQ(String(" \t\n\u00e4 b \x01").Trim(), String("\u00e4 b"));
    EXPECT_EQ(String(" \u00a0 ").Trim(), String("\u00a0")) << "only codes up to 32";
    EXPECT_EQ(String("   ").Trim(), String());
    EXPECT_THAT(Texts(String(",a,,\u00e4").Split(",", String::SPLIT::KEEP_EMPTY)), testing::ElementsAre("", "a", "", "\u00e4"));
    EXPECT_THAT(Texts(String(",a,,\u00e4,").Split(",", String::SPLIT::DROP_EMPTY)), testing::ElementsAre("a", "\u00e4"));
    EXPECT_THAT(Texts(String("a,b").Split("", String::SPLIT::KEEP_EMPTY)), testing::ElementsAre("a,b"));
    EXPECT_THAT(Texts(String().Split(",", String::SPLIT::KEEP_EMPTY)), testing::ElementsAre(""));
    EXPECT_EQ(String("aaa").Replace("aa", "b"), String("ba"));
    EXPECT_EQ(String("\u20ac1").Replace("\u20ac", "EUR"), String("EUR1"));
    EXPECT_TRUE(String("\u20ac1").Replace("\u20ac", "EUR").IsAscii());
    EXPECT_EQ(String("a").Replace("", "b"), String("a"));
}

}  // namespace
}  // namespace talvo
