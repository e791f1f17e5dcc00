// Assets as texts and colours, in the languages of their readers.
#include "asset_presentation.h"

#include "category_asset.h"
#include "colorcategory_asset.h"
#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "memoryassetrepository.h"
#include "nodespace_asset.h"
#include "plugin_asset.h"
#include "subtype_asset.h"
#include "support/asset_preset_support.h"
#include "url_repository/create_repository.h"

#include <algorithm>

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;
constexpr LiteralId PNG{"net.talvo.asset.subtype.file.png"};

void SetLanguage(const Id& code) { Resource::SetCurrentLanguage(Need(Resource::GetLanguage(code))); }

class Presentation : public testing::Test {
protected:
    Presentation() { SetLanguage("en"_id); }
    ~Presentation() override {
        Resource::SetCurrentLanguage(nullptr);
        NodeLibrary::SetPortEntries(nullptr);
        SetRendererPluginId(Id());
    }
    template <typename INTERFACE>
    AssetDescription Store(const Id& id, const char* name) {
        const auto asset = Need(INTERFACE::Create());
        const AssetDescription stored = Need(_repository->StoreAsset(id, Asset(StrongRef<AssetInterface>(asset)), nullptr));
        if (*name) Need(stored->StoreMetaString(InternedId(OBJECT_BASE_NAME), name, nullptr));
        return stored;
    }
    AssetDescription StoreNote(const Id& id) { return Need(_repository->StoreAsset(id, MakeNote("text", {}), nullptr)); }
    AssetDescription StoreNeeding(const Id& id, const std::vector<std::pair<Id, Id>>& dependencies) {
        BaseArray<AssetDependencyStruct> list;
        for (const auto& [type, needed] : dependencies) {
            AssetDependencyStruct dependency;
            dependency.assetTypeId = type;
            dependency.assetIdAndVersion = {needed, Id()};
            Need(list.Append(std::move(dependency)));
        }
        const AssetDescription asset = StoreNote(id);
        Need(asset.StoreMetaData(InternedId(ASSETMETADATA::DEPENDENCIES), Data(std::move(list)), KIND::PERSISTENT));
        return asset;
    }
    std::string GetName(const Id& type, const Id& id, Bool addParents, TypeNameCache* cache = nullptr) {
        return ToText(Need(GetAssetTypeName(_repository, type, id, Id(), addParents, cache)));
    }

    const BaseAssetRepositoryRef _repository =
        Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
};

using Texts = Presentation;
using Tags = Presentation;

}  // namespace

TEST_F(Texts, areCompleteInEnglishAndAlikeInEveryLanguage) {
    const std::vector<std::string_view> english = GetGlobalStringKeys("en"_id);
    EXPECT_GT(english.size(), 70u);
    EXPECT_EQ(std::adjacent_find(english.begin(), english.end()), english.end()) << "each key once";
    for (const std::string_view key : GetGlobalStringKeys("de"_id)) {
        SCOPED_TRACE(key);
        ASSERT_TRUE(std::binary_search(english.begin(), english.end(), key));
        SetLanguage("en"_id);
        const std::string text = ToText(LoadGlobalString(key));
        SetLanguage("de"_id);
        const std::string german = ToText(LoadGlobalString(key));
        EXPECT_FALSE(text.empty() || german.empty() || text == key);
        EXPECT_EQ(std::count(text.begin(), text.end(), '@'), std::count(german.begin(), german.end(), '@'));
    }
    const struct {
        const char* language;
        const char* key;
        const char* text;
    } rows[] = {{"de", "assettypefile", "Datei"}, {"de-CH", "assettypefile", "Datei"}, {"en-US", "assettypefile", "File"},
                {"fr", "assettypefile", "File"},  {"de", "nosuchkey", "nosuchkey"},    {"de", "", ""}};
    for (const auto& row : rows) {
        SetLanguage(MakeId(row.language));
        EXPECT_EQ(ToText(LoadGlobalString(row.key)), row.text) << row.language;
    }
    EXPECT_TRUE(GetGlobalStringKeys("fr"_id).empty());
}

