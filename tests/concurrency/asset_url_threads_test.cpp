// One url is opened on several threads while assets come and go below the repository that it is looked up in.
#include "asset_scheme/register_schemes.h"
#include "kernel/io/file_utilities.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"
#include "support/stress_threads.h"

namespace talvo {
namespace {

TEST(AssetUrlThreads, EachOpeningReadsAWholeVersionAndEachPlaceIsFoundAtOnce) {
    constexpr Int ROUNDS = 60;
    const ScratchDirectory scratch;
    const auto base = Need(MemoryAssetRepository::Create("base"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    const AssetRepositoryRef bases[] = {base};
    const auto top = Need(MemoryAssetRepository::Create("top"_id, bases, MemoryAssetRepository::ACCESS::WRITABLE));
    Need(base->StoreAsset("chair"_id, MakeFileAsset(scratch, "first", "wood"), nullptr));
    Need(RegisterAssetUrlSchemes());
    AssetInterface::SetUserPrefsRepository(top);
    const Url url = Need(Url::Parse("asset:///chair"));
    const Url scoped = Need(AssetInterface::AddRepositoryScope(url, top));
    std::vector<StressWork> works;
    for (Int i = 0; i < 2; ++i) {
        works.push_back({"reader", [&] {
                             for (Int round = 0; round < ROUNDS; ++round) {
                                 EXPECT_EQ(Need(FileUtilities::ReadFileToMemory(url, 100)), "wood");
                                 EXPECT_EQ(Need(FileUtilities::ReadFileToMemory(scoped, 100)), "wood");
                                 NoteStressStep();
                             }
                         }});
        works.push_back({"writer", [&, i] {
                             const Asset file = MakeFileAsset(scratch, "file" + std::to_string(i), "wood");
                             const Id own = MakeId("own" + std::to_string(i));
                             for (Int round = 0; round < ROUNDS; ++round) {
                                 Need(base->StoreAsset("chair"_id, file, nullptr));
                                 const AssetDescription stored = Need(base->StoreAsset(own, file, nullptr));
                                 const AssetDescription found =
                                     Need(AssetInterface::ResolveAsset(NeedRef(stored->GetUrl()), top));
                                 EXPECT_TRUE(stored.IsEqual(found)) << "what this thread has stored, it finds";
                                 NoteStressStep();
                             }
                         }});
    }
    RunStress(std::move(works));
    AssetInterface::SetUserPrefsRepository(nullptr);
    UnregisterAssetUrlSchemes();
}

}  // namespace
}  // namespace talvo
