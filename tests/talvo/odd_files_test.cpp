// Files as they come: names that are no text, links, pipes, files that can't be read, a disk that is full.
#include "talvo/program_test_support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace talvo {

namespace {

using testing::HasSubstr;
using testing::Not;

class OddFilesTest : public ProgramTest {};

TEST_F(OddFilesTest, AnyNameComesIn) {
    const std::string shelf = MakeRepository("shelf");
    const struct {
        const char* name;
        const char* shown;
    } names[]{{"new\nline", "new\nline"},
              {"\x1b[31mred", "\x1b[31mred"},
              {"bad\xff utf", "bad\uFFFD utf"},
              {" blank ", " blank "},
              {"[a,b]", "[a,b]"},
              {"\xe2\x80\xae"
               "exe.txt",
               "\u202e"
               "exe.txt"}};
    for (const auto& n : names) {
        SCOPED_TRACE(n.shown);
        _scratch.Write(std::string("in/") + n.name, n.name);
        const JsonObject imported = RunJsonOne({"import", shelf, _scratch / (std::string("in/") + n.name)});
        EXPECT_EQ(imported.Text("name"), n.shown);
        EXPECT_EQ(RunText({"cat", shelf, imported.Text("id")}), n.name);
    }
    EXPECT_EQ(RunJson({"import", shelf, _scratch / "in"}).size(), std::size(names));
    // Nothing of that reaches a terminal: neither escapes nor line ends nor turned text.
    const std::string table = RunText({"list", shelf, "--type", "file"});
    EXPECT_THAT(table, testing::AllOf(HasSubstr("\\x1b[31mred"), HasSubstr("new\\nline"), HasSubstr("\\u202eexe.txt"),
                                      Not(HasSubstr("\x1b"))));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 1 + 2 * Int(std::size(names)));
}

TEST_F(OddFilesTest, AWalkPassesOverWhatIsNoFile) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("in/a", "a");
    _scratch.Write("in/.hidden", "h");
    _scratch.Write("in/.git/config", "g");
    _scratch.Write("in/sub/b", "b");
    ASSERT_EQ(::mkfifo((_scratch / "in/fifo").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("nowhere", (_scratch / "in/dangling").c_str()), 0);
    ASSERT_EQ(::symlink("..", (_scratch / "in/sub/loop").c_str()), 0);
    ASSERT_EQ(::symlink("sub", (_scratch / "in/folder").c_str()), 0);
    ASSERT_EQ(::symlink("a", (_scratch / "in/link").c_str()), 0);
    ASSERT_EQ(::symlink("self", (_scratch / "in/self").c_str()), 0);
    const ProgramOutcome outcome = Run({"import", shelf, _scratch / "in", "--json"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    std::string names;
    for (const JsonObject& object : ReadJsonLines(outcome.out)) names += object.Text("name") + " ";
    EXPECT_EQ(names, "a link b ");
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("fifo"), HasSubstr("dangling"), HasSubstr("loop"), HasSubstr("/folder"),
                                            HasSubstr("/self")));
    EXPECT_THAT(outcome.err, HasSubstr("7 entries passed over"));

    const ProgramOutcome asOne = Run({"import", shelf, _scratch / "in", "--as-one", "--id", "all"});
    EXPECT_EQ(asOne.exitCode, 0) << asOne.err;
    EXPECT_THAT(asOne.err, HasSubstr("fifo"));
    RunText({"verify", shelf});
    // A path that was named is not passed over: that is an error.
    ExpectFailure({"import", shelf, _scratch / "in/fifo"}, "is neither a file nor a folder");
}

TEST_F(OddFilesTest, TheRepositoryIsNotImportedIntoItself) {
    const std::string shelf = MakeRepository("in/shelf");
    _scratch.Write("in/a", "a");
    const ProgramOutcome outcome = Run({"import", shelf, ".", "--json"}, {.workingFolder = _scratch / "in"});
    EXPECT_EQ(outcome.exitCode, 0);
    const std::vector<JsonObject> objects = ReadJsonLines(outcome.out);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0].Text("source"), "./a");
    EXPECT_THAT(outcome.err, HasSubstr("it is the repository itself"));
}

