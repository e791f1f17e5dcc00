#include "assets/asset_link.h"

#include "kernel/data/document.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

namespace {

using POLICY = ASSET_UPDATE_POLICY;

/// Takes the user preferences repository out of its slot at the end.
struct ScopedUserPrefs {
    explicit ScopedUserPrefs(const AssetRepositoryRef& repository) { AssetInterface::SetUserPrefsRepository(repository); }
    ~ScopedUserPrefs() { AssetInterface::SetUserPrefsRepository(nullptr); }
};

BaseAssetRepositoryRef MakeRepository(const Id& id, std::vector<AssetRepositoryRef> bases = {}) {
    return Need(MemoryAssetRepository::Create(id, bases, MemoryAssetRepository::ACCESS::WRITABLE));
}

const Url SOME_URL = Url::FromSystemPath("/some/file.png");

}  // namespace

TEST(AssetLink, pointsByIdentityOrByUrlButNeverByBoth) {
    const AssetLink link = Need(AssetLink::Create(ASSETTYPE_FILE, IdAndVersion("chair"_id, "1"_id), POLICY::IMPLICIT));
    link->SetUrl(SOME_URL);
    EXPECT_EQ(link->GetUpdatePolicy(), POLICY::NEVER);
    EXPECT_EQ(link->GetIdAndVersion(), IdAndVersion());
    link->SetUpdatePolicy(POLICY::EXPLICIT);
    link->SetIdAndVersion({"desk"_id, "2"_id});
    EXPECT_TRUE(link->GetUrl().IsEmpty());
    EXPECT_EQ(link->GetUpdatePolicy(), POLICY::EXPLICIT) << "the policy stays";
    EXPECT_EQ(Need(AssetLink::Create(ASSETTYPE_FILE, SOME_URL))->GetUpdatePolicy(), POLICY::NEVER);
}

TEST(AssetLink, remembersWhereItsTargetWasFound) {
    const ScratchDirectory scratch;
    const auto repository = MakeRepository("shop"_id);
    const AssetDescription chair = Need(
        repository->StoreAsset("chair"_id, MakeFileAsset(scratch, "chair.txt", "wood"),
                               MakeMetaData(ASSETMETADATA::VERSIONTAG, Data(String("1.2")), ASSET_METADATA_KIND::PERSISTENT)));
    const AssetLink link = Need(AssetLink::Create(Need(chair->Load(false)), POLICY::EXPLICIT));
    EXPECT_EQ(link->GetTypeId(), ASSETTYPE_FILE);
    EXPECT_EQ(link->GetIdAndVersion(), chair->GetIdAndVersion());
    EXPECT_EQ(link->GetOriginData().Get<Id>(ASSETLINK_ORIGIN::REPOID), Id("shop"_id));
    EXPECT_EQ(link->GetOriginData().Get<String>(ASSETLINK_ORIGIN::NAME), String("chair"));
    EXPECT_EQ(link->GetOriginData().Get<String>(ASSETLINK_ORIGIN::VERSIONTAG), String("1.2"));
    EXPECT_THAT(AssetLink::Create(Asset(), POLICY::EXPLICIT),
                FailsWith<IllegalArgumentError>("Illegal argument: Condition asset not fulfilled. "));
    EXPECT_TRUE(Need(AssetLink::Create(MakeFileAsset(SOME_URL), POLICY::EXPLICIT))->GetOriginData().IsEmpty()) << "found nowhere";
}

TEST(AssetLink, resolvesWhereItCameFromBeforeTheContext) {
    const ScratchDirectory scratch;
    const auto origin = MakeRepository("origin"_id);
    const auto context = MakeRepository("context"_id);
    const auto unreachable = MakeRepository("unreachable"_id);
    const ScopedUserPrefs prefs(MakeRepository("prefs"_id, {origin}));
    const Asset file = MakeFileAsset(scratch, "chair.txt", "wood");
    Need(origin->StoreAsset("chair"_id, file, nullptr));
    const AssetDescription there = Need(context->StoreAsset("chair"_id, file, nullptr));
    const AssetDescription second = Need(context->StoreAsset("chair"_id, file, nullptr));
    Need(context->StoreAsset("desk"_id, file, nullptr));
    Need(unreachable->StoreAsset("chair"_id, file, nullptr));
    const Url content = NeedRef(there->GetUrl());
    struct Case {
        IdAndVersion target;
        Url url;
        Id origin;
        std::string expected;  // "repository id/version"; "-": null
        const char* why;
    };
    const Case cases[] = {
        {{"chair"_id, Id()}, {}, "origin"_id, "origin chair/v1", "the origin wins"},
        {{"chair"_id, Id()}, {}, "unreachable"_id, "context chair/v2", "an origin that can't be reached"},
        {{"chair"_id, Id()}, {}, Id(), "context chair/v2", "no origin"},
        {{"desk"_id, Id()}, {}, "origin"_id, "context desk/v1", "not there any more"},
        {{"chair"_id, "v1"_id}, {}, Id(), "context chair/v1", "a version"},
        {{"chair"_id, g_newVersion}, {}, Id(), "context chair/v2", "the version found now"},
        {{"chair"_id, "v7"_id}, {}, Id(), "-", "a version that isn't there"},
        {{}, NeedRef(second->GetUrl()), Id(), "context chair/v2", "by the url of its content"},
        {{}, SOME_URL, Id(), "-", "a url of nobody"},
        {{}, Need(Url::Parse("asset:///desk~.txt?rev=v1&name=Desk")), Id(), "context desk/v1", "by an asset url"},
        {{}, Need(Url::Parse("asset:///chair?V1")), Id(), "context chair/v1", "with a version for a query, lowered"},
        {{}, {}, Id(), "-", "a link to nothing"},
    };
    for (const Case& c : cases) {
        const AssetLink link = Need(AssetLink::Create(Id(), c.target, POLICY::EXPLICIT));
        if (c.url.IsPopulated()) link->SetUrl(c.url);
        DataDictionary originData;
        if (c.origin.IsPopulated()) originData.Set(ASSETLINK_ORIGIN::REPOID, c.origin);
        link->SetOriginData(originData);
        const AssetDescription found = Need(link->Resolve(context));
        const std::string text = found ? std::string(found->GetRepositoryId().GetView()) + " " + ToText(found->ToString()) : "-";
        EXPECT_EQ(text, c.expected) << c.why;
    }
    const AssetLink link = Need(AssetLink::Create(Id(), IdAndVersion("chair"_id, Id()), POLICY::EXPLICIT));
    EXPECT_THAT(link->Resolve(nullptr), FailsWith<NullptrError>());
}

