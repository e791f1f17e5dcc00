#include "contract/repository_contract.h"

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_P(RepositoryContract, eachStoreAddsAVersionWithTheNextCounter) {
    auto repository = Create("repository");
    EventRecorder events(repository);
    const Asset file = File("one");
    const AssetDescription first = Need(repository->StoreAsset("chair"_id, file, nullptr));
    const AssetDescription second = Need(repository->StoreAsset("chair"_id, File("two"), nullptr));
    EXPECT_EQ(first->GetIdAndVersion().second.GetView(), GetVersionId(1, "one"));
    EXPECT_EQ(second->GetIdAndVersion().second.GetView(), GetVersionId(2, "two"));
    EXPECT_EQ(first.GetVersionKey().origin, repository->GetId().GetWord());
    EXPECT_EQ(first->GetTypeId(), ASSETTYPE_FILE);
    EXPECT_FALSE(file->GetRepository()) << "the caller's object stays the caller's";
    EXPECT_THAT(events.Take(), ElementsAre("stored chair/" + GetVersionId(1, "one") + " in repository",
                                           "stored chair/" + GetVersionId(2, "two") + " in repository"));
    EXPECT_EQ(ReadPayload(first), "one");
    EXPECT_EQ(ReadPayload(second), "two");
    EXPECT_EQ(NeedRef(second->GetUrl()).GetSuffix(), "txt") << "the payload keeps its suffix";
}

TEST_P(RepositoryContract, whatWasStoredIsThereAfterReopening) {
    auto repository = Create("repository");
    Int64 firstTime = 0;
    {
        const AssetDescription first = Store(repository, "Chair $1/\xc3\xa4"_id, "one");
        firstTime = Int64(first.GetVersionKey().time);
        Store(repository, "Chair $1/\xc3\xa4"_id, "two");
        Store(repository, "desk"_id, "wood");
        Need(repository->DeleteAsset("desk"_id));
        GetScratch().Write("folder/Sub/b.txt", "b");
        GetScratch().Write("folder/a.txt", "a");
        Need(repository->StoreAsset("folder"_id, MakeFileAsset(GetScratch().GetUrl() + "folder"), nullptr));
    }
    const std::vector<std::string> before = ListAll(repository);
    Reopen(repository);
    EXPECT_EQ(ListAll(repository), before);
    const AssetDescription latest = FindLatest(repository, "Chair $1/\xc3\xa4"_id);
    EXPECT_EQ(ReadPayload(latest), "two");
    EXPECT_EQ(latest->GetTypeId(), ASSETTYPE_FILE);
    EXPECT_EQ(latest.GetVersionKey().origin, repository->GetId().GetWord());
    const AssetDescription first =
        Need(repository->FindLatestAsset(Id(), "Chair $1/\xc3\xa4"_id, MakeId(GetVersionId(1, "one")), MODE::NONE));
    EXPECT_EQ(Int64(first.GetVersionKey().time), firstTime);
    const Url folder = NeedRef(FindLatest(repository, "folder"_id)->GetUrl());
    EXPECT_EQ((folder + "Sub" + "b.txt").IoDetect(), IO_DETECT::FILE);
    EXPECT_FALSE(FindLatest(repository, "desk"_id)) << "a deletion is remembered";
    EXPECT_EQ(Store(repository, "desk"_id, "again").GetVersionKey().counter, 3U);
}

TEST_P(RepositoryContract, aClockSetBackHidesNothing) {
    const auto repository = Create("repository");
    SteppedClock clock(1000);
    Store(repository, "chair"_id, "one");
    clock.Set(500);
    EXPECT_EQ(Store(repository, "chair"_id, "two").GetVersionKey().time, 1001U);
    Need(repository->DeleteAsset("chair"_id));
    EXPECT_FALSE(FindLatest(repository, "chair"_id)) << "a deletion too is the newest";
    clock.Set(5000);
    EXPECT_EQ(Store(repository, "chair"_id, "three").GetVersionKey().time, 5000U);
}

