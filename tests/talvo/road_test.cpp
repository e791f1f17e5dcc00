// The road of a user: from files to assets, versions, metadata, copies, and back to files. Each command is a process of its own, so that all of it
// comes from the disk.
#include "talvo/program_test_support.h"

#include <cstdlib>

namespace talvo {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class RoadTest : public ProgramTest {};

TEST_F(RoadTest, InitMakesAFolderAndLeavesARepositoryAsItIs) {
    const std::string path = _scratch / "new/shelf";
    const JsonObject made = RunJsonOne({"init", path});
    EXPECT_EQ(made.Keys(), "repository path");
    EXPECT_EQ(made.Text("path"), path);
    EXPECT_THAT(made.Text("repository"), MatchesRegex("database_[0-9a-f]{32}"));
    EXPECT_EQ(RunJsonOne({"init", path}).Text("repository"), made.Text("repository"));
    EXPECT_EQ(RunJsonOne({"init", path, "--id", made.Text("repository")}).Text("repository"), made.Text("repository"));
    ExpectFailure({"init", path, "--id", "another"}, "is a repository already");
    EXPECT_EQ(_scratch.Read("new/shelf/databaseid"), made.Text("repository"));
    EXPECT_EQ(RunJsonOne({"init", _scratch / "b", "--id", "chosen"}).Text("repository"), "chosen");
}

TEST_F(RoadTest, AnEmptyRepositoryListsNothing) {
    const std::string shelf = MakeRepository("shelf");
    EXPECT_TRUE(List(shelf).empty());
    EXPECT_EQ(RunText({"list", shelf, "--type", "file"}), "NAME  SIZE  TIME  #  VERSION  ID\n");
    const JsonObject stat = RunJsonOne({"stat", shelf});
    EXPECT_EQ(stat.Number("assets"), 1) << "its name";
    EXPECT_EQ(stat.Text("index"), "none");
}

TEST_F(RoadTest, ImportedFilesAreListedAndReadBack) {
    const std::string shelf = MakeRepository("shelf");
    const std::string binary("\0\r\n\xff\x80 bytes", 12);
    _scratch.Write("in/chair.obj", "v 0 0 0\n");
    _scratch.Write("in/sub/Stück 椅.bin", binary);
    _scratch.Write("in/sub/empty", "");
    const std::vector<JsonObject> imported = RunJson({"import", shelf, _scratch / "in"});
    ASSERT_EQ(imported.size(), 3u);
    EXPECT_EQ(imported[0].Keys(), "repository id type version counter origin time deleted name bytes source state");
    EXPECT_EQ(imported[0].Text("source"), _scratch / "in/chair.obj");
    EXPECT_EQ(imported[0].Text("name"), "chair.obj");
    EXPECT_EQ(imported[0].Text("repository"), "repo-shelf");
    EXPECT_EQ(imported[0].Text("type"), "net.talvo.assettype.file");
    EXPECT_EQ(imported[0].Number("counter"), 1);
    EXPECT_EQ(imported[0].Number("bytes"), 8);
    EXPECT_FALSE(imported[0].Flag("deleted"));
    EXPECT_THAT(imported[0].Text("id"), MatchesRegex("file_[0-9a-f]{32}"));
    EXPECT_THAT(imported[0].Text("version"), MatchesRegex("[0-9a-f]{64}"));
    EXPECT_THAT(imported[0].Text("origin"), MatchesRegex("[0-9a-f]{16}"));
    EXPECT_THAT(imported[0].Text("time"), MatchesRegex("20[0-9-]{8}T[0-9:]{8}\\.[0-9]{6}Z"));
    EXPECT_EQ(imported[1].Text("name"), "Stück 椅.bin");
    EXPECT_EQ(imported[2].Text("name"), "empty");

    const std::vector<JsonObject> listed = List(shelf);
    ASSERT_EQ(listed.size(), 3u);
    for (std::size_t i = 1; i < listed.size(); i++) EXPECT_LT(listed[i - 1].Text("id"), listed[i].Text("id"));
    EXPECT_EQ(RunText({"cat", shelf, imported[0].Text("id")}), "v 0 0 0\n");
    EXPECT_EQ(RunText({"cat", shelf, imported[1].Text("id")}), binary);
    EXPECT_EQ(RunText({"cat", shelf, imported[2].Text("id")}), "");
    EXPECT_EQ(ListIds(shelf, {"--prefix", imported[2].Text("id").substr(0, 20)}), imported[2].Text("id"));
    EXPECT_EQ(ListIds(shelf, {"--type", "net.example.other"}), "");
    EXPECT_THAT(RunText({"list", shelf}), HasSubstr("chair.obj"));
}

TEST_F(RoadTest, AFolderIsOneAssetWhenAsked) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("set/a.txt", "A");
    _scratch.Write("set/deep/b.txt", "BB");
    const JsonObject set = RunJsonOne({"import", shelf, _scratch / "set", "--as-one", "--id", "set", "--name", "Two texts"});
    EXPECT_EQ(set.Text("id"), "set");
    EXPECT_EQ(set.Text("name"), "Two texts");
    EXPECT_EQ(set.Number("bytes"), 3);
    EXPECT_EQ(RunText({"cat", shelf, "set", "--path", "deep/b.txt"}), "BB");
    ExpectFailure({"cat", shelf, "set"}, "--path INNER");
    RunText({"export", shelf, "set", _scratch / "out"});
    EXPECT_EQ(_scratch.List("out"), _scratch.List("set"));
}

