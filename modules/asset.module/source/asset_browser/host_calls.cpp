#include "asset_browser/host_calls.h"

namespace talvo {

Result<Data> HostCalls::Call(Int stage, const Data& parent, const BuildEntryRecord& record) {
    if (!_state.jobs.IsCurrent()) return OperationCancelledError::Create();
    const AssetBrowserRef browser = _state.GetHandle();
    if (!browser) return OperationCancelledError::Create();
    return _delegate ? _delegate(browser, stage, _userData, parent, record) : Result<Data>(Data());
}

Result<void> HostCalls::Begin(Bool clearState) {
    _userData = Data(clearState);
    Data answer = TRY(Call(BUILD_STAGE::BEGIN, Data(), BuildEntryRecord()));
    _userData = std::move(answer);
    return OK;
}

Result<void> HostCalls::BeginRows() {
    _root = TRY(Call(BUILD_STAGE::ROOT, Data(), BuildEntryRecord()));
    _hasBegunRows = true;
    return OK;
}

Result<Data> HostCalls::AddRow(const Data* parent, const BuildEntryRecord& record) {
    return Call(BUILD_STAGE::ROW, parent ? *parent : _root, record);
}

Result<void> HostCalls::Select(const HashSet<Id>& selection) {
    std::vector<Id> ids(selection.begin(), selection.end());
    std::sort(ids.begin(), ids.end());
    TRY(Call(BUILD_STAGE::SELECTION, Data(BaseArray<Id>(std::move(ids))), BuildEntryRecord()));
    return OK;
}

}  // namespace talvo
