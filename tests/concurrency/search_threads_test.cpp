// Searches over a repository with an index while its assets, its index and its bases change: tables are made, ranked, dropped and outdated all the time.
#include "asset_browser.h"
#include "kernel/app/run_loop.h"
#include "memoryassetrepository.h"
#include "support/stress_threads.h"
#include "url_repository/url_repository_fixture.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace talvo {
namespace {

class SearchThreads : public UrlRepositoryTest {
protected:
    void StoreNamed(const AssetRepositoryRef& repository, int number, const std::string& name) const {
        const AssetDescription stored = Store(repository, "asset" + std::to_string(number), name);
        Need(stored->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(name), nullptr));
    }
    /// A view that keeps the names of its rows.
    struct View {
        explicit View(const AssetRepositoryRef& repository)
            : browser(Need(AssetBrowserInterface::Create(ASSET_BROWSE_MODE::ASSET_LIST))) {
            Need(browser->SetGraphModel(Need(CreateRepositoryGraphModel(repository))));
            Need(browser->SetBuildEntryDelegate([this](const AssetBrowserRef&, Int stage, const Data&, const Data&,
                                                       const BuildEntryRecord& record) -> Result<Data> {
                const std::lock_guard scope(lock);
                if (stage == BUILD_STAGE::BEGIN) names.clear();
                if (stage == BUILD_STAGE::ROW && record.asset) names.emplace_back(record.name.GetView());
                return Data();
            }));
        }
        std::vector<std::string> Search(const char* text) {
            browser->DoFilteringPreScan(String(), String(), String(), String(text), false, false);
            const std::lock_guard scope(lock);
            return names;
        }
        const AssetBrowserRef browser;
        std::mutex lock;
        std::vector<std::string> names;
    };
};

TEST_F(SearchThreads, FindWhatThereIsWhateverChangesMeanwhile) {
    UpdatableAssetRepositoryRef repository = Open();
    for (int i = 0; i < 60; ++i) StoreNamed(repository, i, "Oak " + std::to_string(i));
    Need(As<CompactableAssetRepositoryInterface>(repository).Compact());
    repository = Open();
    const AssetRepositoryRef base = Need(MemoryAssetRepository::Create("base"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    StoreNamed(base, 1000, "Oak of the base");
    View first(repository), second(repository);
    std::atomic<bool> ended{false};
    std::thread pump([&] {
        while (!ended) RunLoop::RunPendingJobs();
    });
    const auto type = [&](View& view) {
        return [&] {
            view.browser->EnableUpdates(true);
            for (int i = 0; i < 120; ++i) {
                NoteStressStep();
                const std::string text = i % 4 == 0 ? "type:file" : "oak " + std::to_string(i % 9);
                view.browser->DoFiltering(String(), String(), String(), String(text), false, false);
                std::this_thread::yield();
            }
        };
    };
    const auto change = [&] {
        for (int i = 0; i < 40; ++i) {
            NoteStressStep();
            StoreNamed(repository, i % 7, "Oak again " + std::to_string(i));
            // With that many changes it may give up.
            if (i % 10 == 5) As<CompactableAssetRepositoryInterface>(repository).Compact().Ignore("the next one does it");
        }
    };
    const auto link = [&] {
        for (int i = 0; i < 12; ++i) {
            NoteStressStep();
            Need(repository->AddBase(base));
            Need(AssetBrowserInterface::PrepareSearch(repository));
            Need(repository->RemoveBase(base));
        }
        Need(repository->AddBase(base));
    };
    RunStress({{"types", type(first)}, {"types, too", type(second)}, {"changes", change}, {"links", link}});
    ended = true;
    pump.join();
    for (View* view : {&first, &second}) {
        view->browser->EnableUpdates(false);
        const std::vector<std::string> found = view->Search("oak groupby:none");
        EXPECT_EQ(found.size(), 61u);
        HashSet<Id> leftOut;
        Need(leftOut.Insert("nobody"_id));
        Need(view->browser->SetDatabaseMasterfilter(leftOut));
        EXPECT_EQ(found, view->Search("oak groupby:none")) << "a walk finds something else";
    }
}

}  // namespace
}  // namespace talvo
