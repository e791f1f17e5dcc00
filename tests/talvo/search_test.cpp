// Searching, keywords and commands, as users meet them.
#include "talvo/program_test_support.h"

#include <cstdio>

namespace talvo {
namespace {

using testing::HasSubstr;

class SearchTest : public ProgramTest {
protected:
    SearchTest() {
        _scratch.Write("in/Wood/Oak.txt", "12345");
        _scratch.Write("in/Wood/Red Oak.txt", "1");
        _scratch.Write("in/Metal/Steel.png", "1");
        RunText({"import", _shelf, _scratch / "in"});
    }
    std::string Names(const Words& words) const {
        std::string names;
        for (const JsonObject& object : RunJson(words)) names += object.Text("name") + ";";
        return names;
    }
    const std::string _shelf = MakeRepository("shelf");
};

TEST_F(SearchTest, RowsComeGroupedAndSorted) {
    EXPECT_EQ(Names({"search", _shelf, "oak|steel groupby:category"}), "Metal;Steel.png;Wood;Oak.txt;Red Oak.txt;");
    EXPECT_EQ(Names({"search", _shelf, "oak", "--group", "none", "--sort", "size"}), ";Oak.txt;Red Oak.txt;");
    EXPECT_EQ(Names({"search", _shelf, "oak", "--group", "none", "--limit", "1"}), ";Oak.txt;...;");
    EXPECT_EQ(Names({"search", _shelf, "nothing"}), "");
    EXPECT_EQ(Names({"tree", _shelf}), "in;Metal;Wood;");
    const std::string second = MakeRepository("second");
    Store(second, "oak two", "x");
    EXPECT_THAT(Names({"search", _shelf, second, "oak", "--group", "none"}), HasSubstr("Red Oak.txt"));
    EXPECT_EQ(Run({"search", _shelf}).exitCode, 2);
    EXPECT_EQ(Run({"search", _shelf, "x", "--mode", "3"}).exitCode, 2);
    EXPECT_EQ(Run({"search", _shelf, "x", "--smart", "nobody"}).exitCode, 1);
}

TEST_F(SearchTest, KeywordsFavouritesAndSmartSearches) {
    EXPECT_THAT(RunText({"keyword", "add", _shelf, "wooden", "--query", "oak"}),
                HasSubstr("0 of 2 assets had it, 2 have it now."));
    EXPECT_EQ(Names({"search", _shelf, "keyword:wooden groupby:none"}), ";Oak.txt;Red Oak.txt;");
    EXPECT_THAT(RunText({"keyword", "remove", _shelf, "Wooden", "--query", "red"}),
                HasSubstr("1 of 1 assets had it, 0 have it now."));
    EXPECT_EQ(Names({"search", _shelf, "keyword:wooden groupby:none"}), ";Oak.txt;");
    const std::string id = RunJson({"search", _shelf, "oak", "--group", "none"}).at(1).Text("id");
    RunText({"favourite", _shelf, id});
    EXPECT_EQ(Names({"search", _shelf, "favorite:yes groupby:none"}), ";Oak.txt;");
    RunText({"use", _shelf, id});
    EXPECT_THAT(RunText({"use", _shelf, id}), HasSubstr("was used 2 times"));
    RunText({"smartsearch", "add", _shelf, "Small", "size:<3", "--id", "small"});
    EXPECT_EQ(Names({"search", _shelf, "", "--smart", "small", "--group", "none", "--types", "net.talvo.assettype.file"}),
              ";Red Oak.txt;Steel.png;");
    EXPECT_THAT(Run({"default", "set", _shelf, id}).err, HasSubstr("not fulfilled"));
    EXPECT_THAT(RunText({"explain", _shelf, "oak size:>1000", id}), HasSubstr("not listed"));
}

TEST_F(SearchTest, FiltersAreExplainedAndCommandsAreAssets) {
    EXPECT_THAT(RunText({"filter", "poligons:<3"}), HasSubstr("unknown key poligons: did you mean polygons:?"));
    EXPECT_THAT(Run({"filter", "--json", "oak groupby:none"}).out,
                HasSubstr("\"conditions\":[{\"key\":null,\"values\":[\"OAK\"]}]"));
    EXPECT_THAT(Run({"command", "list"}).out, HasSubstr("talvo.command.keyword.add"));
    EXPECT_THAT(Run({"command", "run", "list", _shelf}).out, HasSubstr("Oak.txt"));
    EXPECT_EQ(Run({"browse", _shelf}).exitCode, 1) << "no terminal";
}

TEST_F(SearchTest, FiltersAreReadInBatches) {
    _scratch.Write("filters",
                   "{\"filter\":\"size:<5\",\"smart\":\"oak\",\"local\":true,\"mode\":1}\n"
                   "{\"filter\":5}\n"
                   "{\"group\":\"groupby:none\",\"sort\":\"sortby:size\",\"master\":\"x:1\",\"smart\":\"oak\"}\n");
    const ProgramOutcome outcome = Run({"--json", "filter", "--batch"}, {.inputPath = _scratch / "filters"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(
        outcome.out,
        "{\"options\":{\"groupBy\":1,\"sortBy\":1,\"sortOrder\":1,\"firstItems\":2,\"relevantItems\":0,\"context\":9,"
        "\"showSubContent\":false,\"reverseOrder\":false,\"missingAssets\":false},\"conditions\":["
        "{\"key\":null,\"values\":[\"OAK\"]},{\"key\":\"size\",\"values\":[\"<5\"]}]}\n"
        "{\"error\":\"net.talvo.error.fileformat\",\"message\":\"Line 2 of the standard input: an integer stands where a text "
        "must stand.\"}\n"
        "{\"options\":{\"groupBy\":7,\"sortBy\":6,\"sortOrder\":2,\"firstItems\":2,\"relevantItems\":0,\"context\":9,"
        "\"showSubContent\":false,\"reverseOrder\":false,\"missingAssets\":false},\"conditions\":["
        "{\"key\":\"undefined\",\"values\":[\"1\"]},{\"key\":null,\"values\":[\"OAK\"]}]}\n");
}

TEST_F(SearchTest, TheExampleOfAHostFindsTheSame) {
    const std::string command = std::string(TALVO_EXAMPLE) + " '" + _shelf + "' oak 2>&1";
    FILE* const pipe = popen(("TALVO_HOME='" + (_scratch / "home") + "' " + command).c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string out;
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) out += char(c);
    EXPECT_EQ(pclose(pipe), 0) << out;
    EXPECT_THAT(out, HasSubstr("Wood\n  Oak.txt\n  Red Oak.txt\n"));
}

}  // namespace
}  // namespace talvo
