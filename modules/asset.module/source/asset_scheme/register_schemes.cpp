#include "asset_scheme/register_schemes.h"

#include "asset_scheme/asset_handlers.h"

#include <array>
#include <utility>

namespace talvo {

namespace {

using Handlers = std::array<IoHandlerRef, 4>;

/// Made once and never destroyed, as the table of handlers: where memory is so short that one can't be taken out of it, it is known again by that.
const Handlers& GetOurs() {
    static const auto& handlers =
        *new Handlers{CreateAssetHandler(ASSET_SCHEME::ASSET), CreateAssetHandler(ASSET_SCHEME::META),
                      CreateAssetHandler(ASSET_SCHEME::WATCH_FOLDER_STORE), CreateAssetDatabaseHandler()};
    return handlers;
}

Bool IsRegistered(const IoHandlerRef& handler) {
    const Result<IoHandlerRef> known = IoHandlers::GetHandlerForScheme(handler->GetUrlScheme());
    return known.IsOk() && known.GetValue() == handler;
}

Bool g_isRegistered = false;

}  // namespace

Result<void> RegisterAssetUrlSchemes() {
    if (g_isRegistered) return OK;
    const Result<void> registered = CatchOutOfMemory([]() -> Result<void> {
        for (const IoHandlerRef& handler : GetOurs()) {
            if (!IsRegistered(handler)) TRY(IoHandlers::Register(handler));
        }
        return OK;
    });
    g_isRegistered = true;
    if (registered.IsError()) UnregisterAssetUrlSchemes();
    return registered;
}

void UnregisterAssetUrlSchemes() {
    if (!std::exchange(g_isRegistered, false)) return;
    CatchOutOfMemory([]() -> Result<void> {
        for (const IoHandlerRef& handler : GetOurs()) {
            if (IsRegistered(handler)) IoHandlers::Unregister(handler->GetUrlScheme());
        }
        return OK;
    }).Ignore("a handler that stays is known again");
}

}  // namespace talvo
