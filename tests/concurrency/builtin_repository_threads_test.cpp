// Built-in assets under several threads: a loader runs in all of them at once, and an id is one asset for all.
#include "asset_module/module_fixture.h"
#include "support/stress_threads.h"

namespace talvo {
namespace {

class BuiltinThreads : public ModuleTest {};

TEST_F(BuiltinThreads, getOneAssetOfAnIdAndItsValues) {
    constexpr Int THREADS = 4;
    constexpr Int ROUNDS = 30;
    MakeNote("", {});
    const TestLoader loader(
        GetBuiltinAssetLoaders(), "test.loader"_id, [](const Id&, BuiltinAssetReceiver receiver) -> Result<Bool> {
            for (Int i = 0; i < ROUNDS; ++i) {
                const Bool goOn = TRY(receiver(MakeId("note" + std::to_string(i)), MakeNote("one", {}), DataDictionary(), Url()));
                if (!goOn) return false;
            }
            return true;
        });
    Need(AssetModule::Start());
    const AssetRepositoryRef user = AssetInterface::GetUserPrefsRepository();
    std::vector<std::vector<AssetDescription>> found(THREADS);
    RunStress(THREADS, [&](Int thread) {
        for (Int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            const AssetDescription note = FindLatest(user, MakeId("note" + std::to_string(round)));
            found[std::size_t(thread)].push_back(note);
            const auto kind = ASSET_METADATA_KIND::PERSISTENT | ASSET_METADATA_KIND::USER;
            Need(note.StoreMetaData(MakeMetaId("key" + std::to_string(thread)), Data(Int64(round)), kind));
            EXPECT_EQ(LoadNote(note, false)->GetText(), "one");
        }
    });
    for (const auto& each : found) EXPECT_EQ(each, found[0]);
    for (const AssetDescription& note : found[0]) EXPECT_GE(Need(note->GetMetaData()->GetExistingEntries()).GetCount(), THREADS);
}

}  // namespace
}  // namespace talvo
