// Urls of assets: what each form finds, what is read through it, and what it is called.
#include "asset_scheme/register_schemes.h"
#include "asset_scheme/resolve_info.h"
#include "asset_scheme/url_parts.h"
#include "assets/asset_repository_decorators.h"
#include "category_asset.h"
#include "contract/repository_contract.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"

#include <cctype>
#include <cstdlib>
#include <filesystem>

namespace talvo {
namespace {

class AssetUrls : public RepositoryContract {
protected:
    AssetUrls() {
        Need(RegisterAssetUrlSchemes());
        AssetInterface::SetUserPrefsRepository(_repository);
    }
    ~AssetUrls() override {
        AssetInterface::SetUserPrefsRepository(nullptr);
        UnregisterAssetUrlSchemes();
    }

    static Url Parse(std::string_view text) { return Need(Url::Parse(text)); }
    static std::string Read(const Url& url) {
        const Result<std::string> bytes = FileUtilities::ReadFileToMemory(url, 1000);
        return bytes.IsOk() ? bytes.GetValue() : "(" + bytes.GetError()->GetMessage() + ")";
    }
    /// "id#counter", or what went wrong.
    std::string Resolve(const Url& url) const {
        const Result<AssetDescription> found = AssetInterface::ResolveAsset(url, _repository);
        if (found.IsError()) return "(" + found.GetError()->GetMessage() + ")";
        if (!found.GetValue()) return "-";
        return std::string(found.GetValue()->GetIdAndVersion().first.GetView()) + "#" +
               std::to_string(found.GetValue().GetVersionKey().counter);
    }
    void SetName(const AssetDescription& asset, const char* name) const {
        Need(asset->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(name), LanguageRef()));
    }

