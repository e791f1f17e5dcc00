// Searches over a repository that was opened from its index: what is found in columns is what loaded assets tell.
#include "asset_browser/browser_fixture.h"

#include "browser_filter/search_index.h"
#include "kernel/app/application.h"
#include "url_repository/create_repository.h"
#include "urlassetrepository.h"

#include <random>

namespace talvo {
namespace {

class IndexedSearch : public BrowserFixture {
protected:
    IndexedSearch() : BrowserFixture(nullptr) {
        Application::SetHome(_scratch.GetUrl() + "home");
        _scratch.MakeFolder("repo");
        Reopen();
        Fill();
    }
    ~IndexedSearch() override {
        Resource::SetCurrentLanguage(Resource::GetDefaultLanguage());
        _repository = nullptr;
        Application::SetHome(Url());
    }
    void Reopen() {
        _repository = nullptr;
        UrlRepositoryRequest request;
        request.id = "repo"_id;
        request.url = _scratch.GetUrl() + "repo";
        request.access = UrlRepositoryRequest::ACCESS::WRITABLE;
        _repository =
            BaseAssetRepositoryRef(dynamic_cast<BaseAssetRepositoryInterface*>(Need(OpenUrlRepository(request)).GetPointer()));
    }
    void Compact() { Need(dynamic_cast<CompactableAssetRepositoryInterface&>(*_repository).Compact()); }
    Bool IsLoaded(const char* aid) const {
        Bool isLoaded = true;
        const InternedId keys[] = {InternedId(ASSETMETADATA::SUBTYPE)};
        auto& repository = dynamic_cast<BaseAssetRepository&>(*_repository);
        Need(repository.ReadOutlines(keys, [&](const Id& id, const Id&, Opt<Block<const StoredValue>> values) -> Result<void> {
            if (id == MakeId(aid)) isLoaded = !values;
            return OK;
        }));
        return isLoaded;
    }
};

TEST_F(IndexedSearch, LoadsWhatItListsOnly) {
    Compact();
    Reopen();
    EXPECT_EQ(Search("oak groupby:none"), (std::vector<std::string>{"", "  Oak", "  Oak Red", "  *soak", "  Sports oak"}));
    EXPECT_TRUE(IsLoaded("a"));
    EXPECT_FALSE(IsLoaded("e"));
}

TEST_F(IndexedSearch, KeepsItsTableThroughChanges) {
    Compact();
    Reopen();
    const auto getTable = [&] { return Need(SearchIndex::Of(_repository))->GetSnapshot().table; };
    EXPECT_EQ(Search("oak groupby:none").size(), 5u);
    const SearchTableRef table = getTable();
    ASSERT_TRUE(table);
    // The index goes with the first change, and comes back.
    StoreFile("new", "Oak new", "", "");
    Compact();
    EXPECT_EQ(getTable(), table);
    EXPECT_EQ(Search("oak groupby:none").size(), 6u);
    const auto base = Need(MemoryAssetRepository::Create("base"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    Need(_repository->AddBase(base));
    EXPECT_FALSE(getTable());
    EXPECT_EQ(Search("oak groupby:none").size(), 6u);
    EXPECT_TRUE(getTable());
    Need(_repository->RemoveBase(base));
    EXPECT_FALSE(getTable());
}

// Versions, values of users, texts of two languages, what is hidden or gone, and what was changed since the index was written.
TEST_F(IndexedSearch, ListsWhatAWalkLists) {
    std::mt19937 dice(11);
    const auto pick = [&](std::initializer_list<const char*> from) { return *(from.begin() + dice() % from.size()); };
    const LanguageRef german = Need(Resource::GetLanguage("de"_id));
    const auto change = [&] {
        const std::string aid = "asset" + std::to_string(dice() % 300);
        const AssetDescription asset =
            StoreFile(aid.c_str(), pick({"Oak", "oak red", "Steel", "ÄRGER", "x"}), pick({"", "chairs", "nowhere"}),
                      pick({"", "net.talvo.asset.subtype.object", "unknown"}));
        const auto one = [&](unsigned of) { return dice() % of == 0; };
        if (one(3)) Need(asset->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(pick({"Eiche", "Stahl", "Oak"})), german));
        if (one(5)) Need(asset->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(), nullptr));
        if (one(4)) Need(KeywordAssetInterface::AddKeyword(asset, "wood"_id, one(6), nullptr));
        if (one(12)) Need(KeywordAssetInterface::AddKeyword(asset, KEYWORD_FAVOURITE, true, nullptr));
        if (one(9)) Set(asset, "net.talvo.description.data.info.hidden"_id, Data(true));
        if (one(9)) Set(asset, ASSETMETADATA::SORT, Data(String("#$01")));
        if (one(9)) Set(asset, ASSETMETADATA::VALIDVERSION, Data(AssetVersionRange(9000, 0)));
        if (one(9)) Set(asset, ASSETMETADATA::SUBTYPE, Data(String("no id")));
        if (one(5)) Need(asset->StoreMetaString(InternedId(OBJECT_BASE_TAGS), String("$%$shiny,old;round"), nullptr));
        if (one(12)) Need(_repository->DeleteAsset(MakeId(aid)));
    };
    const char* texts[] = {"",
                           "oak",
                           "eiche",
                           "wooden",
                           "mesh",
                           "shiny",
                           "type:file",
                           "size:>3",
                           "keyword:wood",
                           "categoryid:chairs",
                           "name:ärger steel|oak",
                           "favorite:yes",
                           "asset",
                           "round"};
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 50; ++i) change();
        Compact();
        Reopen();
        for (int i = 0; i < int(dice() % 4); ++i) change();
        if (round % 2 == 1) Reopen();
        for (const LanguageRef language : {Resource::GetDefaultLanguage(), german}) {
            Resource::SetCurrentLanguage(language);
            for (const char* text : texts) {
                const std::string whole = std::string(text) + pick({" groupby:none", "", " groupby:type sortby:relevance"});
                const auto mode = dice() % 5 == 0 ? ASSET_BROWSE_MODE::CATEGORY_TREE : ASSET_BROWSE_MODE::ASSET_LIST;
                const std::vector<std::string> found = Search(whole.c_str(), mode);
                EXPECT_EQ(found, Walk(whole.c_str(), mode)) << whole << " in round " << round;
                // The walk has loaded everything: the next table is made of columns again.
                if (dice() % 3 == 0) Reopen();
            }
        }
        Resource::SetCurrentLanguage(Resource::GetDefaultLanguage());
    }
}

}  // namespace
}  // namespace talvo
