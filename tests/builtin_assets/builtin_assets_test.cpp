#include "builtin_assets/builtin_assets.h"

#include "asset_module/module_fixture.h"
#include "category_asset.h"
#include "keyword_asset.h"
#include "plugin_asset.h"
#include "subtype_asset.h"
#include "support/asset_test_support.h"

#include <map>

namespace talvo {

namespace {

struct Delivered {
    Id type;
    std::string english;
    std::string german;
    Opt<Id> category;
};

std::string GetName(const DataDictionary& metaData, const Id& language) {
    const auto definition =
        metaData.Get<DataDescriptionDefinition>(Need(AssetInterface::GetLanguageMetaDataId(language)).GetId());
    const DataDictionary* entry = definition ? definition->FindEntry(OBJECT_BASE_NAME) : nullptr;
    return entry ? ToText(entry->Get<String>(DESCRIPTION::TRANSLATEDSTRING).value_or(String())) : "";
}

/// What the loader hands out, by id; none twice.
std::map<Id, Delivered> Load(std::vector<Id> types, const Id& aid, ASSET_FIND_MODE mode) {
    std::map<Id, Delivered> found;
    const auto take = [&](const Id& id, const Asset& asset, const DataDictionary& metaData, const Url& metaRoot) -> Result<Bool> {
        const Delivered delivered{asset->GetTypeId(), GetName(metaData, "en"_id), GetName(metaData, "de"_id),
                                  metaData.Get<Id>(ASSETMETADATA::CATEGORY)};
        EXPECT_TRUE(found.emplace(id, delivered).second) << id.GetView();
        EXPECT_TRUE(metaRoot.IsEmpty());
        return true;
    };
    EXPECT_TRUE(Need(MakeModuleAssetLoader()(types, aid, Id(), mode, take)));
    return found;
}

constexpr ASSET_FIND_MODE EXACT = ASSET_FIND_MODE::LATEST;
constexpr ASSET_FIND_MODE PREFIX = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::ID_PREFIX;

class BuiltinAssetsInTheModule : public ModuleTest {};

}  // namespace

TEST_F(BuiltinAssetsInTheModule, areFoundWithTheirNamesFromTheUsersRepository) {
    Need(AssetModule::Start());
    const AssetRepositoryRef user = AssetInterface::GetUserPrefsRepository();
    const AssetDescription presets =
        Need(user->FindLatestAsset(ASSETTYPE_CATEGORY, CATEGORY_PRESETS, Id(), ASSET_FIND_MODE::NONE));
    ASSERT_TRUE(presets);
    const std::pair<Id, const char*> names[] = {
        {"de"_id, "Vorgaben"}, {"de-CH"_id, "Vorgaben"}, {"en-US"_id, "Presets"}, {"en-GB"_id, "Presets"}, {"fr"_id, "Presets"}};
    for (const auto& [language, name] : names) {
        const LanguageRef reader = Need(Resource::GetLanguage(language));
        EXPECT_EQ(Need(presets->GetMetaString(InternedId(OBJECT_BASE_NAME), reader, "")), String(name)) << language.GetView();
    }
    EXPECT_TRUE(CategoryAssetInterface::GetParentCategory(presets).IsEmpty());
    const AssetDescription base = FindLatest(user, CATEGORY_BASE);
    EXPECT_EQ(Need(base->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, "")), String("All Categories"));
    EXPECT_EQ(Need(FindLatest(user, ASSETSUBTYPE::SCENE)->Load(false))->GetTypeId(), ASSETTYPE_SUBTYPE);
}

TEST(BuiltinAssets, eachHasANameInBothLanguagesAndACategory) {
    const auto all = Load({}, Id(), EXACT);
    EXPECT_EQ(all.size(), 6u + 19u + 4u + 1u + 2u);
    for (const auto& [id, asset] : all) {
        SCOPED_TRACE(id.GetView());
        EXPECT_NE(asset.english, "");
        EXPECT_NE(asset.german, "");
        Id category = NODE_CATEGORY_UNCATEGORIZED;
        if (asset.type == ASSETTYPE_CATEGORY) category = Id();
        if (id == KEYWORD_FAVOURITE) category = CATEGORY_BASE;  // so that the tree shows it
        EXPECT_EQ(asset.category, category);
    }
    const auto& watchFolders = all.at(CATEGORY_WATCHFOLDERS);
    EXPECT_EQ(watchFolders.english, "Watch Folders");
    EXPECT_EQ(watchFolders.german, "Überwachte Ordner");
    EXPECT_EQ(all.at("net.talvo.asset.file.missingassets"_id).type, ASSETTYPE_FILE);
    EXPECT_EQ(all.at("net.talvo.asset.plugin.missing"_id).type, ASSETTYPE_PLUGIN);
}

TEST(BuiltinAssets, areFoundByTypeAndByIdOrItsBeginning) {
    struct Case {
        std::vector<Id> types;
        Id aid;
        ASSET_FIND_MODE mode;
        std::size_t expected;
        const char* why;
    };
    const Case cases[] = {
        {{Id()}, Id(), EXACT, 32, "the null id stands for every type"},
        {{ASSETTYPE_SUBTYPE}, Id(), EXACT, 25, "one type"},
        {{ASSETTYPE_CATEGORY, ASSETTYPE_PLUGIN}, Id(), EXACT, 5, "two types"},
        {{"other"_id}, Id(), EXACT, 0, "a type of somebody else"},
        {{}, ASSETSUBTYPE::SCENE, EXACT, 1, "one id"},
        {{ASSETTYPE_CATEGORY}, ASSETSUBTYPE::SCENE, EXACT, 0, "not of this type"},
        {{}, "net.talvo.asset.command.type.object."_id, EXACT, 0, "a beginning is no id"},
        {{}, "net.talvo.asset.command.type.object."_id, PREFIX, 12, "a beginning"},
        {{}, Id(), PREFIX, 32, "the beginning of all"},
    };
    for (const Case& c : cases) EXPECT_EQ(Load(c.types, c.aid, c.mode).size(), c.expected) << c.why;
}

TEST(BuiltinAssets, theReceiverEndsTheWalk) {
    Int calls = 0;
    const auto stop = [&](const Id&, const Asset&, const DataDictionary&, const Url&) -> Result<Bool> {
        return ++calls == 2 ? false : true;
    };
    EXPECT_FALSE(Need(MakeModuleAssetLoader()({}, Id(), Id(), EXACT, stop)));
    EXPECT_EQ(calls, 2);
    const auto fail = [](const Id&, const Asset&, const DataDictionary&, const Url&) -> Result<Bool> {
        return UnknownError::Create("x");
    };
    EXPECT_THAT(MakeModuleAssetLoader()({}, Id(), Id(), EXACT, fail), FailsWith<UnknownError>("x"));
}

}  // namespace talvo