TEST_P(RepositoryContract, aNumberIsGivenOutOnceEvenIfAnOlderOneIsNewerByTime) {
    auto repository = Create("repository");
    if (!CanReopen()) GTEST_SKIP() << "the order of versions changes only when they are loaded again";
    {
        const AssetDescription first = Store(repository, "chair"_id, "one");
        Store(repository, "chair"_id, "two");
        const UniversalDateTime later(Int64(first.GetVersionKey().time) + 1000000);
        Need(first.StoreMetaData(InternedId(ASSETMETADATA::TIMESTAMP), Data(later), Kind(0x10007)));
    }
    Reopen(repository);
    ASSERT_THAT(ListAll(repository), ElementsAre("chair#1", "chair#2"));
    EXPECT_EQ(Store(repository, "chair"_id, "three").GetVersionKey().counter, 3U);
    EXPECT_EQ(ReadPayload(FindLatest(repository, "chair"_id)), "three") << "and it is the newest";
}

TEST_P(RepositoryContract, equalContentStoredAgainIsAVersionOfItsOwn) {
    auto repository = Create("repository");
    Store(repository, "chair"_id, "same");
    Store(repository, "chair"_id, "other");
    Store(repository, "chair"_id, "same");
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#3", "chair#2", "chair#1"));
    const Id version = MakeId(GetVersionId(3, "same"));
    EXPECT_EQ(Need(repository->FindLatestAsset(Id(), "chair"_id, version, MODE::NONE)).GetVersionKey().counter, 3U)
        << "the greatest of equals";

    AssetDescription first;
    Need(FindAssets(repository, {}, "chair"_id, Id(), MODE::ALL_VERSIONS, [&](const AssetDescription& found) -> Result<Bool> {
        first = found;
        return true;
    }));
    ASSERT_EQ(first.GetVersionKey().counter, 1U);
    Need(repository->EraseAsset(first));
    first = nullptr;
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#3", "chair#2")) << "erasing goes by the version, not by its id";
    Need(repository->EraseAsset(FindLatest(repository, "chair"_id)));
    Reopen(repository);
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#2"));
}

TEST_P(RepositoryContract, overwritingReplacesTheNewestVersionWhole) {
    auto repository = Create("repository");
    Store(repository, "chair"_id, "one");
    {
        const AssetDescription second = Store(repository, "chair"_id, "two");
        Need(second.StoreMetaData(MakeMetaId("of.version"), Data(Int(6)), Kind(6)));
        EventRecorder events(repository);
        const AssetDescription replaced = Need(repository->OverwriteAsset("chair"_id, File("new", "other.bin"), nullptr));
        EXPECT_EQ(replaced->GetIdAndVersion(), second->GetIdAndVersion()) << "it takes the version id over";
        EXPECT_THAT(events.Take(), ElementsAre("stored chair/" + GetVersionId(2, "two") + " in repository"));
    }
    for (const char* opening : {"as stored", "opened again"}) {
        EXPECT_THAT(ListAll(repository), ElementsAre("chair#2", "chair#1")) << opening;
        {
            const AssetDescription latest = FindLatest(repository, "chair"_id);
            EXPECT_EQ(ReadPayload(latest), "new") << opening;
            EXPECT_EQ(NeedRef(latest->GetUrl()).GetSuffix(), "bin") << opening;
            EXPECT_EQ(GetMeta(latest, "of.version"), "-") << "values of the replaced version are gone, " << opening;
        }
        Reopen(repository);
    }
}

TEST_P(RepositoryContract, overwritingWhereThereIsNothingStores) {
    const auto repository = Create("repository");
    EXPECT_EQ(ReadPayload(Need(repository->OverwriteAsset("new"_id, File("one"), nullptr))), "one");
    EXPECT_EQ(ListAll(repository).size(), 1U);
    Store(repository, "desk"_id, "one");
    Need(repository->DeleteAsset("desk"_id));
    Need(repository->OverwriteAsset("desk"_id, File("two"), nullptr));
    EXPECT_THAT(List(repository, {}, "desk"_id, Id(), MODE::ALL_VERSIONS | MODE::WITH_DELETED),
                ElementsAre("desk#3", "desk#2-", "desk#1"))
        << "a deleted asset comes back by a version of its own";
}

