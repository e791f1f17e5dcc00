// Infos and versions of many assets are read on several threads, ahead of the walk that wants them.
#include "kernel/io/file_system.h"
#include "support/stress_threads.h"
#include "url_repository/url_repository_fixture.h"

#include <algorithm>

namespace talvo {
namespace {

class LoadAheadThreads : public UrlRepositoryTest {
protected:
    /// Enough for threads of their own; one has no version.
    static constexpr Int COUNT = 1300, WITHOUT_VERSION = 900;

    LoadAheadThreads() {
        for (Int i = 1000; i < 1000 + COUNT; ++i) {
            const std::string id = "a" + std::to_string(i);
            WriteInfo(id, id);
            if (i == 1000 + WITHOUT_VERSION) continue;
            WriteVersion(id + "/1", id);
            _ids.push_back(id);
        }
    }
    static Result<std::vector<std::string>> Walk(const AssetRepositoryRef& repository, Int wanted = COUNT) {
        std::vector<std::string> ids;
        TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& found) -> Result<Bool> {
            ids.emplace_back(found->GetIdAndVersion().first.GetView());
            return Int(ids.size()) < wanted;
        }));
        return ids;
    }

    std::vector<std::string> _ids;
};

TEST_F(LoadAheadThreads, EachWalkFindsEachAssetOnceInOrderAndTellsWhatItCanNotRead) {
    const auto repository = Open();
    RunStress(3, [&](Int number) {
        const Int wanted = number == 2 ? 700 : COUNT;
        std::vector<std::string> expected = _ids;
        if (wanted < Int(expected.size())) expected.resize(std::size_t(wanted));
        EXPECT_EQ(Need(Walk(repository, wanted)), expected);
    });

    const auto again = Open();
    EXPECT_EQ(Need(Walk(again, 10)).size(), 10U);
    FaultPlan::SetScope(_scratch / "repo");
    Need(FaultPlan::Set("failfrom@400:EIO"));
    EXPECT_THAT(Walk(again), FailsWith<IoError>("Input/output error"));
    FaultPlan::Clear();
    FaultPlan::SetScope({});
    EXPECT_EQ(Need(Walk(again)), _ids) << "what could not be read is loaded when it can";
}

}  // namespace
}  // namespace talvo
