// A host of an asset browser: it says what to look for and prints what it gets. `browser_host FOLDER FILTER`
#include "asset_browser.h"
#include "asset_module.h"
#include "kernel/app/run_loop.h"

#include <cstdio>

using namespace talvo;

namespace {

/// Called on a worker, stage by stage. What it answers for a row comes back as the parent of the rows under it.
Result<Data> PrintRow(Int stage, const Data& parent, const BuildEntryRecord& record) {
    const Int64* depth = parent.GetPtr<Int64>();
    const Int64 level = depth ? *depth : 0;
    if (stage != BUILD_STAGE::ROW) return Data(Int64(0));
    std::printf("%*s%s\n", int(2 * level), "", record.name.GetCString().c_str());
    return Data(level + 1);
}

Result<void> Search(const char* folder, const char* filter) {
    TRY(AssetModule::Start());
    const Url url = Url::FromSystemPath(folder);
    const auto repository =
        TRY(AssetInterface::CreateRepositoryFromUrl(Id(), REPOSITORYTYPE_DATABASE, {}, url, false, true, false));
    const AssetBrowserRef browser = TRY(AssetBrowserInterface::Create(ASSET_BROWSE_MODE::ASSET_LIST));
    const NodesGraphModelRef graph = TRY(CreateRepositoryGraphModel(repository));
    TRY(browser->SetGraphModel(graph));
    TRY(browser->SetBuildEntryDelegate([](const AssetBrowserRef&, Int stage, const Data&, const Data& parent,
                                          const BuildEntryRecord& record) { return PrintRow(stage, parent, record); }));
    // A view on a screen calls EnableUpdates(true) once, DoFiltering at each key press, and RunLoop::RunPendingJobs in its loop.
    browser->DoFilteringPreScan(String(), String("groupby:category"), String(), String(filter), false, false);
    return OK;
}

}  // namespace

int main(int count, char** words) {
    const Result<void> searched = count == 3 ? Search(words[1], words[2]) : Result<void>(OK);
    if (searched.IsError()) std::fprintf(stderr, "%s\n", searched.GetError()->GetMessage().c_str());
    RunLoop::Exit();
    return count == 3 && searched.IsOk() ? 0 : 1;
}