TEST_F(RoadTest, VersionsAreNamedByCounterIdOrPrefix) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "chair", "one", {"--tag", "first"});
    const JsonObject second = Store(shelf, "chair", "two");
    EXPECT_EQ(first.Text("name"), "to-store.txt");
    EXPECT_EQ(second.Text("name"), "to-store.txt") << "a new version keeps the name";
    EXPECT_EQ(second.Number("counter"), 2);
    EXPECT_LT(first.Text("time"), second.Text("time"));

    const std::string firstId = first.Text("version");
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "two");
    for (const std::string& version : {std::string("#1"), firstId, firstId.substr(0, 4)})
        EXPECT_EQ(RunText({"cat", shelf, "chair", "--version", version}), "one") << version;
    ExpectFailure({"cat", shelf, "chair", "--version", firstId.substr(0, 3)}, "has no version");
    ExpectFailure({"cat", shelf, "chair", "--version", "#3"}, "has no version \"#3\"");
    ExpectFailure({"cat", shelf, "chair", "--version", "#x"}, "a number stands behind");
    EXPECT_EQ(ListIds(shelf), "chair");
    EXPECT_EQ(ListIds(shelf, {"--all-versions"}), "chair chair");

    const JsonObject shown = RunJsonOne({"show", shelf, "chair", "--version", "#1"});
    EXPECT_EQ(shown.Keys(), "repository id type version counter origin time deleted name bytes url metadata");
    std::string keys;
    for (const JsonObject& entry : shown.List("metadata")) {
        EXPECT_EQ(entry.Keys(), "id kind type value");
        const Bool isTag = entry.Text("id") == "net.talvo.asset.versiontag";
        EXPECT_TRUE(!isTag || entry.Text("value") + "/" + entry.Text("kind") == "first/versioned");
        EXPECT_LT(keys, entry.Text("id")) << "sorted by id";
        keys = entry.Text("id");
    }
    EXPECT_THAT(RunText({"show", shelf, "chair"}), HasSubstr("net.talvo.asset.timestamp"));
}

TEST_F(RoadTest, AnAmbiguousPrefixIsRefusedWithTheCandidates) {
    // Version ids that begin alike don't come up by chance, so they are copied under ids of our own making: the same content twice is one id.
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "chair", "same");
    Store(shelf, "chair", "same");
    EXPECT_EQ(RunJsonOne({"show", shelf, "chair", "--version", first.Text("version")}).Number("counter"), 2)
        << "the newest of one version id";
    // The first line of `hash` is the version id.
    _scratch.Write("shelf/chair/1/hash", "abcdef01\n");
    _scratch.Write("shelf/chair/2/hash", "abcdef02\n");
    const ProgramOutcome outcome = Run({"show", shelf, "chair", "--version", "abcd"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("abcdef01"), HasSubstr("abcdef02"), HasSubstr("names several versions")));
    EXPECT_EQ(RunJsonOne({"show", shelf, "chair", "--version", "abcdef01"}).Number("counter"), 1);
}

TEST_F(RoadTest, OverwritingReplacesTheNewestVersion) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "chair", "one");
    const JsonObject over = Store(shelf, "chair", "uno", {"--overwrite"});
    EXPECT_EQ(over.Number("counter"), 1);
    EXPECT_EQ(over.Text("version"), first.Text("version"));
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "uno");
    EXPECT_EQ(ListIds(shelf, {"--all-versions"}), "chair");
    EXPECT_EQ(Run({"verify", shelf}).exitCode, 0);
}

