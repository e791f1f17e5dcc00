#include "asset_types/meta_strings.h"

#include "assets.h"
#include "kernel/description/description_database.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;

LanguageRef GetLanguage(const Id& code) { return Need(Resource::GetLanguage(code)); }

/// A repository with one note, and the current language set to "de-CH" (which falls back to de, en-US, en).
class MetaStringsTest : public testing::Test {
protected:
    MetaStringsTest() {
        Resource::SetCurrentLanguage(GetLanguage("de-CH"_id));
        _repository = Need(MemoryAssetRepository::Create("repository"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
        _note = Need(_repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    }
    ~MetaStringsTest() override { Resource::SetCurrentLanguage(Resource::GetDefaultLanguage()); }

    /// The text of one language as metadata holds it.
    void Put(const Id& language, const InternedId& key, const String& text) {
        const InternedId id = Need(AssetInterface::GetLanguageMetaDataId(language));
        DataDescriptionDefinition definition =
            Need(_note->GetMetaData().Get<DataDescriptionDefinition>(id)).value_or(DataDescriptionDefinition());
        Need(definition.ReplaceEntry(DESCRIPTION::MakeStringEntry(key.GetId(), text)));
        Need(_note.StoreMetaData(id, Data(definition), KIND::PERSISTENT));
    }
    std::string Get(const InternedId& key, const Id& language = Id(), const char* fallback = "") {
        return ToText(Need(_note->GetMetaString(key, language.IsEmpty() ? nullptr : GetLanguage(language), fallback)));
    }
    /// The text that is stored for just this language; "-" if there is none.
    std::string GetStored(const InternedId& key, const Id& language) {
        const InternedId id = Need(AssetInterface::GetLanguageMetaDataId(language));
        const auto definition = Need(_note->GetMetaData().Get<DataDescriptionDefinition>(id));
        const DataDictionary* entry = definition ? definition->FindEntry(key.GetId()) : nullptr;
        return entry ? ToText(entry->Get<String>(DESCRIPTION::TRANSLATEDSTRING).value_or(String("-"))) : "-";
    }

    const InternedId NAME{OBJECT_BASE_NAME};
    BaseAssetRepositoryRef _repository;
    AssetDescription _note;
};

}  // namespace

TEST_F(MetaStringsTest, aNameFallsBackToTheIdAndOtherTextsToWhatTheCallerSays) {
    EXPECT_EQ(Get(NAME), "note");
    EXPECT_EQ(Get(NAME, Id(), "Fallback"), "Fallback");
    EXPECT_EQ(Get(MakeMetaId("other.key")), "");
    EXPECT_EQ(Get(MakeMetaId("other.key"), Id(), "Fallback"), "Fallback");
    EXPECT_TRUE(Need(MetaStrings::Get(nullptr, nullptr, NAME, nullptr, "Fallback")).IsEmpty());
}

TEST_F(MetaStringsTest, theNearestLanguageOfTheChainWins) {
    Put("en"_id, NAME, "English");
    EXPECT_EQ(Get(NAME), "English") << "the last of the chain";
    Put("de"_id, NAME, "Deutsch");
    EXPECT_EQ(Get(NAME), "Deutsch");
    EXPECT_EQ(Get(NAME, "fr"_id), "English") << "French doesn't fall back to German";
    Put("de-CH"_id, MakeMetaId("other.key"), "Anderes");
    EXPECT_EQ(Get(NAME), "Deutsch") << "a nearer definition without this key is passed over";
    Put("de-CH"_id, NAME, String());
    EXPECT_EQ(Get(NAME), "Deutsch") << "an empty text is none";
}

TEST_F(MetaStringsTest, aTextStoredForARegionFillsItsBaseFirst) {
    Need(_note->StoreMetaString(NAME, "Stuhl", GetLanguage("en-US"_id)));
    EXPECT_EQ(GetStored(NAME, "en"_id), "Stuhl");
    EXPECT_EQ(GetStored(NAME, "en-US"_id), "-");
    Need(_note->StoreMetaString(NAME, "Chair", GetLanguage("en-US"_id)));
    EXPECT_EQ(GetStored(NAME, "en-US"_id), "Chair") << "now that the base has one";
    EXPECT_EQ(GetStored(NAME, "en"_id), "Stuhl");
    EXPECT_EQ(Get(NAME, "en-US"_id), "Chair");
    Need(_note->StoreMetaString(MakeMetaId("other.key"), "More", GetLanguage("en"_id)));
    EXPECT_EQ(GetStored(NAME, "en"_id), "Stuhl") << "other texts of the language stay";
    Need(_note->StoreMetaString(NAME, String(), GetLanguage("en-US"_id)));
    EXPECT_EQ(Get(NAME, "en-US"_id), "Stuhl") << "an empty text goes where it was sent and uncovers the base";
}

TEST_F(MetaStringsTest, textsFollowTheAssetToItsNextVersion) {
    Need(_note->StoreMetaString(NAME, "Stuhl", GetLanguage("en"_id)));
    _note = Need(_repository->StoreAsset("note"_id, Need(_note->Load(false)), nullptr));
    EXPECT_EQ(Get(NAME), "Stuhl");
}

TEST_F(MetaStringsTest, anAssetIsNeverNamedAfterOneOfTheSameIdElsewhere) {
    const auto other = Need(MemoryAssetRepository::Create("other"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const AssetDescription namesake = Need(other->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    Need(_note->StoreMetaString(NAME, "Stuhl", GetLanguage("en"_id)));
    EXPECT_EQ(ToText(Need(namesake->GetMetaString(NAME, nullptr, ""))), "note");
    EXPECT_EQ(Get(NAME), "Stuhl");
}

TEST_F(MetaStringsTest, changesOfTextsAreTold) {
    std::vector<std::string> told;
    auto& observable = DataDescriptionDefinitionDatabase::ObservableUpdated();
    const ObserverToken token =
        observable.AddObserver([&](const Id& databaseId, const Id& category, LanguageRef, const DescriptionIdentity& identity,
                                   const DataDescriptionDefinition&) -> Result<void> {
            told.push_back(FormatMessage("@ @ @", databaseId, category, ToIdentityText(identity)));
            return OK;
        });
    Need(_note->StoreMetaString(NAME, "Stuhl", GetLanguage("en"_id)));
    observable.RemoveObserver(token);
    EXPECT_THAT(told, testing::ElementsAre("assets.repository string note/v1"));
}

TEST_F(MetaStringsTest, withoutItsRepositoryTextsCanBeReadButNotStored) {
    Put("en"_id, NAME, "English");
    Put("de"_id, NAME, "Deutsch");
    EXPECT_EQ(Get(NAME), "Deutsch");
    _repository = nullptr;
    EXPECT_THAT(_note->StoreMetaString(NAME, "Stuhl", GetLanguage("en"_id)), FailsWith<NullptrError>("note/v1"));
}

namespace {

/// A database with the description that all others include: in "xx" everything is called "Object".
class BaseDatabase final : public DataDescriptionDefinitionDatabaseImplInterface {
public:
    Bool Contains(const DescriptionIdentity& identity) override { return identity.first == DESCRIPTION::BASE; }
    Result<DataDescriptionDefinition> LoadDescription(Int32, const Id&, LanguageRef language, const DescriptionIdentity&,
                                                      Id*) override {
        ++loads;
        DataDescriptionDefinition definition;
        const Bool isPlain = language && language->GetIdentifier() == "xx"_id;
        TRY(definition.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, isPlain ? "Object" : "Thing")));
        return definition;
    }
    Result<Bool> StoreDescription(const Id&, LanguageRef, const DescriptionIdentity&, const DataDescriptionDefinition&,
                                  Bool) override {
        return false;
    }
    Result<Bool> DeleteDescription(const Id&, LanguageRef, const DescriptionIdentity&) override { return false; }
    Result<BaseArray<DescriptionIdentity>> GetRegisteredDescriptions() override { return BaseArray<DescriptionIdentity>(); }
    Result<BaseArray<LanguageRef>> GetRegisteredLanguages() override { return BaseArray<LanguageRef>(); }
    Result<void> WriteDataBases() override { return OK; }
    Result<void> RenameId(const DescriptionIdentity&, const DescriptionIdentity&) override { return OK; }
    Result<void> RenameAttribute(const DescriptionIdentity&, const Id&, const Id&) override { return OK; }
    Result<Bool> CheckUniqueAttributeName(const DescriptionIdentity&, const Id&) override { return true; }
    Result<void> UpdateDescriptions(const Id&, LanguageRef, const DescriptionIdentity&) override { return OK; }
    Bool IsWritableDatabase() override { return false; }
    Int GetChangeCounts() override { return 0; }
    Int GetUserChangeCount() override { return 0; }
    Result<void> Write() override { return OK; }
    Result<void> WriteUserChangedDataBases() override { return OK; }
    Int loads = 0;
};

}  // namespace

TEST_F(MetaStringsTest, aTextThatIsStillTheGeneralDefaultIsNone) {
    const auto base = StrongRef<BaseDatabase>::Create();
    Need(DataDescriptionDefinitionDatabase::RegisterDatabase("test.base"_id, base));
    Put("xx-YY"_id, NAME, "Thing");
    Put("xx"_id, NAME, "Object");
    EXPECT_EQ(Get(NAME, "xx-YY"_id), "note") << "both are defaults of their language";
    Put("xx"_id, NAME, "Thing");
    EXPECT_EQ(Get(NAME, "xx-YY"_id), "Thing") << "the default of another language is a text like any other";
    const Int loads = base->loads;
    Get(NAME, "xx-YY"_id);
    EXPECT_EQ(base->loads, loads) << "defaults that could be loaded are kept";
    Need(DataDescriptionDefinitionDatabase::UnregisterDatabase("test.base"_id));
}

namespace {

constexpr LiteralId NAMED_TYPE{"net.talvo.test.assettype.named"};

/// A type whose assets are all called "Named" in its description, with more to say in a description of the repository.
class NamedType final : public AssetTypeBase {
public:
    const Id& GetId() const override { return NAMED_TYPE; }
    const Id& GetAssetDataType() const override { return NAMED_TYPE; }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url&, Bool) const override {
        return UnsupportedOperationError::Create("never loaded");
    }
    Result<AssetStoreMetaData> Store(const Asset&, const Url&, const AssetHashStream&, std::string&) const override {
        return UnsupportedOperationError::Create("never stored");
    }
    Result<DataDescriptionDefinition> LoadDescriptionDefinition(const AssetDescription&, Int32, const Id&,
                                                                LanguageRef language) const override {
        if (language && language->GetIdentifier() == "de-CH"_id) return UnknownError::Create("no Swiss");
        DataDescriptionDefinition definition;
        TRY(definition.AddEntry(DESCRIPTION::MakeStringEntry(OBJECT_BASE_NAME, "Named")));
        return definition;
    }
};

}  // namespace

TEST_F(MetaStringsTest, theTypeNamesAssetsThatHaveNoTextsOfTheirOwn) {
    const NamedType type;
    const auto get = [&] { return ToText(Need(MetaStrings::Get(&type, _note, NAME, nullptr, "Fallback"))); };
    EXPECT_EQ(get(), "Named") << "an error for one language goes on with the next";
    Put("fr"_id, MakeMetaId("other.key"), "Autre");
    EXPECT_EQ(get(), "Named") << "texts of a language outside of the chain don't count";
    Put("en"_id, MakeMetaId("other.key"), "Other");
    EXPECT_EQ(get(), "Fallback") << "with texts of its own the type isn't asked, even if they lack this one";
}

}  // namespace talvo
