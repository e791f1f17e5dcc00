// The engine under several threads: bounded in count, so that the thread sanitizer sees every pair of operations and no clock decides.
#include "assets.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "memoryassetrepository.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace talvo {
namespace {

constexpr int ROUNDS = 60;

class EngineStress : public testing::Test {
protected:
    EngineStress()
        : _volume(MUST(MemoryVolume::Create())), _repository(MUST(MemoryAssetRepository::Create("stress"_id, {}, WRITABLE))) {}

    Asset MakePayload(const std::string& content) {
        const Url url = _volume->GetRoot() + ("payload" + std::to_string(_payloads++));
        MUST(FileUtilities::WriteFileFromMemory(url, content));
        return Asset(MUST(FileAsset::Create(url)));
    }
    AssetDescription Store(const Id& id, const std::string& content) {
        return MUST(_repository->StoreAsset(id, MakePayload(content), {}));
    }
    std::vector<AssetDescription> GetVersions(const Id& id) {
        std::vector<AssetDescription> versions;
        MUST(FindAssets(AssetRepositoryRef(_repository), {}, id, {},
                        ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::WITH_DELETED,
                        [&](const AssetDescription& found) -> Result<Bool> {
                            versions.push_back(found);
                            return true;
                        }));
        return versions;
    }
    static void Run(std::vector<std::function<void()>> works) {
        std::vector<std::thread> threads;
        for (auto& work : works) threads.emplace_back(std::move(work));
        for (std::thread& thread : threads) thread.join();
    }

