// What stores, overwrites, deletes and erases leave on disk, and what a second opening makes of it.
#include "kernel/io/file_system.h"
#include "kernel/io/memory_volume.h"
#include "url_repository/url_repository_fixture.h"

#include <thread>

namespace talvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TreeWriting : public UrlRepositoryTest {
protected:
    static constexpr const char* TIME = "net.talvo.asset.timestamp.version";
    Url UrlOf(const std::string& name) const { return _scratch.GetUrl() + name; }
    /// The repository answers the same after it was opened again.
    void ExpectSameAfterReload(UpdatableAssetRepositoryRef& repository) const {
        const auto before = Describe(repository);
        repository = nullptr;
        repository = Open();
        EXPECT_EQ(Describe(repository), before);
    }
};

TEST_F(TreeWriting, AStoreWritesTheFilesOfTheFormatAndNoOthers) {
    auto repository = Open();
    EXPECT_EQ(_scratch.Read("repo/databaseid"), "repo");
    Store(repository, "File A", "bytes");
    const std::string hash = HashOf("bytes");
    EXPECT_EQ(ListTree(),
              std::string("file_a/ file_a/1/ file_a/1/asset.txt file_a/1/hash file_a/1/") + TIME + " file_a/asset.info");
    EXPECT_EQ(_scratch.Read("repo/file_a/asset.info"), "File A\nnet.talvo.assettype.file\n");
    EXPECT_EQ(_scratch.Read("repo/file_a/1/hash"), hash + "\n");
    EXPECT_EQ(_scratch.Read("repo/version"), "1\n");
    Store(repository, "File A", "more");
    EXPECT_EQ(_scratch.Read("repo/file_a/2/asset.txt"), "more");
    EXPECT_EQ(_scratch.Read("repo/version"), "2\n");
    ExpectSameAfterReload(repository);
    EXPECT_THAT(Describe(repository), ElementsAre("File A/" + HashOf("more") + "#2 more", "File A/" + hash + "#1 bytes"));
}

TEST_F(TreeWriting, EachIdHasADirectoryOfItsOwn) {
    auto repository = Open();
    const std::string ids[] = {"abc",
                               "ABC",
                               "a b",
                               "a_b",
                               "..",
                               ".x",
                               "_index",
                               "version",
                               "tmp-1",
                               "_abc-b5d4045c",
                               std::string(400, 'x'),
                               std::string(400, 'X')};
    for (const std::string& id : ids) Store(repository, id, id);
    for (const std::string& id : ids) EXPECT_EQ(ReadPayload(FindLatest(repository, MakeId(id))), id);
    ExpectSameAfterReload(repository);
    EXPECT_EQ(Describe(repository).size(), std::size(ids));
    EXPECT_EQ(_scratch.List("").find("x/"), std::string::npos) << "nothing beside the root";
}

TEST_F(TreeWriting, ADirectoryThatHoldsSomethingElseIsLeftAlone) {
    auto repository = Open();
    _scratch.Write("repo/taken/notes.txt", "mine");
    _scratch.MakeFolder("repo/empty");
    _scratch.MakeFolder("outside");
    MakeLink(_scratch / "outside", "repo/link");
    for (const char* id : {"taken", "empty", "link"}) Store(repository, id, id);
    EXPECT_EQ(_scratch.List("repo/taken"), "notes.txt");
    EXPECT_EQ(_scratch.Read("repo/empty/1/asset.txt"), "empty") << "an empty one is adopted";
    EXPECT_EQ(_scratch.List("outside"), "");
    ExpectSameAfterReload(repository);
    EXPECT_EQ(Describe(repository).size(), 3U);
}

TEST_F(TreeWriting, AnIdWithoutPlaceIsRefused) {
    auto repository = Open();
    _scratch.Write("repo/x/notes.txt", "mine");
    _scratch.Write("repo/_x-2d711642/notes.txt", "mine");
    EXPECT_THAT(repository->StoreAsset(MakeId("x"), File("bytes"), nullptr),
                FailsWith<IllegalStateError>("There is no directory for asset x"));
    EXPECT_EQ(ListTree(), "_x-2d711642/ _x-2d711642/notes.txt x/ x/notes.txt");
}

