// Built-in assets: who finds which of them, what is kept of them on disk, and what is refused.
#include "asset_impl/config.h"
#include "asset_module/module_fixture.h"
#include "kernel/data/standard_types.h"

namespace talvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using MODE = ASSET_FIND_MODE;
using KIND = ASSET_METADATA_KIND;

/// A second kind beside files.
Asset MakeText(const char* text) { return MakeNote(text, {}); }

class Builtin : public ModuleTest {
protected:
    // More than is asked for, and one asset twice; the second registry has one that the first one brings too.
    Builtin()
        : _first(GetBuiltinAssetLoaders(), "test.first"_id,
                 [this](const Id&, BuiltinAssetReceiver receiver) -> Result<Bool> {
                     ++_asked;
                     DataDictionary values;
                     values.Set("given"_id, String("by the loader"));
                     const Url root = _scratch.GetUrl() + "root";
                     const Bool a = TRY(receiver("b.file"_id, _file, values, root));
                     if (!a) return false;
                     const Bool b = TRY(receiver("b.note"_id, MakeText("one"), DataDictionary(), Url()));
                     if (!b) return false;
                     return receiver("b.file"_id, _file, DataDictionary(), Url());
                 }),
          _second(GetBuiltinAssetLoaders2(), "test.second"_id, [](const Id&, BuiltinAssetReceiver receiver) -> Result<Bool> {
              const Bool a = TRY(receiver("b.note"_id, MakeText("two"), DataDictionary(), Url()));
              return a ? receiver("c.note"_id, MakeText("three"), DataDictionary(), Url()) : Result<Bool>(false);
          }) {
        Need(AssetModule::Start());
        _builtin = AssetInterface::GetBuiltinRepository();
        _user = AssetInterface::GetUserPrefsRepository();
        // The module's own ones are not what is looked at here.
        MakeNote("", {});
    }
    /// Ids found, but for what the module itself brings.
    static std::vector<std::string> FindIds(const AssetRepositoryRef& repository, const Id& type, std::string_view aid,
                                            std::string_view version, MODE mode) {
        std::vector<std::string> ids;
        Need(FindAssets(repository, Block<const Id>(&type, 1), aid.empty() ? Id() : MakeId(aid),
                        version.empty() ? Id() : MakeId(version), mode, [&](const AssetDescription& found) -> Result<Bool> {
                            const std::string id = ToText(found->GetIdAndVersion().first);
                            if (id.size() > 2 && id[1] == '.') ids.push_back(id);
                            return true;
                        }));
        return ids;
    }
    void Restart() {
        _builtin = nullptr;
        _user = nullptr;
        AssetModule::Stop();
        Need(AssetModule::Start());
        _builtin = AssetInterface::GetBuiltinRepository();
        _user = AssetInterface::GetUserPrefsRepository();
    }
    AssetDescription Get(const Id& aid) const { return FindLatest(_builtin, aid); }
    static std::string GetValue(const AssetDescription& asset, std::string_view key) {
        const Opt<Data> value = Need(asset->GetMetaData()->Get(MakeMetaId(key)));
        return value ? value->ToString() : "-";
    }

    const Asset _file = MakeFileAsset(_scratch, "built.txt", "built in");
    Int _asked = 0;
    TestLoader _first;
    TestLoader _second;
    AssetRepositoryRef _builtin;
    AssetRepositoryRef _user;
};

TEST_F(Builtin, lookupsFindWhatTheyAskFor) {
    const struct {
        const char* why;
        Id type;
        const char* aid;
        const char* version;
        MODE mode;
        std::vector<std::string> found;
    } cases[] = {
        {"each once, in the order of the loaders", Id(), "", "", MODE::LATEST, {"b.file", "b.note", "c.note"}},
        {"all versions are the one", Id(), "", "", MODE::ALL_VERSIONS, {"b.file", "b.note", "c.note"}},
        {"of one type", ASSETTYPE_NOTE, "", "", MODE::LATEST, {"b.note", "c.note"}},
        {"by id", Id(), "b.note", "", MODE::LATEST, {"b.note"}},
        {"by id from the second registry", Id(), "c.note", "", MODE::LATEST, {"c.note"}},
        {"by id of another type", ASSETTYPE_FILE, "b.note", "", MODE::LATEST, {}},
        {"by prefix", Id(), "b.", "", MODE::LATEST | MODE::ID_PREFIX, {"b.file", "b.note"}},
        {"an id that is there as a prefix", Id(), "b.file", "", MODE::LATEST | MODE::ID_PREFIX, {"b.file"}},
        {"no version like that", Id(), "b.note", "other", MODE::LATEST, {}},
        {"no choice of versions", Id(), "b.note", "", MODE::NONE, {}},
        {"unknown", Id(), "x.note", "", MODE::LATEST, {}},
    };
    for (const char* round : {"unknown yet", "known"}) {
        for (const auto& each : cases) {
            EXPECT_EQ(FindIds(_builtin, each.type, each.aid, each.version, each.mode), each.found) << each.why << ", " << round;
            EXPECT_EQ(Sorted(FindIds(_user, each.type, each.aid, each.version, each.mode)), each.found) << each.why;
        }
    }
    const Int asked = _asked;
    Get("b.file"_id);
    EXPECT_EQ(_asked, asked) << "nobody is asked for an id that is known";
}

