// How rows reach the host: sorted level by level, each with those under it.
#pragma once

#include "asset_browser/browser_row.h"
#include "asset_browser/host_calls.h"
#include "asset_browser/listing_request.h"

namespace talvo {

/// Threads: as a plain value, of one update.
class RowDelivery {
public:
    RowDelivery(const ListingRequest& request, HostCalls& host)
        : _request(request), _host(host), _isLimited(request.settings.rowLimit > 0), _left(request.settings.rowLimit) {}

    /// Sorts and delivers a level and all below it. Errors: the delegate's; OperationCancelledError.
    Result<void> Deliver(std::vector<BrowserRow>& rows, const RowConfig& config, const Data* parent);

private:
    enum class GO_ON : UChar { YES, NO };
    Result<GO_ON> DeliverRow(BrowserRow& row, const Data* parent);
    Bool IsLeftOut(const BrowserRow& row) const;

    const ListingRequest& _request;
    HostCalls& _host;
    const Bool _isLimited;
    Int _left;
    Bool _isFull = false;
};

/// Without a prefix for sorting such as "#$05", if there is anything behind it.
String DropSortPrefix(String name);

}  // namespace talvo
