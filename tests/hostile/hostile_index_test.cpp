// Indexes and journals that someone else wrote: an error that names the file, or what the tree tells, and never a way out of the repository.
#include "hostile/hostile_tree.h"
#include "url_repository/index_directory.h"

namespace talvo {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class HostileIndex : public HostileTree {
protected:
    enum class BELIEVED { NO, YES };
    /// A fresh repository with this index of version 1.
    void WriteIndex(const std::string& text, const std::string& place = "_index") const {
        Restore();
        _scratch.Write("repo/version", "1\n");
        _scratch.Write("repo/" + place + "/0-1/index", text);
    }
    static std::string MakeRecord(const std::string& directory, const std::string& id) {
        return directory + "\n" + id + "\nnet.talvo.assettype.file\n\t1\n\tv\n\t\tasset.txt\n";
    }
    static std::string ReadUrl(const AssetRepositoryRef& repository, std::string_view aid) {
        const AssetDescription found = Need(repository->FindLatestAsset(Id(), MakeId(aid), Id(), MODE::NONE));
        if (!found) return "nothing";
        const Result<const Url&> url = found->GetUrl();
        return url.IsError() ? url.GetError()->GetMessage() : ReadPayload(found);
    }
};

TEST_F(HostileIndex, NothingIsReadWrittenOrErasedThroughALink) {
    const struct {
        const char* why;
        const char* link;
        const char* target;
    } cases[] = {{"the asset's directory", "linked", "outside"},
                 {"that of a version", "linked/1", "outside/1"},
                 {"a payload", "linked/1/asset.txt", "outside/1/asset.txt"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.why);
        WriteIndex(MakeRecord("good", "good") + MakeRecord("linked", "linked"));
        fs::create_directories(fs::path(_scratch / (std::string("repo/") + each.link)).parent_path());
        MakeLink(_scratch / each.target, std::string("repo/") + each.link);
        const auto repository = Open();
        EXPECT_THAT(ReadUrl(repository, "linked"), HasSubstr("since it is a link"));
        const AssetDescription linked = FindLatest(repository, MakeId("linked"));
        if (each.link != std::string("linked/1/asset.txt")) {
            EXPECT_THAT(repository->StoreMetaData(linked, MakeMetaId("key"), Data(Int(1)), KIND::PERSISTENT),
                        FailsWith<IoError>("since it is a link"));
            EXPECT_THAT(repository->EraseAsset(linked), FailsWith<IoError>("since it is a link"));
        }
        repository->StoreAsset(MakeId("linked"), File("stored"), nullptr).Ignore("it may well be stored beside the link");
        repository->EraseAsset(linked).Ignore("the link itself may go");
        EXPECT_TRUE(IsOutsideUntouched());
    }
}

TEST_F(HostileIndex, ErasingTakesNoDirectoryThatIsNoneOfTheAssets) {
    WriteIndex(MakeRecord("photos", "x"));
    _scratch.Write("repo/photos/summer/one.jpg", "a photo");
    const auto repository = Open();
    repository->EraseAsset(FindLatest(repository, MakeId("x"))).Ignore("there is nothing to erase");
    EXPECT_EQ(_scratch.Read("repo/photos/summer/one.jpg"), "a photo");
}

TEST_F(HostileIndex, NamesThatNoAssetHasAreRefused) {
    for (const char* name : {"", ".", "..", ".git", ".~index", "_index", "a/b", "/etc", "a\tb"}) {
        WriteIndex(MakeRecord(name, "x"));
        EXPECT_THAT(TryOpen(), FailsWith<FileFormatError>("_index/0-1/index")) << name;
        WriteIndex(MakeRecord(name, "x"), ".~index");
        // Without a journal to be believed it is none at all.
        EXPECT_THAT(TryOpen(), Succeeds()) << name;
    }
}

TEST_F(HostileIndex, JournalsLeadNowhereAndAreBelievedOnlyIfTheyAreOurs) {
    const std::string index = MakeRecord("good", "good") + MakeRecord("ghost", "ghost");
    const struct {
        const char* why;
        std::string lines;
        BELIEVED believed;
    } cases[] = {
        {"a sound one", "t\td\tx\n", BELIEVED::YES},
        {"a line in part", "t\td\tgo\nt\td", BELIEVED::YES},
        {"noise", "\n\t\n\xff\nt\tz\n", BELIEVED::YES},
        {"something that is gone", "t\td\tgone\n", BELIEVED::YES},
        {"a link", "t\td\tlinked\n", BELIEVED::YES},
        {"up and out", "t\td\t../outside\n", BELIEVED::NO},
        {"a path", "t\td\tx/1\n", BELIEVED::NO},
        {"a hidden name", "t\td\t.~index\n", BELIEVED::NO},
        {"all", "t\ta\n", BELIEVED::NO},
        {"another counter afterwards", "\nt\tv\t7\t7\n!", BELIEVED::NO},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.why);
        WriteIndex(index, ".~index");
        _scratch.Write("repo/.~index/modified.dat", "[]");
        MakeLink(_scratch / "outside", "repo/linked");
        const std::string counter = "\nt\tv\t1\t" + std::to_string(ReadVersionFile(GetRoot()).time) + "\n";
        const Bool isLast = !each.lines.ends_with('!');
        _scratch.Write("repo/.~index/journal-1", isLast ? each.lines + counter : counter + each.lines);
        {
            const auto repository = Open();
            const Bool isBelieved = each.believed == BELIEVED::YES;
            EXPECT_EQ(Bool(FindLatest(repository, MakeId("ghost"))), isBelieved);
            EXPECT_FALSE(FindLatest(repository, MakeId("outside"))) << "that lies beside the repository";
            Store(repository, "good", "stored");
        }
        EXPECT_EQ(ReadPayload(FindLatest(Open(), MakeId("good"))), "stored");
        _scratch.Write("repo/.~index/journal-2", counter);
        EXPECT_FALSE(FindLatest(Open(), MakeId("ghost"))) << "of two journals none is believed";
        Need(Indexed(Open()).Compact());
        Remove("repo/linked");  // a copy would follow it
        EXPECT_EQ(DescribeAll(Open()), DescribeTree());
        EXPECT_TRUE(IsOutsideUntouched());
    }
}

TEST_F(HostileIndex, RangesThatEndBeforeTheyBeginTellNothing) {
    WriteIndex(MakeRecord("good", "good"));
    _scratch.Write("repo/version", "5\n");
    fs::copy(_scratch / "repo/_index/0-1", _scratch / "repo/_index/99-9", fs::copy_options::recursive);
    EXPECT_EQ(See(Open()), "#1 one, v") << "the counter is beyond all ranges, so the tree is read";
}

}  // namespace
}  // namespace talvo