TEST(AssetLink, isAValueThatComparesByContent) {
    const AssetLink link = Need(AssetLink::Create(ASSETTYPE_FILE, IdAndVersion("chair"_id, "1"_id), POLICY::EXPLICIT));
    const AssetLink copy = Need(link.Clone());
    EXPECT_TRUE(link.IsEqual(copy));
    EXPECT_EQ(Data(link), Data(copy));
    EXPECT_EQ(link.GetHashCode(), copy.GetHashCode());
    copy->SetUpdatePolicy(POLICY::IMPLICIT);
    EXPECT_EQ(link->GetUpdatePolicy(), POLICY::EXPLICIT) << "a copy is its own";
    EXPECT_FALSE(link.IsEqual(copy));
    EXPECT_FALSE(link.IsEqual(AssetLink()));
    EXPECT_TRUE(AssetLink().IsEqual(AssetLink()));
}

TEST(AssetLink, readsInMessages) {
    const AssetLink byId = Need(AssetLink::Create("t"_id, IdAndVersion("chair"_id, "1"_id), POLICY::IMPLICIT));
    const AssetLink byUrl = Need(AssetLink::Create("t"_id, SOME_URL));
    EXPECT_EQ(ToText(byId->ToString()), "chair/1/IMPLICIT");
    EXPECT_EQ(ToText(byUrl->ToString()), "/some/file.png");
    EXPECT_EQ(ToText(byId->ToText(AssetLinkInterface::TEXT_LEVEL::FULL)),
              "{Type: t,Id/Version/Policy: chair/1/IMPLICIT,Origin: nullptr}");
    EXPECT_EQ(ToText(byUrl->ToText(AssetLinkInterface::TEXT_LEVEL::FULL)),
              "{Type: t,Url/Policy: /some/file.png/NEVER,Origin: nullptr}");
}

TEST(AssetLink, goesThroughDocuments) {
    const AssetLink link = Need(AssetLink::Create(ASSETTYPE_FILE, IdAndVersion("chair"_id, "1"_id), POLICY::IMPLICIT));
    DataDictionary origin;
    origin.Set(ASSETLINK_ORIGIN::REPOID, Id("shop"_id));
    link->SetOriginData(origin);
    const AssetDependencyStruct dependency{
        {"chair"_id, "1"_id}, ASSETTYPE_FILE, UniversalDateTime(5), String("Chair"), POLICY::NEVER};
    const Data values[] = {
        Data(link),
        Data(Need(AssetLink::Create("t"_id, SOME_URL))),
        Data(AssetLink()),
        Data(BaseArray<AssetLink>{link, link}),
        Data(BaseArray<AssetDependencyStruct>{dependency, AssetDependencyStruct()}),
    };
    for (const DOCUMENT_FORMAT format : {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY}) {
        for (const Data& value : values) {
            const std::string bytes = Need(WriteDocumentText(value, "root"_id, format));
            EXPECT_EQ(Need(ReadDocumentText(bytes, "root"_id, "test")), value) << bytes;
        }
    }
    EXPECT_THAT(DataTraits<ASSET_UPDATE_POLICY>::FromDocument(DocumentValue(Int64(3))), FailsWith<FileFormatError>("3"));
    EXPECT_THAT(DataTraits<AssetLink>::FromDocument(DocumentValue(Int64(3))), FailsWith<FileFormatError>());
    EXPECT_THAT(DataTraits<AssetDependencyStruct>::FromDocument(DocumentValue(DocumentValue::ObjectType{})),
                FailsWith<FileFormatError>());
}

TEST(AssetIdentityText, goesBothWays) {
    const auto shop = MakeRepository("shop"_id);
    struct Case {
        IdAndVersion identity;
        AssetRepositoryRef repository;
        const char* text;
    };
    const Case cases[] = {
        {{"chair"_id, Id()}, nullptr, "chair"},
        {{"chair"_id, "1"_id}, nullptr, "chair?=1"},
        {{"chair"_id, "1"_id}, shop, "chair?=1#=shop"},
        {{"chair"_id, Id()}, shop, "chair#=shop"},
        {{}, nullptr, ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Need(AssetIdentityText::Write(c.identity, c.repository)).GetView(), c.text);
        EXPECT_EQ(Need(AssetIdentityText::Read(MakeId(c.text))), c.identity) << c.text;
    }
    EXPECT_EQ(Need(AssetIdentityText::Read("a?=b?=c#=d?=e"_id)), IdAndVersion("a"_id, "b?=c"_id)) << "cut at the first marks";
}

}  // namespace talvo
