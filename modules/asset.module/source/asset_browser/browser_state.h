// What an update and the host's handle share: settings, the job that counts, and the trigger that joins requests.
//
// The host holds the handle, a running update holds this: so the handle can go while an update runs, and the update finds out.
#pragma once

#include "asset_browser/browser_settings.h"
#include "asset_browser/update_jobs.h"

#include <atomic>

namespace talvo {

/// Threads:    any.
/// Lock order: the settings are a leaf; nothing of the host's is called or let go of under it.
class BrowserState final : public ObjectInterface {
public:
    explicit BrowserState(ASSET_BROWSE_MODE browseMode) : mode(browseMode) {}

    const ASSET_BROWSE_MODE mode;
    UpdateJobs jobs;
    Guarded<BrowserSettings, Spinlock> settings;

    /// Set once, before anybody else sees the handle.
    void SetHandle(const AssetBrowserRef& handle) { _handle = handle; }
    AssetBrowserRef GetHandle() const { return _handle.Promote(); }

    /// Cancels the update and asks for another one, if updates are enabled. Errors: those of enqueuing.
    Result<void> RequestUpdate();
    /// Asks the main thread to look; many calls before it does cost one look.
    Result<void> Fire();
    /// The main thread's look: follows the graph model, and starts an update if it is time.
    Result<void> Look();
    /// Runs one update now. Errors: those of enqueuing.
    Result<void> UpdateAndWait();

private:
    void FollowGraphModel();

    std::atomic<Bool> _isTriggered{false};
    WeakRef<AssetBrowserInterface> _handle;
};
using BrowserStateRef = StrongRef<BrowserState>;

/// The work of an update of this browser.
Result<void> RunBrowserUpdate(BrowserState& state);

}  // namespace talvo
