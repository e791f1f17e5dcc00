// The engine under several threads: bounded in count, so that the thread sanitizer sees every pair of operations and no clock decides.
#include "contract/repository_contract.h"
#include "kernel/thread/job.h"
#include "support/stress_threads.h"

#include <atomic>
#include <map>
#include <mutex>
#include <set>

namespace talvo {
namespace {

constexpr Int ROUNDS = 120;

class EngineStress : public RepositoryContract {
protected:
    EngineStress() : _repository(Create("stress")) {}

    AssetDescription StoreNew(const Id& id, const std::string& content) {
        NoteStressStep();
        return Store(_repository, id, content, "payload" + std::to_string(_payloads++));
    }
    AssetDescription Store(const AssetRepositoryRef& repository, const Id& id, const std::string& content,
                           const std::string& file) const {
        return Need(repository->StoreAsset(id, File(content, file), nullptr));
    }
    std::vector<AssetDescription> GetVersions(const Id& id) const {
        std::vector<AssetDescription> versions;
        Need(FindAssets(_repository, {}, id, {}, MODE::ALL_VERSIONS | MODE::WITH_DELETED,
                        [&](const AssetDescription& found) -> Result<Bool> {
                            versions.push_back(found);
                            return true;
                        }));
        return versions;
    }

    const UpdatableAssetRepositoryRef _repository;
    std::atomic<Int> _payloads{0};
};

TEST_P(EngineStress, storesOfOneIdGetANumberEachAndKeepTheirBytes) {
    std::mutex mutex;
    std::map<UInt, std::string> stored;
    RunStress(4, [&](Int thread) {
        for (Int i = 0; i < ROUNDS; ++i) {
            const std::string content = std::to_string(thread) + "." + std::to_string(i);
            const UInt number = StoreNew("one"_id, content).GetVersionKey().counter;
            const std::lock_guard lock(mutex);
            EXPECT_TRUE(stored.emplace(number, content).second) << number << " was given out twice";
        }
    });
    EXPECT_EQ(stored.size(), std::size_t(4 * ROUNDS));
    EXPECT_EQ(stored.rbegin()->first, UInt(4 * ROUNDS)) << "no number is left out";
    UInt lastTime = UINT64_MAX;
    for (const AssetDescription& version : GetVersions("one"_id)) {
        EXPECT_EQ(ReadPayload(version), stored[version.GetVersionKey().counter]);
        EXPECT_LT(version.GetVersionKey().time, lastTime) << "each version is later than the one before it";
        lastTime = version.GetVersionKey().time;
    }
}

/// What a lookup of the newest version gives after each step of a fixed sequence of changes: the version's number, 0 for
/// none, and a value that is set now and then and follows from version to version.
struct SeenState {
    UInt number = 0;
    Int value = 0;
    friend bool operator==(const SeenState&, const SeenState&) = default;
};

TEST_P(EngineStress, lookupsNeverSeeLessThanWhatWasAcknowledged) {
    const Id id = "seen"_id;
    enum STEP { STORE, OVERWRITE, SET, DELETE, ERASE };
    constexpr STEP STEPS[] = {STORE, SET, STORE, OVERWRITE, SET, ERASE, STORE, SET, DELETE, STORE};
    // The states in advance: what holds before and after each step.
    std::vector<SeenState> states{{}};
    std::vector<SeenState> versions;  // as they lie in the repository; a deletion mark has value -1
    for (Int i = 0; i < ROUNDS; ++i) {
        const STEP step = STEPS[i % std::size(STEPS)];
        const SeenState last = versions.empty() ? SeenState() : versions.back();
        const Bool deleted = last.value < 0;
        const Int carried = deleted ? 0 : last.value;
        if (step == STORE) versions.push_back({last.number + 1, carried});
        if (step == SET) versions.back().value = i;
        if (step == DELETE) versions.push_back({last.number + 1, -1});
        if (step == ERASE) versions.pop_back();
        const Bool none = versions.empty() || versions.back().value < 0;
        states.push_back(none ? SeenState() : versions.back());
    }
    std::atomic<std::size_t> acknowledged{0};
    const auto write = [&] {
        for (Int i = 0; i < ROUNDS; ++i) {
            NoteStressStep();
            const auto newest = [&] { return FindLatest(_repository, id); };
            switch (STEPS[i % std::size(STEPS)]) {
                case STORE: {
                    const AssetDescription before = newest();
                    const Asset asset = File("stored", "payload" + std::to_string(_payloads++));
                    if (before) asset->SetMetaData(before->GetMetaData());
                    Need(_repository->StoreAsset(id, asset, nullptr));
                    break;
                }
                case OVERWRITE: {
                    const Asset asset = File("overwritten", "payload" + std::to_string(_payloads++));
                    asset->SetMetaData(newest()->GetMetaData());
                    Need(_repository->OverwriteAsset(id, asset, nullptr));
                    break;
                }
                case SET: Need(newest().StoreMetaData(MakeMetaId("value"), Data(i), KIND::PERSISTENT)); break;
                case DELETE: Need(_repository->DeleteAsset(id)); break;
                case ERASE: Need(_repository->EraseAsset(newest())); break;
            }
            ++acknowledged;
        }
    };
    const auto read = [&] {
        while (acknowledged < std::size_t(ROUNDS)) {
            NoteStressStep();
            const std::size_t before = acknowledged;
            const AssetDescription found = FindLatest(_repository, id);
            SeenState seen;
            if (found) {
                const Opt<Int> value = Need(found->GetMetaData().Get<Int>(MakeMetaId("value")));
                seen = {found.GetVersionKey().counter, value.value_or(0)};
            }
            // One more than is acknowledged may be done already.
            const std::size_t after = std::min(acknowledged + 1, states.size() - 1);
            const auto begin = states.begin() + std::ptrdiff_t(before);
            EXPECT_NE(std::find(begin, states.begin() + std::ptrdiff_t(after) + 1, seen),
                      states.begin() + std::ptrdiff_t(after) + 1)
                << "#" << seen.number << " with " << seen.value << " between " << before << " and " << after;
        }
    };
    const auto others = [&] {
        for (Int i = 0; i < ROUNDS; ++i) StoreNew(MakeId("other" + std::to_string(i)), "other");
    };
    RunStress({{"writer", write}, {"first reader", read}, {"second reader", read}, {"stores of other ids", others}});
}

TEST_P(EngineStress, erasesDeletesAndStoresOfOneIdLeaveAConsistentTable) {
    const auto store = [&] {
        for (Int i = 0; i < ROUNDS; ++i) StoreNew("churn"_id, std::to_string(i));
    };
    const auto erase = [&] {
        for (Int i = 0; i < 2 * ROUNDS; ++i) {
            NoteStressStep();
            for (const AssetDescription& version : GetVersions("churn"_id)) {
                _repository->EraseAsset(version).Ignore("another thread may have erased it first");
            }
        }
    };
    const auto deletion = [&] {
        for (Int i = 0; i < ROUNDS; ++i) {
            NoteStressStep();
            const auto deleted = _repository->DeleteAsset("churn"_id);
            EXPECT_TRUE(deleted.IsOk() || deleted.GetError()->GetMessage().starts_with("No asset to delete"))
                << deleted.GetError()->GetMessage();
        }
    };
    RunStress({{"stores", store}, {"erases", erase}, {"deletions", deletion}});
    std::set<UInt> numbers;
    for (const AssetDescription& version : GetVersions("churn"_id)) {
        EXPECT_TRUE(numbers.insert(version.GetVersionKey().counter).second);
        if (!version->IsDeleted()) {
            EXPECT_NE(ReadPayload(version), "(none)");
        }
        Need(_repository->EraseAsset(version));
    }
    EXPECT_TRUE(GetVersions("churn"_id).empty());
}

TEST_P(EngineStress, edgesComeAndGoWhileEventsAndLookupsRunThroughTheGraph) {
    const AssetRepositoryRef below(_repository);
    const UpdatableAssetRepositoryRef above = Create("above");
    std::atomic<Int> heard{0};
    above->ObservableAssetStored(true)->AddObserver([&](const AssetBase&) -> Result<void> {
        ++heard;
        return OK;
    });
    const auto edges = [&] {
        for (Int i = 0; i < 4 * ROUNDS; ++i) {
            NoteStressStep();
            Need(above->AddBase(below));
            Need(above->RemoveBase(below));
        }
    };
    const auto shortLived = [&] {
        for (Int i = 0; i < ROUNDS; ++i) {
            NoteStressStep();
            const AssetRepositoryRef over(Need(MemoryAssetRepository::Create(
                "short"_id, Block<const AssetRepositoryRef>(&below, 1), MemoryAssetRepository::ACCESS::WRITABLE)));
            FindLatest(over, "edge"_id);
        }
    };
    const auto stores = [&] {
        for (Int i = 0; i < ROUNDS; ++i) StoreNew("edge"_id, std::to_string(i));
    };
    const auto lookups = [&] {
        UInt seen = 0;
        for (Int i = 0; i < 4 * ROUNDS; ++i) {
            NoteStressStep();
            const AssetDescription found = FindLatest(above, "edge"_id);
            if (!found) continue;  // there is no edge just now
            EXPECT_GE(found.GetVersionKey().counter, seen);
            seen = found.GetVersionKey().counter;
        }
    };
    RunStress({{"edges", edges}, {"short-lived", shortLived}, {"stores", stores}, {"lookups", lookups}});
    Need(above->AddBase(below));
    heard = 0;
    StoreNew("edge"_id, "last");
    EXPECT_EQ(heard, 1);
}

TEST_P(EngineStress, observersComeAndGoAndStoreAgainWhileEventsRun) {
    std::atomic<Int> depth{0};
    const auto observe = [&] {
        for (Int i = 0; i < ROUNDS; ++i) {
            NoteStressStep();
            const auto token = _repository->ObservableAssetStored(true)->AddObserver([&](const AssetBase& asset) -> Result<void> {
                // A store out of an event, also of another id, meets no lock that the event came with.
                if (depth.fetch_add(1) < ROUNDS) StoreNew("from-event"_id, "again");
                EXPECT_TRUE(asset->GetIdAndVersion().first.IsPopulated());
                return OK;
            });
            _repository->ObservableAssetStored(true)->RemoveObserver(token);
        }
    };
    const auto store = [&] {
        for (Int i = 0; i < ROUNDS; ++i) StoreNew("observed"_id, std::to_string(i));
    };
    RunStress({{"observers", observe}, {"stores", store}, {"more stores", store}});
    EXPECT_EQ(GetVersions("observed"_id).size(), std::size_t(2 * ROUNDS));
}

TEST_P(EngineStress, theLastReferenceGoesWhileOthersLookAndJobsStore) {
    for (Int round = 0; round < ROUNDS / 4; ++round) {
        const std::string name = "going" + std::to_string(round);
        AssetRepositoryRef repository(Create(name));
        const WeakRef<AssetRepositoryInterface> weak(repository.GetPointer());
        const JobQueueRef queue = Need(JobQueue::Create(2));
        const AssetDescription stored = Store(repository, "kept"_id, "bytes", "kept" + std::to_string(round));
        // The job holds the last reference in the end, and destroys the repository from inside of itself.
        const auto jobs = [&] {
            for (Int i = 0; i < 4; ++i) {
                Need(queue->Enqueue([this, own = repository, i, round]() -> Result<void> {
                    Store(own, "job"_id, "bytes", "job" + std::to_string(round) + "." + std::to_string(i));
                    return OK;
                }));
            }
            repository = nullptr;
        };
        const auto look = [&] {
            for (Int i = 0; i < 50; ++i) {
                NoteStressStep();
                const AssetRepositoryRef mine = weak.Promote();
                if (!mine) break;
                EXPECT_TRUE(FindLatest(mine, "kept"_id));
            }
            EXPECT_TRUE(stored->GetRepositoryId().IsPopulated()) << "a description outlives its repository";
        };
        RunStress({{"jobs", jobs}, {"lookups", look}, {"more lookups", look}});
    }
}

TEST_P(EngineStress, twoEdgesThatWouldCloseACycleDontBothComeToBe) {
    for (Int i = 0; i < ROUNDS; ++i) {
        const auto access = MemoryAssetRepository::ACCESS::WRITABLE;
        const AssetRepositoryRef first(Need(MemoryAssetRepository::Create("first"_id, {}, access)));
        const AssetRepositoryRef second(Need(MemoryAssetRepository::Create("second"_id, {}, access)));
        std::atomic<Int> refused{0};
        RunStress(2, [&](Int thread) {
            const Result<void> added = thread == 0 ? first->AddBase(second) : second->AddBase(first);
            if (added.IsError()) ++refused;
        });
        EXPECT_EQ(refused, 1);
        if (GetParam() == BACKEND::DISK) break;  // nothing here is of the disk
    }
}

TEST_P(EngineStress, oneCachedValueIsMadeOnceAndWaitedFor) {
    std::atomic<Int> made{0};
    RunStress(4, [&](Int) {
        for (Int i = 0; i < ROUNDS; ++i) {
            NoteStressStep();
            const Data value = Need(_repository->GetCachedData(Data(i), [&]() -> Result<Data> {
                ++made;
                return Data(i * 2);
            }));
            EXPECT_EQ(*value.GetPtr<Int>(), i * 2);
        }
    });
    EXPECT_EQ(made, ROUNDS);
}

INSTANTIATE_TEST_SUITE_P(Every, EngineStress, testing::Values(BACKEND::MEMORY, BACKEND::DISK),
                         [](const auto& info) { return info.param == BACKEND::MEMORY ? "memory" : "disk"; });

}  // namespace
}  // namespace talvo
