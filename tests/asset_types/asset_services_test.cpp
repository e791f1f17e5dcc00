#include "assets.h"

#include "kernel/app/application.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

#include <cctype>
#include <cstdlib>
#include <ctime>

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

AssetDescription Describe(AssetMetaDataTable table) {
    AssetDescription::Parts parts;
    parts.identity = {"chair"_id, "v1"_id};
    parts.metaData = Need(AssetMetaData::Create(std::move(table)));
    return Need(AssetDescription::Create(nullptr, std::move(parts)));
}

void Insert(AssetMetaDataTable& table, const Id& id, Data value) {
    Need(table.Insert(InternedId(id), AssetMetaDataEntry{std::move(value), ASSET_METADATA_KIND::PERSISTENT, true, 1}));
}

/// The time zone of the process; the end gives the former one back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) : _former(std::getenv("TZ") ? std::getenv("TZ") : "") { Set(zone); }
    ~ScopedTimeZone() { Set(_former.c_str()); }

private:
    static void Set(const char* zone) {
        if (*zone) {
            setenv("TZ", zone, 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    const std::string _former;
};

}  // namespace

TEST(AssetServices, validityIsABoundedRangeOfApplicationVersions) {
    using STATE = AssetVersionValidity::STATE;
    const Float64 now = Need(Application::GetVersion()).number / 1000.0;
    struct Case {
        Opt<AssetVersionRange> range;
        STATE state;
        const char* why;
    };
    const Case cases[] = {
        {{}, STATE::VALID, "no value"},
        {AssetVersionRange(0, 0), STATE::VALID, "no limit"},
        {AssetVersionRange(now, now), STATE::VALID, "both bounds are in"},
        {AssetVersionRange(now, 0), STATE::VALID, "no upper bound"},
        {AssetVersionRange(0, now), STATE::VALID, "no lower bound"},
        {AssetVersionRange(now + 0.001, 0), STATE::NEEDS_LATER, "too old"},
        {AssetVersionRange(0, now - 0.001), STATE::NEEDS_EARLIER, "too new"},
        {AssetVersionRange(now + 1, now - 0.001), STATE::NEEDS_LATER, "later wins if both hold"},
    };
    for (const Case& c : cases) {
        AssetMetaDataTable table;
        if (c.range) Insert(table, ASSETMETADATA::VALIDVERSION, Data(*c.range));
        const AssetDescription asset = Describe(std::move(table));
        const AssetVersionValidity validity = Need(AssetInterface::IsAssetVersionValid(asset));
        const Bool valid = c.state == STATE::VALID;
        EXPECT_EQ(validity.state, c.state) << c.why;
        EXPECT_EQ(validity.applicationVersion, valid ? 0 : now) << c.why;
        EXPECT_EQ(validity.minVersion, valid ? 0 : c.range->first) << c.why;
        EXPECT_EQ(Need(AssetInterface::IsAssetValid(asset)), valid) << c.why;
        EXPECT_EQ(Need(AssetInterface::IsAssetVisible(asset)), valid) << c.why;
    }
    EXPECT_TRUE(Need(AssetInterface::IsAssetValid(nullptr)));
}

TEST(AssetServices, versionsReadAsTagAndLocalTime) {
    const ScopedTimeZone zone("UTC-2");
    const UniversalDateTime time = Need(UniversalDateTime::Parse("2023-05-02T10:00:00.000000Z"));
    struct Case {
        Opt<String> tag;
        Opt<UniversalDateTime> time;
        const char* expected;
    };
    const Case cases[] = {
        {String("1.2"), time, "1.2 - 2023-05-02 12:00"},
        {{}, time, "2023-05-02 12:00"},
        {String("1.2"), {}, "1.2"},
        {{}, {}, "v1"},
    };
    for (const Case& c : cases) {
        AssetMetaDataTable table;
        if (c.tag) Insert(table, ASSETMETADATA::VERSIONTAG, Data(*c.tag));
        if (c.time) Insert(table, ASSETMETADATA::TIMESTAMP, Data(*c.time));
        EXPECT_EQ(ToText(Need(AssetInterface::GetVersionString(Describe(std::move(table))))), c.expected);
    }
    EXPECT_TRUE(Need(AssetInterface::GetVersionString(AssetDescription())).IsEmpty());
    EXPECT_TRUE(Need(AssetInterface::GetVersionString(Asset())).IsEmpty());
    const Asset asset = MakeNote("text", {});
    asset->SetId({"note"_id, "v3"_id}, 0, nullptr, Url());
    EXPECT_EQ(ToText(Need(AssetInterface::GetVersionString(asset))), "v3");
}

TEST(AssetServices, dependenciesAreServedByAVersionThatIsNewEnough) {
    const ScratchDirectory scratch;
    const auto repository = Need(MemoryAssetRepository::Create("shop"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    SteppedClock clock(100);
    Need(repository->StoreAsset("chair"_id, MakeFileAsset(scratch, "chair.txt", "wood"), nullptr));
    struct Case {
        IdAndVersion wanted;
        Int64 creationDate;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {{"chair"_id, "v1"_id}, 500, "found chair/v1", "the very version, however old"},
        {{"chair"_id, Id()}, 500, "found chair/v1", "no version asked for"},
        {{"chair"_id, "lost"_id}, 100, "found chair/v1", "another version, as new as the dependent asset"},
        {{"chair"_id, "lost"_id}, 101, "missing, newer required", "only an older version"},
        {{"desk"_id, "lost"_id}, 0, "missing", "no version at all"},
        {{"desk"_id, Id()}, 0, "missing", "unknown"},
    };
    for (const Case& c : cases) {
        CheckedAssets checked;
        std::vector<std::string> calls;
        const auto resolve = [&] {
            Need(AssetInterface::ResolveAssetsWithMissingAssets(
                repository, ASSETTYPE_FILE, c.wanted, UniversalDateTime(c.creationDate), checked,
                [&](const AssetDescription& found, CheckedAssets&) -> Result<void> {
                    calls.push_back("found " + ToText(found->ToString()));
                    return OK;
                },
                [&](Bool newerVersionRequired) -> Result<void> {
                    calls.emplace_back(newerVersionRequired ? "missing, newer required" : "missing");
                    return OK;
                }));
        };
        resolve();
        EXPECT_THAT(calls, ElementsAre(c.expected)) << c.why;
        calls.clear();
        resolve();
        EXPECT_THAT(calls, IsEmpty()) << "each identity is met once";
    }
    CheckedAssets checked;
    EXPECT_THAT(
        AssetInterface::ResolveAssetsWithMissingAssets(nullptr, ASSETTYPE_FILE, {"a"_id, Id()}, {}, checked, nullptr, nullptr),
        FailsWith<NullptrError>());
    EXPECT_THAT(
        AssetInterface::ResolveAssetsWithMissingAssets(repository, ASSETTYPE_FILE, {"b"_id, Id()}, {}, checked, nullptr, nullptr),
        Succeeds())
        << "nobody wants to know";
}

TEST(AssetServices, freshIdsHaveTheirForm) {
    const auto check = [](const char* prefix, Bool compact, std::string_view start, std::size_t length) {
        const Id id = Need(AssetInterface::MakeUuid(prefix, compact));
        EXPECT_TRUE(id.GetView().starts_with(start)) << id.GetView();
        EXPECT_EQ(id.GetLength(), length) << id.GetView();
        for (const char c : id.GetView().substr(start.size()))
            EXPECT_TRUE(std::isdigit(UChar(c)) || (c >= 'a' && c <= 'f') || (!compact && c == '-'));
        EXPECT_NE(id, Need(AssetInterface::MakeUuid(prefix, compact)));
    };
    check("", true, "", 32);
    check("", false, "", 36);
    check("database", true, "database_", 41);
}

TEST(AssetServices, urlsOfOtherSchemesNeedNoScope) {
    const Url file = Url::FromSystemPath("/some/file");
    EXPECT_EQ(Need(AssetInterface::AddRepositoryScope(file, nullptr)), file);
    EXPECT_THAT(AssetInterface::AddRepositoryScope(Need(Url::Parse("asset:///chair")), nullptr),
                FailsWith<NullptrError>("asset:///chair"));
    EXPECT_THAT(AssetInterface::ResolveAsset(file, nullptr), FailsWith<NullptrError>());
    EXPECT_EQ(Need(AssetInterface::GetLanguageMetaDataId("de-CH"_id)).GetView(), "strings_de-CH");
}

TEST(AssetTypes, ofTheModuleAreThereFromTheStart) {
    const AssetType file = FindAssetType(ASSETTYPE_FILE);
    ASSERT_TRUE(file);
    EXPECT_FALSE(FindAssetType("none"_id));
    EXPECT_EQ(Need(file->GetProperty(ASSETTYPE_SUPPORT_VERSIONS)), Data(true));
    EXPECT_THAT(file->GetProperty("none"_id), FailsWith<IllegalArgumentError>("none"));
    std::string digest;
    const Asset note = MakeNote("text", {});
    EXPECT_THAT(file->GetUrlSuffix(note), FailsWith<IllegalArgumentError>("Asset is of unsupported class "));
    EXPECT_THAT(file->Store(note, Url(), AssetHashStream(), digest),
                FailsWith<IllegalArgumentError>("Asset is of unsupported class "));
    const ScratchDirectory scratch;
    scratch.Write("from", "bytes");
    scratch.Write("to", "older and longer");
    Need(file->CopyWithEncryption(nullptr, Url::FromSystemPath(scratch / "from"), Url::FromSystemPath(scratch / "to")));
    EXPECT_EQ(scratch.Read("to"), "bytes");
}

}  // namespace talvo