TEST_F(TreeWriting, AnOverwriteReplacesTheVersionWhole) {
    auto repository = Open();
    const AssetDescription first = Store(repository, "a", "old");
    Need(repository->StoreMetaData(first, MakeMetaId("key"), Data(String("old")), KIND::PERSISTENT | KIND::VERSIONED));
    Need(repository->StoreMetaData(first, MakeMetaId("mine"), Data(String("old")), KIND::PERSISTENT | KIND::USER));
    Need(repository->StoreMetaData(first, MakeMetaId("fast"), Data(String("old")), KIND::PERSISTENT | KIND::DERIVED));
    const AssetDescription second = Need(repository->OverwriteAsset(MakeId("a"), File("new", "other.bin"), nullptr));
    EXPECT_EQ(second->GetIdAndVersion(), first->GetIdAndVersion()) << "it keeps the version id";
    EXPECT_EQ(_scratch.List("repo/a"), std::string("1/ 1/asset.bin 1/hash 1/") + TIME + " asset.info");
    EXPECT_EQ(_scratch.Read("repo/a/1/hash"), HashOf("old") + "\n" + HashOf("new") + "\n") << "the true digest beside it";
    EXPECT_EQ(_scratch.List(USER_TREE), "a/");
    ExpectSameAfterReload(repository);
    EXPECT_THAT(Describe(repository), ElementsAre("a/" + HashOf("old") + "#1 new"));
}

TEST_F(TreeWriting, AnOverwriteKeepsThePlaceOfAForeignName) {
    WriteInfo("a", "a");
    WriteVersion("a/007", "old", "id7");
    auto repository = Open();
    const Asset self = MakeFileAsset(NeedRef(FindLatest(repository, MakeId("a"))->GetUrl()));
    Need(repository->OverwriteAsset(MakeId("a"), self, nullptr));
    EXPECT_EQ(_scratch.Read("repo/a/007/asset.txt"), "old") << "a source that is its own payload survives";
    EXPECT_EQ(_scratch.List("repo/a"), std::string("007/ 007/asset.txt 007/hash 007/") + TIME + " asset.info");
    ExpectSameAfterReload(repository);
}

TEST_F(TreeWriting, ADeletionMarkSurvivesAReload) {
    auto repository = Open();
    Store(repository, "a", "x");
    const AssetDescription mark = Need(repository->DeleteAsset(MakeId("a")));
    EXPECT_EQ(_scratch.List("repo/a/2-deleted"), TIME);
    EXPECT_EQ(Need(As<UrlAssetRepositoryInterface>(repository).GetVersionDirectory(mark)), UrlOf("repo/a/2-deleted"));
    ExpectSameAfterReload(repository);
    EXPECT_FALSE(FindLatest(repository, MakeId("a")));
    Need(repository->OverwriteAsset(MakeId("a"), File("back"), nullptr));
    EXPECT_THAT(Describe(repository), ElementsAre("a/" + HashOf("back") + "#3 back", "a/deleted#2", "a/" + HashOf("x") + "#1 x"));
    ExpectSameAfterReload(repository);
}

TEST_F(TreeWriting, EraseTakesAllOfTheVersionAndTheLastOneTheAsset) {
    auto repository = Open();
    const AssetDescription first = Store(repository, "a", "1");
    const AssetDescription second = Store(repository, "a", "2");
    for (const AssetDescription& each : {first, second}) {
        Need(repository->StoreMetaData(each, MakeMetaId("mine"), Data(String("x")), KIND::PERSISTENT | KIND::USER));
    }
    WriteVersion("a/002", "never seen");
    Need(repository->EraseAsset(second));
    EXPECT_EQ(_scratch.List("repo/a"), std::string("1/ 1/asset.txt 1/hash 1/") + TIME + " asset.info");
    EXPECT_EQ(_scratch.List(USER_TREE), "a/ a/1/ a/1/mine.meta");
    ExpectSameAfterReload(repository);
    Need(repository->EraseAsset(FindLatest(repository, MakeId("a"))));
    EXPECT_EQ(ListTree(), "");
    EXPECT_EQ(_scratch.List(USER_TREE), "");
    ExpectSameAfterReload(repository);
    EXPECT_THAT(Describe(repository), IsEmpty());
}

