// What bad input gets: an exit code, a message that says what to do, and nothing written.
#include "talvo/program_test_support.h"

#include <sys/stat.h>

namespace talvo {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class BadInputTest : public ProgramTest {
protected:
    /// "@/" at the begin of a word stands for the scratch folder.
    Words Expand(Words words) const {
        for (std::string& word : words) {
            if (word.starts_with("@/")) word = _scratch.GetPath() + word.substr(1);
        }
        return words;
    }
};

TEST_F(BadInputTest, IsAnErrorThatNamesItAndWritesNothing) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    _scratch.Write("file", "f");
    _scratch.MakeFolder("folder");
    const struct {
        const char* why;
        Words words;
        const char* message;
    } cases[]{
        {"no such folder", {"list", "@/nowhere"}, "nowhere doesn't point to a directory."},
        {"a file", {"list", "@/file"}, "file doesn't point to a directory."},
        {"no repository", {"list", "@/folder"}, "folder has no identifier, so this is not a valid repository path."},
        {"no repository to write to", {"import", "@/folder", "@/file"}, "has no identifier"},
        {"no repository to verify", {"verify", "@/folder"}, "folder"},
        {"no repository to sweep", {"gc", "@/folder"}, "folder"},
        {"no repository to copy to", {"copy", "@/shelf", "chair", "@/folder"}, "has no identifier"},
        {"no repository behind", {"list", "@/shelf", "--base", "@/folder"}, "has no identifier"},
        {"no folder behind the name",
         {"verify", "builtin"},
         "The repository \"builtin\" has no folder. For a folder of this name"},
        {"empty path", {"list", ""}, "is empty"},
        {"unknown id", {"show", "@/shelf", "table"}, "There is no asset \"table\""},
        {"empty id", {"show", "@/shelf", ""}, "Asset ID cannot be null."},
        {"unknown id to delete", {"delete", "@/shelf", "table"}, "table"},
        {"unknown version to erase", {"erase", "@/shelf", "chair", "#9"}, "has no version \"#9\""},
        {"unknown version to copy", {"copy", "@/shelf", "chair", "@/shelf", "--version", "ffff"}, "has no version \"ffff\""},
        {"unknown key", {"meta", "get", "@/shelf", "chair", "no.such.key"}, "no.such.key"},
        {"id with control characters", {"store", "@/shelf", "a\nb", "@/file"}, "a\\x0ab"},
        {"imported id with control characters", {"import", "@/shelf", "@/file", "--id", "a\tb"}, "a\\x09b"},
        {"copied id with control characters", {"copy", "@/shelf", "chair", "@/shelf", "--id", "a\x1b[2J"}, "a\\x1b[2J"},
        {"repository id with control characters", {"init", "@/new", "--id", "a\nb"}, "a\\nb"},
        {"metadata id that begins with a dot", {"meta", "set", "@/shelf", "chair", ".hidden", "x"}, ".hidden"},
        {"metadata id that is a payload's name", {"meta", "set", "@/shelf", "chair", "asset", "x"}, "asset"},
        {"metadata id with a slash", {"meta", "set", "@/shelf", "chair", "../../evil", "x"}, "../../evil"},
        {"empty metadata id", {"meta", "set", "@/shelf", "chair", "", "x"}, ""},
        {"a value that never changes",
         {"meta", "set", "@/shelf", "chair", "net.talvo.asset.timestamp", "2020-01-01T00:00:00Z", "--type", "time"},
         "& AssetMetaData::KIND::READ_ONLY) not fulfilled."},
        {"the time of a version",
         {"meta", "unset", "@/shelf", "chair", "net.talvo.asset.timestamp"},
         "was fixed when the version was stored and stays"},
        {"no file as value", {"meta", "set", "@/shelf", "chair", "k", "--file", "@/missing"}, "missing\" is no file"},
        {"nothing to store", {"store", "@/shelf", "chair", "@/missing"}, "missing\" is not there"},
        {"the repository itself", {"store", "@/shelf", "chair", "@/shelf"}, "lies in the repository itself"},
    };
    const std::string before = _scratch.List("shelf") + " | " + _scratch.List("folder");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const ProgramOutcome outcome = Run(Expand(c.words));
        EXPECT_EQ(outcome.exitCode, 1) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, StartsWith("talvo: error: "));
        EXPECT_THAT(outcome.err, HasSubstr(c.message));
        EXPECT_EQ(_scratch.List("shelf") + " | " + _scratch.List("folder"), before);
    }
    EXPECT_THAT(_scratch.List(), testing::Not(HasSubstr("new")));
}

