// Foreign code and file operations under a lock that isn't meant for them end a test build at once, whether or not two threads ever meet.
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

#ifdef TALVO_LOCK_CHECK

namespace talvo {
namespace {

constinit LockClass PLAIN{"plain test lock"};
constinit LockClass OUTER{"outer test lock", LOCK_FLAGS::IO | LOCK_FLAGS::CALLBACKS};

TEST(LockRulesDeathTest, foreignCodeAndFilesAreNotMetUnderAPlainLock) {
    const ScratchDirectory scratch;
    const auto access = MemoryAssetRepository::ACCESS::WRITABLE;
    const AssetRepositoryRef repository(Need(MemoryAssetRepository::Create("repository"_id, {}, access)));
    const AssetRepositoryRef derived(
        Need(MemoryAssetRepository::Create("derived"_id, Block<const AssetRepositoryRef>(&repository, 1), access)));
    const AssetDescription note = Need(repository->StoreAsset("note"_id, MakeNote("text", {}), nullptr));
    Int key = 0;
    const struct {
        const char* what;
        std::function<void()> run;
    } cases[]{
        {"a walk over assets",
         [&] {
             Need(FindAssets(repository, {}, "note"_id, {}, {}, [](const AssetDescription&) -> Result<Bool> { return true; }));
         }},
        {"a walk over derived repositories",
         [&] { Need(repository->GetDerived([](const AssetRepositoryRef&) -> Result<Bool> { return true; })); }},
        {"a text of an asset type", [&] { Need(note->GetMetaString(OBJECT_BASE_NAME, nullptr, {})); }},
        {"the making of a cached value",
         [&] { Need(repository->GetCachedData(Data(++key), []() -> Result<Data> { return Data(Int(1)); })); }},
        {"a notification of observers", [&] { Observable<>().Notify(); }},
        {"an event on its way up", [&] { repository->HandleAssetStored(note); }},
        {"a file operation",
         [&] {
             MakeFileAsset(scratch, "file", "bytes")->GetTypeId();
             (scratch.GetUrl() + "file").IoDetect();
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        {
            ARWLock outer(OUTER);
            const ScopedWriteLock scope(outer);
            c.run();
        }
        EXPECT_DEATH(
            {
                ARWLock plain(PLAIN);
                const ScopedWriteLock scope(plain);
                c.run();
            },
            std::string(c.what) + " under \"plain test lock\", whose class does not allow it");
    }
}

}  // namespace
}  // namespace talvo

#endif