TEST_F(TreeWriting, AnErasedAssetStaysWhileAnotherProcessHasVersionsOfIt) {
    auto repository = Open();
    const AssetDescription mine = Store(repository, "a", "mine");
    auto other = Open();
    Store(other, "a", "theirs");
    Need(repository->EraseAsset(mine));
    EXPECT_EQ(_scratch.Read("repo/a/2/asset.txt"), "theirs");
    EXPECT_THAT(Describe(Open()), ElementsAre("a/" + HashOf("theirs") + "#2 theirs"));
}

TEST_F(TreeWriting, NoNumberIsUsedTwice) {
    auto repository = Open();
    Store(repository, "a", "1");
    auto other = Open();
    Describe(other);  // knows version 1 only
    Store(repository, "a", "2");
    Store(other, "a", "3");
    _scratch.MakeFolder("repo/a/4");    // empty: the rest of somebody's work
    _scratch.MakeFolder("repo/a/.~5");  // reserved
    _scratch.Write("repo/a/6", "a file");
    _scratch.MakeFolder("repo/a/07-deleted");
    Store(other, "a", "8");
    EXPECT_THAT(Describe(Open()), ElementsAre("a/" + HashOf("8") + "#8 8", "a/" + HashOf("3") + "#3 3",
                                              "a/" + HashOf("2") + "#2 2", "a/" + HashOf("1") + "#1 1", "a/deleted#7"));
    EXPECT_EQ(_scratch.List("repo/a/4"), "");
    EXPECT_EQ(_scratch.Read("repo/a/6"), "a file");
}

TEST_F(TreeWriting, SeveralRepositoriesOnOneTreeTakeNumbersInTurns) {
    constexpr Int WRITERS = 4, STORES = 6;
    Open();
    std::vector<std::string> names;
    for (Int i = 0; i < WRITERS; ++i) names.push_back("writer" + std::to_string(i));
    for (const std::string& name : names) _scratch.Write(name, name);
    std::vector<std::thread> writers;
    for (const std::string& name : names) {
        writers.emplace_back([&, name] {
            const auto repository = Open();  // as another process would
            for (Int i = 0; i < STORES; ++i) Need(repository->StoreAsset(MakeId("a"), MakeFileAsset(UrlOf(name)), nullptr));
        });
    }
    for (std::thread& writer : writers) writer.join();
    const auto all = Describe(Open());
    ASSERT_EQ(all.size(), std::size_t(WRITERS * STORES));
    for (const std::string& name : names)
        EXPECT_EQ(std::count_if(all.begin(), all.end(), [&](auto& line) { return line.ends_with(name); }), STORES);
    EXPECT_EQ(ListTree().find(".~"), std::string::npos);
}

TEST_F(TreeWriting, HiddenLeftoversAreNeverSeen) {
    auto repository = Open();
    Store(repository, "a", "1");
    _scratch.Write("repo/.~2c1ecb1c-6e0a-4ee9-8f3b-9b7a6a6a0001/asset.info", "b\nt\n");
    _scratch.Write("repo/a/.~9/asset.txt", "half");
    _scratch.Write("repo/a/1/.~2c1ecb1c-6e0a-4ee9-8f3b-9b7a6a6a0001", "half");
    ExpectSameAfterReload(repository);
    EXPECT_THAT(IdsOf(repository), ElementsAre("a"));
}