TEST_F(RoadTest, DeletedAssetsComeBackWhenTheMarkerIsErased) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    const JsonObject marker = RunJsonOne({"delete", shelf, "chair"});
    EXPECT_TRUE(marker.Flag("deleted"));
    EXPECT_EQ(marker.Text("version"), "deleted");
    EXPECT_EQ(marker.Number("counter"), 2);
    EXPECT_EQ(ListIds(shelf), "");
    EXPECT_EQ(ListIds(shelf, {"--deleted"}), "chair");
    EXPECT_EQ(ListIds(shelf, {"--all-versions", "--deleted"}), "chair chair");
    ExpectFailure({"cat", shelf, "chair"}, "is deleted");
    ExpectFailure({"cat", shelf, "chair", "--version", "deleted"}, "has no content");
    EXPECT_EQ(RunText({"cat", shelf, "chair", "--version", "#1"}), "one");

    const JsonObject erased = RunJsonOne({"erase", shelf, "chair", "#2"});
    EXPECT_EQ(erased.Keys(), "id version erased");
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "one");
    RunText({"erase", shelf, "chair", "#1"});
    EXPECT_EQ(ListIds(shelf, {"--all-versions", "--deleted"}), "");
}

TEST_F(RoadTest, StoringADeletedAssetAgainBringsBackWhatWasKnownOfIt) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    RunText({"meta", "set", shelf, "chair", "my.key", "42", "--type", "int"});
    RunText({"delete", shelf, "chair"});
    EXPECT_EQ(Store(shelf, "chair", "two").Number("counter"), 3);
    EXPECT_EQ(RunText({"meta", "get", shelf, "chair", "my.key"}), "42\n");
}

TEST_F(RoadTest, CopiesKeepVersionAndMetadata) {
    const std::string shelf = MakeRepository("shelf");
    const std::string other = MakeRepository("other");
    const JsonObject stored = Store(shelf, "chair", "one", {"--tag", "first"});
    Store(shelf, "chair", "two");
    RunText({"meta", "set", shelf, "chair", "com.example.maker", "Oak & Co", "--version", "#1"});

    const JsonObject copy = RunJsonOne({"copy", shelf, "chair", other, "--version", "#1"});
    EXPECT_EQ(copy.Text("repository"), "repo-other");
    EXPECT_EQ(copy.Text("version"), stored.Text("version"));
    EXPECT_EQ(copy.Text("name"), "to-store.txt");
    EXPECT_EQ(RunText({"meta", "get", other, "chair", "com.example.maker"}), "Oak & Co\n");
    EXPECT_EQ(RunText({"meta", "get", other, "chair", "net.talvo.asset.versiontag"}), "first\n");
    RunJsonOne({"copy", shelf, "chair", shelf, "--id", "stool"});
    EXPECT_EQ(ListIds(shelf), "chair stool");
    EXPECT_EQ(RunText({"cat", shelf, "stool"}), "two");

    RunJsonOne({"copy", shelf, "stool", other});
    EXPECT_EQ(ListIds(other), "chair stool");
    RunText({"erase", shelf, "stool", "#1"});
    EXPECT_EQ(ListIds(shelf, {"--base", other}), "chair stool") << "bases are looked in, too";
    EXPECT_EQ(RunText({"cat", "--base", other, shelf, "stool"}), "two");
    EXPECT_EQ(RunText({"--base", other, "cat", shelf, "stool"}), "two");
    ExpectFailure({"erase", shelf, "stool", "#1", "--base", other}, "There is no asset \"stool\"");
}

