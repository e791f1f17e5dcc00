// What a repository takes from a tree that others wrote: by hand, by older programs, or by accident. Hostile ones: tests/hostile.
#include "url_repository/url_repository_fixture.h"

namespace talvo {
namespace {

using testing::ElementsAre;

class TreeReading : public UrlRepositoryTest {
protected:
    TreeReading() { _scratch.Write("repo/databaseid", "repo"); }
    /// A version with a time, as programs of ours write it.
    void WriteTime(const std::string& version, const std::string& time) const {
        _scratch.Write("repo/" + version + "/net.talvo.asset.timestamp.version",
                       "{\"root\": \"net.talvo.asset.metadata\", \"format\": 1, \"type\": \"" + TimeType() + "\", \"value\": \"" +
                           time + "\"}\n");
    }
    static std::string TimeType() { return ToText(GetDataType<UniversalDateTime>()->id); }
};

TEST_F(TreeReading, FindsVersionsOfAllThreeForms) {
    const std::string sha = "0123456789ABCDEFabcd0123456789abcdef0123";
    WriteInfo("one", "Asset One");
    WriteVersion("one/1", "first", "id1");
    WriteVersion("one/002", "second", "id2");
    WriteVersion("one/3-" + sha, "third", "not read");
    _scratch.MakeFolder("repo/one/4-deleted");
    EXPECT_THAT(Describe(Open(ACCESS::READ_ONLY)),
                ElementsAre("Asset One/deleted#4", "Asset One/0123456789abcdefabcd0123456789abcdef0123#3 third",
                            "Asset One/id2#2 second", "Asset One/id1#1 first"));
}

TEST_F(TreeReading, OfOneNumberTheCanonicalNameWins) {
    WriteInfo("a", "a");
    WriteVersion("a/007", "with zeros");
    WriteVersion("a/7", "plain");
    WriteInfo("b", "b");
    _scratch.MakeFolder("repo/b/7");  // no version: it has no payload
    WriteVersion("b/007", "with zeros");
    WriteInfo("c", "c");
    WriteVersion("c/3", "kept");
    _scratch.MakeFolder("repo/c/3-deleted");
    WriteInfo("d", "d");
    _scratch.MakeFolder("repo/d/4-deleted");
    _scratch.MakeFolder("repo/d/04-deleted");
    EXPECT_THAT(Describe(Open()), ElementsAre("a/h#7 plain", "b/h#7 with zeros", "c/h#3 kept", "d/deleted#4"));
}

TEST_F(TreeReading, PassesOverWhatNamesNoAsset) {
    WriteInfo("good", "good");
    WriteVersion("good/1", "x");
    for (const char* info : {"", "only one line\n", "\ntype\n", "tab\there\ntype\n"}) {
        const std::string name = "bad" + std::to_string(std::string(info).size());
        _scratch.Write("repo/" + name + "/asset.info", info);
        WriteVersion(name + "/1", "x");
    }
    WriteVersion("without/1", "x");
    _scratch.Write("repo/asset.info", "root\ntype\n");
    _scratch.Write("repo/stray.txt", "x");
    WriteInfo(".hidden", "hidden");
    WriteVersion(".hidden/1", "x");
    WriteInfo("_index", "index");
    WriteVersion("_index/1", "x");
    MakeFifo("repo/fifo");
    _scratch.MakeFolder("repo/pipes");
    MakeFifo("repo/pipes/asset.info");
    _scratch.MakeFolder("repo/folder/asset.info");
    EXPECT_THAT(Describe(Open()), ElementsAre("good/h#1 x"));
}

TEST_F(TreeReading, TakesTheLastPayloadAndLeavesOddEntriesAlone) {
    WriteInfo("a", "a");
    WriteVersion("a/1", "text");
    _scratch.Write("repo/a/1/asset", "no suffix");
    _scratch.Write("repo/a/1/asset.meta", "a payload of an odd kind");
    _scratch.Write("repo/a/1/asset.zip", "last");
    _scratch.Write("repo/a/1/notes", "stray");
    _scratch.Write("repo/a/1/.asset.zzz", "hidden");
    MakeFifo("repo/a/1/asset.zzz");
    MakeFifo("repo/a/1/key.meta");
    _scratch.MakeFolder("repo/a/1/other.meta");
    const auto repository = Open();
    EXPECT_THAT(Describe(repository), ElementsAre("a/h#1 last"));
    EXPECT_EQ(Need(FindLatest(repository, MakeId("a"))->GetMetaData()->GetExistingEntries()).GetCount(), 0);
}

TEST_F(TreeReading, MetaVersionAndDerivedAreSuffixesOfPayloadsToo) {
    for (const char* suffix : {"meta", "version", "derived"}) {
        WriteInfo(suffix, suffix);
        _scratch.Write(std::string("repo/") + suffix + "/1/asset." + suffix, "payload");
        _scratch.Write(std::string("repo/") + suffix + "/1/hash", "h\n");
    }
    EXPECT_THAT(Describe(Open()), ElementsAre("derived/h#1 payload", "meta/h#1 payload", "version/h#1 payload"));
}

TEST_F(TreeReading, AMissingHashIsMadeAndKeptWhereWritingIsAllowed) {
    WriteInfo("a", "a");
    _scratch.Write("repo/a/1/asset.txt", "bytes");
    const std::string line = "a/" + HashOf("bytes") + "#1 bytes";
    EXPECT_THAT(Describe(Open(ACCESS::READ_ONLY)), ElementsAre(line));
    EXPECT_EQ(_scratch.Read("repo/a/1/hash"), "(missing)");
    EXPECT_THAT(Describe(Open()), ElementsAre(line));
    EXPECT_EQ(_scratch.Read("repo/a/1/hash"), HashOf("bytes") + "\n");
}

TEST_F(TreeReading, TheTimeOrdersVersionsAndNoneComesFirst) {
    WriteInfo("a", "a");
    WriteVersion("a/1", "x", "newest");
    WriteTime("a/1", "2024-05-02T12:00:00.000001Z");
    WriteVersion("a/2", "x", "older");
    WriteTime("a/2", "2024-05-02T12:00:00.000000Z");
    WriteVersion("a/3", "x", "damaged");
    _scratch.Write("repo/a/3/net.talvo.asset.timestamp.version", "{");
    WriteVersion("a/4", "x", "other form");
    _scratch.Write("repo/a/4/net.talvo.asset.timestamp.meta", "{");
    const auto repository = Open();
    EXPECT_THAT(Describe(repository), ElementsAre("a/newest#1 x", "a/older#2 x", "a/other form#4 x", "a/damaged#3 x"));
    const AssetVersionKey key = FindLatest(repository, MakeId("a")).GetVersionKey();
    EXPECT_EQ(key.time, 1714651200000001U);
    EXPECT_EQ(key.origin, MakeId("repo").GetWord()) << "always the repository's own";
}

TEST_F(TreeReading, AValueOfAnUnknownTypeIsCarriedToTheNextVersionUnread) {
    WriteInfo("a", "a");
    WriteVersion("a/1", "x");
    _scratch.Write("repo/a/1/key.meta",
                   "{\"root\": \"net.talvo.asset.metadata\", \"format\": 1, \"type\": \"some.type\", \"value\": [1, \"b\"]}");
    const auto repository = Open();
    const Asset loaded = Need(FindLatest(repository, MakeId("a"))->Load(false));
    const AssetDescription next = Need(repository->StoreAsset(MakeId("a"), loaded, nullptr));
    EXPECT_THAT(_scratch.Read("repo/a/2/key.meta"), testing::AllOf(testing::HasSubstr("some.type"), testing::HasSubstr("\"b\"")));
}

TEST_F(TreeReading, OfTwoDirectoriesWithOneIdTheFirstIsTheAssets) {
    WriteInfo("one", "same");
    WriteVersion("one/1", "first");
    WriteInfo("two", "same");
    WriteVersion("two/2", "second");
    EXPECT_THAT(Describe(Open()), ElementsAre("same/h#1 first"));
}

TEST_F(TreeReading, UserAndDerivedTreesAddTheirKindsOnly) {
    WriteInfo("a", "a");
    WriteVersion("a/007", "x");
    const std::string text = "{\"root\": \"net.talvo.asset.metadata\", \"format\": 1, \"type\": \"" +
                             ToText(GetDataType<String>()->id) + "\", \"value\": \"mine\"}";
    _scratch.Write(std::string(USER_TREE) + "/a/7/note.meta", text);
    _scratch.Write(std::string(USER_TREE) + "/a/7/odd.version", text);
    _scratch.Write(std::string(USER_TREE) + "/a/7/asset.txt", "no payload here");
    _scratch.Write(std::string(DERIVED_TREE) + "/a/7/odd.meta", text);
    const auto repository = Open(ACCESS::READ_ONLY);
    EXPECT_THAT(Describe(repository), ElementsAre("a/h#7 x"));
    const AssetDescription asset = FindLatest(repository, MakeId("a"));
    EXPECT_EQ(GetMeta(asset, "note"), "mine");
    const auto entries = Need(asset->GetMetaData()->GetExistingEntries());
    ASSERT_EQ(entries.GetCount(), 1);
    EXPECT_EQ(entries[0].second, KIND::PERSISTENT | KIND::USER);
}

TEST_F(TreeReading, AReadOnlyRepositoryIsLeftUntouched) {
    WriteInfo("a", "a");
    _scratch.Write("repo/a/1/asset.txt", "x");
    const std::string before = _scratch.List("repo");
    const auto repository = Open(ACCESS::READ_ONLY);
    const AssetDescription asset = FindLatest(repository, MakeId("a"));
    const String value("v");
    EXPECT_THAT(repository->StoreAsset(MakeId("b"), File("x"), nullptr),
                FailsWith<IllegalStateError>("Repository repo isn't writable"));
    EXPECT_THAT(repository->StoreMetaData(asset, MakeMetaId("key"), Data(value), KIND::PERSISTENT),
                FailsWith<IllegalStateError>("Repository repo isn't writable"));
    EXPECT_THAT(repository->EraseAsset(asset), FailsWith<IllegalStateError>("Repository repo isn't writable"));
    Need(repository->StoreMetaData(asset, MakeMetaId("mine"), Data(value), KIND::PERSISTENT | KIND::USER));
    Need(repository->StoreMetaData(asset, MakeMetaId("fast"), Data(value), KIND::PERSISTENT | KIND::DERIVED));
    EXPECT_EQ(_scratch.List("repo"), before);
    EXPECT_EQ(_scratch.List(std::string(USER_TREE) + "/a"), "1/ 1/mine.meta");
    EXPECT_EQ(_scratch.List(std::string(DERIVED_TREE) + "/a"), "1/ 1/fast.derived");
    EXPECT_EQ(GetMeta(FindLatest(Open(ACCESS::READ_ONLY), MakeId("a")), "fast"), "v") << "the next opening finds it";
}

}  // namespace
}  // namespace talvo
