// Keywords of an asset in their two lists, the count of their uses, and the default asset of a subtype.
#include "keyword_asset.h"

#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "kernel/app/settings.h"
#include "memoryassetrepository.h"
#include "subtype_asset.h"
#include "support/asset_preset_support.h"

#include <sstream>

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;
constexpr LiteralId KEYWORD{"k"};

class Keywords : public testing::Test {
protected:
    AssetDescription StoreNote(const Id& id) { return Need(_repository->StoreAsset(id, MakeNote("text", {}), nullptr)); }
    /// "a b"; "(none)" if there is no list.
    static std::string GetList(const AssetDescription& asset, const LiteralId& key) {
        const auto list = Need(asset->GetMetaData().Get<BaseArray<Id>>(InternedId(key)));
        if (!list) return "(none)";
        std::string text;
        for (const Id& id : *list) text += (text.empty() ? "" : " ") + std::string(id.GetView());
        return text;
    }
    static void SetList(const AssetDescription& asset, const LiteralId& key, const std::string& keywords, KIND kind) {
        BaseArray<Id> list;
        std::istringstream words(keywords);
        for (std::string word; words >> word;) Need(list.Append(MakeId(word)));
        if (!list.IsEmpty()) Need(asset.StoreMetaData(InternedId(key), Data(std::move(list)), kind));
    }

    const BaseAssetRepositoryRef _repository =
        Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
};

/// One change of keyword "k" on an asset with these lists.
struct Change {
    const char* why;
    const char* own;
    const char* user;
    const char* what;
    Bool result;
    const char* ownAfter;
    const char* userAfter;
};
const Change CHANGES[] = {
    {"the first makes the list", "", "", "add own", true, "k", "(none)"},
    {"the next goes behind the others", "a b", "", "add own", true, "a b k", "(none)"},
    {"the user's list is another", "a", "", "add user", true, "a", "k"},
    {"it is on an asset once", "k", "", "add own", false, "k", "(none)"},
    {"in whichever list: the user's", "", "k", "add own", false, "(none)", "k"},
    {"or the asset's", "a k", "", "add user", false, "a k", "(none)"},
    {"it goes from between others", "a k b", "k", "remove own", true, "a b", "k"},
    {"the last one takes the list with it", "", "k", "remove user", true, "(none)", "(none)"},
    {"the other list is not touched", "k", "a", "remove user", false, "k", "a"},
    {"nor without a list", "", "k", "remove own", false, "(none)", "k"},
    {"of two, the first goes", "k a k", "", "remove own", true, "a k", "(none)"},
};

/// The default asset of each subtype, in settings of this test's own.
class Defaults : public Keywords {
protected:
    Defaults() { Application::SetHome(_scratch.GetUrl()); }
    ~Defaults() override { Application::SetHome(Url()); }
    AssetDescription StorePreset(const Id& id, const Id& type, const Id& subtype) {
        const AssetDescription stored = Need(_repository->StoreAsset(id, MakePreset(type, "values"), nullptr));
        if (subtype.IsPopulated()) Need(SubTypeAssetInterface::SetSubType(stored, subtype));
        return stored;
    }
    static std::string GetState(const AssetDescription& asset) {
        const auto [isPossible, isDefault] = Need(KeywordAssetInterface::GetDefaultAssetState(asset));
        return std::string(isPossible ? "possible" : "no") + (isDefault ? " default" : "");
    }
    std::string GetDefault(const Id& subtype) {
        const AssetDescription found = Need(KeywordAssetInterface::GetDefaultAsset(subtype, _repository));
        return found ? ToText(found->ToString()) : "(none)";
    }

    const ScratchDirectory _scratch;
};

}  // namespace

