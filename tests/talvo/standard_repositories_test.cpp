// The repositories that are there without being made: by name, in the graph, and without a home.
#include "talvo/program_test_support.h"

#include <filesystem>

namespace talvo {
namespace {

using testing::HasSubstr;

class StandardRepositoriesTest : public ProgramTest {
protected:
    static constexpr const char* USER = "home/generated/net.talvo.asset/userrepository";
};

TEST_F(StandardRepositoriesTest, TheGraphIsToldFromTheUsersOwnDown) {
    const std::string shelf = MakeRepository("shelf");
    const std::vector<JsonObject> repositories = RunJson({"repos", "--base", shelf});
    ASSERT_EQ(repositories.size(), 4u);
    std::string ids;
    std::string names;
    for (const JsonObject& each : repositories) {
        ids += each.Text("repository") + " ";
        names += each.Text("name") + ", ";
    }
    EXPECT_EQ(names, "User preferences, Application, Built-in, repo-shelf, ");
    EXPECT_EQ(ids, "net.talvo.repository.userprefs net.talvo.repository.application net.talvo.repository.builtin repo-shelf ");
    EXPECT_EQ(repositories[0].Keys(), "repository name type path writable bases assets");
    EXPECT_EQ(repositories[0].Text("path"), _scratch / USER);
    EXPECT_TRUE(repositories[0].Flag("writable"));
    EXPECT_FALSE(repositories[1].Flag("writable"));
    EXPECT_EQ(repositories[2].Keys(), "repository name writable bases assets") << "it lies nowhere";
    EXPECT_GT(repositories[2].Number("assets"), 0);
    EXPECT_THAT(RunText({"repos"}), HasSubstr("\n    "));
}

TEST_F(StandardRepositoriesTest, TheyAreNamedLikeFolders) {
    Store("user", "chair", "one");
    EXPECT_THAT(ListIds("user"), HasSubstr("chair"));
    EXPECT_EQ(RunText({"cat", "user", "chair"}), "one");
    EXPECT_EQ(ListIds(_scratch / USER), "chair") << "it is a folder like others, at its own place";
    EXPECT_EQ(RunJsonOne({"verify", "user"}).Number("problems"), 0);
    EXPECT_EQ(RunJsonOne({"stat", "user"}).Text("path"), _scratch / USER);
    EXPECT_EQ(RunJsonOne({"show", "builtin", "net.talvo.assetcategory.uncategorized"}).Text("repository"),
              "net.talvo.repository.builtin");
    _scratch.Write("file", "f");
    ExpectFailure({"store", "app", "chair", _scratch / "file"}, "isn't writable");
    ExpectFailure({"delete", "builtin", "net.talvo.assetcategory.uncategorized"}, "Built-in assets belong to the program");
    const std::string shelf = MakeRepository("shelf");
    EXPECT_EQ(RunText({"cat", shelf, "chair", "--base", "user"}), "one");
    ExpectFailure({"init", _scratch / "other", "--id", "net.talvo.repository.userprefs"}, "the program's own");
}

TEST_F(StandardRepositoriesTest, AFolderNeedsNoHome) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    std::filesystem::remove_all(_scratch / "home");
    _scratch.Write("home", "in the way");
    EXPECT_EQ(ListIds(shelf), "chair");
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "one");
    ExpectFailure({"list", "user"}, _scratch / "home is no folder");
}

}  // namespace
}  // namespace talvo
