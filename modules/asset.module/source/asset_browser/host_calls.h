// The host's delegate as one update calls it: never after the update was cancelled, never for a browser that has gone.
#pragma once

#include "asset_browser/browser_state.h"

namespace talvo {

/// Threads: as a plain value, in the update's job.
class HostCalls {
public:
    HostCalls(BrowserState& state, BuildEntryDelegate delegate) : _state(state), _delegate(std::move(delegate)) {}

    /// Stage 0. Errors of all: the delegate's; OperationCancelledError.
    Result<void> Begin(Bool clearState);
    /// Stage 2.
    Result<void> BeginRows();
    Bool HasBegunRows() const { return _hasBegunRows; }
    /// Stage 3. @param parent of the row; null: the top level.
    Result<Data> AddRow(const Data* parent, const BuildEntryRecord& record);
    /// Stage 4.
    Result<void> Select(const HashSet<Id>& selection);

private:
    Result<Data> Call(Int stage, const Data& parent, const BuildEntryRecord& record);

    BrowserState& _state;
    const BuildEntryDelegate _delegate;
    Data _userData;
    Data _root;
    Bool _hasBegunRows = false;
};

}  // namespace talvo