TEST_F(Keywords, areOnAnAssetOnceInEitherList) {
    Int number = 0;
    for (const Change& change : CHANGES) {
        SCOPED_TRACE(change.why);
        const AssetDescription asset = StoreNote(MakeId("asset" + std::to_string(number++)));
        SetList(asset, ASSETMETADATA::KEYWORDS, change.own, KIND::PERSISTENT);
        SetList(asset, ASSETMETADATA::USERKEYWORDS, change.user, KIND::PERSISTENT | KIND::USER);
        const std::string what = change.what;
        const Bool userScope = what.ends_with("user");
        EventRecorder events(_repository);
        const Bool result = Need(what.starts_with("add") ? KeywordAssetInterface::AddKeyword(asset, KEYWORD, userScope, nullptr)
                                                         : KeywordAssetInterface::RemoveKeyword(asset, KEYWORD, userScope));
        EXPECT_EQ(result, change.result);
        EXPECT_EQ(GetList(asset, ASSETMETADATA::KEYWORDS), change.ownAfter);
        EXPECT_EQ(GetList(asset, ASSETMETADATA::USERKEYWORDS), change.userAfter);
        const Bool inUsers = std::string(change.userAfter) == "k",
                   inOwn = std::string(change.ownAfter).find('k') != std::string::npos;
        const Id holder = inUsers ? Id(ASSETMETADATA::USERKEYWORDS) : inOwn ? Id(ASSETMETADATA::KEYWORDS) : Id();
        EXPECT_EQ(Need(KeywordAssetInterface::HasKeyword(asset, KEYWORD)), holder) << "the user's list wins";
        const std::vector<std::string> lines = events.Take();
        ASSERT_EQ(lines.size(), std::size_t(result)) << "without a change nothing is stored";
        if (!result) continue;
        EXPECT_THAT(lines[0], testing::HasSubstr(userScope ? "asset.userkeywords 18 " : "asset.keywords 2 "));
    }
}

TEST_F(Keywords, markFavouritesAndAnErrorMarksNone) {
    const AssetDescription asset = StoreNote("asset"_id);
    EXPECT_FALSE(KeywordAssetInterface::IsFavouriteAsset(asset));
    EXPECT_TRUE(Need(KeywordAssetInterface::AddKeyword(asset, KEYWORD_FAVOURITE, true, _repository))) << "needs no asset of it";
    EXPECT_TRUE(KeywordAssetInterface::IsFavouriteAsset(asset));
    EXPECT_FALSE(KeywordAssetInterface::IsFavouriteAsset(nullptr));
    Need(asset.StoreMetaData(InternedId(ASSETMETADATA::USERKEYWORDS), Data(String("no list")), KIND::PERSISTENT | KIND::USER));
    EXPECT_FALSE(KeywordAssetInterface::IsFavouriteAsset(asset)) << "what is no list has none";
    for (const Bool userScope : {true, false}) {
        EXPECT_THAT(KeywordAssetInterface::AddKeyword(nullptr, KEYWORD, userScope, nullptr), FailsWith<NullptrError>());
        EXPECT_THAT(KeywordAssetInterface::RemoveKeyword(nullptr, KEYWORD, userScope), FailsWith<NullptrError>());
    }
    EXPECT_THAT(KeywordAssetInterface::HasKeyword(nullptr, KEYWORD), FailsWith<NullptrError>());
}

TEST_F(Keywords, areNotStoredWhereNothingCanBe) {
    const auto readOnly = Need(MemoryAssetRepository::Create("ro"_id, {}, MemoryAssetRepository::ACCESS::READ_ONLY));
    AssetDescription::Parts parts;
    parts.type = ASSETTYPE_NOTE;
    parts.identity = {"asset"_id, "v1"_id};
    const AssetDescription asset = Need(AssetDescription::Create(readOnly, std::move(parts)));
    EXPECT_THAT(KeywordAssetInterface::AddKeyword(asset, KEYWORD, false, nullptr), FailsWith<IllegalStateError>("writable"));
    EXPECT_TRUE(Need(KeywordAssetInterface::HasKeyword(asset, KEYWORD)).IsEmpty());
}

