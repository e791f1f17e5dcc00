#include "asset_scheme/register_schemes.h"

#include <vector>
#include "asset_scheme/asset_handlers.h"

namespace talvo {

namespace {

/// Never destroyed, as the table of handlers.
std::vector<Id>& GetRegistered() {
    static auto& registered = *new std::vector<Id>;
    return registered;
}

}  // namespace

Result<void> RegisterAssetUrlSchemes() {
    return CatchOutOfMemory([]() -> Result<void> {
        if (!GetRegistered().empty()) return OK;
        const IoHandlerRef handlers[] = {CreateAssetHandler(ASSET_SCHEME::ASSET), CreateAssetHandler(ASSET_SCHEME::META),
                                         CreateAssetHandler(ASSET_SCHEME::WATCH_FOLDER_STORE), CreateAssetDatabaseHandler()};
        std::vector<Id> ids;
        ids.reserve(std::size(handlers));
        for (const IoHandlerRef& handler : handlers) {
            Result<void> done = CatchOutOfMemory([&] { return IoHandlers::Register(handler); });
            if (done.IsError()) {
                for (const Id& id : ids) IoHandlers::Unregister(id);
                return done;
            }
            ids.push_back(handler->GetUrlScheme());
        }
        GetRegistered().swap(ids);
        return OK;
    });
}

void UnregisterAssetUrlSchemes() {
    for (const Id& id : GetRegistered()) IoHandlers::Unregister(id);
    GetRegistered().clear();
}

}  // namespace talvo
