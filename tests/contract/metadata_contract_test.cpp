#include "asset_scheme/resolve_info.h"
#include "assets/asset_repository_decorators.h"
#include "contract/repository_contract.h"

#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr const char* READ_ONLY_ENTRY =
    "Illegal argument: Condition !((v.Get<AssetMetaData::KIND>() | kind) & AssetMetaData::KIND::READ_ONLY) not fulfilled. ";

Result<void> Set(const AssetDescription& asset, std::string_view metaId, Int value, UInt32 kind) {
    return asset.StoreMetaData(MakeMetaId(metaId), Data(value), ASSET_METADATA_KIND(kind));
}

Result<void> Remove(const AssetDescription& asset, std::string_view metaId) {
    return asset.StoreMetaData(MakeMetaId(metaId), Data(), ASSET_METADATA_KIND::PERSISTENT);
}

}  // namespace

TEST_P(RepositoryContract, valuesOfEachKindLiveAsLongAsTheirKindSays) {
    auto repository = Create("repository");
    {
        const AssetDescription chair = Store(repository, "chair"_id, "wood");
        for (const UInt32 kind : {2U, 6U, 7U, 18U, 10U, 0U}) Need(Set(chair, "kind." + std::to_string(kind), Int(kind), kind));
        EXPECT_THAT(ListMeta(chair), ElementsAre("kind.0:0", "kind.10:10", "kind.18:18", "kind.2:2", "kind.6:6", "kind.7:7"));
    }
    Reopen(repository);
    {
        const AssetDescription chair = FindLatest(repository, "chair"_id);
        for (const UInt32 kind : {2U, 6U, 18U, 10U})
            EXPECT_EQ(GetMeta(chair, "kind." + std::to_string(kind)), std::to_string(kind));
        EXPECT_EQ(GetMeta(chair, "kind.0"), CanReopen() ? "-" : "0") << "a value of memory ends with it";
        EXPECT_EQ(GetMeta(chair, "kind.none"), "-") << "nothing there is no error";
    }
    const auto inherited = [&](const AssetDescription& version) {
        std::string found;
        for (const UInt32 kind : {2U, 6U, 7U, 10U, 18U}) {
            if (GetMeta(version, "kind." + std::to_string(kind)) != "-") found += " " + std::to_string(kind);
        }
        return found;
    };
    const Asset loaded = Need(FindLatest(repository, "chair"_id)->Load(false));
    EXPECT_EQ(inherited(Need(repository->StoreAsset("chair"_id, loaded, nullptr))), " 2 18")
        << "content and the user's own follow";
    const auto other = Create("other");
    const AssetDescription original = Store(other, "chair"_id, "wood");
    for (const UInt32 kind : {2U, 6U, 7U, 18U, 10U}) Need(Set(original, "kind." + std::to_string(kind), Int(kind), kind));
    EXPECT_EQ(inherited(Need(repository->CopyAsset("copy"_id, original, false, false))), " 2 6 7 18")
        << "a copy takes all but what was computed";
    EXPECT_EQ(inherited(Need(repository->OverwriteAsset("copy"_id, File("bare"), nullptr))), "")
        << "nothing comes from what is replaced";
}

TEST_P(RepositoryContract, additionalValuesOfAStoreMustBePlainOnes) {
    const auto repository = Create("repository");
    const auto store = [&](UInt32 kind) {
        return Need(repository->StoreAsset("chair"_id, File("wood"), MakeMetaData("extra"_id, Data(Int(kind)), Kind(kind))));
    };
    EXPECT_EQ(GetMeta(store(2), "extra"), "2");
    EXPECT_EQ(GetMeta(store(18), "extra"), "18");
    EXPECT_EQ(GetMeta(store(6), "extra"), "-") << "values of a version are the engine's to set";
    EXPECT_EQ(GetMeta(store(10), "extra"), "-");
}

TEST_P(RepositoryContract, readOnlyValuesAreSetOnce) {
    auto repository = Create("repository");
    AssetDescription chair = Store(repository, "chair"_id, "wood");
    Need(Set(chair, "fixed", 1, 7));
    EventRecorder events(repository);
    EXPECT_THAT(Set(chair, "fixed", 2, 7), FailsWith<IllegalArgumentError>(READ_ONLY_ENTRY));
    EXPECT_THAT(Set(chair, "fixed", 2, 6), FailsWith<IllegalArgumentError>(READ_ONLY_ENTRY));
    EXPECT_THAT(chair.StoreMetaData(InternedId(ASSETMETADATA::TIMESTAMP), Data(UniversalDateTime(1)), Kind(7)),
                FailsWith<IllegalArgumentError>(READ_ONLY_ENTRY));
    EXPECT_EQ(GetMeta(chair, "fixed"), "1");
    EXPECT_THAT(events.Take(), IsEmpty());
    Need(Set(chair, "fixed", 3, 0x10007));
    EXPECT_EQ(GetMeta(chair, "fixed"), "3") << "unless this one call may";
    EXPECT_THAT(events.Take(), ElementsAre(testing::HasSubstr("fixed 7 1 -> 3")));
    Need(Remove(chair, "fixed"));
    EXPECT_EQ(GetMeta(chair, "fixed"), "-") << "removing asks for no permission";
}

