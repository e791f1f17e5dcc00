// The program as a process: help, closed pipes, interrupts, and what goes to which stream.
#include "talvo/program_test_support.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>

namespace talvo {

namespace {

using testing::HasSubstr;
using testing::Not;

class ProcessTest : public ProgramTest {};

TEST_F(ProcessTest, HelpHasAnExampleAndUsageOfEachCommand) {
    const std::string help = RunText({"--help"});
    for (const char* name :
         {"init",  "import", "list",      "show",     "cat",      "export",     "url",    "open", "resolve", "store", "delete",
          "erase", "copy",   "meta list", "meta get", "meta set", "meta unset", "verify", "gc",   "stat",    "repos"}) {
        SCOPED_TRACE(name);
        EXPECT_THAT(help, HasSubstr(std::string("\n  ") + name + " "));
        const std::string text = name;
        const std::size_t blank = text.find(' ');
        Words words{text.substr(0, blank)};
        if (blank != std::string::npos) words.push_back(text.substr(blank + 1));
        words.push_back("--help");
        const std::string ofCommand = RunText(words);
        EXPECT_THAT(ofCommand, testing::AllOf(HasSubstr("Example:\n  talvo " + text), HasSubstr("Usage: talvo " + text)));
    }
    EXPECT_THAT(RunText({"meta", "--help"}), testing::AllOf(HasSubstr("meta unset"), Not(HasSubstr("verify"))));
    EXPECT_THAT(RunText({"--version"}), testing::StartsWith("talvo 0."));
}

TEST_F(ProcessTest, AClosedPipeEndsQuietly) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", std::string(300000, 'x'));
    for (const Words& words :
         {Words{"list", shelf}, Words{"cat", shelf, "chair"}, Words{"show", shelf, "chair", "--json"}, Words{"--help"}}) {
        const ProgramOutcome outcome = Run(words, {.closeOutput = true});
        EXPECT_EQ(outcome.exitCode, 0) << testing::PrintToString(words);
        EXPECT_EQ(outcome.err, "");
    }
    // What was asked for is done, whether or not somebody still reads about it.
    for (const char* name : {"in/a", "in/b", "in/c"}) _scratch.Write(name, name);
    EXPECT_EQ(Run({"import", shelf, _scratch / "in", "--quiet"}, {.closeOutput = true}).exitCode, 0);
    EXPECT_EQ(List(shelf).size(), 4u);
}

TEST_F(ProcessTest, AFullOutputIsAnError) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    const ProgramOutcome outcome = Run({"cat", shelf, "chair"}, {.outputPath = "/dev/full"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("Standard output can't be written: No space left on device."));
}

TEST_F(ProcessTest, AnInterruptedImportKeepsWhatItReported) {
    const std::string shelf = MakeRepository("shelf");
    constexpr std::size_t COUNT = 500;
    for (std::size_t i = 0; i < COUNT; i++) _scratch.Write("in/" + std::to_string(i), std::to_string(i));
    const ProgramOutcome outcome = Run({"import", shelf, _scratch / "in", "--json"}, {.signalAtFirstLine = SIGINT});
    const std::vector<JsonObject> reported = ReadJsonLines(outcome.out);
    if (outcome.exitCode == 130) {
        EXPECT_LE(reported.size(), COUNT);
        EXPECT_THAT(outcome.err, HasSubstr("what was reported stays stored"));
    } else {
        EXPECT_EQ(reported.size(), COUNT) << "it was done before the signal came";
    }
    std::set<std::string> present;
    for (const JsonObject& object : List(shelf)) present.insert(object.Text("id"));
    EXPECT_EQ(present.size(), reported.size());
    for (const JsonObject& object : reported) EXPECT_TRUE(present.contains(object.Text("id")));
    RunText({"verify", shelf});
}

TEST_F(ProcessTest, AnInterruptedSweepTellsWhatItRemoved) {
    const std::string shelf = MakeRepository("shelf");
    constexpr Int COUNT = 400;
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
    for (Int i = 0; i < COUNT; i++) {
        const std::string name = "shelf/.~" + std::to_string(i);
        _scratch.Write(name, "x");
        std::filesystem::last_write_time(_scratch / name, old);
    }
    const ProgramOutcome outcome = Run({"gc", shelf, "--json"}, {.signalAtFirstLine = SIGINT});
    const std::vector<JsonObject> lines = ReadJsonLines(outcome.out);
    ASSERT_FALSE(lines.empty());
    const Int64 removed = lines.back().Number("leftovers");
    EXPECT_EQ(Int64(lines.size()) - 1, removed);
    EXPECT_EQ(outcome.exitCode, removed == COUNT ? outcome.exitCode : 130);
    const std::string left = _scratch.List("shelf");
    for (Int i = 0; i < COUNT; i++) {
        const Bool isThere = left.find(".~" + std::to_string(i) + " ") != std::string::npos;
        EXPECT_EQ(isThere, Int64(std::count_if(lines.begin(), lines.end() - 1, [&](const JsonObject& line) {
                               return line.Text("path").ends_with("/.~" + std::to_string(i));
                           })) == 0);
    }
}

TEST_F(ProcessTest, TalkGoesToStandardErrorAndCanBeSilenced) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("in/a", "a");
    const ProgramOutcome loud = Run({"import", shelf, _scratch / "in"});
    EXPECT_THAT(loud.err, HasSubstr("1 asset stored, 1 B."));
    EXPECT_EQ(Run({"import", shelf, _scratch / "in", "--quiet"}).err, "");
    EXPECT_THAT(RunText({"list", shelf}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(RunText({"list", shelf, "--color", "always"}), testing::StartsWith("\x1b[1mNAME"));
}

TEST_F(ProcessTest, ColumnsAreAsWideAsTheyLook) {
    const std::string shelf = MakeRepository("shelf");
    for (const char* name : {"in/wide 椅子", "in/plain name", "in/e\xcc\x81 mark"}) _scratch.Write(name, "x");
    RunText({"import", shelf, _scratch / "in"});
    const std::string table = RunText({"list", shelf, "--type", "file"});
    // Ten columns of name, two between: two wide characters take four columns, a mark that stands on another takes none.
    EXPECT_THAT(table, testing::AllOf(HasSubstr("\nwide 椅子    1 B"), HasSubstr("\nplain name   1 B"),
                                      HasSubstr("\ne\xcc\x81 mark       1 B")));
}

TEST_F(ProcessTest, DurableStoresAndRelativePathsWork) {
    MakeRepository("shelf");
    _scratch.Write("in/a", "a");
    const ProgramSetup setup{.environment = {{"TALVO_DURABILITY", "durable"}}, .workingFolder = _scratch.GetPath()};
    EXPECT_EQ(Run({"import", "shelf", "in", "--quiet"}, setup).exitCode, 0);
    EXPECT_EQ(Run({"store", "./shelf", "b", "in/a"}, setup).exitCode, 0);
    EXPECT_EQ(Run({"list", "shelf/../shelf"}, setup).exitCode, 0);
    EXPECT_EQ(List(_scratch / "shelf").size(), 2u);
}

}  // namespace

}  // namespace talvo
