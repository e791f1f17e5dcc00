// What texts of the filter language mean: one table a step.
#include "asset_filter.h"
#include "browser_filter/filter_options.h"
#include "browser_filter/length_formula.h"
#include "browser_filter/value_forms.h"
#include "support/asset_test_support.h"

namespace talvo {
namespace {

std::string Read(const std::string& text, ASSET_BROWSE_MODE mode = ASSET_BROWSE_MODE::ASSET_LIST) {
    FilterPieces pieces;
    pieces.filterString = String(text);
    const FilterReading reading = Need(ReadFilter(pieces, mode));
    const FilterOptions& o = reading.options;
    std::string read = std::to_string(int(o.groupBy)) + std::to_string(int(o.sortBy)) + std::to_string(o.sortOrder) +
                       std::to_string(int(o.firstItems)) + std::to_string(int(o.relevantItems)) + std::to_string(int(o.context)) +
                       (o.showSubContent ? "s" : "") + (o.reverseOrder ? "r" : "") + (o.missingAssets ? "m" : "");
    for (const FilterCondition& condition : reading.conditions) {
        read += " [" + std::string(condition.key.GetView()) + "]";
        for (const String& value : condition.values) read += "(" + std::string(value.GetView()) + ")";
    }
    return read;
}

TEST(FilterLanguage, OptionsAndTermsOfTexts) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "511209"},
        {"groupby:type", "511209"},
        {"GROUPBY:TYPE GROUPBY:USEDATE", "311209"},
        {"GROUPBY:TYPEX foo", "511209 [](X) [](FOO)"},
        {"SORTBY:FOO", "511209 [undefined](FOO)"},
        {"xGROUPBY:CATEGORY", "111209 [](X)"},
        {"GROUGROUPBY:NONEPBY:DATABASE", "611209"},
        {"sortby:size", "562209"},
        {"sortby:size reverseorder:yes", "561209r"},
        {"sortby:relevance", "570209"},
        {"sortby:relevance reverseorder:true", "571209r"},
        {"reverseorder:yes reverseorder:no", "511209"},
        {"missingassets:yes missingassets:no", "511209m [undefined](NO)"},
        {"missingassets:no missingassets:yes", "511209m [undefined](NO)"},
        {"showsubcontent:1 showsubcontent:0", "511209s [undefined](0)"},
        {"firstitems:relevant relevantitems:media relevantitems:nodes context:mesh", "511343"},
        {"NAME:\"blue car\"", "511209 [net.talvo.object.base.name](BLUE CAR)"},
        {"\"a:b c\"", "511209 [undefined](B) [](C\")"},
        {"NAME:\"blue", "511209 [net.talvo.object.base.name](\"BLUE)"},
        {"car|blue||", "511209 [](CAR)(BLUE)"},
        {"TYPE:a x TYPE:b", "511209 [net.talvo.asset.subtype](B) [](X)"},
        {"type:model|object|commands",
         "511209 [net.talvo.asset.subtype](NET.TALVO.ASSET.SUBTYPE.OBJECT)"
         "(NET.TALVO.ASSET.COMMAND.TYPE.OBJECT)(NET.TALVO.ASSET.COMMAND.TYPE.COMMAND)"},
        {"dimensions:<=2m", "511209 [net.talvo.asset.metaproperties.tv3file.boundingbox](<=200)"},
        {"dimensions:<.5m|wide|>2x", "511209 [net.talvo.asset.metaproperties.tv3file.boundingbox](<50)(WIDE)(>2X)"},
        {"\"\"", "511209"},
        {"size:", "511209 [size]"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(Read(text), expected) << text;
    }
    EXPECT_EQ(Read("", ASSET_BROWSE_MODE::CATEGORY_TREE).front(), '1');
}

TEST(FilterLanguage, WhatIsUnderstoodIsToldToPeople) {
    FilterPieces pieces;
    pieces.filterString = String("oak|beech dimensions:<2m|x size: points=:1 missingassets:yes relevantitems:scenenodes");
    const FilterReading reading = Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST));
    const String options = WriteFilterOptions(reading.options);
    EXPECT_EQ(options,
              String("groupby:type sortby:name firstitems:favorites relevantitems:scenenodes context:other missingassets:yes"));
    EXPECT_EQ(Read(std::string(options.GetView())), "511259m");
    const char* expected[] = {"name, tags or keywords: \"OAK\" or \"BEECH\"", "dimensions: \"<2.187 yd\" or \"X\"",
                              "size: no value, so nothing matches", "unknown key, so nothing matches: \"1\""};
    ASSERT_EQ(reading.conditions.GetCount(), Int(std::size(expected)));
    for (Int i = 0; i < reading.conditions.GetCount(); ++i)
        EXPECT_EQ(DescribeFilterCondition(reading.conditions[i], 1), String(expected[i]));
}

TEST(FilterLanguage, PiecesAreJoined) {
    FilterPieces pieces{String("groupby:none"), String(), String(" master "), String("smart"), String("typed"), false};
    EXPECT_EQ(Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST)).conditions.GetCount(), 2);
    pieces.localFilterMode = true;
    EXPECT_EQ(Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST)).conditions.GetCount(), 3);
    pieces.localFilterMode = false;
    pieces.filterString = String();
    EXPECT_EQ(Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST)).conditions[1].values[0], String("SMART"));
}

