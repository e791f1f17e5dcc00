// A browser from the typed text to its rows, with and without a table, and what a host may do to it.
#include "asset_browser/browser_fixture.h"

#include "asset_browser/row_groups.h"
#include "kernel/app/run_loop.h"
#include "smartsearch_asset.h"

#include <random>
#include <thread>

namespace talvo {

using Rows = std::vector<std::string>;

BrowserFixture::BrowserFixture()
    : BrowserFixture(Need(MemoryAssetRepository::Create("library"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE))) {
    Fill();
}

BrowserFixture::BrowserFixture(BaseAssetRepositoryRef repository) : _repository(std::move(repository)) {}

void BrowserFixture::Fill() {
    const auto category = [&](const char* id, const char* name, const char* parent) {
        const AssetDescription stored = Store(MakeId(id), Asset(Need(CategoryAssetInterface::Create())), name);
        if (*parent) Need(CategoryAssetInterface::SetAssetCategory(stored, MakeId(parent)));
    };
    category("furniture", "Furniture", "");
    category("chairs", "#$05Chairs", "furniture");
    category("empty", "Empty", "furniture");
    Store("wood"_id, Asset(Need(KeywordAssetInterface::Create())), "Wooden");
    Store("net.talvo.asset.subtype.object"_id, Asset(Need(SubTypeAssetInterface::Create())), "Mesh");
    StoreFile("a", "Oak", "chairs", "net.talvo.asset.subtype.object");
    StoreFile("b", "Oak Red", "chairs", "");
    StoreFile("c", "Sports oak", "furniture", "");
    const AssetDescription soak = StoreFile("d", "soak", "", "net.talvo.asset.subtype.object");
    StoreFile("e", "steel", "", "");
    Need(KeywordAssetInterface::AddKeyword(soak, "wood"_id, false, nullptr));
    Need(KeywordAssetInterface::AddKeyword(soak, KEYWORD_FAVOURITE, true, nullptr));
}

AssetDescription BrowserFixture::Store(const Id& aid, const Asset& asset, const char* name) {
    const AssetDescription stored = Need(_repository->StoreAsset(aid, asset, AssetMetaData()));
    Need(stored->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(name), nullptr));
    return stored;
}

AssetDescription BrowserFixture::StoreFile(const char* aid, const char* name, const char* category, const char* subtype) {
    const AssetDescription stored = Store(MakeId(aid), MakeFileAsset(_scratch, std::string(aid) + ".txt", name), name);
    if (*category) Need(CategoryAssetInterface::SetAssetCategory(stored, MakeId(category)));
    if (*subtype) Need(SubTypeAssetInterface::SetSubType(stored, MakeId(subtype)));
    return stored;
}

void BrowserFixture::Set(const AssetDescription& asset, const Id& key, Data value, KIND kind) {
    Need(asset.StoreMetaData(InternedId(key), value, kind));
}

AssetBrowserRef BrowserFixture::MakeBrowser(ASSET_BROWSE_MODE mode) {
    const AssetBrowserRef browser = Need(AssetBrowserInterface::Create(mode));
    Need(browser->SetGraphModel(Need(CreateRepositoryGraphModel(_repository))));
    Need(browser->SetBuildEntryDelegate([this](const AssetBrowserRef&, Int stage, const Data&, const Data& parent,
                                               const BuildEntryRecord& record) { return _host.Take(stage, parent, record); }));
    return browser;
}

Rows BrowserFixture::Search(const char* text, ASSET_BROWSE_MODE mode, const Id& parent) {
    return Search(MakeBrowser(mode), text, parent);
}

Rows BrowserFixture::Walk(const char* text, ASSET_BROWSE_MODE mode, const Id& parent) {
    const AssetBrowserRef browser = MakeBrowser(mode);
    HashSet<Id> leftOut;
    Need(leftOut.Insert("nobody"_id));
    Need(browser->SetDatabaseMasterfilter(leftOut));
    return Search(browser, text, parent);
}

Rows BrowserFixture::Search(const AssetBrowserRef& browser, const char* text, const Id& parent) {
    _host.rows.clear();
    _host.stages.clear();
    browser->DoFiltering(String(" "), String(), String(), String(), false, false);
    HashSet<Id> parents;
    if (parent.IsPopulated()) Need(parents.Insert(parent));
    Need(browser->SetParentSelection(parents, {}));
    browser->DoFilteringPreScan(String(), String(), String(), String(text), parent.IsPopulated(), false);
    return _host.rows;
}

