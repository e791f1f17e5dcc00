// Urls of assets on the command line.
#include "talvo/program_test_support.h"

namespace talvo {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class UrlsTest : public ProgramTest {};

TEST_F(UrlsTest, AVersionTellsItsUrl) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "a/b", "one", {"--tag", "1.0"});
    Store(shelf, "a/b", "two");
    const JsonObject url = RunJsonOne({"url", shelf, "a/b", "--version", "#1"});
    EXPECT_EQ(url.Keys(), "id version url");
    EXPECT_THAT(url.Text("url"), StartsWith("asset:///a%252Fb"));
    EXPECT_THAT(url.Text("url"), EndsWith("&version=1.0&rev=" + first.Text("version")));
    EXPECT_THAT(RunText({"url", shelf, "a/b", "--latest"}), Not(HasSubstr("rev=")));
    EXPECT_EQ(Run({"url", shelf, "a/b", "--latest", "--version", "#1"}).exitCode, 2);
    RunText({"delete", shelf, "a/b"});
    ExpectFailure({"url", shelf, "a/b"}, "a/b");
}

TEST_F(UrlsTest, OpenReadsWhatAUrlLeadsTo) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "chair", "one");
    Store(shelf, "chair", "two");
    _scratch.Write("set/deep/b.txt", "BB");
    RunJsonOne({"import", shelf, _scratch / "set", "--as-one", "--id", "set"});
    // The start of the module may warn before: nothing but programs that are installed has an application repository.
    const auto expectFailure = [&](const Words& words, const char* message) {
        const ProgramOutcome outcome = Run(words);
        EXPECT_EQ(outcome.exitCode, 1) << message;
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("talvo: error: "));
        EXPECT_THAT(outcome.err, HasSubstr(message));
    };
    EXPECT_EQ(RunText({"open", "asset:///chair", "--base", shelf}), "two");
    EXPECT_EQ(RunText({"open", "asset:///chair?" + first.Text("version"), "--base", shelf}), "one");
    EXPECT_EQ(RunText({"open", RunJsonOne({"url", shelf, "chair", "--version", "#1"}).Text("url"), "--base", shelf}), "one");
    EXPECT_EQ(RunText({"open", "asset:///set/deep/b.txt", "--base", shelf}), "BB");
    expectFailure({"open", "asset:///set", "--base", shelf}, "is a folder");
    expectFailure({"open", "asset:///set/../chair", "--base", shelf}, "\"..\" is no name there");
    expectFailure({"open", "asset:///nobody", "--base", shelf}, "No asset found for Url asset:///nobody.");
    expectFailure({"open", "asset:///chair"}, "No asset found");
    expectFailure({"open", "chair", "--base", shelf}, "is no url");

    const JsonObject resolved = RunJsonOne({"resolve", "asset:///chair", "--base", shelf});
    EXPECT_EQ(resolved.Keys(), "url target repository id version");
    EXPECT_EQ(resolved.Text("repository"), "repo-shelf");
    EXPECT_EQ(resolved.Text("id"), "chair");
    EXPECT_EQ(RunText({"open", resolved.Text("target"), "--base", shelf}), "two");
    EXPECT_EQ(RunJsonOne({"resolve", resolved.Text("target"), "--base", shelf}).Text("version"), resolved.Text("version"));
    expectFailure({"resolve", "file:///nowhere", "--base", shelf}, "No asset found");
}

}  // namespace

}  // namespace talvo
