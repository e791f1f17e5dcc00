#include "asset_browser/browser_state.h"

namespace talvo {

Result<void> BrowserState::RequestUpdate() {
    jobs.Reset(false);
    Bool isEnabled = false;
    {
        auto locked = settings.Read();
        isEnabled = locked->updatesEnabled;
    }
    return isEnabled ? Fire() : Result<void>(OK);
}

Result<void> BrowserState::Fire() {
    if (_isTriggered.exchange(true, std::memory_order_acq_rel)) return OK;
    const BrowserStateRef self(this);
    const Result<JobRef> job = JobQueue::GetMainThreadQueue().Enqueue([self]() -> Result<void> {
        // Whoever asks from here on wants another look.
        self->_isTriggered.store(false, std::memory_order_release);
        return self->Look();
    });
    if (job.IsOk()) return OK;
    _isTriggered.store(false, std::memory_order_release);
    return job.GetError();
}

Result<void> BrowserState::Look() {
    FollowGraphModel();
    Bool isReady = false;
    {
        auto locked = settings.Read();
        isReady = Bool(locked->buildEntry);
    }
    if (!isReady) return OK;
    const BrowserStateRef self(this);
    return jobs.Start([self]() -> Result<void> { return RunBrowserUpdate(*self); });
}

Result<void> BrowserState::UpdateAndWait() {
    const BrowserStateRef self(this);
    return jobs.StartAndWait([self]() -> Result<void> { return RunBrowserUpdate(*self); });
}

void BrowserState::FollowGraphModel() {
    NodesGraphModelRef model;
    {
        auto locked = settings.Read();
        model = locked->graphModel;
    }
    NodeSystemClassRef cls;
    AssetRepositoryRef repository;
    if (model) {
        cls = model->GetNodeSystemClass();
        repository = model->GetLookupRepository();
    }
    Bool hasChanged = false;
    {
        auto locked = settings.Write();
        const AssetRepositoryRef known = locked->lookupRepository.Promote();
        hasChanged = known != repository || locked->nodeSystemClass != cls;
        if (hasChanged) {
            std::swap(locked->nodeSystemClass, cls);
            locked->lookupRepository = repository;
        }
    }
    if (hasChanged) jobs.Reset(false);
}

}  // namespace talvo