    static constexpr auto WRITABLE = MemoryAssetRepository::ACCESS::WRITABLE;
    std::atomic<int> _payloads{0};
    const MemoryVolumeRef _volume;
    const BaseAssetRepositoryRef _repository;
};

TEST_F(EngineStress, storesOfOneIdGetOneNumberEach) {
    const auto work = [&] {
        for (int i = 0; i < ROUNDS; ++i) Store("one"_id, std::to_string(i));
    };
    Run({work, work, work, work});
    std::set<UInt> counters;
    UInt lastTime = UINT64_MAX;
    for (const AssetDescription& version : GetVersions("one"_id)) {
        counters.insert(version.GetVersionKey().counter);
        EXPECT_LT(version.GetVersionKey().time, lastTime) << "each version is later than the one before it";
        lastTime = version.GetVersionKey().time;
    }
    EXPECT_EQ(counters.size(), std::size_t(4 * ROUNDS));
    EXPECT_EQ(*counters.rbegin(), UInt(4 * ROUNDS));
}

TEST_F(EngineStress, lookupsNeverSeeLessThanWhatWasAcknowledged) {
    Store("seen"_id, "first");
    std::atomic<UInt> acknowledged{1};
    std::atomic<Bool> done{false};
    const auto writer = [&] {
        for (int i = 0; i < ROUNDS; ++i) {
            const AssetDescription stored = Store("seen"_id, std::to_string(i));
            acknowledged = stored.GetVersionKey().counter;
            if (i % 3 == 0) MUST(_repository->OverwriteAsset("seen"_id, MakePayload("over"), {}));
            MUST(_repository->StoreMetaData(stored, "a.b"_id, Data(Int(i)), ASSET_METADATA_KIND::PERSISTENT));
        }
        done = true;
    };
    const auto reader = [&] {
        while (!done) {
            const UInt before = acknowledged;
            const AssetDescription latest = MUST(_repository->FindLatestAsset({}, "seen"_id, {}, ASSET_FIND_MODE::NONE));
            ASSERT_TRUE(latest);
            ASSERT_GE(latest.GetVersionKey().counter, before);
            MUST(latest->GetMetaData().Get<Int>("a.b"_id));
            ASSERT_FALSE(MUST(latest->GetMetaString(OBJECT_BASE_NAME, nullptr, {})).IsEmpty());
        }
    };
    Run({writer, reader, reader});
}

TEST_F(EngineStress, erasesDeletesAndStoresOfOneIdLeaveAConsistentTable) {
    const auto store = [&] {
        for (int i = 0; i < ROUNDS; ++i) Store("churn"_id, std::to_string(i));
    };
    const auto erase = [&] {
        for (int i = 0; i < 2 * ROUNDS; ++i) {
            for (const AssetDescription& version : GetVersions("churn"_id)) {
                _repository->EraseAsset(version).Ignore("another thread may have erased it first");
            }
        }
    };
    const auto deletion = [&] {
        for (int i = 0; i < ROUNDS; ++i) {
            const auto deleted = _repository->DeleteAsset("churn"_id);
            ASSERT_TRUE(deleted.IsOk() || deleted.GetError()->GetMessage().starts_with("No asset to delete"));
        }
    };
    Run({store, erase, deletion});
    std::set<UInt> counters;
    for (const AssetDescription& version : GetVersions("churn"_id)) {
        EXPECT_TRUE(counters.insert(version.GetVersionKey().counter).second);
        MUST(_repository->EraseAsset(version));
    }
    EXPECT_TRUE(GetVersions("churn"_id).empty());
    EXPECT_EQ(Store("churn"_id, "again").GetVersionKey().counter, 1u) << "an erased id begins anew";
}

TEST_F(EngineStress, edgesComeAndGoWhileEventsRunUpTheGraph) {
    const AssetRepositoryRef below(_repository);
    const BaseAssetRepositoryRef above = MUST(MemoryAssetRepository::Create("above"_id, {}, WRITABLE));
    std::atomic<int> heard{0};
    above->ObservableAssetStored(true)->AddObserver([&](const AssetBase&) -> Result<void> {
        ++heard;
        return OK;
    });
    const auto edges = [&] {
        for (int i = 0; i < 4 * ROUNDS; ++i) {
            MUST(above->AddBase(below));
            MUST(above->RemoveBase(below));
        }
    };
    const auto shortLived = [&] {
        for (int i = 0; i < ROUNDS; ++i)
            MUST(MemoryAssetRepository::Create("short"_id, Block<const AssetRepositoryRef>(&below, 1), WRITABLE));
    };
    const auto stores = [&] {
        for (int i = 0; i < ROUNDS; ++i) Store("edge"_id, std::to_string(i));
    };
    Run({edges, shortLived, stores});
    MUST(above->AddBase(below));
    heard = 0;
    Store("edge"_id, "last");
    EXPECT_EQ(heard, 1);
}

TEST_F(EngineStress, twoEdgesThatWouldCloseACycleDontBothComeToBe) {
    for (int i = 0; i < ROUNDS; ++i) {
        const AssetRepositoryRef first(MUST(MemoryAssetRepository::Create("first"_id, {}, WRITABLE)));
        const AssetRepositoryRef second(MUST(MemoryAssetRepository::Create("second"_id, {}, WRITABLE)));
        std::atomic<int> refused{0};
        const auto link = [&](const AssetRepositoryRef& self, const AssetRepositoryRef& base) {
            const Result<void> added = self->AddBase(base);
            if (added.IsError()) ++refused;
        };
        Run({[&] { link(first, second); }, [&] { link(second, first); }});
        EXPECT_EQ(refused, 1);
    }
}

TEST_F(EngineStress, oneCachedValueIsMadeOnceAndWaitedFor) {
    std::atomic<int> made{0};
    const auto ask = [&] {
        for (int i = 0; i < ROUNDS; ++i) {
            const Data value = MUST(_repository->GetCachedData(Data(Int(i)), [&]() -> Result<Data> {
                ++made;
                return Data(Int(i * 2));
            }));
            ASSERT_EQ(*value.GetPtr<Int>(), i * 2);
        }
    };
    Run({ask, ask, ask, ask});
    EXPECT_EQ(made, ROUNDS);
}

}  // namespace
}  // namespace talvo
