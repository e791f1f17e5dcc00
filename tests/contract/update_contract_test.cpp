#include "contract/repository_contract.h"

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

NoteLink LinkTo(const AssetDescription& target, ASSET_UPDATE_POLICY policy = ASSET_UPDATE_POLICY::EXPLICIT) {
    return {policy, target->GetIdAndVersion()};
}

/// "id <- updated updated", in the order of the records.
std::vector<std::string> GetPending(const UpdatableAssetRepositoryRef& repository, Bool reset) {
    std::vector<std::string> lines;
    for (const auto& [description, updates] : Need(repository->GetPendingUpdates(reset))) {
        std::vector<std::string> ids;
        for (const AssetDescription& update : updates) ids.emplace_back(update->GetIdAndVersion().first.GetView());
        std::string line(description->GetIdAndVersion().first.GetView());
        line += " <-";
        for (const std::string& id : Sorted(std::move(ids))) line += " " + id;
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace

TEST_P(RepositoryContract, whatRefersToANewVersionIsPendingInOrderOfDependency) {
    const auto repository = Create("repository");
    const auto store = [&](const Id& aid, std::string text, std::vector<NoteLink> links) {
        return Need(repository->StoreAsset(aid, MakeNote(std::move(text), std::move(links)), nullptr));
    };
    const AssetDescription wood = store("wood"_id, "oak", {});
    const AssetDescription leg = store("leg"_id, "leg", {LinkTo(wood)});
    const AssetDescription chair = store("chair"_id, "chair", {LinkTo(leg), LinkTo(wood)});
    const AssetDescription statue = store("statue"_id, "statue", {LinkTo(wood, ASSET_UPDATE_POLICY::NEVER)});
    Need(repository->GetPendingUpdates(true));

    const AssetDescription pine = store("wood"_id, "pine", {});
    const std::vector<std::string> expected{"leg <- wood", "chair <- leg wood"};
    EXPECT_EQ(GetPending(repository, false), expected) << "what follows no updates isn't there";
    EXPECT_EQ(GetPending(repository, false), expected) << "looking changes nothing";
    const auto records = Need(repository->GetPendingUpdates(true));
    EXPECT_THAT(GetPending(repository, false), IsEmpty());

    EventRecorder events(repository);
    Need(repository->Update(records));
    EXPECT_EQ(LoadNote(leg, true)->GetTargets(), ToText(pine->ToString())) << "the new target, in memory";
    EXPECT_EQ(LoadNote(leg, true)->GetUpdate(), 1);
    EXPECT_EQ(LoadNote(leg, false)->GetTargets(), ToText(wood->ToString())) << "the stored form is as it was";
    EXPECT_EQ(LoadNote(statue, true)->GetTargets(), ToText(wood->ToString()));
    EXPECT_THAT(events.Take(), ElementsAre("updated " + ToText(leg->ToString()) + " in repository",
                                           "updated " + ToText(chair->ToString()) + " in repository"));
    EXPECT_EQ(ListAll(repository).size(), 5U) << "an update adds no version";
}

TEST_P(RepositoryContract, aRingOfReferencesIsReported) {
    const auto repository = Create("repository");
    const AssetDescription egg = Need(repository->StoreAsset("egg"_id, MakeNote("egg", {}), nullptr));
    const AssetDescription hen = Need(repository->StoreAsset("hen"_id, MakeNote("hen", {LinkTo(egg)}), nullptr));
    Need(repository->StoreAsset("egg"_id, MakeNote("egg", {LinkTo(hen)}), nullptr));
    EXPECT_THAT(repository->GetPendingUpdates(false), FailsWith<IllegalArgumentError>("Circular node dependency involving "));
}

TEST_P(RepositoryContract, recordsOfOthersAreNoUpdates) {
    const auto repository = Create("repository");
    const auto other = Create("other");
    const AssetDescription note = Need(other->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const std::vector<AssetUpdateRecord> records{{note, {}}};
    EXPECT_THAT(repository->Update(records),
                FailsWith<UnexpectedError>(
                    "Assertion failed: Condition d.GetRepository() == self && aid.second == g_newVersion not fulfilled. "));
}

TEST_P(RepositoryContract, oneReferenceTakesOneUpdate) {
    const auto repository = Create("repository");
    const AssetDescription first = Store(repository, "wood"_id, "1");
    const AssetDescription note = Need(repository->StoreAsset("note"_id, MakeNote("text", {LinkTo(first)}), nullptr));
    const AssetDescription second = Store(repository, "wood"_id, "2");
    const AssetDescription third = Store(repository, "wood"_id, "3");
    const Asset asset = Need(note->Load(false));
    const auto ask = [&](std::vector<AssetDescription> updated) {
        std::vector<std::string> met;
        const Result<Bool> result =
            asset->GetPendingUpdates(updated, [&](const AssetReference& reference, const AssetBase& update) -> Result<Bool> {
                met.push_back(ToText(reference->GetPath()) + " " + ToText(update->ToString()));
                return true;
            });
        return std::pair(result, met);
    };
    EXPECT_THAT(ask({third}).second, ElementsAre("link 0 " + ToText(third->ToString())));
    EXPECT_THAT(ask({first}).second, IsEmpty()) << "it is the target already";
    EXPECT_THAT(ask({note}).second, IsEmpty()) << "another asset";
    EXPECT_THAT(ask({second, third}).first, FailsWith<IllegalArgumentError>("Ambiguous update."));
}

TEST_P(RepositoryContract, anUpdateIsTakenOnlyFromWhereTheReferringAssetCanBeReached) {
    const auto base = Create("base");
    const auto top = Create("top", {base});
    const auto beside = Create("beside");
    const AssetDescription wood = Store(base, "wood"_id, "1");
    const AssetDescription note = Need(base->StoreAsset("note"_id, MakeNote("text", {LinkTo(wood)}), nullptr));
    const Asset asset = Need(note->Load(false));
    const auto countFrom = [&](const AssetRepositoryRef& repository) {
        Int count = 0;
        Store(repository, "wood"_id, "first");  // numbers of different repositories may be equal
        const std::vector<AssetDescription> updated{Store(repository, "wood"_id, "second")};
        Need(asset->GetPendingUpdates(updated,
                                      [&](const AssetReference&, const AssetBase&) -> Result<Bool> { return ++count > 0; }));
        return count;
    };
    EXPECT_EQ(countFrom(base), 1);
    EXPECT_EQ(countFrom(top), 1) << "it sees the base";
    EXPECT_EQ(countFrom(beside), 0);
}

}  // namespace talvo