TEST_F(Presentation, ofTypesIsNameAndOrder) {
    MakePreset(ASSETTYPE_SWATCH, "");  // registers the type
    const struct {
        Id type;
        const char* name;
        const char* prefix;
    } rows[] = {
        {ASSETTYPE_CATEGORY, "Category", "#$01"},
        {"net.talvo.node.assettype.nodetemplate"_id, "Node", "#$05"},
        {"net.talvo.node.assettype.nodedescription"_id, "Node Description", "#$05"},
        {"net.talvo.assettype.preset.defaults.node"_id, "Node Defaults", "#$05"},
        {ASSETTYPE_FILE, "File", "#$07"},
        {"net.talvo.assettype.keyword"_id, "Keyword", "#$08"},
        {"net.talvo.assettype.smartsearch"_id, "Smart Search", "#$10"},
        {"net.talvo.assettype.subtype"_id, "Subtype", "#$10"},
        {"net.talvo.assettype.nodecontext"_id, "Node Context", "#$10"},
        {"net.talvo.assettype.nodespace"_id, "Node Space", "#$11"},
        {"net.talvo.assettype.plugin"_id, "Plug-in", "#$11"},
        {ASSETTYPE_SWATCH, "Swatch", ""},
        {"net.talvo.assettype.command"_id, "net.talvo.assettype.command", "#$99"},
        {"strange"_id, "strange", "#$99"},
        {Id(), "", "#$99"},
    };
    for (const auto& row : rows) {
        const auto [name, prefix] = GetAssetTypeName(row.type);
        EXPECT_EQ(ToText(prefix) + ToText(name), std::string(row.prefix) + row.name);
    }
}

TEST_F(Presentation, ofAnAssetIsItsNameOrThatOfItsType) {
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, PNG, false), "File (*.png)") << "not there";
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, "net.talvo.asset.subtype.scene"_id, true), "Subtype");
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, Id(), false), "Subtype");
    const AssetDescription nameless = Store<SubTypeAssetInterface>(PNG, "");
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, PNG, false), "File (*.png)") << "without a name";
    TypeNameCache cache;
    Need(nameless->StoreMetaString(InternedId(OBJECT_BASE_NAME), "Picture", nullptr));
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, PNG, true, &cache), "Picture");
    Need(nameless->StoreMetaString(InternedId(OBJECT_BASE_NAME), "Image", nullptr));
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, PNG, true, &cache), "Picture") << "looked up once";
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, PNG, false, &cache), "Image") << "another question";
    EXPECT_EQ(GetName(ASSETTYPE_FILE, PNG, false, &cache), "File (*.png)") << "of another type";
    const auto byType = GetAssetTypeName(_repository, FindAssetType(ASSETTYPE_SUBTYPE), PNG, Id(), false, nullptr);
    EXPECT_EQ(ToText(Need(byType)), "Image");
    EXPECT_THAT(GetAssetTypeName(_repository, AssetType(), PNG, Id(), false, nullptr), FailsWith<NullptrError>());
    EXPECT_THAT(GetAssetTypeName(nullptr, ASSETTYPE_SUBTYPE, PNG, Id(), false, nullptr), FailsWith<NullptrError>());
}

TEST_F(Presentation, ofAnAssetMayHaveItsCategories) {
    const AssetDescription outer = Store<CategoryAssetInterface>("outer"_id, "Furniture");
    const AssetDescription inner = Store<CategoryAssetInterface>("inner"_id, "Chairs");
    const AssetDescription oak = Store<SubTypeAssetInterface>("oak"_id, "Oak");
    Need(CategoryAssetInterface::SetAssetCategory(inner, "outer"_id));
    Need(CategoryAssetInterface::SetAssetCategory(oak, "inner"_id));
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, "oak"_id, true), "Furniture/Chairs/Oak");
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, "oak"_id, false), "Oak");
    EXPECT_EQ(GetName(ASSETTYPE_CATEGORY, "inner"_id, true), "Furniture/Chairs");
    Need(CategoryAssetInterface::SetAssetCategory(outer, "inner"_id));
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, "oak"_id, true), "Furniture/Chairs/Oak") << "a circle is gone round once";
    Need(_repository->EraseAsset(outer));
    EXPECT_EQ(GetName(ASSETTYPE_SUBTYPE, "oak"_id, true), "Chairs/Oak");
}