TEST_F(Keywords, countTheirUsesWhereTheyAreAssets) {
    SteppedClock clock(1'000'000);
    const AssetDescription keyword =
        Need(_repository->StoreAsset(KEYWORD, Asset(StrongRef<AssetInterface>(Need(KeywordAssetInterface::Create()))), nullptr));
    const InternedId key(ASSETMETADATA::USAGE);
    const auto getUsage = [&] { return Need(keyword->GetMetaData().Get<AssetUsage>(key)); };
    const AssetDescription first = StoreNote("first"_id), second = StoreNote("second"_id), third = StoreNote("third"_id);
    const auto add = [&](const AssetDescription& target, const AssetRepositoryRef& usage) {
        return Need(KeywordAssetInterface::AddKeyword(target, KEYWORD, true, usage));
    };
    add(first, nullptr);
    EXPECT_FALSE(getUsage()) << "nowhere to count";
    EventRecorder events(_repository);
    clock.Set(2'000'000);
    EXPECT_TRUE(add(second, _repository));
    EXPECT_EQ(getUsage(), AssetUsage(UniversalDateTime::GetNow(), 1));
    const std::vector<std::string> lines = events.Take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_THAT(lines[0], testing::HasSubstr("userkeywords")) << "the list comes first";
    EXPECT_THAT(lines[1], testing::HasSubstr("net.talvo.asset.usage 18 "));
    EXPECT_FALSE(add(second, _repository));
    EXPECT_EQ(std::get<1>(*getUsage()), 1) << "what was there is no use";
    Need(CountAssetUsage(keyword));
    EXPECT_EQ(std::get<1>(*getUsage()), 2);
    EXPECT_THAT(CountAssetUsage(nullptr), FailsWith<NullptrError>());

    Need(keyword.StoreMetaData(key, Data(String("no usage")), KIND::PERSISTENT | KIND::USER));
    EXPECT_TRUE(add(third, _repository));
    EXPECT_EQ(std::get<1>(*getUsage()), 1) << "what is no usage counts as none";
}

TEST_F(Keywords, canBeChangedByWhoIsToldOfAChange) {
    const AssetDescription asset = StoreNote("asset"_id);
    auto* observable = _repository->ObservableMetaDataStored(true);
    const ObserverToken token =
        observable->AddObserver([&](const AssetBase&, const InternedId&, KIND, const Data&, const Data&) -> Result<void> {
            TRY(KeywordAssetInterface::AddKeyword(asset, "echo"_id, true, nullptr));
            return OK;
        });
    EXPECT_TRUE(Need(KeywordAssetInterface::AddKeyword(asset, KEYWORD, true, nullptr)));
    observable->RemoveObserver(token);
    EXPECT_EQ(GetList(asset, ASSETMETADATA::USERKEYWORDS), "k echo");
}

TEST_F(Defaults, arePossibleForPresetsOfAKindThatAllowsThem) {
    AssetDescription::Parts parts;
    parts.type = "net.talvo.test.unknowntype"_id;
    parts.identity = {"strange"_id, "v1"_id};
    const struct {
        AssetDescription asset;
        const char* condition;
    } refused[] = {{nullptr, "ad"},
                   {Need(AssetDescription::Create(_repository, std::move(parts))), "assetType"},
                   {StoreNote("note"_id), "presetType.GetPointer()"}};
    for (const auto& [asset, condition] : refused) {
        const auto fails =
            FailsWith<IllegalArgumentError>("Illegal argument: Condition " + std::string(condition) + " not fulfilled. ");
        EXPECT_THAT(KeywordAssetInterface::GetDefaultAssetState(asset), fails);
        EXPECT_THAT(KeywordAssetInterface::SetDefaultAsset(asset, true), fails);
    }
    const AssetDescription bare = StorePreset("bare"_id, ASSETTYPE_BAREPRESET, "sub"_id);
    EXPECT_EQ(GetState(bare), "no");
    Need(KeywordAssetInterface::SetDefaultAsset(bare, true));
    EXPECT_EQ(GetDefault("sub"_id), "(none)");
    const AssetDescription loose = StorePreset("loose"_id, ASSETTYPE_SWATCH, Id());
    EXPECT_EQ(GetState(loose), "no") << "without a subtype";
    EXPECT_THAT(KeywordAssetInterface::SetDefaultAsset(loose, true),
                FailsWith<IllegalArgumentError>("Illegal argument: Condition subType.IsPopulated() not fulfilled. "));
    EXPECT_THAT(KeywordAssetInterface::GetDefaultAsset("sub"_id, nullptr), FailsWith<NullptrError>());
}

