#include "contract/repository_contract.h"
#include "kernel/thread/job.h"

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using MODE = ASSET_FIND_MODE;

/// Erases its renaming at the end.
class ScopedRenaming {
public:
    ScopedRenaming(const Id& key, Delegate<Result<Id>(const Id&)> renaming) : _key(key) {
        Need(GetAssetRenamings().Register(key, renaming));
    }
    ~ScopedRenaming() { Need(GetAssetRenamings().EraseEntry(_key)); }

private:
    const Id _key;
};

}  // namespace

// chair: two versions. desk: one, then deleted. lamp: a note. table: one, deleted, stored again.
TEST_P(RepositoryContract, eachModeFindsItsVersions) {
    auto repository = Create("repository");
    const Id chair1 = Store(repository, "chair"_id, "chair one")->GetIdAndVersion().second;
    Store(repository, "chair"_id, "chair two");
    const Id desk1 = Store(repository, "desk"_id, "desk one")->GetIdAndVersion().second;
    Need(repository->DeleteAsset("desk"_id));
    Need(repository->StoreAsset("lamp"_id, MakeNote("lamp", {}), nullptr));
    Store(repository, "table"_id, "table one");
    Need(repository->DeleteAsset("table"_id));
    Store(repository, "table"_id, "table three");

    const std::vector<Id> every;
    const std::vector<Id> notes{ASSETTYPE_NOTE};
    const std::vector<Id> both{ASSETTYPE_FILE, ASSETTYPE_NOTE};
    const std::vector<Id> nullFirst{Id(), ASSETTYPE_NOTE};
    struct Case {
        const std::vector<Id>& types;
        Id aid;
        Id version;
        MODE mode;
        std::vector<std::string> expected;
        const char* why;
    };
    const std::vector<Case> cases{
        {every, Id(), Id(), MODE::NONE, {}, "neither LATEST nor ALL_VERSIONS nor a version"},
        {every, Id(), Id(), MODE::LATEST, {"chair#2", "lamp#1", "table#3"}, "the newest of each; a deleted id has none"},
        {every, Id(), Id(), MODE::LATEST | MODE::ALL_VERSIONS, {"chair#2", "lamp#1", "table#3"}, "LATEST wins"},
        {every, Id(), Id(), MODE::LATEST | MODE::WITHOUT_BASES, {"chair#2", "lamp#1", "table#3"}, "delivered during the walk"},
        {every, Id(), Id(), MODE::LATEST | MODE::RANDOM_ORDER, {"chair#2", "lamp#1", "table#3"}, "shuffled, nothing lost"},
        {every,
         Id(),
         Id(),
         MODE::LATEST | MODE::WITH_DELETED,
         {"chair#2", "desk#2-", "lamp#1", "table#3"},
         "the marker is the newest"},
        {every,
         Id(),
         Id(),
         MODE::ALL_VERSIONS,
         {"chair#2", "chair#1", "lamp#1", "table#3", "table#1"},
         "older markers are passed over"},
        {every,
         Id(),
         Id(),
         MODE::ALL_VERSIONS | MODE::WITH_DELETED,
         {"chair#2", "chair#1", "desk#2-", "desk#1", "lamp#1", "table#3", "table#2-", "table#1"},
         "all there is, newest first"},
        {notes, Id(), Id(), MODE::LATEST, {"lamp#1"}, "one type"},
        {notes, "chair"_id, Id(), MODE::LATEST, {}, "an id of another type"},
        {both, Id(), Id(), MODE::LATEST, {"chair#2", "lamp#1", "table#3"}, "two types"},
        {nullFirst, Id(), Id(), MODE::LATEST, {"chair#2", "lamp#1", "table#3"}, "a null type first means every type"},
        {every, "chair"_id, Id(), MODE::LATEST, {"chair#2"}, "one id"},
        {every, "nothing"_id, Id(), MODE::LATEST, {}, "an unknown id is no error"},
        {every, "cha"_id, Id(), MODE::LATEST, {}, "a part of an id is another id"},
        {every, "cha"_id, Id(), MODE::LATEST | MODE::ID_PREFIX, {"chair#2"}, "unless a prefix is meant"},
        {every, "chair"_id, Id(), MODE::LATEST | MODE::ID_PREFIX, {"chair#2"}, "an id is its own prefix"},
        {notes, "l"_id, Id(), MODE::ALL_VERSIONS | MODE::ID_PREFIX, {"lamp#1"}, "prefix and type"},
        {every, "chair"_id, chair1, MODE::NONE, {"chair#1"}, "a version needs no mode"},
        {every, "chair"_id, chair1, MODE::LATEST, {"chair#1"}, "and goes before LATEST"},
        {every, "chair"_id, "none"_id, MODE::ALL_VERSIONS, {}, "a version that isn't there"},
        {every, "chair"_id, g_newVersion, MODE::LATEST, {}, "the newest version is no stored one"},
        {every, "desk"_id, desk1, MODE::WITH_DELETED, {"desk#1"}, "versions before the marker stay"},
        {every, "desk"_id, DELETED_VERSION, MODE::NONE, {}, "markers are asked for"},
        {every, "desk"_id, DELETED_VERSION, MODE::WITH_DELETED, {"desk#2-"}, "by WITH_DELETED"},
    };
    for (const char* opening : {"as stored", "opened again"}) {
        for (const Case& c : cases) {
            EXPECT_EQ(List(repository, c.types, c.aid, c.version, c.mode), c.expected) << c.why << ", " << opening;
        }
        Reopen(repository);
    }
}