TEST_P(RepositoryContract, aRefusedChangeOfAReadOnlyValueTouchesNothing) {
    auto repository = Create("repository");
    {
        const AssetDescription chair = Store(repository, "chair"_id, "wood");
        Need(Set(chair, "fixed", 1, 7));
        EXPECT_TRUE(Set(chair, "fixed", 2, 7).IsError());
    }
    Reopen(repository);
    EXPECT_EQ(GetMeta(FindLatest(repository, "chair"_id), "fixed"), "1");
}

TEST_P(RepositoryContract, anEntryKeepsTheKindItWasMadeWith) {
    auto repository = Create("repository");
    {
        const AssetDescription chair = Store(repository, "chair"_id, "wood");
        Need(Set(chair, "key", 1, 6));
        Need(Set(chair, "key", 2, 2));
        EXPECT_THAT(ListMeta(chair), ElementsAre("key:6"));
        EXPECT_EQ(chair->GetMetaData()->GetTimeStamp(MakeMetaId("key")), 2U) << "counts the sets";
        EXPECT_EQ(chair->GetMetaData()->GetTimeStamp(MakeMetaId("none")), 0U);
    }
    Reopen(repository);
    const AssetDescription chair = FindLatest(repository, "chair"_id);
    EXPECT_THAT(ListMeta(chair), ElementsAre("key:6"));
    EXPECT_EQ(GetMeta(chair, "key"), "2");
}

TEST_P(RepositoryContract, eventsTellOldAndNewValue) {
    const auto repository = Create("repository");
    const AssetDescription chair = Store(repository, "chair"_id, "wood");
    const std::string name = "metadata chair/" + GetVersionId(1, "wood") + " key 2 ";
    EventRecorder events(repository);
    Need(Set(chair, "key", 1, 2));
    Need(Set(chair, "key", 2, 2));
    Need(Remove(chair, "key"));
    EXPECT_THAT(events.Take(), ElementsAre(name + "- -> 1", name + "1 -> 2", name + "2 -> -"));
    EXPECT_THAT(ListMeta(chair), IsEmpty());
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#1")) << "a value adds no version";
}

TEST_P(RepositoryContract, whatCanNotBeAValueSaysWhy) {
    const auto repository = Create("repository");
    const AssetDescription chair = Store(repository, "chair"_id, "wood");
    struct Case {
        const char* metaId;
        const char* message;
    };
    const Case cases[] = {
        {"a b", "Meta data id a b contains illegal character  ."},
        {"a/../b", "Meta data id a/../b contains illegal character /."},
        {"a\xc3\xa4$", "Meta data id a\xc3\xa4$ contains illegal character \xc3\xa4."},
    };
    for (const Case& c : cases) EXPECT_THAT(Set(chair, c.metaId, 1, 2), FailsWith<IllegalArgumentError>(c.message));
    EXPECT_THAT(Set(chair, "a-b_c.1", 1, 2), Succeeds());
    for (const UInt32 kind : {3U, 14U, 22U, 26U}) {
        EXPECT_THAT(Set(chair, "odd", 1, kind),
                    FailsWith<IllegalArgumentError>(
                        "Illegal argument: Condition !(kind & AssetMetaData::KIND::PERSISTENT) not fulfilled. "))
            << kind;
    }
    EXPECT_THAT(repository->StoreMetaData(nullptr, MakeMetaId("key"), Data(Int(1)), KIND::PERSISTENT),
                FailsWith<IllegalArgumentError>("Invalid asset description"));
    AssetDescription::Parts parts;
    parts.identity = {"bare"_id, "1"_id};
    EXPECT_THAT(repository->StoreMetaData(Need(AssetDescription::Create(repository, parts)), MakeMetaId("key"), Data(Int(1)),
                                          KIND::PERSISTENT),
                FailsWith<IllegalArgumentError>("Invalid asset description bare/1."));
    EXPECT_THAT(ListMeta(chair), ElementsAre("a-b_c.1:2"));
}