TEST_F(Defaults, areOneForEachSubtypeAndTold) {
    const AssetDescription first = StorePreset("first"_id, ASSETTYPE_SWATCH, "sub"_id);
    const AssetDescription second = StorePreset("second"_id, ASSETTYPE_SWATCH, "sub"_id);
    const AssetDescription other = StorePreset("other"_id, ASSETTYPE_SWATCH, "othersub"_id);
    EventRecorder events(_repository);
    const auto set = [&](const AssetDescription& asset, Bool on) {
        Need(KeywordAssetInterface::SetDefaultAsset(asset, on));
        EXPECT_THAT(events.Take(), testing::ElementsAre("metadata " + ToText(asset->ToString()) +
                                                        " net.talvo.appsettings.assets.defaults 0 - -> -"));
    };
    EXPECT_EQ(GetState(first), "possible");
    set(first, false);
    set(first, true);
    set(other, true);
    EXPECT_EQ(GetState(first), "possible default");
    set(second, true);
    EXPECT_EQ(GetState(first) + ", " + GetState(second), "possible, possible default");
    EXPECT_EQ(GetDefault("sub"_id), ToText(second->ToString()));
    EXPECT_EQ(GetDefault("othersub"_id), ToText(other->ToString()));
    EXPECT_EQ(GetDefault("nosub"_id), "(none)");
    EXPECT_EQ(GetDefault(Id()), "(none)");
    set(second, false);
    EXPECT_EQ(GetDefault("sub"_id), "(none)");
    EXPECT_EQ(GetState(other), "possible default") << "of its own subtype";
    Need(_repository->EraseAsset(other));
    EXPECT_EQ(GetDefault("othersub"_id), "(none)") << "gone";
}

TEST_F(Defaults, areReadAsIdOrAsIdAndVersionAndSurviveOddSettings) {
    const AssetDescription asset = StorePreset("asset"_id, ASSETTYPE_SWATCH, "sub"_id);
    const SettingsRef settings = Need(SettingsInterface::GetSettings(SETTINGS_LEVEL::USER));
    const struct {
        const char* why;
        Data value;
        const char* state;
    } rows[] = {
        {"a bare id", Data("asset"_id), "possible default"},
        {"another version", Data(IdAndVersion("asset"_id, "v77"_id)), "possible default"},
        {"another asset", Data("else"_id), "possible"},
        {"no id", Data(String("asset")), "possible"},
        {"the empty id", Data(Id()), "possible"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        DataDictionary defaults;
        defaults.Set("sub"_id, row.value);
        Need(settings->Set(SETTING_DEFAULTASSETS, Data(std::move(defaults))));
        EXPECT_EQ(GetState(asset), row.state);
    }
    Need(settings->Set(SETTING_DEFAULTASSETS, Data(String("no dictionary"))));
    EXPECT_EQ(GetState(asset), "possible");
    Need(KeywordAssetInterface::SetDefaultAsset(asset, true));
    EXPECT_EQ(GetState(asset), "possible default");
    Application::SetHome(_scratch.GetUrl() + "elsewhere");
    EXPECT_EQ(GetState(asset), "possible") << "each home has its own";
    Application::SetHome(_scratch.GetUrl());
    EXPECT_EQ(GetState(asset), "possible default");
    EXPECT_EQ(GetDefault("sub"_id), ToText(asset->ToString())) << "with its version, from the file";
}

TEST_F(Defaults, inADamagedFileAreSetAsideWithAWarning) {
    const AssetDescription asset = StorePreset("asset"_id, ASSETTYPE_SWATCH, "sub"_id);
    const std::string file = "preferences/net.talvo.application/settings.json";
    _scratch.Write(file, "{damaged");
    std::vector<std::string> log;
    SetLogSink([&](LOG_LEVEL, const std::string& line) { log.push_back(line); });
    const Result<void> set = KeywordAssetInterface::SetDefaultAsset(asset, true);
    SetLogSink(nullptr);
    EXPECT_THAT(set, Succeeds()) << "the user can choose a default though the file is damaged";
    EXPECT_THAT(log, testing::Contains(testing::HasSubstr("damaged")));
    EXPECT_EQ(GetState(asset), "possible default");
}

}  // namespace talvo