TEST(FilterLanguage, UnknownKeysAreSuggested) {
    FilterPieces pieces;
    pieces.filterString = String("poligons:<3 gruopby:type xyzzy:1");
    const FilterReading reading = Need(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST));
    ASSERT_EQ(reading.unknownKeys.GetCount(), 3);
    EXPECT_EQ(reading.unknownKeys[0].suggestion, String("POLYGONS"));
    EXPECT_EQ(reading.unknownKeys[1].suggestion, String("GROUPBY"));
    EXPECT_EQ(reading.unknownKeys[2].suggestion, String());
}

// Each of these would take hours if a step looked at the rest of the text again and again.
TEST(FilterLanguage, LongTextsTakeTimeInProportion) {
    const auto repeat = [](const char* text, int count) {
        std::string all;
        for (int i = 0; i < count; ++i) all += text;
        return all;
    };
    EXPECT_EQ(Read(repeat("groupby:none ", 80000)), "711209");
    for (const char* part :
         {"a ", "\"a ", "a:b ", "|", "groupby:x ", "\"", ":", "name:\"a b\" ", "\xff ", "(((", "dimensions:1+"}) {
        FilterPieces pieces;
        pieces.filterString = String(repeat(part, 100000));
        EXPECT_THAT(ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST), Succeeds()) << part;
    }
}

TEST(FilterLanguage, Lengths) {
    const std::pair<const char*, Opt<Float64>> cases[] = {{"2", 2},
                                                          {"2m", 200},
                                                          {"2 M", 200},
                                                          {"1.5km", 150000},
                                                          {".5M", 50},
                                                          {"1E2CM", 100},
                                                          {"1ft+2in", 35.56},
                                                          {"2*(1m-50cm)", 100},
                                                          {"--2", 2},
                                                          {"(1+2)m", 300},
                                                          {"10mm", 1},
                                                          {"1yd", 91.44},
                                                          {"1mi", 160934.4},
                                                          {"", std::nullopt},
                                                          {"m", std::nullopt},
                                                          {"2x", std::nullopt},
                                                          {"1/0", std::nullopt},
                                                          {"2)", std::nullopt},
                                                          {"(2", std::nullopt},
                                                          {"1e999", std::nullopt}};
    for (const auto& [text, expected] : cases) {
        const Opt<Float64> length = EvaluateLength(text);
        ASSERT_EQ(length.has_value(), expected.has_value()) << text;
        EXPECT_DOUBLE_EQ(length.value_or(0), expected.value_or(0)) << text;
    }
    EXPECT_TRUE(EvaluateLength(std::string(64, '(') + "1" + std::string(64, ')')));
    EXPECT_FALSE(EvaluateLength(std::string(65, '(') + "1" + std::string(65, ')')));
    EXPECT_EQ(WriteFloat(200), "200");
    EXPECT_EQ(WriteFloat(0.1), "0.1");
    EXPECT_EQ(WriteFloat(1e15), "1000000000000000");
}

TEST(FilterLanguage, ValuesAgainstAlternatives) {
    struct Case {
        Bool (*matches)(const String& value);
        const char* yes;  // values that match, separated by blanks
        const char* no;
    };
    const Case cases[] = {
        {[](const String& v) { return MatchesNumber(5, v); }, "5 =5 <6 >4 <=5 >=5 >-1",
         "6 <5 >5 =>5 +5 5x <5.0 = < x 99999999999999999999"},
        {[](const String& v) { return MatchesFloat(2.5, v); }, "2.5 =2.5 <3 >-1 >=2.5 <1e9", "2 >3 <INF <NAN <=x"},
        {[](const String& v) { return MatchesDate(1, v); }, "1970-01-02 >1970-01-01 <2024-02-29 >=1970-1-2",
         "1970-02-30 <0-1-1 x 1970"},
        {[](const String& v) { return MatchesBool(true, v); }, "YES TRUE 1", "NO FALSE 0 YE X"},
        {[](const String& v) { return MatchesBool(false, v); }, "NO FALSE 0", "YES Y"},
        {[](const String& v) { return MatchesOrderedText(String("2.10"), v); }, "2.1 =2.10 >2.9 >=2.10 <3", "3 =2.1 <2.9"},
        {[](const String& v) { return MatchId("net.talvo.asset", v); }, "TALVO $NET.TALVO NET.TALVO.ASSET",
         "$TALVO X NET.TALVO.ASSETS"},
    };
    for (const Case& c : cases) {
        for (const String& value : String(c.yes).Split(String(" "), String::SPLIT::DROP_EMPTY))
            EXPECT_TRUE(c.matches(value)) << value.GetView();
        for (const String& value : String(c.no).Split(String(" "), String::SPLIT::DROP_EMPTY))
            EXPECT_FALSE(c.matches(value)) << value.GetView();
    }
    const String longName(std::string(50, 'a') + "\u00e4" + std::string(50, 'a'));
    EXPECT_TRUE(ContainsText(longName, String(longName.ToUpper().GetView().substr(10, 80))));
    EXPECT_FALSE(ContainsText(longName, String(std::string(90, 'A'))));
    const std::string longId(80, 'i');
    EXPECT_TRUE(MatchId(longId + "x", String("$" + std::string(80, 'I'))));
    EXPECT_FALSE(MatchId("x" + longId, String("$" + std::string(80, 'I'))));
    EXPECT_EQ(WriteByteCount(12), String("12 B"));
    EXPECT_EQ(WriteByteCount(1536), String("1.5 KB"));
    EXPECT_EQ(WriteLength(250, 0), String("2.5 m"));
    EXPECT_EQ(WriteLength(91.44, 1), String("1 yd"));
}

}  // namespace
}  // namespace talvo
