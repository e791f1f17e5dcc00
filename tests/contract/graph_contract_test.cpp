#include "assets/asset_repository_decorators.h"
#include "contract/repository_contract.h"

namespace talvo {

using testing::ElementsAre;
using testing::IsEmpty;

INSTANTIATE_TEST_SUITE_P(Every, RepositoryContract, testing::Values(BACKEND::MEMORY, BACKEND::DISK),
                         [](const auto& backend) { return backend.param == BACKEND::MEMORY ? "memory" : "disk"; });

TEST_P(RepositoryContract, aBaseCountsOnceAndEachChangeIsToldOnce) {
    const auto base = Create("base");
    const auto top = Create("top");
    EventRecorder events(top);
    Need(top->AddBase(base));
    Need(top->AddBase(base));
    EXPECT_EQ(top->GetBases().GetCount(), 1);
    EXPECT_THAT(events.Take(), ElementsAre("base + base at top"));
    Need(top->RemoveBase(base));
    Need(top->RemoveBase(base));
    EXPECT_EQ(top->GetBases().GetCount(), 0);
    EXPECT_THAT(events.Take(), ElementsAre("base - base at top"));
}

TEST_P(RepositoryContract, whatCanBeNoBaseIsRefused) {
    constexpr const char* FOREIGN = "The given base repository has no RepositoryBaseClass component.";
    const auto bottom = Create("bottom");
    const auto middle = Create("middle", {bottom});
    const auto top = Create("top", {middle});
    const AssetRepositoryRef decorator(StrongRef<WeakAssetRepositoryDecorator>::Create(bottom));

    EXPECT_THAT(top->AddBase(nullptr), FailsWith<IllegalArgumentError>(FOREIGN));
    EXPECT_THAT(top->AddBase(decorator), FailsWith<IllegalArgumentError>(FOREIGN));
    EXPECT_THAT(top->RemoveBase(decorator), FailsWith<IllegalArgumentError>(FOREIGN));
    EXPECT_THAT(top->AddBase(top), FailsWith<IllegalArgumentError>()) << "a ring of one";
    EXPECT_THAT(middle->AddBase(top), FailsWith<IllegalArgumentError>()) << "a ring of two";
    EXPECT_THAT(bottom->AddBase(top), FailsWith<IllegalArgumentError>()) << "a ring of three";
    EXPECT_EQ(bottom->GetBases().GetCount(), 0) << "a refused base leaves no edge";
    EXPECT_FALSE(bottom->FindRepository("top"_id));
}

TEST_P(RepositoryContract, basesAreSetOnlyBeforeThereAreEdges) {
    constexpr const char* HAS_EDGES = "Illegal state: Condition w->IsEmpty() && _derived.Read()->IsEmpty() not fulfilled. ";
    const auto base = Create("base");
    const auto top = Create("top", {base});
    const std::vector<AssetRepositoryRef> other{Create("other")};
    EXPECT_THAT(top->InitBases(other), FailsWith<IllegalStateError>(HAS_EDGES)) << "it has a base";
    EXPECT_THAT(base->InitBases(other), FailsWith<IllegalStateError>(HAS_EDGES)) << "it has a derived repository";
}

TEST_P(RepositoryContract, derivedRepositoriesAreKnownAsLongAsTheyLive) {
    const auto base = Create("base");
    const auto kept = Create("kept", {base});
    auto dropped = Create("dropped", {base});
    const auto last = Create("last", {base});
    const auto list = [&] {
        std::vector<std::string> ids;
        Need(base->GetDerived([&](const AssetRepositoryRef& repository) -> Result<Bool> {
            ids.emplace_back(repository->GetId().GetView());
            return true;
        }));
        return ids;
    };
    EXPECT_THAT(list(), ElementsAre("kept", "dropped", "last"));
    dropped = nullptr;
    EXPECT_THAT(list(), ElementsAre("kept", "last"));
    Need(last->RemoveBase(base));
    EXPECT_THAT(list(), ElementsAre("kept"));
    EXPECT_FALSE(Need(base->GetDerived([](const AssetRepositoryRef&) -> Result<Bool> { return false; })));
    EXPECT_THAT(base->GetDerived([](const AssetRepositoryRef&) -> Result<Bool> { return UnknownError::Create("stop"); }),
                FailsWith<UnknownError>("stop"));
}

TEST_P(RepositoryContract, aRepositoryIsFoundBelow) {
    const auto bottom = Create("bottom");
    const auto left = Create("left", {bottom});
    const auto right = Create("right", {bottom});
    const auto top = Create("top", {left, right});
    EXPECT_EQ(top->FindRepository("top"_id), top);
    EXPECT_EQ(top->FindRepository("right"_id), right);
    EXPECT_EQ(top->FindRepository("bottom"_id), bottom);
    EXPECT_FALSE(left->FindRepository("right"_id)) << "beside, not below";
    EXPECT_FALSE(top->FindRepository("nowhere"_id));
}

TEST_P(RepositoryContract, anEventGoesUpEachPathWithTheAssetsOwnRepository) {
    const auto bottom = Create("bottom");
    const auto left = Create("left", {bottom});
    const auto right = Create("right", {bottom});
    const auto top = Create("top", {left, right});
    EventRecorder there(bottom);
    EventRecorder events(top);
    const AssetDescription stored = Store(bottom, "chair"_id, "wood");
    const std::string line = "stored chair/" + GetVersionId(1, "wood") + " in bottom";
    EXPECT_THAT(there.Take(), ElementsAre(line));
    EXPECT_THAT(events.Take(), ElementsAre(line, line)) << "once for each of the two paths";
    Need(bottom->DeleteAsset("chair"_id));
    EXPECT_THAT(there.Take(), ElementsAre("erased chair/deleted in bottom"));
    Store(left, "desk"_id, "wood");
    EXPECT_THAT(there.Take(), IsEmpty()) << "events go up only";
}

TEST_P(RepositoryContract, cachedDataIsMadeOnceAndNotKeptAfterAnError) {
    const auto repository = Create("repository");
    const Data key(String("key"));
    EXPECT_THAT(repository->GetCachedData(key, []() -> Result<Data> { return UnknownError::Create("no"); }),
                FailsWith<UnknownError>("no"));
    Int made = 0;
    const auto make = [&]() -> Result<Data> { return Data(++made); };
    EXPECT_EQ(Need(repository->GetCachedData(key, make)), Data(Int(1)));
    EXPECT_EQ(Need(repository->GetCachedData(key, make)), Data(Int(1)));
    const Data other(String("other"));
    const auto askItself = [&]() -> Result<Data> { return repository->GetCachedData(other, make); };
    EXPECT_THAT(repository->GetCachedData(other, askItself), FailsWith<IllegalStateError>()) << "it would wait for itself";
}

namespace {

/// Counts what it is told.
class Listener : public DerivedAssetRepositoryDataInterface {
public:
    std::vector<std::string> lines;
    void HandleBaseChanged(const AssetRepositoryRef& repo, const AssetRepositoryRef& base, Bool) override {
        lines.push_back("base " + std::string(repo->GetId().GetView()) + " " + std::string(base->GetId().GetView()));
    }
    void HandleAssetStored(const AssetBase&) override { lines.emplace_back("stored"); }
    void HandleAssetErased(const AssetBase&) override { lines.emplace_back("erased"); }
    void HandleAssetUpdated(const AssetBase&) override { lines.emplace_back("updated"); }
    void HandleMetaDataStored(const AssetBase&, const InternedId&, ASSET_METADATA_KIND, const Data&, const Data&) override {
        lines.emplace_back("metadata");
    }
    void HandleDownloadStateChanged(const AssetRepositoryRef&, Bool) override { lines.emplace_back("download"); }
};

}  // namespace

TEST_P(RepositoryContract, derivedDataHearsWhatHappensBelow) {
    const auto base = Create("base");
    const auto top = Create("top");
    const auto listener = StrongRef<Listener>::Create();
    Need(top->GetCachedData(Data(Int(1)),
                            [&]() -> Result<DerivedAssetRepositoryDataRef> { return DerivedAssetRepositoryDataRef(listener); }));
    Need(top->AddBase(base));
    const AssetDescription chair = Store(base, "chair"_id, "wood");
    Need(base->StoreMetaData(chair, MakeMetaId("key"), Data(Int(1)), KIND::PERSISTENT));
    Need(base->EraseAsset(chair));
    base->HandleDownloadStateChanged(base, true);
    EXPECT_THAT(listener->lines, ElementsAre("base top base", "stored", "metadata", "erased", "download"));
}

TEST_P(RepositoryContract, aDecoratorStandsForItsRepositoryAsLongAsThatLives) {
    auto repository = Create("repository");
    const AssetRepositoryRef decorator(StrongRef<WeakAssetRepositoryDecorator>::Create(repository));
    Need(decorator->StoreAsset("chair"_id, File("wood"), nullptr));
    EXPECT_THAT(ListAll(decorator), ElementsAre("chair#1"));
    EXPECT_TRUE(decorator->IsWritable());
    repository = nullptr;
    EXPECT_EQ(decorator->GetId(), "repository"_id);
    EXPECT_FALSE(decorator->IsWritable());
    EXPECT_FALSE(decorator->FindRepository("repository"_id));
    EXPECT_THAT(decorator->FindLatestAsset(Id(), "chair"_id, Id(), MODE::NONE), FailsWith<NullptrError>("repository"));
}

TEST_P(RepositoryContract, attributesAreKeptAndRemovedByAnEmptyValue) {
    const auto repository = Create("repository");
    EXPECT_TRUE(repository->GetAttribute(REPOSITORY_SKIPINSEARCH).IsEmpty());
    Need(repository->SetAttribute(REPOSITORY_SKIPINSEARCH, Data(true)));
    EXPECT_EQ(repository->GetAttribute(REPOSITORY_SKIPINSEARCH), Data(true));
    Need(repository->SetAttribute(REPOSITORY_SKIPINSEARCH, Data()));
    EXPECT_TRUE(repository->GetAttribute(REPOSITORY_SKIPINSEARCH).IsEmpty());
}

}  // namespace talvo