TEST_F(Presentation, hasColoursForTheScreen) {
    const AssetDescription asset = StoreNote("asset"_id);
    EXPECT_FALSE(Need(GetAssetColorBar(asset, _repository)));
    EXPECT_FALSE(Need(GetAssetColorBar(nullptr, _repository)));
    const AssetDescription category = Store<ColorCategoryAssetInterface>("color"_id, "");
    Need(ColorCategoryAssetInterface::SetColorCategory(asset, "color"_id));
    EXPECT_FALSE(Need(GetAssetColorBar(asset, nullptr)));
    const std::pair<Float64, Float64> rows[] = {{0, 0}, {1, 1}, {0.0031308, 0.040449936}, {0.5, 0.735356983}, {0.001, 0.01292}};
    for (const auto& [linear, screen] : rows) {
        Need(category.StoreMetaData(InternedId(COLORCATEGORY_COLOR), Data(Color{linear, 0, 1}), KIND::PERSISTENT));
        const Opt<Color> color = Need(GetAssetColorBar(asset, _repository));
        ASSERT_TRUE(color);
        EXPECT_NEAR(color->r, screen, 1e-9);
        EXPECT_EQ(color->g, 0);
        EXPECT_NEAR(color->b, 1, 1e-9);
    }
}

TEST_F(Presentation, knowsWhatIsMissing) {
    constexpr LiteralId MISSING{"net.talvo.asset.file.missingassets"};
    const Id note = ASSETTYPE_NOTE;
    StoreNote("there"_id);
    StoreNeeding("first"_id, {{note, "second"_id}});
    StoreNeeding("second"_id, {{note, "first"_id}});
    StoreNeeding("third"_id, {{note, "there"_id}, {note, "gone"_id}});
    const struct {
        const char* why;
        AssetDescription asset;
        Bool isMissing;
    } rows[] = {
        {"needs nothing", StoreNote("simple"_id), false},
        {"is the stand-in itself", StoreNote(MISSING), true},
        {"needs the stand-in", StoreNeeding("a"_id, {{note, "there"_id}, {ASSETTYPE_FILE, MISSING}}), true},
        {"all is there", StoreNeeding("b"_id, {{note, "there"_id}}), false},
        {"one is not", StoreNeeding("c"_id, {{note, "there"_id}, {note, "gone"_id}}), true},
        {"what it needs lacks something", StoreNeeding("d"_id, {{note, "third"_id}}), true},
        {"a circle", StoreNeeding("e"_id, {{note, "first"_id}}), false},
    };
    for (const auto& row : rows) {
        CheckedAssets checked;
        EXPECT_EQ(Need(HasMissingDependencies(_repository, row.asset, checked)), row.isMissing) << row.why;
    }
    CheckedAssets checked;
    EXPECT_THAT(HasMissingDependencies(_repository, nullptr, checked), FailsWith<NullptrError>());
    EXPECT_THAT(HasMissingDependencies(nullptr, rows[3].asset, checked), FailsWith<NullptrError>());
    EXPECT_TRUE(Need(HasMissingDependencies(nullptr, rows[2].asset, checked))) << "known without a lookup";
}

