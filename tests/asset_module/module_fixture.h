// A home and resources of its own for each test that starts the module.
#pragma once

#include "asset_module.h"
#include "builtin_asset_loaders.h"
#include "kernel/app/application.h"
#include "support/asset_test_support.h"

#include <cstdlib>
#include <filesystem>

namespace talvo {

class ModuleTest : public testing::Test {
protected:
    static constexpr const char* USER_REPOSITORY = "home/generated/net.talvo.asset/userrepository";
    static constexpr const char* USER_TREE = "home/preferences/net.talvo.asset/_assets/user.db";
    static constexpr const char* APPLICATION = "resources/assets/application";

    ModuleTest() {
        Application::SetHome(_scratch.GetUrl() + "home");
        setenv("TALVO_RESOURCES", (_scratch / "resources").c_str(), 1);
        _scratch.Write(std::string(APPLICATION) + "/databaseid", "net.talvo.repository.application");
    }
    ~ModuleTest() override {
        AssetModule::Stop();
        Application::SetHome(Url());
        unsetenv("TALVO_RESOURCES");
    }
    void Remove(const std::string& name) const { std::filesystem::remove_all(_scratch / name); }

    const ScratchDirectory _scratch;
};

/// A loader that is registered as long as this lives. What it does may be changed.
class TestLoader {
public:
    using Give = std::function<Result<Bool>(const Id& aid, BuiltinAssetReceiver receiver)>;
    TestLoader(Registry<BuiltinAssetLoader>& registry, LiteralId id, Give give) : _registry(registry), _id(id) {
        Need(registry.Register(_id, [give](Block<const Id>, const Id& aid, const Id&, ASSET_FIND_MODE,
                                           BuiltinAssetReceiver receiver) { return give(aid, receiver); }));
    }
    ~TestLoader() { Need(_registry.EraseEntry(_id)); }

private:
    Registry<BuiltinAssetLoader>& _registry;
    const Id _id;
};

}  // namespace talvo
