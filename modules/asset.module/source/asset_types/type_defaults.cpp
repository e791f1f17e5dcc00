#include "asset_types/type_defaults.h"

#include "kernel/app/application.h"

namespace talvo {

Result<Url> GetModuleIcon(std::string_view name) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        constexpr LiteralId MODULE{"net.talvo.asset"};
        const Url resources = TRY(Application::PrivateGetUrl(MODULE, APPLICATION_DIRECTORY::MODULE_RESOURCES));
        return resources + "icons" + name;
    });
}

}  // namespace talvo