namespace {

class Browser : public BrowserFixture {};

TEST_F(Browser, ListsWhatMeetsTheFilter) {
    const std::pair<const char*, Rows> cases[] = {
        {"oak groupby:none", {"", "  Oak", "  Oak Red", "  *soak", "  Sports oak"}},
        {"oak red groupby:none", {"", "  Oak Red"}},
        {"red oak groupby:none", {"", "  Oak Red"}},
        {"oak oak groupby:none", {"", "  Oak", "  Oak Red", "  *soak", "  Sports oak"}},
        {"red|steel groupby:none", {"", "  Oak Red", "  steel"}},
        {"mesh groupby:none", {"", "  Oak", "  *soak"}},
        {"wooden groupby:none", {"", "  *soak [Wooden]"}},
        {"keyword:wooden groupby:none", {"", "  *soak [Wooden]"}},
        {"keyword:>1 groupby:none", {"", "  *soak [2>1]"}},
        {"favorite:yes groupby:none", {"", "  *soak"}},
        {"size:<4 groupby:none type:file", {"", "  Oak [3 B]"}},
        {"categoryid:FURNITURE groupby:none type:file", {"", "  Oak", "  Oak Red", "  Sports oak"}},
        {"assetid:A groupby:none type:file", {"", "  Oak"}},
        {"usecount:0 name:steel groupby:none", {"", "  steel [Used 0 times]"}},
        {"points:<1000", {}},
        {"nonsense:x", {}},
        {"oak \"", {}},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(Search(text), expected) << text;
    EXPECT_EQ(_host.stages, "02");
}

TEST_F(Browser, GroupsAndSorts) {
    EXPECT_EQ(Search("oak groupby:category"), (Rows{"", "  *soak", "Chairs", "  Oak", "  Oak Red", "Furniture", "  Sports oak"}));
    EXPECT_EQ(Search("oak groupby:type"), (Rows{"File", "  Oak Red", "  Sports oak", "Mesh", "  Oak", "  *soak"}));
    EXPECT_EQ(Search("oak groupby:none reverseorder:yes"), (Rows{"", "  Sports oak", "  *soak", "  Oak Red", "  Oak"}));
    EXPECT_EQ(Search("oak groupby:none sortby:relevance"), (Rows{"", "  Oak", "  *soak", "  Oak Red", "  Sports oak"}));
    EXPECT_EQ(Search("oak groupby:none sortby:size firstitems:favorites"),
              (Rows{"", "  *soak", "  Sports oak", "  Oak Red", "  Oak"}));
    EXPECT_EQ(Search("type:file groupby:usecount"),
              (Rows{"Never used", "  Oak", "  Oak Red", "  *soak", "  Sports oak", "  steel"}));
}

TEST_F(Browser, ShowsTheTreeOfCategories) {
    EXPECT_EQ(Search("", ASSET_BROWSE_MODE::CATEGORY_TREE), (Rows{"Furniture", "  Chairs", "  Empty"}));
    // A typed text alone leaves the tree whole.
    EXPECT_EQ(Search("red", ASSET_BROWSE_MODE::CATEGORY_TREE), (Rows{"Furniture", "  Chairs", "  Empty"}));
    // Those that are stored in a circle are shown all the same.
    Need(CategoryAssetInterface::SetAssetCategory(FindLatest(_repository, "furniture"_id), "chairs"_id));
    EXPECT_EQ(Search("", ASSET_BROWSE_MODE::CATEGORY_TREE).size(), 3u);
}

TEST_F(Browser, LocalFilterModeListsWhatLiesInTheSelection) {
    const AssetBrowserRef browser = MakeBrowser(ASSET_BROWSE_MODE::ASSET_LIST);
    const auto list = [&](const char* text) {
        _host.rows.clear();
        browser->DoFilteringPreScan(String(), String("groupby:none"), String(), String(text), true, false);
        return _host.rows;
    };
    EXPECT_EQ(list("oak"), Rows());
    HashSet<Id> parents;
    Need(parents.Insert("furniture"_id));
    Need(browser->SetParentSelection(parents, {}));
    EXPECT_EQ(list("oak "), (Rows{"", "  Sports oak"}));
    EXPECT_EQ(list("oak showsubcontent:yes"), (Rows{"", "  Oak", "  Oak Red", "  Sports oak"}));
}

TEST_F(Browser, SmartSearchesNarrow) {
    const AssetDescription smart = Store("smart"_id, Asset(Need(SmartSearchAssetInterface::Create())), "Things");
    Need(SmartSearchAssetInterface::SetFilterString(smart, String("red")));
    const AssetBrowserRef browser = MakeBrowser(ASSET_BROWSE_MODE::ASSET_LIST);
    Need(browser->SetSmartSearch({smart, FindLatest(_repository, "wood"_id), FindLatest(_repository, "chairs"_id)}));
    EXPECT_EQ(Need(browser->GetSmartSearchString()), String("red keywordid:wood categoryid:chairs"));
    Need(browser->SetSmartSearch({smart}));
    browser->DoFilteringPreScan(String(), String("groupby:none"), String(), String(), false, false);
    EXPECT_EQ(_host.rows, (Rows{"", "  Oak Red"}));
}

TEST_F(Browser, SettersAskForOneUpdateAndOnlyForChanges) {
    const AssetBrowserRef browser = MakeBrowser(ASSET_BROWSE_MODE::ASSET_LIST);
    const auto pump = [&] {
        RunLoop::RunPendingJobs();
        while (_host.stages.size() < 2) std::this_thread::yield();
        browser->JobRefReset(true);
        return std::exchange(_host.stages, {});
    };
    browser->EnableUpdates(true);
    HashSet<Id> selection;
    Need(selection.Insert("a"_id));
    Need(browser->SetSelectionOnNextUpdate(selection));
    EXPECT_FALSE(browser->GetAndResetClearState());
    browser->DoFiltering(String(), String(), String(), String("oak"), false, false);
    browser->DoFiltering(String(), String(), String(), String("oak red"), false, false);
    EXPECT_EQ(pump().substr(0, 2), "02");
    browser->DoFiltering(String(), String(), String(), String("oak red"), false, false);
    RunLoop::RunPendingJobs();
    EXPECT_EQ(_host.stages, "");
    const AssetBrowserRef other = MakeBrowser(ASSET_BROWSE_MODE::ASSET_LIST);
    Need(other->CopySettingsFrom(browser));
    EXPECT_EQ(other->GetFilterString(), String("oak red"));
    EXPECT_THAT(other->CopySettingsFrom(nullptr), FailsWith<IllegalArgumentError>());
}

TEST_F(Browser, AHostThatFailsOrLetsGoEndsTheUpdateOnly) {
    AssetBrowserRef browser = MakeBrowser(ASSET_BROWSE_MODE::ASSET_LIST);
    Need(browser->SetBuildEntryDelegate(
        [&](const AssetBrowserRef&, Int stage, const Data&, const Data&, const BuildEntryRecord&) -> Result<Data> {
            if (stage == BUILD_STAGE::ROW) browser = nullptr;  // from inside of the update
            return Data(Int64(0));
        }));
    AssetBrowserInterface& used = *browser;
    const AssetBrowserRef keep = browser;
    used.DoFilteringPreScan(String(), String(), String(), String("oak"), false, false);
    EXPECT_FALSE(browser);
}

// Whatever was changed since the table was made, and whatever is looked for, both ways list the same.
TEST_F(Browser, ATableListsWhatAWalkLists) {
    std::mt19937 dice(7);
    const auto pick = [&](std::initializer_list<const char*> from) { return *(from.begin() + dice() % from.size()); };
    const auto change = [&] {
        const std::string aid = "asset" + std::to_string(dice() % 40);
        const AssetDescription asset =
            StoreFile(aid.c_str(),
                      (std::string(pick({"Oak", "oak red", "Steel", "ÄRGER", "x"})) + " " + std::to_string(dice() % 12)).c_str(),
                      pick({"", "chairs", "furniture", "nowhere"}), pick({"", "net.talvo.asset.subtype.object", "unknown"}));
        if (dice() % 3 == 0)
            Need(
                KeywordAssetInterface::AddKeyword(asset, pick({"wood"}) == nullptr ? Id() : "wood"_id, dice() % 2 == 0, nullptr));
        if (dice() % 7 == 0) Need(KeywordAssetInterface::AddKeyword(asset, KEYWORD_FAVOURITE, true, nullptr));
        if (dice() % 9 == 0) Set(asset, "net.talvo.description.data.info.hidden"_id, Data(true));
        if (dice() % 5 == 0) Need(asset->StoreMetaString(InternedId(OBJECT_BASE_TAGS), String("$%$shiny,old;round"), nullptr));
        if (dice() % 11 == 0) Need(_repository->DeleteAsset(MakeId(aid)));
    };
    for (int i = 0; i < 60; ++i) change();
    const char* terms[] = {"oak",
                           "\"red 1\"",
                           "wooden",
                           "mesh",
                           "shiny",
                           "type:file",
                           "type:mesh|$net.talvo.asset",
                           "keyword:wood",
                           "keyword:>0",
                           "categoryid:chairs",
                           "name:ärger",
                           "favorite:yes",
                           "1|2",
                           "size:>3",
                           "keywordcount:1",
                           "unknown:x",
                           "keywordid:wood",
                           "keywordid:<1",
                           "keywordcount:<1",
                           "favorite:no",
                           "assetid:asset1",
                           "round"};
    const char* groups[] = {
        "groupby:category", "groupby:none", "groupby:type", "groupby:usedate", "sortby:relevance", "reverseorder:yes", ""};
    for (int round = 0; round < 12; ++round) {
        Need(AssetBrowserInterface::PrepareSearch(_repository));
        for (int i = 0; i < int(dice() % 6); ++i) change();
        if (round == 5)
            Need(FindLatest(_repository, "wood"_id)->StoreMetaString(InternedId(OBJECT_BASE_NAME), String("Timber"), nullptr));
        for (int i = 0; i < 12; ++i) {
            std::string text = groups[dice() % std::size(groups)];
            for (std::size_t k = dice() % 3; k > 0; --k) text += std::string(" ") + terms[dice() % std::size(terms)];
            const auto mode = dice() % 6 == 0 ? ASSET_BROWSE_MODE::CATEGORY_TREE : ASSET_BROWSE_MODE::ASSET_LIST;
            const Id parent = MakeId(pick({"", "", "chairs", "furniture", "net.talvo.assetcategory.uncategorized"}));
            const Rows found = Search(text.c_str(), mode, parent);
            EXPECT_EQ(found, Walk(text.c_str(), mode, parent)) << text << " in " << parent.GetView();
        }
    }
}

TEST(RowGroups, DaysAndCountsFallIntoBuckets) {
    Resource::SetCurrentLanguage(Resource::GetDefaultLanguage());
    // Day 4 was a Monday.
    const Int64 monday = 4 + 7 * 100;
    const std::tuple<Int64, Int64, const char*> days[] = {
        {monday + 1, monday, "In the future"}, {monday, monday, "Today"},         {monday - 1, monday, "Yesterday"},
        {monday - 4, monday, "4 days ago"},    {monday - 5, monday, "Last week"}, {monday - 7, monday, "2 weeks ago"},
        {monday - 28, monday, "Long ago"},     {monday, monday + 6, "Last week"}};
    for (const auto& [day, today, text] : days) EXPECT_EQ(GetDayBucket(day, today).text, String(text)) << today - day;
    const std::pair<Int64, Int64> counts[] = {
        {0, Bucket::NEVER_USED}, {1, 1}, {2, 10}, {10, 10}, {11, 20}, {20, 20}, {100, 100}, {101, 101}};
    for (const auto& [count, key] : counts) EXPECT_EQ(GetUseCountBucket(count).key, key) << count;
}

TEST(GlobalStrings, GermanHasWhatEnglishHas) {
    EXPECT_EQ(GetGlobalStringKeys("en"_id), GetGlobalStringKeys("de"_id));
    EXPECT_GE(GetGlobalStringKeys("en"_id).size(), 70u);
    EXPECT_EQ(LoadGlobalString("no such key"), String("no such key"));
}

}  // namespace
}  // namespace talvo