TEST_F(Presentation, knowsWhatNeedsTheRenderer) {
    const AssetDescription asset =
        StoreNeeding("a"_id, {{ASSETTYPE_FILE, "vendor.renderer.file"_id}, {ASSETTYPE_PLUGIN, "my.vendor.renderer.7"_id}});
    const AssetDescription space = StoreNeeding("b"_id, {{ASSETTYPE_NODESPACE, "vendor.renderer"_id}});
    const AssetDescription file = StoreNeeding("c"_id, {{ASSETTYPE_FILE, "vendor.renderer"_id}});
    EXPECT_FALSE(Need(HasQuenliteDependencies(asset))) << "no renderer is known";
    SetRendererPluginId("vendor.renderer"_id);
    EXPECT_TRUE(Need(HasQuenliteDependencies(asset)));
    EXPECT_TRUE(Need(HasQuenliteDependencies(space)));
    EXPECT_FALSE(Need(HasQuenliteDependencies(file)));
    EXPECT_FALSE(Need(HasQuenliteDependencies(nullptr)));
}

TEST_F(Tags, haveTheEntriesOfPortsInPlaceOfPlaceholders) {
    std::vector<std::string> asked;
    NodeLibrary::SetPortEntries([&](const AssetDescription&, const NodeSystemClassRef&, const String& node, const String& port,
                                    LanguageRef) -> Result<BaseArray<String>> {
        asked.push_back(ToText(node) + "|" + ToText(port));
        BaseArray<String> entries;
        if (node == String("none")) return entries;
        for (const char* entry : {"Soft", "", "{Hard}"}) TRY(entries.Append(String(entry)));
        return entries;
    });
    const struct {
        const char* tags;
        const char* expanded;
        const char* asked;
    } rows[] = {
        {"oak, wood", "oak, wood", ""},
        {"a;{n/p};b", "a;;$%$Soft, $%${Hard};;b", "n|p"},
        {"{n/p/q}{none/p}", ";$%$Soft, $%${Hard};;;", "n|p/q none|p"},
        {"{none}", ";;", "none|"},
        {"{}", ";$%$Soft, $%${Hard};", "|"},
        {"}a{none/{b}c", "}a;;c", "none|{b"},
        {"a {open", "a {open", ""},
        {"ä{none/ö}ü", "ä;;ü", "none|ö"},
    };
    Int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.tags);
        const AssetDescription asset = StoreNote(MakeId("asset" + std::to_string(number++)));
        Need(asset->StoreMetaString(InternedId(OBJECT_BASE_TAGS), row.tags, nullptr));
        for (const char* expected : {row.asked, ""}) {
            asked.clear();
            EXPECT_EQ(ToText(Need(GetTagStrings(asset, nullptr, nullptr))), row.expanded);
            std::string all;
            for (const std::string& one : asked) all += (all.empty() ? "" : " ") + one;
            EXPECT_EQ(all, expected) << "kept after the first time";
        }
    }
    EXPECT_EQ(Need(GetTagStrings(StoreNote("untagged"_id), nullptr, nullptr)), String());
    EXPECT_THAT(GetTagStrings(nullptr, nullptr, nullptr), FailsWith<NullptrError>());
}

TEST_F(Tags, areKeptOnDisk) {
    const ScratchDirectory scratch;
    Application::SetHome(scratch.GetUrl() + "home");
    scratch.MakeFolder("repo");
    Int count = 0;
    NodeLibrary::SetPortEntries([&](const AssetDescription&, const NodeSystemClassRef&, const String&, const String&,
                                    LanguageRef) -> Result<BaseArray<String>> {
        ++count;
        return BaseArray<String>();
    });
    for (Int round = 0; round < 2; ++round) {
        UrlRepositoryRequest request;
        request.id = "repo"_id;
        request.url = scratch.GetUrl() + "repo";
        request.access = UrlRepositoryRequest::ACCESS::WRITABLE;
        const UpdatableAssetRepositoryRef repository = Need(OpenUrlRepository(request));
        if (round == 0) {
            const AssetDescription stored = Need(repository->StoreAsset("a"_id, MakeNote("text", {}), nullptr));
            Need(stored->StoreMetaString(InternedId(OBJECT_BASE_TAGS), "a;{n/p}", nullptr));
        }
        EXPECT_EQ(ToText(Need(GetTagStrings(FindLatest(repository, "a"_id), nullptr, nullptr))), "a;;;");
    }
    EXPECT_EQ(count, 1) << "once for both openings";
    Application::SetHome(Url());
}