TEST_F(Builtin, aReceiverOrALoaderEndsTheWalk) {
    Int count = 0;
    const auto stop = [&](const AssetDescription&) -> Result<Bool> { return ++count < 2; };
    EXPECT_FALSE(Need(FindAssets(_builtin, {}, Id(), Id(), MODE::LATEST, stop)));
    EXPECT_EQ(count, 2);
    const auto fail = [](const AssetDescription&) -> Result<Bool> { return UnknownError::Create("enough"); };
    EXPECT_THAT(FindAssets(_builtin, {}, Id(), Id(), MODE::LATEST, fail), FailsWith<UnknownError>("enough"));
    const auto goOn = [](const AssetDescription&) -> Result<Bool> { return true; };
    {
        const TestLoader broken(GetBuiltinAssetLoaders(), "test.broken"_id,
                                [](const Id&, BuiltinAssetReceiver) -> Result<Bool> { return IoError::Create("no disk"); });
        EXPECT_THAT(FindAssets(_user, {}, Id(), Id(), MODE::LATEST, goOn), FailsWith<IoError>("no disk"));
        EXPECT_EQ(FindIds(_user, Id(), "b.note", "", MODE::LATEST).size(), 1u) << "an earlier loader has it";
    }
    const TestLoader empty(GetBuiltinAssetLoaders(), "test.empty"_id, [](const Id&, BuiltinAssetReceiver receiver) {
        return receiver("b.none"_id, nullptr, DataDictionary(), Url());
    });
    EXPECT_THAT(FindAssets(_user, {}, Id(), Id(), MODE::LATEST, goOn), FailsWith<IllegalArgumentError>("b.none"));
}

TEST_F(Builtin, whateverIsStoredIsNewer) {
    Need(_user->StoreAsset("b.file"_id, MakeFileAsset(_scratch, "mine.txt", "mine"), nullptr));
    EXPECT_EQ(ReadPayload(FindLatest(_user, "b.file"_id)), "mine");
    EXPECT_EQ(ReadPayload(Get("b.file"_id)), "built in");
    EXPECT_EQ(FindIds(_user, Id(), "b.file", "", MODE::LATEST).size(), 1u);
}

TEST_F(Builtin, standsInTheGraphLikeOthers) {
    // Over two paths it is searched once.
    Need(_user->AddBase(_builtin));
    EXPECT_EQ(FindIds(_user, Id(), "b.file", "", MODE::ALL_VERSIONS).size(), 1u);
    Need(_user->RemoveBase(_builtin));
    // Who says no to it gets the assets of the others, whatever comes first.
    Need(_user->StoreAsset("u.file"_id, MakeFileAsset(_scratch, "mine.txt", "mine"), nullptr));
    std::vector<std::string> ids;
    Need(_user->FindAssets({}, Id(), Id(), MODE::LATEST | MODE::ASK_REPOSITORY, [&](const AssetFindItem& item) -> Result<Bool> {
        if (item.GetRepository()) return (*item.GetRepository())->GetId() != REPOSITORY_BUILTIN;
        if ((*item.GetDescription())->GetTypeId() == ASSETTYPE_FILE)
            ids.push_back(ToText((*item.GetDescription())->GetIdAndVersion().first));
        return true;
    }));
    EXPECT_THAT(ids, ElementsAre("u.file"));
    Need(_builtin->SetAttribute(REPOSITORY_SKIPINSEARCH, Data(true)));
    EXPECT_THAT(FindIds(_user, Id(), "b.file", "", MODE::LATEST), IsEmpty());
    EXPECT_EQ(_builtin->FindRepository("other"_id), nullptr);
}

TEST_F(Builtin, anAssetLoadsAndKnowsWhereItIs) {
    const AssetDescription file = Get("b.file"_id);
    EXPECT_EQ(NeedRef(file->GetUrl()), _scratch.GetUrl() + "built.txt");
    const Asset loaded = Need(file->Load(true));
    EXPECT_EQ(loaded->GetIdAndVersion().first, "b.file"_id);
    EXPECT_EQ(loaded->GetRepository(), _builtin);
    EXPECT_EQ(LoadNote(Get("b.note"_id), false)->GetText(), "one") << "the first loader counts";
    EXPECT_EQ(Need(_builtin->GetDescription(file)), file);
    EXPECT_EQ(Need(_builtin->CompareVersions(file, file)), COMPARERESULT::EQUAL);
}