TEST_F(TreeWriting, TheCounterNeverGoesBack) {
    _scratch.Write("repo/version", "41\n");
    auto repository = Open();
    Store(repository, "a", "x");
    EXPECT_EQ(_scratch.Read("repo/version"), "41\n");
    _scratch.Write("repo/version", "50\n");  // another process went on
    const auto backend = Cast<BaseAssetRepositoryInterface>(repository);
    EXPECT_EQ(Need(backend->GetNextVersionImpl()).counter, 51U);
    EXPECT_EQ(_scratch.Read("repo/version"), "51\n");
    Need(backend->UpdateNextVersionImpl(7));
    EXPECT_EQ(_scratch.Read("repo/version"), "51\n");
}

TEST_F(TreeWriting, ACopyKeepsTheVersionIdAndTheTrueDigest) {
    _scratch.Write("dir/Sub/a.txt", "a");
    _scratch.Write("dir/B.txt", "b");
    MakeLink("B.txt", "dir/link");
    MakeFifo("dir/fifo");
    auto repository = Open();
    const AssetDescription source = Need(repository->StoreAsset(MakeId("tree"), MakeFileAsset(UrlOf("dir")), nullptr));
    EXPECT_EQ(_scratch.List("repo/tree/1"), std::string("asset/ asset/B.txt asset/Sub/ asset/Sub/a.txt hash ") + TIME);
    Need(repository->CopyAsset(MakeId("copy"), source, false, false));
    EXPECT_EQ(_scratch.Read("repo/copy/1/hash"), _scratch.Read("repo/tree/1/hash")) << "the id is the digest: no second line";
    WriteInfo("f", "f");
    WriteVersion("f/1", "bytes", "v1");
    repository = Open();
    Need(repository->CopyAsset(MakeId("copy2"), FindLatest(repository, MakeId("f")), false, false));
    EXPECT_EQ(_scratch.Read("repo/copy2/1/hash"), "v1\n" + HashOf("bytes") + "\n");
    Need(repository->CopyAsset(MakeId("copy3"), FindLatest(repository, MakeId("f")), true, false));
    EXPECT_EQ(_scratch.Read("repo/copy3/1/asset.txt"), "bytes");
}

TEST_F(TreeWriting, APayloadThatCannotBeReadLeavesNoVersion) {
    auto repository = Open();
    Store(repository, "a", "1");
    const std::string before = _scratch.List("repo/a");
    EXPECT_THAT(repository->StoreAsset(MakeId("a"), MakeFileAsset(UrlOf("missing.txt")), nullptr),
                FailsWith<IoError>("missing.txt"));
    EXPECT_THAT(repository->OverwriteAsset(MakeId("a"), MakeFileAsset(UrlOf("missing.txt")), nullptr),
                FailsWith<IoError>("missing.txt"));
    EXPECT_EQ(_scratch.List("repo/a"), before);
    ExpectSameAfterReload(repository);
}

TEST_F(TreeWriting, TheBackendRefusesBeforeItTouchesTheDisk) {
    const auto writable = Open();
    const auto backend = Cast<BaseAssetRepositoryInterface>(Open(ACCESS::READ_ONLY));
    Data adata;
    EXPECT_THAT(backend->StoreImpl(File("x"), false, Id(), nullptr, adata, {1, 0}, false),
                FailsWith<IllegalStateError>("Illegal state: Condition _writable not fulfilled. "));
    EXPECT_THAT(Cast<BaseAssetRepositoryInterface>(writable)->StoreImpl(File("x"), false, Id(), nullptr, adata, {1, 0}, true),
                FailsWith<IllegalArgumentError>("Illegal argument: Condition !addEncryption || source not fulfilled. "));
    EXPECT_EQ(ListTree(), "");
}

