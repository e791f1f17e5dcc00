// Keywords of one asset and the defaults of all subtypes, changed by many threads: no change takes another one back.
#include "keyword_asset.h"

#include "kernel/app/application.h"
#include "memoryassetrepository.h"
#include "subtype_asset.h"
#include "support/asset_preset_support.h"
#include "support/stress_threads.h"

#include <atomic>

namespace talvo {

namespace {

constexpr Int THREADS = 6;
constexpr Int ROUNDS = 20;

BaseAssetRepositoryRef MakeRepository() {
    return Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
}

}  // namespace

TEST(KeywordThreads, loseNoKeywordAndPutNoneOnTwice) {
    const auto repository = MakeRepository();
    const AssetDescription asset = Need(repository->StoreAsset("asset"_id, MakeNote("text", {}), nullptr));
    const auto keyword = Need(KeywordAssetInterface::Create());
    const AssetDescription shared = Need(repository->StoreAsset("shared"_id, Asset(StrongRef<AssetInterface>(keyword)), nullptr));
    std::atomic<Int> added{0};
    RunStress(THREADS, [&](Int number) {
        const Id own = MakeId("own" + std::to_string(number));
        for (Int round = 0; round < ROUNDS; ++round) {
            Need(KeywordAssetInterface::AddKeyword(asset, MakeId("k" + std::to_string(number * ROUNDS + round)), true, nullptr));
            Need(KeywordAssetInterface::AddKeyword(asset, own, false, nullptr));
            if (Need(KeywordAssetInterface::AddKeyword(asset, "shared"_id, number % 2 == 0, repository))) ++added;
            if (Need(KeywordAssetInterface::RemoveKeyword(asset, "shared"_id, number % 2 == 0))) --added;
            EXPECT_TRUE(Need(KeywordAssetInterface::RemoveKeyword(asset, own, false)));
            NoteStressStep();
        }
    });
    const auto getCount = [&](const LiteralId& key) {
        const auto list = Need(asset->GetMetaData().Get<BaseArray<Id>>(InternedId(key)));
        return list ? list->GetCount() : 0;
    };
    EXPECT_EQ(getCount(ASSETMETADATA::USERKEYWORDS) + getCount(ASSETMETADATA::KEYWORDS), THREADS * ROUNDS + added);
    EXPECT_EQ(Need(KeywordAssetInterface::HasKeyword(asset, "shared"_id)).IsPopulated(), added == 1);
}

TEST(KeywordThreads, chooseDefaultsOfTheirSubtypesAndKeepThoseOfOthers) {
    const ScratchDirectory scratch;
    Application::SetHome(scratch.GetUrl());
    const auto repository = MakeRepository();
    std::vector<AssetDescription> presets;
    for (Int number = 0; number < THREADS; ++number) {
        const Id name = MakeId("p" + std::to_string(number));
        presets.push_back(Need(repository->StoreAsset(name, MakePreset(ASSETTYPE_SWATCH, "values"), nullptr)));
        Need(SubTypeAssetInterface::SetSubType(presets.back(), name));
    }
    RunStress(THREADS, [&](Int number) {
        const AssetDescription& preset = presets[std::size_t(number)];
        for (Int round = 0; round <= ROUNDS / 4; ++round) {
            Need(KeywordAssetInterface::SetDefaultAsset(preset, round % 2 == 0));
            EXPECT_EQ(std::get<1>(Need(KeywordAssetInterface::GetDefaultAssetState(preset))), round % 2 == 0);
            NoteStressStep();
        }
    });
    for (const AssetDescription& preset : presets)
        EXPECT_EQ(std::get<1>(Need(KeywordAssetInterface::GetDefaultAssetState(preset))), ROUNDS / 4 % 2 == 0);
    Application::SetHome(Url());
}

}  // namespace talvo