TEST_P(RepositoryContract, acrossRepositoriesTheTimeDecidesAndThenTheOrderOfSearch) {
    struct Case {
        Int64 topTime;
        Int64 firstTime;
        Int64 secondTime;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {10, 10, 10, "top", "on a tie the derived repository keeps it"},
        {10, 11, 10, "first", "later in a base"},
        {11, 10, 10, "top", "later in the derived one"},
        {10, 11, 11, "first", "on a tie the base added first"},
        {10, 11, 12, "second", "latest of all"},
    };
    Int number = 0;
    for (const Case& c : cases) {
        const std::string suffix = std::to_string(++number);
        const auto first = Create("first" + suffix);
        const auto second = Create("second" + suffix);
        const auto top = Create("top" + suffix, {first, second});
        SteppedClock clock(5);
        Store(second, "chair"_id, "0");  // a higher counter doesn't count elsewhere
        clock.Set(c.firstTime);
        Store(first, "chair"_id, "1");
        clock.Set(c.secondTime);
        Store(second, "chair"_id, "2");
        clock.Set(c.topTime);
        Store(top, "chair"_id, "3");
        const AssetDescription found = FindLatest(top, "chair"_id);
        EXPECT_EQ(found->GetRepositoryId().GetView(), c.expected + suffix) << c.why;
        EXPECT_EQ(List(top, {}, "chair"_id, Id(), MODE::ALL_VERSIONS).size(), 4U) << "versions of all repositories";
    }
}

TEST_P(RepositoryContract, aBaseOnTwoPathsIsSearchedOnce) {
    const auto bottom = Create("bottom");
    const auto left = Create("left", {bottom});
    const auto right = Create("right", {bottom});
    const auto top = Create("top", {left, right});
    Store(bottom, "chair"_id, "wood");
    EXPECT_THAT(List(top, {}, Id(), Id(), MODE::ALL_VERSIONS), ElementsAre("chair#1"));
    EXPECT_THAT(List(top, {}, Id(), Id(), MODE::ALL_VERSIONS | MODE::WITHOUT_BASES), IsEmpty());
}

TEST_P(RepositoryContract, ARepositoryCanBeLeftOutOfSearches) {
    const auto bottom = Create("bottom");
    const auto middle = Create("middle", {bottom});
    const auto top = Create("top", {middle});
    Store(bottom, "low"_id, "wood");
    Store(middle, "mid"_id, "wood");
    Store(top, "high"_id, "wood");

    Need(middle->SetAttribute(REPOSITORY_SKIPINSEARCH, Data(true)));
    EXPECT_THAT(List(top, {}, Id(), Id(), MODE::LATEST), ElementsAre("high#1", "low#1")) << "its bases are searched all the same";
    Need(middle->SetAttribute(REPOSITORY_SKIPINSEARCH, Data(false)));

    std::vector<std::string> met;
    Need(top->FindAssets({}, Id(), Id(), MODE::ALL_VERSIONS | MODE::ASK_REPOSITORY,
                         [&](const AssetFindItem& item) -> Result<Bool> {
                             const AssetRepositoryRef* repository = item.GetRepository();
                             met.emplace_back(repository ? (*repository)->GetId().GetView()
                                                         : (*item.GetDescription())->GetIdAndVersion().first.GetView());
                             return !repository || (*repository)->GetId() != "middle"_id;
                         }));
    EXPECT_THAT(met, ElementsAre("top", "high", "middle", "bottom", "low")) << "asked before its assets; no skips its own only";
}

TEST_P(RepositoryContract, renamedIdsAreFoundUnderTheNewOne) {
    const auto base = Create("base");
    const auto top = Create("top", {base});
    Store(base, "seat"_id, "wood");
    const auto rename = [](const Id& from, const Id& to) {
        return Delegate<Result<Id>(const Id&)>([from, to](const Id& id) -> Result<Id> { return id == from ? to : Id(); });
    };
    const ScopedRenaming first("test.z.first"_id, rename("chair"_id, "seat"_id));
    const ScopedRenaming second("test.a.second"_id, rename("chair"_id, "nowhere"_id));
    EXPECT_THAT(List(top, {}, "chair"_id, Id(), MODE::LATEST), ElementsAre("seat#1")) << "the one registered first answers";
    EXPECT_THAT(List(top, {}, "seat"_id, Id(), MODE::LATEST), ElementsAre("seat#1"));
    const ScopedRenaming failing("test.failing"_id, [](const Id&) -> Result<Id> { return UnknownError::Create("no list"); });
    EXPECT_THAT(top->FindLatestAsset(Id(), "other"_id, Id(), MODE::NONE), FailsWith<UnknownError>("no list"));
}