TEST_F(RoadTest, MetadataOfEachTypeReadsBackAsItWasSet) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    struct {
        const char* type;
        const char* value;
        const char* json;  // as it comes back
    } const cases[]{
        {"string", "plain \"text\"\n2", R"("plain \"text\"\n2")"},
        {"string", "[1,2]", R"("[1,2]")"},
        {"string", "", R"("")"},
        {"int", "-9223372036854775808", "-9223372036854775808"},
        {"uint", "18446744073709551615", "18446744073709551615"},
        {"float", "0.1", "0.1"},
        {"bool", "true", "true"},
        {"id", "net.example.x", R"("net.example.x")"},
        {"ids", R"(["a","b"])", R"(["a","b"])"},
        {"time", "2023-05-02T12:00:00Z", R"("2023-05-02T12:00:00.000000Z")"},
        {"url", "https://example.org/a%20b", R"("https://example.org/a%20b")"},
        {"net.talvo.datatype.int32", "7", "7"},
        {"color", "[1, 0.5, 0]", "[1.0,0.5,0.0]"},
    };
    for (const auto& c : cases) {
        RunText({"meta", "set", shelf, "chair", "com.example.value", c.value, "--type", c.type});
        const ProgramOutcome got = Run({"meta", "get", shelf, "chair", "com.example.value", "--json"});
        EXPECT_THAT(got.out, HasSubstr(std::string("\"value\":") + c.json + "}")) << c.type << " " << c.value;
    }
    const JsonObject last = RunJsonOne({"meta", "get", shelf, "chair", "com.example.value"});
    EXPECT_EQ(last.Keys(), "id version key kind type value");
    EXPECT_EQ(last.Text("type"), "net.talvo.datatype.color");
    EXPECT_EQ(last.Text("kind"), "persistent");
    RunText({"meta", "unset", shelf, "chair", "com.example.value"});
    ExpectFailure({"meta", "get", shelf, "chair", "com.example.value"}, "has no metadata \"com.example.value\"");
    RunText({"meta", "unset", shelf, "chair", "com.example.value"});
    EXPECT_THAT(RunText({"meta", "list", shelf, "chair"}), Not(HasSubstr("com.example.value")));
}

TEST_F(RoadTest, KindsSayWhatFollowingVersionsTakeOver) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    for (const char* kind : {"persistent", "versioned", "readonly", "user"})
        RunText({"meta", "set", shelf, "chair", std::string("com.example.") + kind, "v", "--kind", kind});
    Store(shelf, "chair", "two");
    std::string keys;
    for (const JsonObject& entry : RunJson({"meta", "list", shelf, "chair"})) {
        if (entry.Text("key").starts_with("com.")) keys += entry.Text("key").substr(12) + "/" + entry.Text("kind") + " ";
    }
    EXPECT_EQ(keys, "persistent/persistent user/user ");
}

TEST_F(RoadTest, AFileAsMetadataIsCopiedIntoTheRepository) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    _scratch.Write("preview.png", "pixels");
    const JsonObject set =
        RunJsonOne({"meta", "set", shelf, "chair", "net.talvo.asset.previewimageurl", "--file", _scratch / "preview.png"});
    EXPECT_EQ(set.Text("type"), "net.talvo.datatype.url");
    EXPECT_THAT(_scratch.List("shelf"), HasSubstr("net.talvo.asset.previewimageurl.meta.png"));
    RunText({"meta", "unset", shelf, "chair", "net.talvo.asset.previewimageurl"});
    EXPECT_THAT(_scratch.List("shelf"), Not(HasSubstr("previewimageurl")));
}

TEST_F(RoadTest, ExportNeverWritesOverAnything) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    _scratch.Write("out/there.txt", "precious");
    _scratch.Write("out/folder/x", "precious");
    const JsonObject exported = RunJsonOne({"export", shelf, "chair", _scratch / "out/chair.txt"});
    EXPECT_EQ(exported.Keys(), "id version target bytes");
    EXPECT_EQ(exported.Number("bytes"), 3);
    EXPECT_EQ(_scratch.Read("out/chair.txt"), "one");
    ExpectFailure({"export", shelf, "chair", _scratch / "out/there.txt"}, "is there already");
    ExpectFailure({"export", shelf, "chair", _scratch / "out/folder"}, "is there already");
    ExpectFailure({"export", shelf, "chair", _scratch / "out/folder", "--force"}, "is a folder");
    ExpectFailure({"export", shelf, "chair", _scratch / "shelf/chair/1/asset.txt", "--force"}, "lies in the repository");
    ExpectFailure({"export", shelf, "chair", _scratch / "missing/chair.txt"}, "missing\" is not there");
    EXPECT_EQ(_scratch.List("out"), "chair.txt folder/ folder/x there.txt");
    EXPECT_EQ(_scratch.Read("out/there.txt"), "precious");
    RunText({"export", shelf, "chair", _scratch / "out/there.txt", "--force"});
    EXPECT_EQ(_scratch.Read("out/there.txt"), "one");

    RunText({"import", shelf, _scratch / "out", "--as-one", "--id", "folder"});
    RunText({"export", shelf, "folder", _scratch / "out/folder", "--force"});
    EXPECT_EQ(_scratch.List("out/folder"), "chair.txt folder/ folder/x there.txt") << "replaced whole, nothing hidden is left";
    ExpectFailure({"export", shelf, "folder", _scratch.GetPath(), "--force"}, "is not replaced");
}

