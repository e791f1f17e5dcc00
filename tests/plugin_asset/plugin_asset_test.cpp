#include "plugin_asset.h"

#include "kernel/app/replaced_modules.h"
#include "memoryassetrepository.h"
#include "support/asset_test_support.h"

namespace talvo {

TEST(PluginAsset, isFoundUnderTheIdOfThePluginThatWasReplaced) {
    const std::pair<Id, Data> entries[] = {{"old"_id, Data("new"_id)}, {"odd"_id, Data(Int(7))}, {"empty"_id, Data(Id())}};
    for (const auto& [id, value] : entries) Need(GetReplacedModules().Register(id, value));
    struct Case {
        const char* id;
        const char* expected;
        const char* why;
    };
    const Case cases[] = {
        {"builtin_plugin_old", "builtin_plugin_new", "replaced"},
        {"builtin_plugin_new", "", "not replaced"},
        {"builtin_plugin_", "", "no plug-in behind it"},
        {"builtin_plugin_odd", "", "an entry that is no id"},
        {"builtin_plugin_empty", "", "an entry that says nothing"},
        {"builtin-plugin_old", "", "another beginning"},
        {"Builtin_plugin_old", "", "case counts"},
        {"old", "", "too short"},
        {"", "", "nothing"},
    };
    for (const Case& c : cases) EXPECT_EQ(Need(PluginAssetInterface::GetRenamed(MakeId(c.id))).GetView(), c.expected) << c.why;

    const auto repository = Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    Need(repository->StoreAsset("builtin_plugin_new"_id, MakeNote("text", {}), nullptr));
    EXPECT_TRUE(FindLatest(repository, "builtin_plugin_old"_id)) << "lookups follow";
    for (const auto& entry : entries) Need(GetReplacedModules().EraseEntry(entry.first));
    EXPECT_FALSE(FindLatest(repository, "builtin_plugin_old"_id));
}

}  // namespace talvo