TEST_P(RepositoryContract, aWalkEndsWithItsJob) {
    const auto base = Create("base");
    const auto top = Create("top", {base});
    Store(base, "chair"_id, "wood");
    std::vector<Result<Bool>> results;
    const JobRef job = Need(JobQueue::GetDefaultQueue().Enqueue([&]() -> Result<void> {
        Job::GetCurrent()->Cancel();
        const auto count = [](const AssetFindItem&) -> Result<Bool> { return true; };
        results.push_back(top->FindAssets({}, Id(), Id(), MODE::LATEST | MODE::CANCELLABLE, count));
        results.push_back(top->FindAssets({}, Id(), Id(), MODE::LATEST, count));
        return OK;
    }));
    Need(job->Wait());
    ASSERT_EQ(results.size(), 2U);
    EXPECT_THAT(results[0], FailsWith<OperationCancelledError>());
    EXPECT_THAT(results[1], Succeeds()) << "only walks that ask for it";
}

TEST_P(RepositoryContract, theReceiverEndsTheWalkAndMayUseTheRepository) {
    const auto repository = Create("repository");
    for (const Id& id : {Id("a"_id), Id("b"_id), Id("c"_id)}) Store(repository, id, "wood");
    for (const MODE mode : {MODE::LATEST, MODE::LATEST | MODE::WITHOUT_BASES}) {
        Int count = 0;
        EXPECT_FALSE(Need(
            FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription&) -> Result<Bool> { return ++count < 2; })));
        EXPECT_EQ(count, 2);
        EXPECT_THAT(FindAssets(repository, {}, Id(), Id(), mode,
                               [](const AssetDescription&) -> Result<Bool> { return UnknownError::Create("mine"); }),
                    FailsWith<UnknownError>("mine"));
    }
    Int met = 0;
    Need(FindAssets(repository, {}, Id(), Id(), MODE::ALL_VERSIONS, [&](const AssetDescription& found) -> Result<Bool> {
        ++met;
        Need(repository->StoreAsset(found->GetIdAndVersion().first, File("again"), nullptr));
        return true;
    }));
    EXPECT_EQ(met, 3) << "a walk sees the versions that were there when it came to the id";
    EXPECT_EQ(ListAll(repository).size(), 6U);
}

TEST_P(RepositoryContract, lookingForOneAssetNeedsAnId) {
    const auto repository = Create("repository");
    EXPECT_THAT(repository->FindLatestAsset(Id(), Id(), Id(), MODE::NONE),
                FailsWith<IllegalArgumentError>("Asset ID cannot be null."));
    EXPECT_FALSE(FindLatest(repository, "chair"_id)) << "nothing found is null, no error";
}

TEST_P(RepositoryContract, descriptionsAreThoseOfItsOwnLoadedVersions) {
    const auto repository = Create("repository");
    const AssetDescription stored = Store(repository, "chair"_id, "wood");
    const Asset asset = Need(stored->Load(false));
    EXPECT_EQ(Need(repository->GetDescription(asset)), stored);
    const AssetDescription foreign = Store(Create("other"), "desk"_id, "wood");
    EXPECT_THAT(
        repository->GetDescription(foreign),
        FailsWith<IllegalArgumentError>("No asset description for desk/" + GetVersionId(1, "wood") + " found in repository."));
    EXPECT_THAT(repository->GetDescription(nullptr), FailsWith<IllegalArgumentError>("found in repository."));
}

TEST_P(RepositoryContract, versionsCompareByTheirKeys) {
    const auto repository = Create("repository");
    const AssetDescription first = Store(repository, "chair"_id, "1");
    const AssetDescription second = Store(repository, "chair"_id, "2");
    const AssetDescription desk = Store(repository, "desk"_id, "3");
    AssetDescription::Parts parts;
    parts.identity = {"chair"_id, g_newVersion};
    const AssetDescription newest = Need(AssetDescription::Create(repository, parts));
    const Asset plain = Need(Need(first->Load(false))->Clone());
    const Asset updated = Need(plain->Clone());
    updated->SetId(first->GetIdAndVersion(), 1, repository, Url());
    struct Case {
        AssetBase first;
        AssetBase second;
        COMPARERESULT expected;
        const char* why;
    };
    const Case cases[] = {
        {first, second, COMPARERESULT::LESS, "older"},
        {second, first, COMPARERESULT::GREATER, "newer"},
        {first, first, COMPARERESULT::EQUAL, "one version"},
        {first, desk, COMPARERESULT::INCOMPARABLE, "two assets"},
        {newest, second, COMPARERESULT::GREATER, "the version found now is newer than any stored one"},
        {second, newest, COMPARERESULT::LESS, "and the other way round"},
        {plain, second, COMPARERESULT::LESS, "an asset counts as its description"},
        {plain, updated, COMPARERESULT::LESS, "one version: the updates count"},
        {updated, first, COMPARERESULT::EQUAL, "a description has no updates"},
    };
    for (const Case& c : cases) EXPECT_EQ(Need(repository->CompareVersions(c.first, c.second)), c.expected) << c.why;
}

}  // namespace talvo