TEST_P(RepositoryContract, aVersionMayBeOverwrittenWithItsOwnPayload) {
    const auto repository = Create("repository");
    const AssetDescription stored = Store(repository, "chair"_id, "precious");
    const AssetDescription again = Need(repository->OverwriteAsset("chair"_id, Need(stored->Load(false)), nullptr));
    EXPECT_EQ(ReadPayload(again), "precious");
}

TEST_P(RepositoryContract, deletingAddsAMarkerAndStoringLiftsIt) {
    const auto repository = Create("repository");
    const AssetDescription one = Store(repository, "chair"_id, "one");
    EventRecorder events(repository);
    const AssetDescription marker = Need(repository->DeleteAsset("chair"_id));
    EXPECT_TRUE(marker->IsDeleted());
    EXPECT_EQ(marker->GetIdAndVersion().second, DELETED_VERSION);
    EXPECT_THAT(events.Take(), ElementsAre("erased chair/deleted in repository"));
    EXPECT_FALSE(FindLatest(repository, "chair"_id));
    EXPECT_EQ(Need(repository->FindLatestAsset(Id(), "chair"_id, Id(), MODE::WITH_DELETED)), marker);
    EXPECT_THAT(marker->Load(false), FailsWith<IllegalStateError>("Can't load deleted asset chair/deleted"));
    EXPECT_EQ(ReadPayload(one), "one") << "older versions stay readable";
    Need(repository->DeleteAsset("chair"_id));
    Store(repository, "chair"_id, "two");
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#4", "chair#3-", "chair#2-", "chair#1"));
    EXPECT_EQ(ReadPayload(FindLatest(repository, "chair"_id)), "two");
}

TEST_P(RepositoryContract, erasingTakesOneVersionAndAtLastTheId) {
    auto repository = Create("repository");
    Store(repository, "chair"_id, "one");
    Store(repository, "chair"_id, "two");
    Need(repository->DeleteAsset("chair"_id));
    const auto erase = [&](std::string_view version) {
        return repository->EraseAsset(Need(repository->FindLatestAsset(Id(), "chair"_id, MakeId(version), MODE::WITH_DELETED)));
    };
    {
        EventRecorder events(repository);
        Need(erase("deleted"));
        EXPECT_THAT(events.Take(), ElementsAre("erased chair/deleted in repository"));
        EXPECT_EQ(ReadPayload(FindLatest(repository, "chair"_id)), "two") << "without its marker the asset is back";
        Need(erase(GetVersionId(1, "one")));
    }
    Reopen(repository);
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#2"));
    EXPECT_EQ(Store(repository, "chair"_id, "three").GetVersionKey().counter, 3U);
    Need(erase(GetVersionId(2, "two")));
    Need(erase(GetVersionId(3, "three")));
    EXPECT_THAT(repository->DeleteAsset("chair"_id), FailsWith<IllegalStateError>("No asset to delete for asset id chair."));
    Reopen(repository);
    EXPECT_THAT(ListAll(repository), IsEmpty());
    EXPECT_EQ(Store(repository, "chair"_id, "new").GetVersionKey().counter, 1U) << "an id that is gone starts anew";
}