TEST_F(RoadTest, InnerPathsStayInsideOfTheContent) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("set/a.txt", "A");
    RunText({"import", shelf, _scratch / "set", "--as-one", "--id", "set"});
    for (const char* inner : {"..", "../hash", "/etc/passwd", "a.txt/../../hash", "", "./a.txt", "a.txt/"})
        ExpectFailure({"cat", shelf, "set", "--path", inner}, "is no path inside of the content");
    ExpectFailure({"cat", shelf, "set", "--path", "b.txt"}, "There is no \"b.txt\"");
    const std::string payload = RunJsonOne({"show", shelf, "set"}).Text("url").substr(7);
    ASSERT_EQ(std::system(("ln -s /etc/passwd '" + payload + "/link'").c_str()), 0);
    ExpectFailure({"cat", shelf, "set", "--path", "link"}, "is a link");
}

TEST_F(RoadTest, VerifyTellsWhatIsDamagedAndGcWhatIsLeftOver) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject stored = Store(shelf, "chair", "one");
    Store(shelf, "table", "two");
    const JsonObject clean = RunJsonOne({"verify", shelf});
    EXPECT_EQ(clean.Keys(), "assets versions bytes problems");
    EXPECT_EQ(clean.Number("versions"), 2 + 1) << "with its name";
    EXPECT_EQ(clean.Number("problems"), 0);

    _scratch.Write("shelf/chair/1/asset.txt", "ONE");
    const ProgramOutcome outcome = Run({"verify", shelf, "--json", "--jobs", "3"});
    EXPECT_EQ(outcome.exitCode, 1);
    const std::vector<JsonObject> lines = ReadJsonLines(outcome.out);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].Keys(), "id version problem path");
    EXPECT_EQ(lines[0].Text("id") + " " + lines[0].Text("problem"), "chair payload-changed");
    EXPECT_EQ(lines[0].Text("version"), stored.Text("version"));
    EXPECT_EQ(lines[1].Number("problems"), 1);
    EXPECT_THAT(Run({"verify", shelf}).out, HasSubstr("payload-changed"));

    const std::string leftover = "/chair/.~0a1b2c3d-0000-4000-8000-000000000000";
    _scratch.Write("shelf" + leftover + "/asset.txt", "left");
    ASSERT_EQ(std::system(("cd '" + shelf + leftover + "' && touch -d '3 hours ago' asset.txt .").c_str()), 0);
    const std::vector<JsonObject> dry = RunJson({"gc", shelf, "--dry-run"});
    ASSERT_EQ(dry.size(), 2u);
    EXPECT_EQ(dry[0].Keys() + " / " + dry[1].Keys(), "path bytes / leftovers bytes");
    EXPECT_EQ(RunJson({"gc", shelf}).size(), 2u);
    EXPECT_EQ(RunJson({"gc", shelf}).size(), 1u) << "the sum alone";
    EXPECT_EQ(RunText({"cat", shelf, "table"}), "two");
}

TEST_F(RoadTest, StatCountsByType) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    Store(shelf, "chair", "three");
    Store(shelf, "table", "x");
    RunText({"delete", shelf, "table"});
    const JsonObject stat = RunJsonOne({"stat", shelf});
    EXPECT_EQ(stat.Keys(), "repository path assets deleted versions bytes index types");
    const std::vector<JsonObject> types = stat.List("types");
    ASSERT_EQ(types.size(), 2u);
    EXPECT_EQ(types[0].Text("type") + " " + types[1].Text("type"), "net.talvo.assettype.database net.talvo.assettype.file");
    for (const JsonObject& counts : {stat, types[1]}) {
        const Int64 names = counts.Find("types") ? 1 : 0;  // the repository's own is in the sum
        EXPECT_EQ(counts.Number("assets"), 1 + names);
        EXPECT_EQ(counts.Number("deleted"), 1);
        EXPECT_EQ(counts.Number("versions"), 4 + names);
        EXPECT_EQ(counts.Number("bytes"), 9);
    }
    EXPECT_THAT(RunText({"stat", shelf}), HasSubstr("net.talvo.assettype.file"));
}

}  // namespace

}  // namespace talvo
