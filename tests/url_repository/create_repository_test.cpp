// Opening and making repositories: what is refused, with which words, and what is protected.
#include "asset_impl/config.h"
#include "database_asset.h"
#include "support/stress_threads.h"
#include "url_repository/url_repository_fixture.h"

#include <set>

namespace talvo {
namespace {

using testing::StartsWith;

class CreateRepository : public UrlRepositoryTest {
protected:
    static Result<UpdatableAssetRepositoryRef> Create(const Url& url, std::string_view id, ACCESS access,
                                                      const Id& type = REPOSITORYTYPE_DATABASE) {
        const Id rid = id.empty() ? Id() : MakeId(id);
        return AssetInterface::CreateRepositoryFromUrl(rid, type, {}, url, access == ACCESS::WRITABLE, false, false);
    }
};

TEST_F(CreateRepository, RefusesWhatIsNoRepository) {
    _scratch.Write("file", "x");
    const std::string none =
        "The repository at path " + _scratch / "repo" + " has no identifier, so this is not a valid repository path.";
    EXPECT_THAT(Create(_scratch.GetUrl() + "file", "", ACCESS::WRITABLE),
                FailsWith<IllegalArgumentError>(_scratch / "file" + " doesn't point to a directory."));
    EXPECT_THAT(Create(_scratch.GetUrl() + "missing", "", ACCESS::WRITABLE),
                FailsWith<IllegalArgumentError>(" doesn't point to a directory."));
    EXPECT_THAT(Create(GetRoot(), "", ACCESS::READ_ONLY), FailsWith<IllegalStateError>(none));
    EXPECT_THAT(Create(GetRoot(), "", ACCESS::WRITABLE, "other"_id),
                FailsWith<IllegalArgumentError>("Undefined repository type for url: " + _scratch / "repo"));
    EXPECT_THAT(Create(GetRoot(), "", ACCESS::WRITABLE, REPOSITORYTYPE_WATCHFOLDER),
                FailsWith<UnsupportedOperationError>("watch folders"));
    EXPECT_THAT(Create(GetRoot(), "a\tb", ACCESS::WRITABLE), FailsWith<IllegalArgumentError>("control character"));
    EXPECT_THAT(Create(GetRoot(), " a", ACCESS::WRITABLE), FailsWith<IllegalArgumentError>("blanks around it"));
    EXPECT_THAT(Create(GetRoot(), std::string(4097, 'a'), ACCESS::WRITABLE), FailsWith<IllegalArgumentError>("4096 bytes"));
    EXPECT_EQ(_scratch.List("repo"), "");
    _scratch.Write("repo/databaseid", "theirs");
    EXPECT_THAT(Create(GetRoot(), "mine", ACCESS::READ_ONLY), FailsWith<IllegalStateError>(none));
}

TEST_F(CreateRepository, MakesAnIdentifierWhereThereIsNone) {
    const auto repository = Need(Create(GetRoot(), "", ACCESS::WRITABLE));
    const std::string id = _scratch.Read("repo/databaseid");
    EXPECT_THAT(id, StartsWith("database_"));
    EXPECT_EQ(id.size(), std::string("database_").size() + 32);
    EXPECT_EQ(ToText(repository->GetId()), id);
    EXPECT_EQ(ToText(Need(Create(GetRoot(), "", ACCESS::READ_ONLY))->GetId()), id);
}

TEST_F(CreateRepository, ReadsIdentifiersAsPeopleWriteThem) {
    for (const char* text : {"an id", "an id\n", "an id\r\n", " \t an id \n\n"}) {
        _scratch.Write("repo/databaseid", text);
        EXPECT_EQ(Need(Create(GetRoot(), "", ACCESS::READ_ONLY))->GetId(), "an id"_id) << text;
    }
    _scratch.Write("repo/databaseid", "");
    EXPECT_EQ(Need(Create(GetRoot(), "fresh", ACCESS::WRITABLE))->GetId(), "fresh"_id);
    EXPECT_EQ(_scratch.Read("repo/databaseid"), "fresh");
}

TEST_F(CreateRepository, ADamagedIdentifierIsAnErrorThatNamesTheFile) {
    for (const std::string& text : {std::string("two\nlines"), std::string("tab\there"), std::string("zero\0byte", 9)}) {
        _scratch.Write("repo/databaseid", text);
        EXPECT_THAT(Create(GetRoot(), "", ACCESS::WRITABLE), FailsWith<FileFormatError>(_scratch / "repo/databaseid"));
        EXPECT_EQ(_scratch.Read("repo/databaseid"), text);
    }
    Remove("repo/databaseid");
    MakeFifo("repo/databaseid");
    EXPECT_THAT(Create(GetRoot(), "x", ACCESS::WRITABLE), FailsWith<IoError>(_scratch / "repo/databaseid"));
}

TEST_F(CreateRepository, AnIdentifierByWhichAssetsAreKnownIsNeverMadeUp) {
    WriteInfo("a", "a");
    for (const std::string& text : {std::string(), std::string(" \n"), std::string("tab\there"), std::string(4097, 'a')}) {
        _scratch.Write("repo/databaseid", text);
        for (const ACCESS access : {ACCESS::WRITABLE, ACCESS::READ_ONLY}) {
            const auto created = Create(GetRoot(), "mine", access);
            ASSERT_TRUE(created.IsError()) << text.size();
            EXPECT_THAT(created.GetError()->GetMessage(), testing::HasSubstr(_scratch / "repo/databaseid"));
        }
        EXPECT_EQ(_scratch.Read("repo/databaseid"), text);
    }
}

TEST_F(CreateRepository, NoFolderMayBeAStandardRepository) {
    for (const Id& id : {Id(REPOSITORY_BUILTIN), Id(REPOSITORY_APPLICATION), Id(REPOSITORY_USERPREFS)}) {
        const std::string text = ToText(id);
        EXPECT_THAT(Create(GetRoot(), text, ACCESS::WRITABLE), FailsWith<IllegalStateError>(text)) << "to be made";
        _scratch.Write("repo/databaseid", text);
        EXPECT_THAT(Create(GetRoot(), "", ACCESS::READ_ONLY), FailsWith<IllegalStateError>(text)) << "found";
        EXPECT_THAT(Create(GetRoot(), text, ACCESS::WRITABLE), FailsWith<IllegalStateError>(text)) << "asked for and found";
        Remove("repo/databaseid");
    }
    const std::string place = "home/generated/net.talvo.asset/userrepository";
    _scratch.MakeFolder(place);
    EXPECT_THAT(Create(_scratch.GetUrl() + place, ToText(Id(REPOSITORY_USERPREFS)), ACCESS::WRITABLE), Succeeds())
        << "it is the one at its own place";
}

TEST_F(CreateRepository, WhatLiesInTwoHandsIsStoredOnce) {
    // Two objects on one directory are two parties, as two processes are.
    const std::vector<UpdatableAssetRepositoryRef> repositories{Open(), Open()};
    RunStress(2, [&](Int thread) {
        for (Int i = 0; i < 30; ++i) {
            NoteStressStep();
            const std::string bytes = std::to_string(thread) + "." + std::to_string(i);
            Need(repositories[std::size_t(thread)]->StoreAsset(
                MakeId(i % 3 == 0 ? "both" : "own" + std::to_string(thread)),
                MakeFileAsset(_scratch, "payload" + std::to_string(thread) + ".txt", bytes), nullptr));
        }
    });
    const std::vector<std::string> stored = Describe(Open());
    EXPECT_EQ(stored.size(), 60u);
    std::set<std::string> payloads;
    for (const std::string& line : stored) payloads.insert(line.substr(line.find(' ')));
    EXPECT_EQ(payloads.size(), 60u) << "each is there, none in the place of another";
}

TEST_F(CreateRepository, UrlsInValuesOfOthersStayInside) {
    const struct {
        const char* why;
        Url url;
        Bool isKept;
    } cases[] = {
        {"below the root", GetRoot() + "a" + "1" + "asset.txt", true},
        {"another asset", Url::Create("asset"_id, "", "/b"), true},
        {"a value", Url::Create("meta"_id, "", "/b/k.meta.png"), true},
        {"relative", Url::Create("relative"_id, "", "b"), true},
        {"elsewhere", _scratch.GetUrl() + "secret", false},
        {"beside the root", _scratch.GetUrl() + "repository", false},
        {"up and out", GetRoot() + ".." + "secret", false},
        {"another computer", Url::Create("https"_id, "example.org", "/x"), false},
    };
    {
        const auto repository = Open();
        const AssetDescription asset = Store(repository, "a", "x");
        for (const auto& each : cases) {
            std::string key(each.why);
            std::replace(key.begin(), key.end(), ' ', '.');
            Need(asset.StoreMetaData(MakeMetaId(key), Data(each.url), KIND::PERSISTENT));
        }
    }
    for (const ACCESS access : {ACCESS::READ_ONLY, ACCESS::WRITABLE}) {
        const auto repository = Open(access);
        const AssetDescription asset = FindLatest(repository, MakeId("a"));
        for (const auto& each : cases) {
            std::string key(each.why);
            std::replace(key.begin(), key.end(), ' ', '.');
            const auto value = Need(asset->GetMetaData().Get<Url>(MakeMetaId(key)));
            EXPECT_EQ(value.has_value(), each.isKept || access == ACCESS::WRITABLE) << each.why;
        }
    }
}

TEST_F(CreateRepository, AWritableOneHoldsItsNameFromTheStart) {
    _scratch.Write("repo/databaseid", "mine");
    EXPECT_THAT(IdsOf(Need(Create(GetRoot(), "", ACCESS::READ_ONLY))), testing::IsEmpty());
    for (const char* opening : {"first", "second"}) {
        const auto repository = Need(Create(GetRoot(), "", ACCESS::WRITABLE));
        const auto versions = Find(repository, "databaseinfo_mine", "", MODE::ALL_VERSIONS);
        ASSERT_EQ(versions.size(), 1u) << opening;
        EXPECT_EQ(FindLatest(repository, MakeId("databaseinfo_mine"))->GetTypeId(), ASSETTYPE_DATABASE);
        Need(repository->SetRepositoryName("Shelf", LanguageRef()));
    }
    const auto reader = Need(Create(GetRoot(), "", ACCESS::READ_ONLY));
    EXPECT_EQ(Need(reader->GetRepositoryName(LanguageRef(), false)), String("Shelf"));
}

TEST_F(CreateRepository, WhatIsThereIsReadWithoutRoomForAName) {
    _scratch.Write("repo/databaseid", "mine");
    WriteInfo("a", "a");
    WriteVersion("a/1", "x");
    _scratch.MakeFolder("repo/version");  // no store gets past it
    const auto repository = Need(Create(GetRoot(), "", ACCESS::WRITABLE));
    EXPECT_THAT(Describe(repository), testing::ElementsAre("a/h#1 x"));
}

TEST_F(CreateRepository, AReadOnlyIdentifierProtectsTheRepository) {
    _scratch.Write("repo/databaseid", "theirs");
    Need(Need((GetRoot() + "databaseid").OpenConnection())->IoSetAttributes(1, 1));
    EXPECT_FALSE(Need(Create(GetRoot(), "", ACCESS::WRITABLE))->IsWritable());
    EXPECT_THAT(Create(GetRoot(), "mine", ACCESS::WRITABLE), FailsWith<IllegalStateError>("has no identifier"));
    EXPECT_EQ(_scratch.Read("repo/databaseid"), "theirs");
    g_applicationRepositoryWritable.Set(true);
    EXPECT_TRUE(Need(Create(GetRoot(), "", ACCESS::WRITABLE))->IsWritable());
    g_applicationRepositoryWritable.Set(false);
}

TEST_F(CreateRepository, AnotherIdTakesTheDirectoryOver) {
    _scratch.Write("repo/databaseid", "old");
    EXPECT_EQ(Need(Create(GetRoot(), "new", ACCESS::WRITABLE))->GetId(), "new"_id);
    EXPECT_EQ(_scratch.Read("repo/databaseid"), "new");
}

TEST_F(CreateRepository, TheDerivedTreeGoesWhereItWasAskedFor) {
    const struct {
        ACCESS access;
        Bool inPrefs;
        Bool temporary;
        const char* file;
        const char* why;
    } cases[] = {
        {ACCESS::WRITABLE, false, false, "repo/a/1/fast.derived", "below the root"},
        {ACCESS::WRITABLE, true, false, "home/generated/net.talvo.asset/dc/repo/a/1/fast.derived", "in the generated files"},
        {ACCESS::READ_ONLY, false, false, "home/generated/net.talvo.asset/dc/repo/a/1/fast.derived",
         "there too, if the root can't be written"},
        {ACCESS::READ_ONLY, false, true, "", "nowhere"},
        {ACCESS::WRITABLE, true, true, "home/generated/net.talvo.asset/dc/repo/a/1/fast.derived",
         "a temporary one that is writable has a place"},
    };
    { Store(Open(), "a", "x"); }
    for (const auto& each : cases) {
        Remove("home");
        Remove("repo/a/1/fast.derived");
        const auto repository = Need(AssetInterface::CreateRepositoryFromUrl(
            Id(), REPOSITORYTYPE_DATABASE, {}, GetRoot(), each.access == ACCESS::WRITABLE, each.inPrefs, each.temporary));
        const Result<void> stored = repository->StoreMetaData(FindLatest(repository, MakeId("a")), MakeMetaId("fast"),
                                                              Data(String("1")), KIND::PERSISTENT | KIND::DERIVED);
        if (*each.file) {
            EXPECT_THAT(stored, Succeeds()) << each.why;
            EXPECT_NE(_scratch.Read(each.file), "(missing)") << each.why;
        } else {
            EXPECT_THAT(stored, FailsWith<UnsupportedOperationError>(
                                    "Asset repository repo doesn't support to store derived meta data."));
        }
    }
}

TEST_F(CreateRepository, TellsWhereItIsAndWhatItIsCalled) {
    Url root = GetRoot();
    root.SetData(URLFLAGS::ORIGINURL, Data(_scratch.GetUrl() + "origin"));
    const auto repository = Need(Create(root, "repo", ACCESS::WRITABLE));
    auto& onUrl = As<UrlAssetRepositoryInterface>(repository);
    EXPECT_EQ(onUrl.GetUrl(false), GetRoot());
    EXPECT_EQ(onUrl.GetUrl(true), _scratch.GetUrl() + "origin");
    const AssetDescription asset = Store(repository, "a", "x");
    EXPECT_EQ(Need(onUrl.GetVersionDirectory(asset)), GetRoot() + "a" + "1");
    _scratch.MakeFolder("other");
    const auto other = Need(Create(_scratch.GetUrl() + "other", "other", ACCESS::WRITABLE));
    EXPECT_THAT(onUrl.GetVersionDirectory(Store(other, "a", "x")),
                FailsWith<IllegalArgumentError>("no version of repository repo"));
    _scratch.MakeFolder("scene");
    const auto scene = Need(AssetInterface::CreateRepositoryFromUrl(REPOSITORY_SCENE, REPOSITORYTYPE_DATABASE, {},
                                                                    _scratch.GetUrl() + "scene", true, false, true));
    Need(scene->SetRepositoryName("My scene", LanguageRef()));
    EXPECT_EQ(Need(scene->GetRepositoryName(LanguageRef(), false)), String("My scene"));
}

}  // namespace
}  // namespace talvo