TEST_P(RepositoryContract, whatCanNotBeStoredOrErasedSaysWhy) {
    const auto repository = Create("repository");
    const auto other = Create("other");
    const AssetDescription foreign = Store(other, "desk"_id, "wood");
    const AssetDescription chair = Store(repository, "chair"_id, "wood");
    AssetDescription::Parts parts;
    parts.identity = {"chair"_id, "none"_id};
    const AssetDescription unknown = Need(AssetDescription::Create(repository, parts));
    parts = {};
    parts.type = ASSETTYPE_FILE;
    parts.identity = {"odd"_id, MakeId("line\nend")};
    parts.url = NeedRef(foreign->GetUrl());
    const AssetDescription oddVersion = Need(AssetDescription::Create(other, parts));
    parts = {};
    parts.type = ASSETTYPE_FILE;
    parts.identity = {"odd"_id, DELETED_VERSION};
    parts.url = NeedRef(foreign->GetUrl());
    const AssetDescription deletedVersion = Need(AssetDescription::Create(other, parts));

    const std::vector<std::string> before = ListAll(repository);
    EventRecorder events(repository);
    EXPECT_THAT(repository->StoreAsset("chair"_id, nullptr, nullptr),
                FailsWith<IllegalArgumentError>("Illegal argument: Condition asset || source not fulfilled. "));
    EXPECT_THAT(repository->CopyAsset("chair"_id, nullptr, false, false), FailsWith<IllegalArgumentError>("asset || source"));
    EXPECT_THAT(repository->DeleteAsset("none"_id), FailsWith<IllegalStateError>("No asset to delete for asset id none."));
    EXPECT_THAT(repository->EraseAsset(nullptr),
                FailsWith<IllegalArgumentError>("Illegal argument: Condition asset not fulfilled. "));
    EXPECT_THAT(repository->EraseAsset(foreign), FailsWith<IllegalStateError>("No asset to erase for asset id desk."));
    EXPECT_THAT(repository->EraseAsset(unknown),
                FailsWith<IllegalStateError>("No asset version none to erase for asset id chair."));
    EXPECT_THAT(repository->StoreAsset(MakeId("a\x01z"), File("x"), nullptr), FailsWith<IllegalArgumentError>("\\x01"));
    EXPECT_THAT(repository->StoreAsset(Id(), File("x"), nullptr), FailsWith<IllegalArgumentError>());
    EXPECT_THAT(repository->CopyAsset("odd"_id, oddVersion, false, false), FailsWith<IllegalArgumentError>("line\\x0aend"));
    EXPECT_THAT(repository->CopyAsset("odd"_id, deletedVersion, false, false), FailsWith<IllegalArgumentError>("deleted"));
    EXPECT_EQ(ListAll(repository), before) << "nothing half-known stays";
    EXPECT_THAT(events.Take(), IsEmpty());
}

TEST_P(RepositoryContract, aPayloadThatCanNotBeReadLeavesNothing) {
    auto repository = Create("repository");
    {
        EventRecorder events(repository);
        const Asset missing = MakeFileAsset(GetScratch().GetUrl() + "missing.txt");
        EXPECT_THAT(repository->StoreAsset("chair"_id, missing, nullptr), FailsWith<IoError>("missing.txt"));
        EXPECT_THAT(ListAll(repository), IsEmpty());
        EXPECT_EQ(ReadPayload(Store(repository, "chair"_id, "one")), "one");
        EXPECT_THAT(repository->OverwriteAsset("chair"_id, missing, nullptr), FailsWith<IoError>("missing.txt"));
        EXPECT_EQ(ReadPayload(FindLatest(repository, "chair"_id)), "one") << "a failed overwrite keeps what was there";
        EXPECT_THAT(events.Take(), ElementsAre("stored chair/" + GetVersionId(1, "one") + " in repository"));
    }
    Reopen(repository);
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#1"));
}

TEST_P(RepositoryContract, aVersionForAnotherApplicationIsNotCopied) {
    const auto repository = Create("repository");
    const AssetDescription chair = Store(repository, "chair"_id, "wood");
    Need(chair.StoreMetaData(InternedId(ASSETMETADATA::VALIDVERSION), Data(AssetVersionRange(1e6, 0)), Kind(6)));
    EXPECT_THAT(repository->CopyAsset("copy"_id, chair, false, false),
                FailsWith<IllegalStateError>("Asset not valid for this app version."));
}

