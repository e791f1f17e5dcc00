#include "kernel/app/background_progress.h"

#include "kernel/text/format.h"
#include "kernel/thread/job.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace talvo {

namespace {

constexpr Float64 TOLD_STEP = 0.001;

ErrorRef MakeCancelledError(const String& name) {
    return OperationCancelledError::Create(FormatMessage("\"@\" was cancelled.", name));
}

/// For what has nobody to tell that memory was out.
template <typename CALL>
void CallQuietly(const CALL& call) {
    CatchOutOfMemory([&]() -> Result<void> {
        if (call) call();
        return OK;
    }).Ignore("the affair of whoever is called");
}

}  // namespace

BackgroundEntry::~BackgroundEntry() { Finish(); }

void BackgroundEntry::Tell(BACKGROUND_EVENT event) const {
    const auto& observable = BackgroundProgress::GetMaster().ObservableEntryChanged();
    if (!observable.HasObservers()) return;
    const Result<void> told = CatchOutOfMemory([&]() -> Result<void> {
        observable.Notify(event, GetInfo());
        return OK;
    });
    if (told.IsOk()) return;
    // That it is gone must be known in any case.
    BackgroundEntryInfo bare;
    bare.number = _number;
    observable.Notify(event, bare);
}

Result<void> BackgroundEntry::SetProgressAndCheckBreak(Float64 progress) {
    const Float64 shown = std::isnan(progress) ? 0 : std::clamp(progress, 0.0, 1.0);
    Bool tell = false;
    Bool cancelled = false;
    {
        const auto state = _state.Write();
        state->progress = shown;
        const Bool isStep = std::abs(shown - state->toldProgress) >= TOLD_STEP || (shown == 1 && state->toldProgress != 1);
        tell = state->isListed && isStep;
        if (tell) state->toldProgress = shown;
        cancelled = state->isCancelled;
    }
    if (tell) Tell(BACKGROUND_EVENT::CHANGED);
    if (cancelled || Job::IsCurrentCancelled())
        return CatchOutOfMemory([&]() -> Result<void> { return MakeCancelledError(_name); });
    return OK;
}

void BackgroundEntry::SetCancelJobDelegate(CancelDelegate cancel) {
    {
        const auto state = _state.Write();
        if (!state->isCancelled) {
            std::swap(state->cancel, cancel);  // the former one goes without the lock
            return;
        }
    }
    CallQuietly(cancel);
}

void BackgroundEntry::Cancel() {
    CancelDelegate cancel;
    Bool tell = false;
    {
        const auto state = _state.Write();
        if (std::exchange(state->isCancelled, true)) return;
        std::swap(state->cancel, cancel);
        tell = state->isListed;
    }
    if (tell) Tell(BACKGROUND_EVENT::CHANGED);
    CallQuietly(cancel);
}

Result<void> BackgroundEntry::AddState(BACKGROUND_STATE code, String text) {
    return CatchOutOfMemory([&]() -> Result<void> {
        Bool tell = false;
        {
            const auto state = _state.Write();
            state->states.push_back({code, std::move(text)});
            tell = state->isListed;
        }
        if (tell) Tell(BACKGROUND_EVENT::CHANGED);
        return OK;
    });
}

void BackgroundEntry::Finish() {
    CancelDelegate cancel;  // what it captured may be what holds this entry
    {
        const auto state = _state.Write();
        std::swap(state->cancel, cancel);
        if (!std::exchange(state->isListed, false)) return;
    }
    BackgroundProgress::GetMaster().Remove(_number);
    Tell(BACKGROUND_EVENT::GONE);
}

BackgroundEntryInfo BackgroundEntry::GetInfo() const {
    const auto state = _state.Read();
    return {_number, _name, state->progress, state->isCancelled, state->states};
}

BackgroundProgress& BackgroundProgress::GetMaster() {
    // Never destroyed: work may end after statics went.
    static BackgroundProgress& master = *new BackgroundProgress;
    return master;
}

Result<BackgroundEntryRef> BackgroundProgress::AddActiveEntry(String name) {
    return CatchOutOfMemory([&]() -> Result<BackgroundEntryRef> {
        const UInt number = [&] {
            const auto list = _list.Write();
            return ++list->lastNumber;
        }();
        const BackgroundEntryRef entry(new BackgroundEntry(number, std::move(name)));
        {
            const auto list = _list.Write();
            list->entries.push_back({number, entry});
        }
        {
            const auto state = entry->_state.Write();
            state->isListed = true;
        }
        entry->Tell(BACKGROUND_EVENT::ADDED);
        return entry;
    });
}

void BackgroundProgress::Remove(UInt number) {
    const auto list = _list.Write();
    std::erase_if(list->entries, [&](const Listed& listed) { return listed.number == number; });
}

Result<std::vector<BackgroundEntryInfo>> BackgroundProgress::GetEntries() const {
    return CatchOutOfMemory([&]() -> Result<std::vector<BackgroundEntryInfo>> {
        std::vector<Listed> listed;
        {
            const auto list = _list.Read();
            listed = list->entries;
        }
        std::vector<BackgroundEntryInfo> infos;
        for (const Listed& each : listed) {
            const BackgroundEntryRef entry = each.entry.Promote();
            if (entry) infos.push_back(entry->GetInfo());
        }
        std::sort(infos.begin(), infos.end(), [](const auto& first, const auto& second) { return first.number < second.number; });
        return infos;
    });
}

Bool BackgroundProgress::Cancel(UInt number) {
    BackgroundEntryRef entry;
    {
        const auto list = _list.Read();
        const auto found = std::find_if(list->entries.begin(), list->entries.end(),
                                        [&](const Listed& listed) { return listed.number == number; });
        if (found == list->entries.end()) return false;
        entry = found->entry.Promote();
    }
    if (entry) entry->Cancel();
    return Bool(entry);
}

}  // namespace talvo