TEST_P(RepositoryContract, derivedValuesAreComputedAndGoWithTheContent) {
    auto repository = Create("repository");
    const AssetDescription note = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    EXPECT_EQ(GetMeta(note, "test.length"), "4") << "the type computes it";
    EXPECT_EQ(GetMeta(note, "test.unkept"), "7");
    EXPECT_THAT(ListMeta(note), ElementsAre("test.length:10")) << "only what is worth keeping is kept";
    for (const UInt32 kind : {6U, 2U}) {
        Need(Set(note, "key." + std::to_string(kind), 1, kind));
        EXPECT_EQ(ListMeta(note).front() == "test.length:10" || ListMeta(note).back() == "test.length:10", kind == 6)
            << "plain content makes it stale, kind " << kind;
    }
    EXPECT_EQ(GetMeta(note, "test.length"), "4") << "and it is computed anew";
    Need(Set(note, "key.user", 1, 18));
    EXPECT_THAT(ListMeta(note), ElementsAre("key.2:2", "key.6:6", "key.user:18"));
}

TEST_P(RepositoryContract, aFileCanBeAValue) {
    auto repository = Create("repository");
    GetScratch().Write("preview.png", "picture");
    GetScratch().Write("preview.jpg", "photo");
    const InternedId key(ASSETMETADATA::PREVIEWIMAGEURL);
    const auto read = [&](const AssetDescription& asset) {
        const Opt<Url> url = Need(asset->GetMetaData().Get<Url>(key));
        if (!url) return std::string("-");
        EXPECT_EQ(url->GetScheme(), "meta"_id);
        const Opt<Url> target = FindResolveTarget(*url);
        return target ? Need(FileUtilities::ReadFileToMemory(*target, 100)) : "(unresolved)";
    };
    {
        const AssetDescription chair = Store(repository, "chair"_id, "wood");
        Need(repository->StoreUrlMetaData(chair, key, GetScratch().GetUrl() + "preview.png", Kind(2)));
        EXPECT_EQ(read(chair), "picture");
        EXPECT_THAT(repository->StoreUrlMetaData(chair, key, GetScratch().GetUrl() + "missing.png", Kind(2)),
                    FailsWith<IoError>("missing.png"));
        EXPECT_EQ(read(chair), "picture") << "a failed change leaves the old file";
        Need(repository->StoreUrlMetaData(chair, key, GetScratch().GetUrl() + "preview.jpg", Kind(2)));
        for (const UInt32 kind : {10U, 18U}) {
            EXPECT_THAT(
                repository->StoreUrlMetaData(chair, MakeMetaId("other"), GetScratch().GetUrl() + "preview.png", Kind(kind)),
                FailsWith<IllegalArgumentError>())
                << kind;
        }
    }
    Reopen(repository);
    const AssetDescription chair = FindLatest(repository, "chair"_id);
    EXPECT_EQ(read(chair), "photo");
    const AssetDescription next = Need(repository->StoreAsset("chair"_id, Need(chair->Load(false)), nullptr));
    EXPECT_EQ(read(next), "photo") << "the file moves along with its version";
    const auto other = Create("other");
    const AssetDescription copy = Need(other->CopyAsset("copy"_id, chair, false, false));
    Need(repository->StoreUrlMetaData(chair, key, Url(), Kind(2)));
    EXPECT_EQ(read(chair), "-") << "an empty url removes it";
    EXPECT_EQ(read(next), "photo");
    EXPECT_EQ(read(copy), "photo");
}

TEST_P(RepositoryContract, metadataOutlivesItsRepositoryAsFarAsItWasRead) {
    auto repository = Create("repository");
    const AssetDescription chair = Store(repository, "chair"_id, "wood");
    Need(Set(chair, "key", 1, 2));
    repository = nullptr;
    EXPECT_EQ(GetMeta(chair, "key"), "1");
    EXPECT_THAT(chair->GetMetaData()->Get(MakeMetaId("other")),
                FailsWith<IllegalStateError>("Repository doesn't exist any longer."));
    EXPECT_THAT(Set(chair, "key", 2, 2), FailsWith<NullptrError>());
    EXPECT_FALSE(chair->GetRepository());
    EXPECT_EQ(chair->GetRepositoryId(), "repository"_id);
}

TEST_P(RepositoryContract, valuesAreReadFromRepositoriesWithABackendOnly) {
    const auto repository = Create("repository");
    const AssetRepositoryRef decorator(StrongRef<WeakAssetRepositoryDecorator>::Create(repository));
    AssetMetaDataTable table;
    Need(table.Insert(MakeMetaId("key"), AssetMetaDataEntry{Data(), KIND::PERSISTENT, false, 0}));
    const AssetMetaData metaData =
        Need(AssetMetaData::Create(decorator, ASSETTYPE_FILE, {"chair"_id, "1"_id}, Data(), std::move(table)));
    EXPECT_THAT(metaData->Get(MakeMetaId("key")), FailsWith<IllegalStateError>("Repository has unsupported class "));
}

}  // namespace talvo