TEST_F(BadInputTest, WrongUsageShowsTheUsageOfTheCommand) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    _scratch.Write("in/a", "a");
    _scratch.Write("in/b", "b");
    const struct {
        const char* why;
        Words words;
        const char* message;
        const char* usage;
    } cases[]{
        {"no command", {}, "COMMAND", "Usage: talvo COMMAND"},
        {"unknown command", {"lst"}, "There is no command \"lst\". Did you mean \"list\"?", "Usage: talvo COMMAND"},
        {"unknown command of a group",
         {"meta", "gett"},
         "There is no command \"meta gett\". Did you mean \"meta get\"?",
         "Usage: talvo meta COMMAND"},
        {"no command of a group", {"meta"}, "A command is missing", "Usage: talvo meta COMMAND"},
        {"missing argument", {"show", "@/shelf"}, "ID", "Usage: talvo show REPO ID [--version V]\n"},
        {"too many arguments", {"list", "@/shelf", "list"}, "list", "Usage: talvo list REPO"},
        {"unknown option", {"list", "@/shelf", "--frob"}, "--frob", "Usage: talvo list REPO"},
        {"option without its value", {"show", "@/shelf", "chair", "--version"}, "--version needs a value.", "Usage: talvo show"},
        {"the program's version after a command",
         {"delete", "@/shelf", "chair", "--version"},
         "--version",
         "Usage: talvo delete"},
        {"unknown type",
         {"meta", "set", "@/shelf", "chair", "k", "v", "--type", "tree"},
         "There is no type \"tree\"",
         "Usage: talvo meta set"},
        {"value of another type",
         {"meta", "set", "@/shelf", "chair", "k", "v", "--type", "int"},
         "is no value of the type int",
         "Usage: talvo meta set"},
        {"number too great",
         {"meta", "set", "@/shelf", "chair", "k", "9223372036854775808", "--type", "int"},
         "is no value of the type int",
         "Usage"},
        {"half a document",
         {"meta", "set", "@/shelf", "chair", "k", "[\"a\"", "--type", "ids"},
         "is no value of the type ids",
         "Usage"},
        {"unknown kind",
         {"meta", "set", "@/shelf", "chair", "k", "v", "--kind", "mine"},
         "There is no kind \"mine\"",
         "Usage: talvo meta set"},
        {"kind that nobody keeps",
         {"meta", "set", "@/shelf", "chair", "k", "v", "--kind", "0"},
         "There is no kind \"0\"",
         "Usage: talvo meta set"},
        {"neither value nor file", {"meta", "set", "@/shelf", "chair", "k"}, "either a VALUE or --file", "Usage: talvo meta set"},
        {"one id for two files", {"import", "@/shelf", "@/in", "--id", "x"}, "there are 2 files", "Usage: talvo import"},
        {"no number", {"verify", "@/shelf", "--jobs", "0"}, "--jobs takes a number", "Usage: talvo verify"},
        {"unknown colour", {"list", "@/shelf", "--color", "red"}, "--color takes", "Usage: talvo list"},
    };
    const std::string before = _scratch.List("shelf");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const ProgramOutcome outcome = Run(Expand(c.words));
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, testing::AllOf(StartsWith("talvo: error: "), HasSubstr(c.message), HasSubstr(c.usage)));
        EXPECT_EQ(_scratch.List("shelf"), before);
    }
}