TEST_F(Builtin, valuesAreKeptForUsersAndForTheProgramOnly) {
    const struct {
        KIND kind;
        const char* file;  ///< empty: refused
    } cases[] = {{KIND::PERSISTENT | KIND::USER, "home/preferences/net.talvo.asset/_assets/user.db/b.file/k.meta"},
                 {KIND::PERSISTENT | KIND::DERIVED, "home/generated/net.talvo.asset/dc/builtinrepository/b.file/k.derived"},
                 {KIND::PERSISTENT, ""},
                 {KIND::PERSISTENT | KIND::VERSIONED, ""},
                 {KIND::NONE, ""}};
    EventRecorder events(_user);
    for (const auto& each : cases) {
        SCOPED_TRACE(UInt32(each.kind));
        const AssetDescription file = Get("b.file"_id);
        const Result<void> stored = file.StoreMetaData(MakeMetaId("k"), Data(String("v")), each.kind);
        if (!*each.file) {
            EXPECT_THAT(stored, FailsWith<IllegalStateError>("Meta data for built-in asset b.file isn't writable"));
            continue;
        }
        EXPECT_THAT(stored, Succeeds());
        EXPECT_EQ(GetValue(file, "k"), "v");
        EXPECT_NE(_scratch.Read(each.file), "(missing)");
        Restart();
        EXPECT_EQ(GetValue(Get("b.file"_id), "k"), "v") << "after a restart";
        Need(Get("b.file"_id).StoreMetaData(MakeMetaId("k"), Data(), each.kind));
        EXPECT_EQ(_scratch.Read(each.file), "(missing)");
    }
    const AssetDescription file = Get("b.file"_id);
    EXPECT_EQ(GetValue(file, "given"), "by the loader");
    EXPECT_THAT(file.StoreMetaData(MakeMetaId("given"), Data(String("mine")), KIND::PERSISTENT | KIND::USER),
                FailsWith<IllegalStateError>("isn't writable"))
        << "a user's value would be gone at the next start";
    EXPECT_THAT(file.StoreMetaData(MakeMetaId("a/b"), Data(String("v")), KIND::PERSISTENT | KIND::USER),
                FailsWith<IllegalArgumentError>("a/b"));
    // Where authors may write, values go to the loader's tree.
    g_builtinRepositoryWritable.Set(true);
    EXPECT_THAT(file.StoreMetaData(MakeMetaId("k"), Data(String("v")), KIND::PERSISTENT), Succeeds());
    EXPECT_NE(_scratch.Read("root/b.file/k.meta"), "(missing)");
    EXPECT_THAT(Get("c.note"_id).StoreMetaData(MakeMetaId("k"), Data(String("v")), KIND::PERSISTENT),
                FailsWith<UnsupportedOperationError>("Can't write meta data to built-in asset c.note"));
    g_builtinRepositoryWritable.Set(false);
    Restart();
    EXPECT_EQ(GetValue(Get("b.file"_id), "k"), "v") << "and everyone reads it";
}

TEST_F(Builtin, aFileWhereValuesShouldBeCostsTheValuesOnly) {
    Restart();
    _scratch.Write(std::string(USER_TREE) + "/b.file", "in the way");
    EXPECT_EQ(GetValue(Get("b.file"_id), "given"), "by the loader");
}

TEST_F(Builtin, refusesWhatWouldChangeIt) {
    const AssetDescription file = Get("b.file"_id);
    EXPECT_FALSE(_builtin->IsWritable());
    EXPECT_THAT(_builtin->StoreAsset("x"_id, _file, nullptr), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->OverwriteAsset("b.file"_id, _file, nullptr), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->DeleteAsset("b.file"_id), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->EraseAsset(file), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->CopyAsset("x"_id, file, false, false), FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->StoreUrlMetaData(file, MakeMetaId("k"), _scratch.GetUrl() + "built.txt", KIND::PERSISTENT),
                FailsWith<UnsupportedOperationError>());
    EXPECT_THAT(_builtin->GetDescriptionDatabaseId(), FailsWith<IllegalStateError>("Repository is not writable"));
    const AssetDescription other = Need(_user->StoreAsset("u.file"_id, _file, nullptr));
    EXPECT_THAT(_builtin->StoreMetaData(other, MakeMetaId("k"), Data(true), KIND::PERSISTENT | KIND::USER),
                FailsWith<IllegalArgumentError>("Asset u.file not found."));
    const AssetDescription namesake = Need(_user->StoreAsset("b.file"_id, _file, nullptr));
    EXPECT_THAT(_builtin->StoreMetaData(namesake, MakeMetaId("k"), Data(true), KIND::PERSISTENT | KIND::USER),
                FailsWith<UnexpectedError>("impl && builtinImpl"));
}

}  // namespace
}  // namespace talvo
