// Urls of assets on the command line.
#include "talvo/program_test_support.h"

namespace talvo {

namespace {

using testing::StartsWith;

class UrlsTest : public ProgramTest {};

TEST_F(UrlsTest, AVersionTellsItsUrl) {
    const std::string shelf = MakeRepository("shelf");
    const JsonObject first = Store(shelf, "a/b", "one", {"--tag", "1.0"});
    Store(shelf, "a/b", "two");
    const JsonObject url = RunJsonOne({"url", shelf, "a/b", "--version", "#1"});
    EXPECT_EQ(url.Keys(), "id version url");
    EXPECT_THAT(url.Text("url"), StartsWith("asset:///a%252Fb"));
    EXPECT_THAT(url.Text("url"), testing::EndsWith("&version=1.0&rev=" + first.Text("version")));
    EXPECT_THAT(RunText({"url", shelf, "a/b", "--latest"}), testing::Not(testing::HasSubstr("rev=")));
    EXPECT_EQ(Run({"url", shelf, "a/b", "--latest", "--version", "#1"}).exitCode, 2);
    RunText({"delete", shelf, "a/b"});
    ExpectFailure({"url", shelf, "a/b"}, "a/b");
}

}  // namespace

}  // namespace talvo
