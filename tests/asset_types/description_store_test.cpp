#include "asset_types/description_store.h"

#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

constexpr LiteralId STRINGS{"string"};
constexpr Int32 WITH_INCLUDES = Int32(DESCRIPTION_MODE::WITH_INCLUDES);
constexpr Int32 OWN_ENTRIES = Int32(DESCRIPTION_MODE::OWN_ENTRIES);

BaseAssetRepositoryRef MakeRepository(const Id& id) {
    return Need(MemoryAssetRepository::Create(id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
}

DataDescriptionDefinition MakeTexts(const char* text) {
    DataDescriptionDefinition definition;
    Need(definition.AddEntry(DESCRIPTION::MakeStringEntry("key"_id, text)));
    return definition;
}

std::string GetText(const Result<DataDescriptionDefinition>& definition) {
    if (definition.IsError()) return definition.GetError()->GetMessage();
    const DataDictionary* entry = definition.GetValue().FindEntry("key"_id);
    return entry ? ToText(entry->Get<String>(DESCRIPTION::TRANSLATEDSTRING).value_or(String())) : "-";
}

using Database = DataDescriptionDefinitionDatabase;

}  // namespace

TEST(DescriptionStore, isRegisteredAsLongAsItsRepositoryLives) {
    auto repository = MakeRepository("shop"_id);
    EXPECT_EQ(Need(repository->GetDescriptionDatabaseId()), "assets.shop"_id);
    const auto database = Database::FindDatabase("assets.shop"_id);
    ASSERT_TRUE(database);
    repository = nullptr;
    EXPECT_FALSE(Database::FindDatabase("assets.shop"_id));
    EXPECT_FALSE(database->Contains({"chair"_id, Id()}));
    EXPECT_THAT(database->LoadDescription(WITH_INCLUDES, STRINGS, nullptr, {"chair"_id, Id()}, nullptr),
                FailsWith<NullptrError>("assets.shop"));
}

TEST(DescriptionStore, ofALaterRepositoryOfTheIdStays) {
    auto first = MakeRepository("shop"_id);
    const auto second = MakeRepository("shop"_id);
    const auto database = Database::FindDatabase("assets.shop"_id);
    first = nullptr;
    EXPECT_EQ(Database::FindDatabase("assets.shop"_id), database) << "the end of the first one takes its own away only";
}

TEST(DescriptionStore, holdsTheAssetsOfItsOwnRepositoryOnly) {
    const auto base = MakeRepository("base"_id);
    const auto top = MakeRepository("top"_id);
    Need(top->AddBase(base));
    const AssetDescription note = Need(base->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    Need(base->StoreAsset("gone"_id, MakeNote("text", {}), nullptr));
    Need(base->DeleteAsset("gone"_id));
    const auto baseDatabase = Database::FindDatabase("assets.base"_id);
    const auto topDatabase = Database::FindDatabase("assets.top"_id);
    EXPECT_TRUE(baseDatabase->Contains({"note"_id, Id()}));
    EXPECT_TRUE(baseDatabase->Contains(note->GetIdAndVersion()));
    EXPECT_FALSE(baseDatabase->Contains({"note"_id, "v9"_id}));
    EXPECT_FALSE(baseDatabase->Contains({"gone"_id, Id()}));
    EXPECT_FALSE(baseDatabase->Contains({Id(), Id()})) << "no id is no asset, not every one";
    EXPECT_FALSE(topDatabase->Contains({"note"_id, Id()}));
    const auto identities = Need(baseDatabase->GetRegisteredDescriptions());
    ASSERT_EQ(identities.GetCount(), 1);
    EXPECT_EQ(identities[0], note->GetIdAndVersion());
    EXPECT_TRUE(baseDatabase->IsWritableDatabase());
}

TEST(DescriptionStore, keepsTextsInTheMetadataOfTheAsset) {
    const auto repository = MakeRepository("shop"_id);
    const AssetDescription note = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const IdAndVersion& identity = note->GetIdAndVersion();
    const LanguageRef german = Need(Resource::GetLanguage("de"_id));
    Need(Database::StoreDescription("assets.shop"_id, STRINGS, german, identity, MakeTexts("Notiz"), false));
    Need(Database::StoreDescription("assets.shop"_id, STRINGS, nullptr, identity, MakeTexts("Note"), false));
    EXPECT_EQ(GetText(Database::LoadDescription(OWN_ENTRIES, STRINGS, german, identity)), "Notiz");
    EXPECT_EQ(GetText(Database::LoadDescription(OWN_ENTRIES, STRINGS, nullptr, identity)), "Note")
        << "null is the default language";
    EXPECT_TRUE(Need(note->GetMetaData()->Get(MakeMetaId("strings_de"))));

    Id databaseId;
    const auto whole = Need(Database::LoadDescription(WITH_INCLUDES, STRINGS, german, identity, &databaseId));
    EXPECT_EQ(databaseId, "assets.shop"_id);
    EXPECT_EQ(whole.GetEntryCount(), 2) << "its own and what it includes";
    const DataDictionary* include = whole.FindEntry(DESCRIPTION::BASE);
    ASSERT_TRUE(include);
    EXPECT_EQ(DESCRIPTION::GetIncluded(*include), DESCRIPTION::BASE);
    EXPECT_EQ(Need(Database::LoadDescription(WITH_INCLUDES, "gui"_id, german, identity)).GetEntryCount(), 1)
        << "other categories hold no texts";
    EXPECT_TRUE(Need(Database::LoadDescription(7, STRINGS, german, identity)).IsEmpty()) << "unknown modes give nothing";

    const Int entries = Need(note->GetMetaData()->GetExistingEntries()).GetCount();
    Need(Database::StoreDescription("assets.shop"_id, "gui"_id, german, identity, MakeTexts("x"), false));
    EXPECT_EQ(Need(note->GetMetaData()->GetExistingEntries()).GetCount(), entries) << "nor are others stored";
}

TEST(DescriptionStore, saysWhatItCanNotDo) {
    const auto repository = MakeRepository("shop"_id);
    const AssetDescription note = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const auto database = Database::FindDatabase("assets.shop"_id);
    const IdAndVersion& identity = note->GetIdAndVersion();
    EXPECT_THAT(database->LoadDescription(OWN_ENTRIES, STRINGS, nullptr, {}, nullptr), FailsWith<IllegalArgumentError>());
    EXPECT_THAT(database->LoadDescription(OWN_ENTRIES, STRINGS, nullptr, {"none"_id, Id()}, nullptr),
                FailsWith<IllegalArgumentError>("none"));
    EXPECT_THAT(database->StoreDescription(STRINGS, nullptr, {"none"_id, Id()}, MakeTexts("x"), false),
                FailsWith<IllegalStateError>("none"));
    EXPECT_THAT(database->StoreDescription(STRINGS, nullptr, identity, MakeTexts("x"), true),
                FailsWith<UnsupportedOperationError>("deferred"));
    EXPECT_FALSE(Need(database->DeleteDescription(STRINGS, nullptr, identity))) << "nothing is ever deleted";
    EXPECT_EQ(database->GetChangeCounts(), 0);
    EXPECT_THAT(database->Write(), Succeeds());
}

}  // namespace talvo