    const UpdatableAssetRepositoryRef _repository = Create("repository");
};
INSTANTIATE_TEST_SUITE_P(Backends, AssetUrls, testing::Values(BACKEND::MEMORY, BACKEND::DISK));

TEST_P(AssetUrls, EachFormFindsItsVersion) {
    for (const char* id : {"chair", "file_1", "file_1.2", "other", "other.png", "tail~.x", "a/b?c#d%e"})
        Store(_repository, MakeId(id), "1");
    const std::string first(FindLatest(_repository, "chair"_id)->GetIdAndVersion().second.GetView());
    Store(_repository, "chair"_id, "2");
    Store(_repository, "chair"_id, "3");
    std::string upper = first;
    for (char& c : upper) c = char(std::toupper(c));
    const std::pair<std::string, std::string> cases[] = {
        {"asset:///chair", "chair#3"},
        {"asset:///chair~.png", "chair#3"},
        {"asset:///chair~.jpg", "chair#3"},
        {"asset:///chair.png", "-"},
        {"asset:///nobody", "-"},
        {"asset:///chair/inner/file.txt", "chair#3"},
        {"asset:///file_1.png", "file_1#1"},
        {"asset:///file_1.2", "file_1#1"},
        {"asset:///file_9.9", "-"},
        {"asset:///other.png", "other.png#1"},
        {"asset:///tail~.x", "tail~.x#1"},
        {"asset:///a%252Fb%3Fc%23d%2525e", "a/b?c#d%e#1"},
        {"asset:///chair?" + first, "chair#1"},
        {"asset:///chair?" + upper, "chair#1"},
        {"asset:///chair?unknown", "-"},
        {"asset:///chair?name=x", "chair#3"},
        {"asset:///chair?name=rev%3dx&rev=" + first + "&db=y", "chair#1"},
        {"asset:///chair?prev=" + first, "chair#3"},
        {"asset:///chair?name=x&rev=unknown", "-"},
        {"asset:///chair~.qltexbin", "-"},
        {"meta:///chair/none.meta.png", "-"},
        {"asset:///", "(Asset ID cannot be null.)"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Resolve(Parse(text)), expected) << text;
    EXPECT_EQ(Resolve(NeedRef(FindLatest(_repository, "chair"_id)->GetUrl())), "chair#3");
}

TEST_P(AssetUrls, WhatAVersionIsToldByLeadsBackToIt) {
    const char* const ids[] = {"chair",     "file_1", "file_1.2", "file_1.2.3", "tail~.x",
                               "a/b?c#d%e", "100%25", "..",       "%2F",        "a b\xc3\xa4"};
    for (const char* id : ids) Store(_repository, MakeId(id), "old");
    for (const char* id : ids) {
        const AssetDescription old = FindLatest(_repository, MakeId(id));
        Need(old.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(String("1&2=%26")), Kind(6)));
        Store(_repository, MakeId(id), "new");
        const std::string text = Need(AssetInterface::GetAssetUrl(old, false)).GetUrl();
        EXPECT_EQ(Resolve(Parse(text)), std::string(id) + "#1") << text;
        EXPECT_EQ(Read(Parse(text)), "old") << text;
        EXPECT_EQ(Read(Need(AssetInterface::GetAssetUrl(old, true))), "new") << text;
    }
    const AssetDescription chair = FindLatest(_repository, "chair"_id);
    SetName(chair, "Oak & ash");
    const Url url = Need(AssetInterface::GetAssetUrl(chair, true));
    EXPECT_EQ(url.GetPath(), "chair~.txt");
    EXPECT_EQ(url.GetData<String>(URLFLAGS::QUERY)->GetView().substr(0, 22),
              "name=Oak %26 ash&db=" + std::string(url.GetData<String>(URLFLAGS::QUERY)->GetView().substr(20, 2)));
    EXPECT_TRUE(Need(AssetInterface::GetAssetUrl(Need(_repository->DeleteAsset("chair"_id)), true)).IsEmpty());
}

TEST_P(AssetUrls, AnOpenUrlReadsAndNeverWrites) {
    Store(_repository, "chair"_id, "wood");
    const Url url = Parse("asset:///chair");
    const IoConnectionRef connection = Need(url.OpenConnection());
    EXPECT_EQ(Need(connection->GetContentLength()), 4);
    EXPECT_EQ(connection->IoDetect(), IO_DETECT::FILE);
    EXPECT_EQ(Need(connection->IoGetAttributes()), 0x4901U);
    EXPECT_THAT(connection->IoGetTime(), Succeeds());
    const Url copy = GetScratch().GetUrl() + "copy";
    Need(connection->IoCopyFile(copy));
    EXPECT_EQ(Read(copy), "wood");
    EXPECT_THAT(connection->OpenOutputStream(OUTPUT_MODE::OVERWRITE), FailsWith<UnsupportedOperationError>("asset:///chair"));
    EXPECT_THAT(connection->IoDelete(), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(connection->Browse(BROWSE_MODE::NAMES), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(connection->IoRename(copy, RENAME_MODE::REPLACE), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(Parse("asset:///nobody").OpenConnection(), FailsWith<IoError>("No asset found for Url asset:///nobody."));
    EXPECT_THAT(Parse("asset:///").OpenConnection(), FailsWith<IoError>("names no asset"));
    EXPECT_THAT(Parse("metasq:///x").OpenConnection(), FailsWith<UnsupportedOperationError>("watch folder"));
    AssetInterface::SetUserPrefsRepository(nullptr);
    EXPECT_THAT(url.OpenConnection(), FailsWith<NullptrError>("Start the asset module"));
}

TEST_P(AssetUrls, FilesInAPayloadAreReadAndNothingBeside) {
    GetScratch().Write("set/part/file.txt", "inner");
    GetScratch().Write("set/per%cent", "odd");
    Need(_repository->StoreAsset("set"_id, MakeFileAsset(GetScratch().GetUrl() + "set"), nullptr));
    EXPECT_EQ(Read(Parse("asset:///set/part/file.txt")), "inner");
    EXPECT_EQ(Read(Parse("asset:///set/per%25cent")), "odd");
    EXPECT_EQ(Need(Parse("asset:///set/part/file.txt").GetContentLength()), 5);
    const char* const refused[] = {"asset:///set/",
                                   "asset:///set//part/file.txt",
                                   "asset:///set/part/",
                                   "asset:///set/./part/file.txt",
                                   "asset:///set/../set/part/file.txt",
                                   "asset:///set/part/%2E%2E/file",
                                   "asset:///set/part%252Ffile.txt",
                                   "asset:///set/part%00",
                                   "meta:///set/..",
                                   "meta:///set/",
                                   "asset:///set/missing",
                                   "asset:///set/part"};
    for (const char* text : refused) EXPECT_THAT(Parse(text).OpenInputStream(), FailsWith<IoError>()) << text;

    if (GetParam() != BACKEND::DISK) return;
    // Somebody else writes into the repository.
    GetScratch().Write("secret", "secret");
    const Url content = NeedRef(FindLatest(_repository, "set"_id)->GetUrl());
    const std::string top = Need(content.GetSystemPath());
    std::filesystem::create_symlink(GetScratch() / "secret", top + "/link");
    std::filesystem::create_directory_symlink(GetScratch().GetPath(), top + "/folder");
    for (const char* text : {"asset:///set/link", "asset:///set/folder/secret", "asset:///set/folder/../link"}) {
        EXPECT_THAT(Parse(text).OpenInputStream(), FailsWith<IoError>()) << text;
        EXPECT_THAT(Parse(text).GetContentLength(), FailsWith<IoError>()) << text;
        EXPECT_THAT(Parse(text).Normalize(NORMALIZE::REAL), FailsWith<IoError>()) << text;
    }
}

TEST_P(AssetUrls, FilesOfMetaDataAreReadWithAndWithoutWhatTheUrlCarries) {
    GetScratch().Write("preview.png", "picture");
    for (const char* id : {"chair", "a/b", "file_1.2"}) {
        const AssetDescription asset = Store(_repository, MakeId(id), id);
        Need(_repository->StoreUrlMetaData(asset, InternedId(ASSETMETADATA::PREVIEWIMAGEURL),
                                           GetScratch().GetUrl() + "preview.png", Kind(2)));
        const Url url = *Need(asset->GetMetaData().Get<Url>(InternedId(ASSETMETADATA::PREVIEWIMAGEURL)));
        EXPECT_EQ(Read(url), "picture");
        const Url bare = Parse(url.GetUrl());
        EXPECT_EQ(Read(bare), "picture") << bare.GetUrl();
        EXPECT_EQ(Resolve(bare), std::string(id) + "#1") << bare.GetUrl();
        EXPECT_EQ(Read(Need(AssetInterface::AddRepositoryScope(bare, _repository))), "picture");
        EXPECT_EQ(Resolve(bare + "more"), "-");
        // Nothing but such values: neither other files of the version nor its content.
        for (const char* name : {"hash", "asset.txt", "net.talvo.asset.previewimageurl", "net.talvo.asset.timestamp.meta"}) {
            Url other = bare;
            other.SetName(name);
            EXPECT_THAT(other.OpenConnection(), FailsWith<IoError>("No asset found")) << other.GetUrl();
        }
    }
    EXPECT_THAT(Parse("meta:///chair").OpenConnection(),
                FailsWith<IllegalArgumentError>("Meta Url without meta data identifier: meta:///chair."));
}

TEST_P(AssetUrls, ARepositoryInTheUrlSparesTheSearchUntilItGoes) {
    auto own = Create("own");
    Store(own, "table"_id, "own");
    Url url = Need(AssetInterface::AddRepositoryScope(Parse("asset:///table"), own));
    EXPECT_EQ(Read(url), "own") << "the lookup repository doesn't know it";
    EXPECT_EQ(Need(AssetInterface::AddRepositoryScope(url, nullptr)), url) << "no second search";
    EXPECT_THAT(AssetInterface::AddRepositoryScope(Parse("asset:///nobody"), own), FailsWith<IoError>("nobody"));
    Url changed = url;
    changed.SetPath("chair");
    EXPECT_THAT(changed.OpenConnection(), FailsWith<IoError>("No asset found"));
    own = nullptr;
    EXPECT_THAT(url.OpenConnection(), FailsWith<IoError>("No asset found"));
    Store(_repository, "table"_id, "new");
    EXPECT_EQ(Read(url), "new");
}

TEST_P(AssetUrls, AUrlInMetaDataHoldsNoDescription) {
    const AssetDescription chair = Store(_repository, "chair"_id, "wood");
    const Url url = Need(AssetInterface::GetAssetUrl(chair, false));
    Need(chair.StoreMetaData(MakeMetaId("origin"), Data(url), Kind(2)));
    const Url read = *Need(chair->GetMetaData().Get<Url>(MakeMetaId("origin")));
    EXPECT_EQ(read, url);
    EXPECT_FALSE(FindResolveInfo(read)) << "the description holds this very value";
    EXPECT_TRUE(FindResolveInfo(url));
}

TEST_P(AssetUrls, APlaceIsFoundByTheTableWhateverChanged) {
    const auto base = Create("base");
    Store(_repository, "chair"_id, "1");
    const Url first = NeedRef(FindLatest(_repository, "chair"_id)->GetUrl());
    EXPECT_EQ(Resolve(first), "chair#1");
    Store(_repository, "chair"_id, "2");
    const Url second = NeedRef(FindLatest(_repository, "chair"_id)->GetUrl());
    EXPECT_EQ(Resolve(first), "-") << "only the newest version counts";
    EXPECT_EQ(Resolve(second), "chair#2");
    Need(_repository->EraseAsset(FindLatest(_repository, "chair"_id)));
    EXPECT_EQ(Resolve(first), "chair#1");
    Store(base, "table"_id, "1");
    const Url table = NeedRef(FindLatest(base, "table"_id)->GetUrl());
    EXPECT_EQ(Resolve(table), "-");
    Need(_repository->AddBase(base));
    EXPECT_EQ(Resolve(table), "table#1");
    Store(base, "lamp"_id, "1");
    EXPECT_EQ(Resolve(NeedRef(FindLatest(base, "lamp"_id)->GetUrl())), "lamp#1");
    Need(_repository->RemoveBase(base));
    EXPECT_EQ(Resolve(table), "-");
    Need(_repository->DeleteAsset("chair"_id));
    EXPECT_EQ(Resolve(first), "-");
}

TEST_P(AssetUrls, NormalizeLeadsToTheRealPlace) {
    const AssetDescription chair = Store(_repository, "chair"_id, "wood");
    const Url content = NeedRef(chair->GetUrl());
    const Url url = Parse("asset:///chair");
    EXPECT_EQ(Need(url.Normalize(NORMALIZE::NONE)), url);
    EXPECT_EQ(Need(url.Normalize(NORMALIZE::REAL)), content);
    EXPECT_EQ(Need(url.IoNormalize(NORMALIZE::REAL_WHOLLY)), content);
    EXPECT_EQ(Need(Parse("asset:///root").GetChild("chair")), url) << "the top is no folder";
    EXPECT_EQ(Need(url.GetParent()), Parse("asset:///root"));
    EXPECT_EQ(Need(Need(url.GetParent()).GetParent()).GetPath(), "");
    EXPECT_EQ(Need(Need(url.GetChild("a/b")).GetParent()), url + "a");
}

TEST_P(AssetUrls, NamesLeadToAssetsByWayOfTheirCategories) {
    const auto makeCategory = [&](const Id& aid, const char* name, const Id& parent) {
        const CategoryAsset category = Need(CategoryAssetInterface::Create());
        const AssetDescription stored = Need(_repository->StoreAsset(aid, Asset(category), nullptr));
        SetName(stored, name);
        if (parent.IsPopulated()) Need(CategoryAssetInterface::SetAssetCategory(stored, parent));
    };
    makeCategory("plants"_id, "Plants", Id());
    makeCategory("trees"_id, "Trees", "plants"_id);
    makeCategory("ring"_id, "Ring", "ring"_id);
    for (const auto& [id, category] : {std::pair("oak", "trees"), std::pair("ash", "ring"), std::pair("lost", "gone")}) {
        const AssetDescription stored = Store(_repository, MakeId(id), id);
        SetName(stored, "Tree");
        Need(CategoryAssetInterface::SetAssetCategory(stored, MakeId(category)));
    }
    const std::pair<const char*, const char*> cases[] = {
        {"assetdb:///Trees/Tree", "oak#1"},
        {"assetdb:///plants/TREES/tree", "oak#1"},
        {"assetdb:///Ring/Tree", "ash#1"},
        {"assetdb:///Tree", "-"},
        {"assetdb:///Plants/Tree", "-"},
        {"assetdb:///Plants/Trees/Other", "-"},
        {"assetdb:///Ring/Ring/Tree", "-"},
        {"assetdb:///gone/Tree", "-"},
        {"assetdb:///", "-"},
    };
    for (const auto& [text, expected] : cases) {
        const Result<Url> found = Parse(text).Normalize(NORMALIZE::REAL);
        if (std::string_view(expected) == "-") {
            EXPECT_THAT(found, FailsWith<IoError>("Asset not found")) << text;
        } else {
            EXPECT_EQ(Resolve(Need(found)), expected) << text;
        }
    }
    EXPECT_EQ(Read(Need(Parse("assetdb:///Trees/Tree").IoNormalize(NORMALIZE::REAL_WHOLLY))), "oak");
    EXPECT_EQ(Need(Parse("assetdb:///Tree").Normalize(NORMALIZE::NONE)), Parse("assetdb:///Tree"));
    EXPECT_THAT(Parse("assetdb:///Trees/Tree").OpenConnection(), FailsWith<IoError>("invalid asset"));
    EXPECT_EQ(Need(Parse("asset:///oak").ConvertToUiName(UI_NAME::NONE)).GetView(), "assetdb:///Plants/Trees/Tree");
    EXPECT_EQ(Need(Parse("asset:///ash").ConvertToUiName(UI_NAME::NONE)).GetView(), "assetdb:///Ring/Tree");

    const auto other = Create("other");
    Url elsewhere = Parse("assetdb:///Trees/Tree");
    elsewhere.SetData("repo"_id, Data(AssetRepositoryRef(other)));
    EXPECT_THAT(elsewhere.Normalize(NORMALIZE::REAL), FailsWith<IoError>("Asset not found"));
}

TEST_P(AssetUrls, PeopleReadNamesAndVersions) {
    const AssetDescription tree = Store(_repository, "tree"_id, "1");
    SetName(tree, "tree.png");
    Store(_repository, "plain"_id, "1");
    struct Case {
        const char* url;
        UInt32 flags;
        const char* expected;
    };
    const auto check = [](const std::vector<Case>& cases) {
        for (const Case& each : cases)
            EXPECT_EQ(Need(Parse(each.url).ConvertToUiName(UI_NAME(each.flags))).GetView(), each.expected)
                << each.url << " " << each.flags;
    };
    check({{"asset:///none?name=Tree&db=Library&version=1.2", 0, "Tree (Library) 1.2"},
           {"asset:///none?name=Tree&db=Library&version=1.2", 16, "Tree"},
           {"asset:///none?name=A%2526B%253d5%2525", 0, "A&B=5%25"},
           {"asset:///none", 0, "asset:///none"},
           {"asset:///?name=Tree", 0, "Tree"},
           {"asset:///tree", 4 | 1, "tree (Latest).png"},
           {"asset:///tree?name=x", 4 | 1, "tree.png"},
           {"asset:///tree", 0, "assetdb:///tree.png"},
           {"asset:///tree", 1 | 2, "tree"},
           {"asset:///tree", 1 | 4 | 8, "tree (Latest)"},
           {"asset:///plain", 1, "plain"}});
    Need(tree.StoreMetaData(InternedId(ASSETMETADATA::VERSIONTAG), Data(String("1.2")), Kind(6)));
    check({{"asset:///tree", 4 | 1, "tree (Latest: 1.2).png"}, {"asset:///tree?name=x", 4 | 1, "tree (1.2).png"}});
}

/// Says of each asset that its content lies at the url of the one before: "3" at "2", that at "1", and "0" at its own; of "a" at "b", and of "b" at "a".
class ChainRepository final : public AssetRepositoryDecoratorBase {
public:
    explicit ChainRepository(const AssetRepositoryRef& repository)
        : AssetRepositoryDecoratorBase(repository->GetId()), _repository(repository) {}
    AssetRepositoryRef GetDecoratedObject() const override { return _repository; }
    Result<AssetDescription> FindLatestAsset(const Id&, const Id& aid, const Id&, ASSET_FIND_MODE) override {
        const std::string id(aid.GetView());
        AssetDescription::Parts parts;
        parts.type = ASSETTYPE_FILE;
        parts.identity = {aid, "1"_id};
        const std::string next = id == "a" ? "b" : id == "b" ? "a" : std::to_string(std::max(std::atoi(id.c_str()) - 1, 0));
        parts.url = id == "1" ? content : Url::Create(URLSCHEME_ASSET, "", next);
        return AssetDescription::Create(_repository, std::move(parts));
    }
    Url content;

private:
    const AssetRepositoryRef _repository;
};

TEST_P(AssetUrls, ContentMayLieAtTheUrlOfAnotherAssetButNotInACircle) {
    const auto chain = StrongRef<ChainRepository>::Create(_repository);
    GetScratch().Write("content", "wood");
    chain->content = GetScratch().GetUrl() + "content";
    AssetInterface::SetUserPrefsRepository(chain);
    EXPECT_EQ(Read(Parse("asset:///3")), "wood");
    EXPECT_EQ(Need(Parse("asset:///16").Normalize(NORMALIZE::REAL_WHOLLY)), chain->content);
    EXPECT_EQ(Need(Parse("asset:///16").Normalize(NORMALIZE::REAL)), Parse("asset:///15"));
    EXPECT_THAT(Parse("asset:///17").Normalize(NORMALIZE::REAL_WHOLLY), FailsWith<IoError>("without an end"));
    EXPECT_THAT(Parse("asset:///a").OpenInputStream(), FailsWith<IoError>("without an end"));
    EXPECT_THAT(Parse("asset:///0").OpenInputStream(), FailsWith<IoError>("leads back to itself"));
    EXPECT_EQ(Need(Parse("asset:///0").Normalize(NORMALIZE::REAL_WHOLLY)), Parse("asset:///0"));
}

TEST(AssetUrlSchemes, AreRegisteredOnceAndAllOrNone) {
    Need(RegisterAssetUrlSchemes());
    Need(RegisterAssetUrlSchemes());
    UnregisterAssetUrlSchemes();
    UnregisterAssetUrlSchemes();
    EXPECT_THAT(IoHandlers::GetHandlerForScheme("asset"_id), FailsWith<UnsupportedArgumentError>());
    class Stranger final : public IoHandler {
    public:
        Id GetUrlScheme() const override { return "assetdb"_id; }
        Result<IoConnectionRef> OpenConnection(const Url&) override { return UnsupportedOperationError::Create("closed"); }
    };
    Need(IoHandlers::Register(IoHandlerRef(new Stranger)));
    EXPECT_THAT(RegisterAssetUrlSchemes(), FailsWith<IllegalStateError>("assetdb"));
    EXPECT_THAT(IoHandlers::GetHandlerForScheme("asset"_id), FailsWith<UnsupportedArgumentError>());
    IoHandlers::Unregister("assetdb"_id);
}

}  // namespace
}  // namespace talvo
