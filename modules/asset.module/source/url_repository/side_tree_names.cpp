#include "url_repository/side_tree_names.h"

#include "url_repository/tree_access.h"

#include <chrono>

namespace talvo {

namespace {

constexpr Int64 LOOK_AGAIN_MICROSECONDS = 100000;

Int64 GetNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

LockClass SideTreeNames::lockClass{"names of a side tree", LOCK_FLAGS::IO};

Bool SideTreeNames::MayHave(std::string_view directory) {
    if (_tree.IsEmpty()) return false;
    const Int64 now = GetNow();
    const auto contains = [&](const State& state) {
        return state.names.GetCount() != 0 && state.names.Contains(std::string(directory));
    };
    {
        auto state = _state.Read();
        const Bool isFresh = state->isKnown && now >= state->looked && now - state->looked < LOOK_AGAIN_MICROSECONDS;
        if (isFresh) return contains(*state);
    }
    auto state = _state.Write();
    const Result<void> refreshed = CatchOutOfMemory([&]() -> Result<void> {
        Refresh(*state);
        return OK;
    });
    // Who doesn't know looks.
    return refreshed.IsError() || !state->isKnown || contains(*state);
}

void SideTreeNames::Add(std::string_view directory) {
    auto state = _state.Write();
    if (!state->isKnown || state->names.Insert(std::string(directory)).IsError()) state->isKnown = false;
}

void SideTreeNames::Refresh(State& state) const {
    const Int64 now = GetNow();
    Int64 time = -1;  // of one that isn't there
    if (_tree.IoDetect() == IO_DETECT::DIRECTORY) {
        const Result<IoConnectionRef> connection = _tree.OpenConnection();
        const Result<UniversalDateTime> changed =
            connection.IsOk() ? connection.GetValue()->IoGetTime() : Result<UniversalDateTime>(connection.GetError());
        time = changed.IsOk() ? changed.GetValue().GetValue() : now;
    }
    const Bool isSame = state.isKnown && !state.isHot && time == state.time;
    state.looked = now;
    if (isSame) return;
    state.isKnown = false;
    const Result<BaseArray<IoEntry>> entries = BrowseTreeIfThere(_tree);
    if (entries.IsError()) return;
    HashSet<std::string> names;
    for (const IoEntry& entry : entries.GetValue()) {
        if (entry.kind == IO_DETECT::DIRECTORY && names.Insert(entry.name).IsError()) return;
    }
    state.names = std::move(names);
    state.time = time;
    state.isHot = now - time < LOOK_AGAIN_MICROSECONDS;
    state.isKnown = true;
}

}  // namespace talvo
