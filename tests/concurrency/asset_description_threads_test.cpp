// One description used by many threads: its url is looked up once at a time, and everybody gets one loaded asset.
#include "assets/asset_type.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"
#include "support/stress_threads.h"

#include <atomic>
#include <vector>

namespace talvo {

namespace {

constexpr Int THREADS = 8;
constexpr Int ROUNDS = 50;

/// A description of the stored note that knows no url yet and has loaded nothing.
AssetDescription MakeBare(const AssetRepositoryRef& repository, const AssetDescription& stored) {
    AssetDescription::Parts parts;
    parts.type = stored->GetTypeId();
    parts.identity = stored->GetIdAndVersion();
    parts.metaData = stored->GetMetaData();
    return Need(AssetDescription::Create(repository, std::move(parts)));
}

}  // namespace

TEST(AssetDescriptionThreads, allGetOneUrlAndOneAsset) {
    const auto repository = Need(MemoryAssetRepository::Create("repository"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    const Url url = NeedRef(stored->GetUrl());
    for (Int round = 0; round < ROUNDS; ++round) {
        const AssetDescription bare = MakeBare(repository, stored);
        std::vector<Asset> loaded(THREADS);
        std::atomic<Int> wrongUrls{0};
        RunStress(THREADS, [&](Int number) {
            const Result<const Url&> found = bare->GetUrl();
            if (found.IsError() || found.GetValue() != url) ++wrongUrls;
            loaded[std::size_t(number)] = bare->Load(number % 2 == 0).GetValueOr(Asset());
        });
        EXPECT_EQ(wrongUrls, 0);
        for (std::size_t i = 2; i < loaded.size(); ++i)
            EXPECT_EQ(loaded[i], loaded[i - 2]) << "one asset for each way of loading";
        EXPECT_TRUE(loaded[0] && loaded[1]);
        EXPECT_NE(loaded[0], loaded[1]);
    }
}

TEST(AssetDescriptionThreads, theRepositoryMayGoWhileTheUrlIsLookedUp) {
    for (Int round = 0; round < ROUNDS; ++round) {
        auto repository = Need(MemoryAssetRepository::Create("repository"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
        AssetDescription stored = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
        const Url url = NeedRef(stored->GetUrl());
        const AssetDescription bare = MakeBare(repository, stored);
        stored = nullptr;
        std::atomic<Int> wrong{0};
        RunStress(THREADS, [&](Int number) {
            if (number == 0) {
                repository = nullptr;
                return;
            }
            const Result<const Url&> found = bare->GetUrl();
            const Bool gone = found.IsError() && NullptrError::IsClassOf(found.GetError());
            if (!gone && (found.IsError() || found.GetValue() != url)) ++wrong;
        });
        EXPECT_EQ(wrong, 0) << "the url or the news that the repository has gone";
    }
}

}  // namespace talvo
