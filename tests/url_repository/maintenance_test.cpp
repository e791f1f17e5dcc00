// Checks and sweeps of a repository, each on a tree damaged in one known way.
#include "url_repository/url_repository_fixture.h"

#include <chrono>

namespace talvo {
namespace {

using PROBLEM = RepositoryFinding::PROBLEM;
using RepositoryMaintenance::GC_MODE;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Int64 HOUR = Int64(3600) * 1000000;

class Maintenance : public UrlRepositoryTest {
protected:
    Maintenance() {
        const auto repository = Open();
        const AssetDescription first = Store(repository, "a", "first");
        Need(repository->StoreMetaData(first, MakeMetaId("key"), Data(String("v")), KIND::PERSISTENT));
        Need(repository->StoreMetaData(first, MakeMetaId("fast"), Data(String("v")), KIND::PERSISTENT | KIND::DERIVED));
        Store(repository, "a", "second");
        Need(repository->DeleteAsset(MakeId("a")));
        _scratch.Write("dir/x.txt", "x");
        Need(repository->StoreAsset(MakeId("b"), MakeFileAsset(_scratch.GetUrl() + "dir"), nullptr));
    }
    /// "problem number path below the root" of each finding, and an explanation in each.
    std::vector<std::string> Verify(RepositoryCheckSummary* summary = nullptr) const {
        std::vector<std::string> lines;
        const Url root = GetRoot();
        const auto result = Need(RepositoryMaintenance::Verify(root, 3, [&](const RepositoryFinding& finding) -> Result<Bool> {
            EXPECT_TRUE(finding.explanation.IsPopulated());
            const std::string path(finding.path.GetPath().substr(root.GetPath().size() + 1));
            lines.push_back(std::to_string(Int32(finding.problem)) + " " + path);
            return true;
        }));
        EXPECT_EQ(result.problems, Int(lines.size()));
        if (summary) *summary = result;
        return lines;
    }
    static std::string Line(PROBLEM problem, const std::string& path) { return std::to_string(Int32(problem)) + " " + path; }
    std::vector<std::string> Sweep(GC_MODE mode, Int64 age) const {
        std::vector<std::string> paths;
        Need(RepositoryMaintenance::CollectGarbage(
            GetRoot(), mode, age, [&](const RepositoryMaintenance::Leftover& leftover) -> Result<Bool> {
                paths.push_back(std::string(leftover.path.GetPath().substr(_scratch.GetPath().size() + 1)) + " " +
                                std::to_string(leftover.bytes));
                return true;
            }));
        return paths;
    }
    void MakeOld(const std::string& name) const {
        const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(2);
        std::filesystem::last_write_time(_scratch / name, old);
    }
};

TEST_F(Maintenance, ASoundRepositoryHasNoFindingsAndStaysAsItIs) {
    const std::string before = _scratch.List("repo");
    RepositoryCheckSummary summary;
    EXPECT_THAT(Verify(&summary), IsEmpty());
    EXPECT_EQ(summary.assets, 2);
    EXPECT_EQ(summary.versions, 4);
    EXPECT_EQ(summary.bytes, 12);
    EXPECT_EQ(_scratch.List("repo"), before);
}

TEST_F(Maintenance, ACheckThatIsEndedTellsWhatItLeftOut) {
    Int asked = 0;
    const auto summary = Need(RepositoryMaintenance::Verify(
        GetRoot(), 1, [](const RepositoryFinding&) -> Result<Bool> { return true; }, [&] { return ++asked < 2; }));
    EXPECT_EQ(summary.assets, 1);
    EXPECT_EQ(summary.unchecked, 1);
}

TEST_F(Maintenance, EachKindOfDamageIsFound) {
    const struct {
        const char* file;
        const char* bytes;  // null: removed
        PROBLEM problem;
        const char* path;
        const char* why;
    } cases[] = {
        {"a/1/asset.txt", "girst", PROBLEM::PAYLOAD_CHANGED, "a/1/asset.txt", "one bit"},
        {"a/1/asset.txt", "firs", PROBLEM::PAYLOAD_CHANGED, "a/1/asset.txt", "cut short"},
        {"a/1/asset.txt", nullptr, PROBLEM::PAYLOAD_MISSING, "a/1", "gone"},
        {"a/1/asset", "more", PROBLEM::PAYLOAD_DOUBLED, "a/1/asset", "a second one"},
        {"b/1/asset/x.txt", "y", PROBLEM::PAYLOAD_CHANGED, "b/1/asset", "inside of a directory"},
        {"b/1/asset/z.txt", "", PROBLEM::PAYLOAD_CHANGED, "b/1/asset", "a file too many"},
        {"a/1/hash", nullptr, PROBLEM::HASH_MISSING, "a/1/hash", "gone"},
        {"a/1/hash", "", PROBLEM::HASH_MISSING, "a/1/hash", "empty"},
        {"a/1/hash", "v1\n", PROBLEM::HASH_MISSING, "a/1/hash", "an id that is no hash"},
        {"a/1/key.meta", "{\"root\"", PROBLEM::DOCUMENT_DAMAGED, "a/1/key.meta", "cut short"},
        {"a/1/fast.derived", "x", PROBLEM::DOCUMENT_DAMAGED, "a/1/fast.derived", "a computed value"},
        {"a/2/net.talvo.asset.timestamp.version", "", PROBLEM::DOCUMENT_DAMAGED, "a/2/net.talvo.asset.timestamp.version",
         "the time"},
        {"a/3-deleted/net.talvo.asset.timestamp.version", nullptr, PROBLEM::TIMESTAMP_MISSING, "a/3-deleted",
         "the time of a mark"},
        {"a/asset.info", nullptr, PROBLEM::ASSET_INFO_DAMAGED, "a/asset.info", "gone"},
        {"a/asset.info", "a\n", PROBLEM::ASSET_INFO_DAMAGED, "a/asset.info", "one line"},
        {"c/asset.info", "a\nt\n", PROBLEM::ID_DOUBLED, "c", "another directory of a"},
        {"a/002/asset.txt", "x", PROBLEM::PAYLOAD_DOUBLED, "a/002", "a second directory of a number"},
        {"a/.~9/asset.txt", "x", PROBLEM::LEFTOVER, "a/.~9", "a store cut off"},
        {"a/1/.~9", "x", PROBLEM::LEFTOVER, "a/1/.~9", "a write cut off"},
        {".~9", "x", PROBLEM::LEFTOVER, ".~9", "at the root"},
    };
    std::filesystem::copy(_scratch / "repo", _scratch / "sound", std::filesystem::copy_options::recursive);
    for (const auto& each : cases) {
        const std::string file = "repo/" + std::string(each.file);
        each.bytes ? _scratch.Write(file, each.bytes) : Remove(file);
        EXPECT_THAT(Verify(), ElementsAre(Line(each.problem, each.path))) << each.file << ": " << each.why;
        Remove("repo");
        std::filesystem::copy(_scratch / "sound", _scratch / "repo", std::filesystem::copy_options::recursive);
    }
}

TEST_F(Maintenance, OverwrittenAndCopiedVersionsAreCheckedByTheirSecondLine) {
    {
        const auto repository = Open();
        Need(repository->OverwriteAsset(MakeId("b"), File("other"), nullptr));
    }
    EXPECT_THAT(Verify(), IsEmpty());
    _scratch.Write("repo/b/1/asset.txt", "damage");
    EXPECT_THAT(Verify(), ElementsAre(Line(PROBLEM::PAYLOAD_CHANGED, "b/1/asset.txt")));
}

TEST_F(Maintenance, LinksOutAreNeverFollowed) {
    _scratch.Write("outside/asset.txt", "secret");
    MakeLink(_scratch / "outside", "repo/a/9");
    MakeLink(_scratch / "outside", "repo/linked");
    MakeLink(_scratch / "outside", "repo/a/.~9");
    Remove("repo/a/1/asset.txt");
    MakeLink(_scratch / "outside/asset.txt", "repo/a/1/asset.txt");
    EXPECT_THAT(Verify(), ElementsAre(Line(PROBLEM::LEFTOVER, "a/.~9"), Line(PROBLEM::PAYLOAD_MISSING, "a/1")));
    EXPECT_THAT(Sweep(GC_MODE::REMOVE, -HOUR), IsEmpty()) << "a link is nothing of ours";
    EXPECT_EQ(_scratch.Read("outside/asset.txt"), "secret");
}

TEST_F(Maintenance, WhatIsNoRepositoryIsRefused) {
    _scratch.MakeFolder("plain");
    const Url plain = _scratch.GetUrl() + "plain";
    EXPECT_THAT(RepositoryMaintenance::Verify(plain, 1, [](const RepositoryFinding&) -> Result<Bool> { return true; }),
                FailsWith<IllegalArgumentError>("is no repository"));
    EXPECT_THAT(RepositoryMaintenance::CollectGarbage(
                    plain, GC_MODE::REMOVE, 0, [](const RepositoryMaintenance::Leftover&) -> Result<Bool> { return true; }),
                FailsWith<IllegalArgumentError>("is no repository"));
}

TEST_F(Maintenance, TheSweepTakesOldWorkOfOursAndNothingElse) {
    const std::string uuid = ".~2c1ecb1c-6e0a-4ee9-8f3b-9b7a6a6a0001";
    const std::string ours[] = {"repo/" + uuid, "repo/a/.~9", "repo/a/1/" + uuid, std::string(USER_TREE) + "/a/.~9"};
    for (const std::string& name : ours) _scratch.Write(name + "/deep/file", "12345");
    const std::string others[] = {"repo/.hidden",   "repo/a/.~lock.asset.odt#", "repo/a/2/.~",
                                  "repo/stray/.~9", "repo/b/1/asset/.~9",       std::string(USER_TREE) + "/other/.~9"};
    for (const std::string& name : others) _scratch.Write(name, "x");
    const std::string before = _scratch.List();
    EXPECT_THAT(Sweep(GC_MODE::REMOVE, HOUR), IsEmpty()) << "nothing is old";
    for (const std::string& name : ours) {
        for (const char* part : {"/deep/file", "/deep", ""}) MakeOld(name + part);
    }
    for (const std::string& name : others) MakeOld(name);
    const std::vector<std::string> expected = {ours[0] + " 5", ours[1] + " 5", ours[2] + " 5", ours[3] + " 5"};
    EXPECT_EQ(Sweep(GC_MODE::DRY_RUN, HOUR), expected);
    EXPECT_EQ(_scratch.List(), before) << "asking changes nothing";
    EXPECT_EQ(Sweep(GC_MODE::REMOVE, HOUR), expected);
    for (const std::string& name : ours) EXPECT_EQ(_scratch.List().find(name), std::string::npos);
    for (const std::string& name : others) EXPECT_NE(_scratch.Read(name), "(missing)") << name;
}

TEST_F(Maintenance, WorkInWhichSomethingIsYoungIsNotTaken) {
    _scratch.Write("repo/a/.~9/asset.txt", "still growing");
    MakeOld("repo/a/.~9");
    EXPECT_THAT(Sweep(GC_MODE::REMOVE, HOUR), IsEmpty());
}

}  // namespace
}  // namespace talvo