TEST_P(RepositoryContract, aCopyKeepsVersionIdAndContentOfItsSource) {
    const auto source = Create("source");
    auto target = Create("target");
    Store(source, "chair"_id, "one");
    const AssetDescription chair = Store(source, "chair"_id, "two");
    {
        const AssetDescription copy = Need(target->CopyAsset("seat"_id, chair, false, false));
        EXPECT_EQ(copy->GetIdAndVersion(), IdAndVersion("seat"_id, chair->GetIdAndVersion().second));
        EXPECT_EQ(copy.GetVersionKey().counter, 1U) << "the number is the target's own";
        EXPECT_EQ(copy->GetRepositoryId(), "target"_id);
        EXPECT_EQ(ReadPayload(copy), "two");
        const AssetDescription within = Need(target->CopyAsset("seat"_id, copy, false, true));
        EXPECT_EQ(ReadPayload(within), "two") << "a version copied over itself";
        EXPECT_EQ(ReadPayload(Need(target->CopyAsset("closed"_id, chair, true, false))), "two") << "files are never enciphered";
    }
    Reopen(target);
    EXPECT_THAT(ListAll(target), ElementsAre("closed#1", "seat#1"));
    EXPECT_EQ(FindLatest(target, "seat"_id)->GetIdAndVersion().second, chair->GetIdAndVersion().second);
    EXPECT_EQ(ReadPayload(FindLatest(target, "seat"_id)), "two");
    EXPECT_EQ(Need(target->OverwriteAsset("seat"_id, File("new"), nullptr))->GetIdAndVersion().second,
              chair->GetIdAndVersion().second)
        << "the version id is that of what is replaced";
}

TEST_P(RepositoryContract, aReadOnlyRepositoryRefusesBeforeAnythingHappens) {
    auto repository = Create("repository");
    Store(repository, "chair"_id, "wood");
    if (!CanReopen()) {
        const auto empty = Need(MemoryAssetRepository::Create("empty"_id, {}, MemoryAssetRepository::ACCESS::READ_ONLY));
        EXPECT_FALSE(empty->IsWritable());
        EXPECT_THAT(empty->StoreAsset("chair"_id, File("x"), nullptr),
                    FailsWith<IllegalStateError>("Repository empty isn't writable"));
        return;
    }
    Reopen(repository, ACCESS::READ_ONLY);
    const AssetDescription chair = FindLatest(repository, "chair"_id);
    const auto refused = FailsWith<IllegalStateError>("Repository repository isn't writable");
    EXPECT_FALSE(repository->IsWritable());
    EXPECT_THAT(repository->StoreAsset("chair"_id, File("x"), nullptr), refused);
    EXPECT_THAT(repository->OverwriteAsset("chair"_id, File("x"), nullptr), refused);
    EXPECT_THAT(repository->CopyAsset("copy"_id, chair, false, false), refused);
    EXPECT_THAT(repository->DeleteAsset("chair"_id), refused);
    EXPECT_THAT(repository->EraseAsset(chair), refused);
    for (const UInt32 kind : {2U, 6U, 7U}) {
        EXPECT_THAT(repository->StoreMetaData(chair, MakeMetaId("key"), Data(Int(1)), Kind(kind)), refused) << kind;
        EXPECT_THAT(repository->StoreUrlMetaData(chair, MakeMetaId("key"), NeedRef(chair->GetUrl()), Kind(kind)), refused)
            << kind;
    }
    for (const UInt32 kind : {0U, 10U, 18U}) {
        EXPECT_THAT(repository->StoreMetaData(chair, MakeMetaId("key." + std::to_string(kind)), Data(Int(kind)), Kind(kind)),
                    Succeeds())
            << kind;
        EXPECT_EQ(GetMeta(chair, "key." + std::to_string(kind)), std::to_string(kind));
    }
    EXPECT_EQ(ReadPayload(chair), "wood");
    EXPECT_THAT(ListAll(repository), ElementsAre("chair#1"));
}

TEST_P(RepositoryContract, whatWasStoredJustNowNeedsNoLoad) {
    const auto repository = Create("repository");
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const Int loads = GetNoteLoadCount();
    EXPECT_EQ(LoadNote(stored, false)->GetText(), "text");
    EXPECT_EQ(LoadNote(stored, true)->GetText(), "text");
    EXPECT_EQ(GetNoteLoadCount(), loads);
    EXPECT_EQ(Need(stored->Load(false))->GetIdAndVersion(), stored->GetIdAndVersion());
    EXPECT_EQ(Need(Need(stored->Load(false))->GetDescription()), stored);
}

}  // namespace talvo