TEST_F(TreeWriting, WorksWithoutFilesOfTheSystem) {
    const auto volume = Need(MemoryVolume::Create());
    const Url root = volume->GetRoot();
    const auto open = [&] {
        return Need(OpenUrlRepository(
            {.id = MakeId("memory"), .bases = {}, .url = root, .access = UrlRepositoryRequest::ACCESS::WRITABLE}));
    };
    auto repository = open();
    Store(repository, "a", "1");
    Need(repository->OverwriteAsset(MakeId("a"), File("2"), nullptr));
    Store(repository, "b", "3");
    const auto before = Describe(repository);
    EXPECT_EQ(Describe(open()), before);
    EXPECT_THAT(As<UrlAssetRepositoryInterface>(repository).Sync(), Succeeds());
}

// Every file operation of a change fails once: the change is whole or not there, the rest stands, and only hidden names are left.
class TreeWritingFaults : public TreeWriting, public testing::WithParamInterface<const char*> {
protected:
    static Result<void> Change(const UpdatableAssetRepositoryRef& repository, std::string_view what, const Asset& file) {
        if (what == "store") TRY(repository->StoreAsset(MakeId("new"), file, nullptr));
        if (what == "next") TRY(repository->StoreAsset(MakeId("a"), file, nullptr));
        if (what == "overwrite") TRY(repository->OverwriteAsset(MakeId("a"), file, nullptr));
        if (what == "delete") TRY(repository->DeleteAsset(MakeId("a")));
        if (what == "erase") TRY(repository->EraseAsset(FindLatest(repository, MakeId("a"))));
        return OK;
    }
    /// The tree but for hidden names.
    std::string ListVisible() const {
        std::string visible;
        for (const String& name : String(_scratch.List("repo")).Split(String(" "), String::SPLIT::DROP_EMPTY)) {
            const std::string text = ToText(name);
            if (text.find(".~") == std::string::npos && text != "version") visible += text + " ";
        }
        return visible;
    }
};

TEST_P(TreeWritingFaults, TheChangeIsWholeOrNotThere) {
    const std::string what = GetParam();
    {
        const auto repository = Open();
        Store(repository, "keep", "kept");
        const AssetDescription asset = Store(repository, "a", "old");
        Need(repository->StoreMetaData(asset, MakeMetaId("key"), Data(String("v")), KIND::PERSISTENT));
        Need(repository->StoreMetaData(asset, MakeMetaId("mine"), Data(String("v")), KIND::PERSISTENT | KIND::USER));
    }
    std::filesystem::copy(_scratch / "repo", _scratch / "original", std::filesystem::copy_options::recursive);
    const auto restore = [&] {
        Remove("repo");
        std::filesystem::copy(_scratch / "original", _scratch / "repo", std::filesystem::copy_options::recursive);
    };
    SetDurability(DURABILITY::DURABLE);
    Bool finished = false;
    for (Int n = 1; !finished; ++n) {
        ASSERT_LT(n, 1000) << "the change never ends";
        SCOPED_TRACE("operation " + std::to_string(n) + " of " + what);
        restore();
        auto repository = Open();
        const Asset file = File("new");
        const auto before = Describe(repository);
        const std::string tree = ListVisible();
        FaultPlan::SetScope(_scratch / "repo");
        Need(FaultPlan::Set("fail@" + std::to_string(n) + ":ENOSPC"));
        const Result<void> changed = Change(repository, what, file);
        finished = !FaultPlan::WasHit();
        FaultPlan::Clear();
        const auto inMemory = Describe(repository);
        repository = nullptr;
        const auto after = Describe(Open());
        EXPECT_EQ(after, inMemory) << "memory and disk agree";
        if (changed.IsError()) {
            EXPECT_THAT(changed.GetError()->GetMessage(), HasSubstr(_scratch / "repo"));
            EXPECT_EQ(after, before) << changed.GetError()->GetMessage();
            if (what != "store") {
                EXPECT_EQ(ListVisible(), tree);
            }
        } else {
            EXPECT_NE(after, before);
        }
    }
    FaultPlan::SetScope({});
    SetDurability(DURABILITY::FAST);
}

INSTANTIATE_TEST_SUITE_P(Changes, TreeWritingFaults, testing::Values("store", "next", "overwrite", "delete", "erase"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace talvo
