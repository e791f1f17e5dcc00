// Browsers whose host sets, fails, drops and stores from several threads while updates run.
#include "asset_browser.h"
#include "category_asset.h"
#include "kernel/app/run_loop.h"
#include "keyword_asset.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"
#include "support/stress_threads.h"

#include <atomic>
#include <thread>

namespace talvo {
namespace {

class BrowserThreads : public testing::Test {
protected:
    BrowserThreads() {
        for (int i = 0; i < 60; ++i) Store("asset" + std::to_string(i), "Oak " + std::to_string(i));
    }
    void Store(const std::string& aid, const std::string& name) {
        const AssetDescription stored =
            Need(_repository->StoreAsset(MakeId(aid), MakeFileAsset(_scratch, aid + ".txt", name), AssetMetaData()));
        Need(stored->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(name), nullptr));
    }
    AssetBrowserRef MakeBrowser(BuildEntryDelegate delegate) const {
        const AssetBrowserRef browser = Need(AssetBrowserInterface::Create(ASSET_BROWSE_MODE::ASSET_LIST));
        Need(browser->SetGraphModel(Need(CreateRepositoryGraphModel(_repository))));
        Need(browser->SetBuildEntryDelegate(std::move(delegate)));
        return browser;
    }

    ScratchDirectory _scratch;
    const BaseAssetRepositoryRef _repository =
        Need(MemoryAssetRepository::Create("library"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
};

TEST_F(BrowserThreads, OneUpdateAtATimeWhateverIsSetMeanwhile) {
    std::atomic<int> inside{0};
    std::atomic<int> rows{0};
    std::atomic<bool> ended{false};
    const AssetBrowserRef browser = MakeBrowser(
        [&](const AssetBrowserRef& self, Int stage, const Data&, const Data&, const BuildEntryRecord& record) -> Result<Data> {
            EXPECT_EQ(inside.fetch_add(1), 0) << "two calls at once";
            if (stage == BUILD_STAGE::ROW) ++rows;
            if (rows % 97 == 3) self->SkipCommandAssets(rows % 2 == 0);  // it may call back
            inside.fetch_sub(1);
            return rows % 101 == 7 && record.asset ? Result<Data>(IoError::Create("a host that fails")) : Result<Data>(Data());
        });
    browser->EnableUpdates(true);
    std::thread pump([&] {
        while (!ended) RunLoop::RunPendingJobs();
    });
    const auto type = [&] {
        for (int i = 0; i < 150; ++i) {
            NoteStressStep();
            browser->DoFiltering(String(), String(), String(), String("oak " + std::to_string(i % 9)), false, false);
        }
    };
    const auto store = [&] {
        for (int i = 0; i < 60; ++i) {
            NoteStressStep();
            Store("asset" + std::to_string(i % 30), "Oak again " + std::to_string(i));
        }
    };
    const auto reset = [&] {
        for (int i = 0; i < 150; ++i) {
            NoteStressStep();
            browser->JobRefReset(i % 3 == 0);
            Need(browser->RequestAssetBrowserUpdate());
            HashSet<Id> selection;
            Need(selection.Insert(MakeId("asset" + std::to_string(i % 5))));
            Need(browser->SetSelectionOnNextUpdate(selection));
        }
    };
    RunStress({{"types", type}, {"stores", store}, {"resets", reset}});
    ended = true;
    pump.join();
    browser->JobRefReset(true);
    EXPECT_EQ(inside, 0);
}

TEST_F(BrowserThreads, AHandleGoesWhileItsUpdateRuns) {
    for (int i = 0; i < 40; ++i) {
        std::atomic<bool> alive{true};
        AssetBrowserRef browser =
            MakeBrowser([&](const AssetBrowserRef&, Int, const Data&, const Data&, const BuildEntryRecord&) -> Result<Data> {
                EXPECT_TRUE(alive) << "called after its end";
                return Data();
            });
        browser->EnableUpdates(true);
        RunLoop::RunPendingJobs();
        if (i % 2 == 0) std::this_thread::yield();
        browser = nullptr;
        alive = false;
    }
}

TEST_F(BrowserThreads, KeywordsFromManyThreadsAreAllKept) {
    const AssetDescription target = FindLatest(_repository, "asset1"_id);
    const auto add = [&](const char* prefix) {
        return [&, prefix] {
            for (int i = 0; i < 30; ++i) {
                NoteStressStep();
                Need(KeywordAssetInterface::AddKeyword(target, MakeId(prefix + std::to_string(i)), i % 2 == 0, nullptr));
            }
        };
    };
    RunStress({{"a", add("a")}, {"b", add("b")}, {"c", add("c")}});
    const auto count = [&](const LiteralId& list) { return Need(target->GetMetaData().Get<BaseArray<Id>>(list))->GetCount(); };
    EXPECT_EQ(count(ASSETMETADATA::KEYWORDS) + count(ASSETMETADATA::USERKEYWORDS), 90);
}

}  // namespace
}  // namespace talvo
