// Categories, colours, names, tags, indexes and health, as users meet them.
#include "talvo/program_test_support.h"

#include <filesystem>

namespace talvo {
namespace {

using testing::HasSubstr;

class LibraryTest : public ProgramTest {
protected:
    std::string States(const Words& words) const {
        std::string states;
        for (const JsonObject& object : RunJson(words)) states += (states.empty() ? "" : " ") + object.Text("state");
        return states;
    }
    /// "name(assets)" of each category with its depth in blanks.
    std::string Tree(const std::string& shelf) const { return RunText({"category", "tree", shelf}); }
};

TEST_F(LibraryTest, ImportsMirrorFoldersAndKnowWhatIsThere) {
    const std::string shelf = MakeRepository("shelf");
    _scratch.Write("in/chair.OBJ", "1");
    _scratch.Write("in/sub/deep/chair.OBJ", "2");
    _scratch.Write("in/sub/notes", "3");
    const Words import{"import", shelf, _scratch / "in"};
    EXPECT_EQ(States(import), "new new new");
    EXPECT_EQ(Tree(shelf), "in  (1)\n  sub  (1)\n    deep  (1)\n");
    EXPECT_EQ(States(import), "unchanged unchanged unchanged");
    _scratch.Write("in/sub/deep/chair.OBJ", "changed");
    _scratch.Write("in/sub/more.zzz", "4");
    EXPECT_EQ(States(import), "unchanged updated new unchanged") << "in the order of names: deep, more, notes";
    EXPECT_EQ(States({"import", shelf, "--new", _scratch / "in/sub/notes"}), "new");
    EXPECT_EQ(Tree(shelf), "in  (1)\n  sub  (2)\n    deep  (1)\n");
    std::map<std::string, std::string> subtypes;
    for (const JsonObject& object : List(shelf)) {
        const ProgramOutcome subtype = Run({"meta", "get", shelf, object.Text("id"), "net.talvo.asset.subtype"});
        subtypes[object.Text("name")] = subtype.out;
    }
    EXPECT_THAT(subtypes["chair.OBJ"], HasSubstr("net.talvo.asset.subtype.object"));
    EXPECT_THAT(subtypes["more.zzz"], HasSubstr("net.talvo.asset.subtype.file.zzz"));
    // Two with one name and place, of which none is it: nobody knows whose next version it would be.
    Store(shelf, "one", "A");
    EXPECT_EQ(States({"import", shelf, "--new", _scratch / "in/sub/notes"}), "new");
    _scratch.Write("in/sub/notes", "others");
    EXPECT_EQ(States({"import", shelf, _scratch / "in/sub/notes"}), "new");
    RunText({"verify", shelf});
}

TEST_F(LibraryTest, CategoriesColoursNamesAndTags) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    RunText({"category", "add", shelf, "Furniture"});
    RunText({"category", "add", shelf, "Chairs", "--parent", "furniture", "--id", "chairs"});
    RunText({"category", "set", shelf, "chair", "Chairs"});
    EXPECT_EQ(Tree(shelf), "Furniture  (0)\n  Chairs  (1)\n");
    const ProgramOutcome circle = Run({"category", "set", shelf, "Furniture", "Chairs"});
    EXPECT_EQ(circle.exitCode, 1);
    EXPECT_THAT(circle.err, HasSubstr("circle"));
    EXPECT_THAT(Run({"category", "add", shelf, "X", "--id", "chairs"}).err, HasSubstr("is taken"));
    EXPECT_THAT(Run({"category", "set", shelf, "chair", "Tables"}).err, HasSubstr("no category \"Tables\""));

    RunText({"color", "add", shelf, "Approved", "#00aaff", "--id", "ok"});
    RunText({"color", "set", shelf, "chair", "approved"});
    EXPECT_EQ(RunJson({"color", "list", shelf})[0].Text("color"), "#00aaff");
    EXPECT_EQ(Run({"color", "add", shelf, "Bad", "blue"}).exitCode, 2);

    RunText({"name", shelf, "chair", "Oak chair", "--language", "en"});
    RunText({"name", shelf, "chair", "Eichenstuhl", "--language", "de"});
    EXPECT_EQ(RunText({"name", shelf, "chair", "--language", "de"}), "Eichenstuhl\n");
    EXPECT_EQ(RunText({"name", shelf, "chair", "--language", "en"}), "Oak chair\n");
    RunText({"repo-name", shelf, "Our shelf"});
    EXPECT_EQ(RunText({"repo-name", shelf}), "Our shelf\n");
    EXPECT_EQ(RunText({"tag", shelf, "chair", "--next"}), "1.0\n");
    EXPECT_EQ(RunText({"tag", shelf, "chair", "1.9"}), "1.9\n");
    EXPECT_EQ(RunText({"tag", shelf, "chair", "--next"}), "2.0\n");
    EXPECT_EQ(Run({"tag", shelf, "chair", "1", "--next"}).exitCode, 2);
    EXPECT_THAT(RunText({"icon", shelf, "chairs"}), HasSubstr("category.svg"));
}

TEST_F(LibraryTest, IndexesAndWhatTheDoctorMends) {
    namespace fs = std::filesystem;
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "one");
    Store(shelf, "lamp", "two");
    EXPECT_EQ(RunJson({"index", shelf}).back().Text("state"), "none");
    for (const Words& words : {Words{"compact", shelf}, Words{"compact", shelf, "--background"}}) {
        RunText(words);
        EXPECT_EQ(RunJson({"index", shelf}).back().Text("state"), "whole");
        EXPECT_EQ(ListIds(shelf), "chair lamp");
    }
    RunText({"name", shelf, "lamp", "Lamp"});
    EXPECT_EQ(RunJson({"index", shelf}).back().Number("changed"), 1);
    EXPECT_EQ(RunText({"name", shelf, "lamp"}), "Lamp\n");
    EXPECT_EQ(Run({"doctor", shelf}).exitCode, 0);

    RunText({"compact", shelf});
    fs::rename(_scratch / "shelf/chair/1", _scratch / "shelf/chair/007");
    _scratch.Write("shelf/_index/0-1/index", "nonsense");
    _scratch.Write("shelf/lamp/1/some.meta", "{");
    EXPECT_EQ(Run({"list", shelf}).exitCode, 1);
    const ProgramOutcome ill = Run({"doctor", shelf});
    EXPECT_EQ(ill.exitCode, 1);
    EXPECT_THAT(ill.out, testing::AllOf(HasSubstr("007"), HasSubstr("some.meta"), HasSubstr("Line 2")));
    EXPECT_EQ(Run({"doctor", shelf, "--fix"}).exitCode, 0);
    EXPECT_EQ(Run({"doctor", shelf}).exitCode, 0);
    EXPECT_EQ(ListIds(shelf), "chair lamp");
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "one");
    EXPECT_EQ(RunJson({"index", shelf}).back().Text("state"), "whole");
    EXPECT_EQ(Run({"doctor", _scratch / "nowhere"}).exitCode, 1);
}

}  // namespace
}  // namespace talvo