TEST_F(OddFilesTest, AFileThatIsNotThereDoesNotStopTheOthers) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("a", "a");
    _scratch.Write("b", "b");
    const ProgramOutcome outcome = Run({"import", shelf, _scratch / "a", _scratch / "missing", _scratch / "b", "--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(ReadJsonLines(outcome.out).size(), 2u);
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("missing"), HasSubstr("1 of 3 entries could not be imported.")));
}

#ifdef TALVO_FAULTS

TEST_F(OddFilesTest, WhatCanNotBeReadIsNamedAndDoesNotStopTheOthers) {
    const std::string shelf = MakeRepository("shelf");
    for (const char* name : {"in/a", "in/bad", "in/c", "in/locked/d"}) _scratch.Write(name, name);
    const std::string vanished = std::to_string(ENOENT);
    const struct {
        const char* why;
        std::string plan;
        const char* where;
        std::size_t stored;
        const char* advice;
    } cases[]{{"broken at the first look", "failfrom@1:EIO", "in/bad", 3, "bad"},
              {"broken when it is opened", "failfrom@2:EIO", "in/bad", 3, "look into the system's log"},
              {"broken while it is read", "failfrom@3:EIO", "in/bad", 3, "look into the system's log"},
              {"gone when its turn comes", "failfrom@1:" + vanished, "in/bad", 3, "there"},
              {"gone when it is opened", "failfrom@2:" + vanished, "in/bad", 3, "No such file"},
              {"too many open files", "fail@2:EMFILE", "in/bad", 3, "ulimit"},
              {"a folder nobody may look into", "failfrom@1:EACCES", "in/locked", 3, "Check the permissions"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const ProgramOutcome outcome = Run({"import", shelf, _scratch / "in", "--json", "--new"},
                                           {.environment = {{"TALVO_IO_PLAN", c.plan}, {"TALVO_IO_SCOPE", _scratch / c.where}}});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(ReadJsonLines(outcome.out).size(), c.stored);
        EXPECT_THAT(outcome.err,
                    testing::AllOf(HasSubstr(c.where), HasSubstr(c.advice), HasSubstr("1 of 4 entries could not be imported.")));
    }
    EXPECT_EQ(List(shelf, {"--all-versions"}).size(), 3 * std::size(cases));
    RunText({"verify", shelf});
}

TEST_F(OddFilesTest, AFullDiskLeavesWholeVersionsOnly) {
    const std::string shelf = MakeRepository("shelf");
    for (int i = 0; i < 6; i++) _scratch.Write("in/" + std::to_string(i), std::string(1000, char('a' + i)));
    std::size_t reported = 0;
    for (int step = 1; step < 120; step += 7) {
        const ProgramOutcome outcome =
            Run({"import", shelf, _scratch / "in", "--json"},
                {.environment = {{"TALVO_IO_PLAN", "failfrom@" + std::to_string(step) + ":ENOSPC"}, {"TALVO_IO_SCOPE", shelf}}});
        EXPECT_EQ(outcome.exitCode, 1) << step;
        EXPECT_THAT(outcome.err, HasSubstr("talvo-")) << "a path is named: " << outcome.err;
        reported += ReadJsonLines(outcome.out).size();
        const std::size_t present = List(shelf).size();
        EXPECT_GE(present, reported);
        reported = present;
    }
    // Hidden leftovers are all that may be off.
    for (const JsonObject& finding : ReadJsonLines(Run({"verify", shelf, "--json"}).out)) {
        if (!finding.Find("problem")) continue;  // the summary
        EXPECT_EQ(finding.Text("problem"), "leftover") << finding.Text("path");
    }
}

#endif

}  // namespace

}  // namespace talvo