TEST_F(BadInputTest, AReadOnlyRepositoryRefusesChangesButForUserValues) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    _scratch.Write("file", "f");
    // The mode counts, not who asks: an administrator is refused, too.
    ASSERT_EQ(::chmod((shelf + "/databaseid").c_str(), 0444), 0);
    const std::string before = _scratch.List("shelf");
    const Words refused[]{{"import", shelf, _scratch / "file"},
                          {"store", shelf, "chair", _scratch / "file"},
                          {"store", shelf, "new", _scratch / "file", "--overwrite"},
                          {"delete", shelf, "chair"},
                          {"erase", shelf, "chair", "#1"},
                          {"copy", shelf, "chair", shelf, "--id", "stool"},
                          {"meta", "set", shelf, "chair", "com.example.k", "v"},
                          {"meta", "set", shelf, "chair", "com.example.k", "--file", _scratch / "file"},
                          {"meta", "unset", shelf, "chair", "net.talvo.asset.timestamp"}};
    for (const Words& words : refused) {
        SCOPED_TRACE(testing::PrintToString(words));
        const ProgramOutcome outcome = Run(words);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_THAT(outcome.err, StartsWith("talvo: error: "));
        EXPECT_EQ(_scratch.List("shelf"), before);
    }
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "one");
    RunText({"meta", "set", shelf, "chair", "com.example.mine", "v", "--kind", "user"});
    EXPECT_EQ(RunText({"meta", "get", shelf, "chair", "com.example.mine"}), "v\n");
    EXPECT_EQ(_scratch.List("shelf"), before) << "the user's own values lie with the user's preferences";
}

TEST_F(BadInputTest, ErrorsAreJsonWhenAskedFor) {
    const Words lines[]{{"--json", "list", _scratch / "nowhere"}, {"list", "--json", _scratch / "nowhere"}};
    for (const Words& words : lines) {
        const ProgramOutcome outcome = Run(words);
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.out, "");
        const std::vector<JsonObject> errors = ReadJsonLines(outcome.err);
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors[0].Keys(), "error message");
        EXPECT_EQ(errors[0].Text("error"), "net.talvo.error.illegalargument");
        EXPECT_THAT(errors[0].Text("message"), HasSubstr("doesn't point to a directory."));
    }
}

TEST_F(BadInputTest, ADamagedThingHidesNothingElse) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    Store(shelf, "table", "two");
    _scratch.Write("file", "three");
    RunText({"meta", "set", shelf, "table", "com.example.k", "v"});
    _scratch.Write("shelf/chair/asset.info", "rubbish");
    _scratch.Write("shelf/stray/file", "stray");
    _scratch.Write("shelf/stray.txt", "stray");
    _scratch.Write("shelf/table/1/com.example.k.meta", "{ \"root\": ");
    EXPECT_EQ(ListIds(shelf), "table");
    EXPECT_EQ(RunText({"cat", shelf, "table"}), "two");
    ExpectFailure({"meta", "get", shelf, "table", "com.example.k"}, "com.example.k.meta can't be read");
    ExpectFailure({"meta", "get", shelf, "table", "com.example.k"}, "Restore it from a copy, or remove it.");
    ExpectFailure({"store", shelf, "table", _scratch / "file"}, "com.example.k.meta can't be read");
    EXPECT_THAT(RunText({"show", shelf, "table"}), HasSubstr("com.example.k"));
    const ProgramOutcome verified = Run({"verify", shelf});
    EXPECT_EQ(verified.exitCode, 1);
    EXPECT_THAT(verified.out, testing::AllOf(HasSubstr("asset-info-damaged"), HasSubstr("document-damaged")));
}

}  // namespace

}  // namespace talvo