TEST(NodeLibrary, agreesUnlessTheHostKnowsBetter) {
    struct AnyClass final : NodeSystemClassInterface {};
    const NodeSystemClassRef cls(StrongRef<AnyClass>::Create());
    EXPECT_TRUE(NodeLibrary::AssetSupports(nullptr, cls));
    EXPECT_FALSE(NodeLibrary::IsMorvaneObjectAsset(nullptr));
    NodeLibrary::SetAssetSupports([](const AssetDescription&, const NodeSystemClassRef&) { return false; });
    NodeLibrary::SetIsMorvaneObjectAsset([](const AssetDescription&) { return true; });
    EXPECT_FALSE(NodeLibrary::AssetSupports(nullptr, cls));
    EXPECT_TRUE(NodeLibrary::AssetSupports(nullptr, nullptr)) << "no class has all nodes";
    EXPECT_TRUE(NodeLibrary::IsMorvaneObjectAsset(nullptr));
    NodeLibrary::SetAssetSupports(nullptr);
    NodeLibrary::SetIsMorvaneObjectAsset(nullptr);
}

TEST_F(Tags, areKeptForOneLanguageAndOneStampAndUntilTheyChange) {
    Int count = 0;
    Bool fails = false;
    NodeLibrary::SetPortEntries([&](const AssetDescription&, const NodeSystemClassRef&, const String&, const String&,
                                    LanguageRef language) -> Result<BaseArray<String>> {
        if (fails) return UnknownError::Create("no entries");
        ++count;
        BaseArray<String> entries;
        TRY(entries.Append(String::FromId(language->GetIdentifier())));
        return entries;
    });
    const AssetDescription asset = StoreNote("asset"_id);
    const InternedId key(OBJECT_BASE_TAGS);
    Need(asset->StoreMetaString(key, "{n/p}", nullptr));
    const auto get = [&](TagRecords* records) { return ToText(Need(GetTagStrings(asset, nullptr, records))); };
    TagRecords records;
    EventRecorder events(_repository);
    EXPECT_EQ(get(&records), ";$%$en;");
    EXPECT_TRUE(events.Take().empty()) << "stored with the others, later";
    EXPECT_EQ(get(&records), ";$%$en;");
    EXPECT_EQ(count, 2);
    records.Store();
    EXPECT_THAT(events.Take(), testing::Each(testing::HasSubstr("net.talvo.object.base.tags 10 ")));
    EXPECT_EQ(get(nullptr), ";$%$en;");
    EXPECT_EQ(count, 2) << "kept";
    Need(asset.StoreMetaData(InternedId(ASSETMETADATA::DERIVEDMETADATASTAMP), Data(CString("2")), KIND::NONE));
    EXPECT_EQ(get(nullptr), ";$%$en;");
    EXPECT_EQ(count, 3) << "another stamp";
    SetLanguage("de"_id);
    EXPECT_EQ(get(nullptr), ";$%$de;");
    EXPECT_EQ(get(nullptr), ";$%$de;");
    EXPECT_EQ(count, 4) << "another language";
    Need(asset->StoreMetaString(key, "{n/p} new", nullptr));
    EXPECT_EQ(get(nullptr), ";$%$de; new") << "a change of the text makes it stale";
    Need(asset->StoreMetaString(key, "{n/p} newer", nullptr));
    fails = true;
    std::vector<std::string> log;
    SetLogSink([&](LOG_LEVEL, const std::string& line) { log.push_back(line); });
    EXPECT_THAT(GetTagStrings(asset, nullptr, nullptr), FailsWith<UnknownError>("no entries"));
    SetLogSink(nullptr);
    EXPECT_EQ(log.size(), 1u);
}

}  // namespace talvo
