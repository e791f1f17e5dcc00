#include "asset_scheme/asset_connection.h"

#include "kernel/io/inner_file.h"

namespace talvo {

Result<InputStreamRef> AssetConnection::OpenInputStream() {
    return HasWay() ? OpenInputStreamBelow(_resolved.trusted, _resolved.way) : _resolved.target.OpenInputStream();
}

Result<Int64> AssetConnection::GetContentLength() {
    if (!HasWay()) return _resolved.target.GetContentLength();
    const InnerFileStatus status = TRY(LookBelow(_resolved.trusted, _resolved.way));
    return status.length;
}

Result<UniversalDateTime> AssetConnection::IoGetTime() {
    if (HasWay()) {
        const InnerFileStatus status = TRY(LookBelow(_resolved.trusted, _resolved.way));
        return status.time;
    }
    const IoConnectionRef connection = TRY(_resolved.target.OpenConnection());
    return connection->IoGetTime();
}

Result<void> AssetConnection::IoCopyFile(const Url& target) {
    if (HasWay()) return IoConnection::IoCopyFile(target);
    const IoConnectionRef connection = TRY(_resolved.target.OpenConnection());
    return connection->IoCopyFile(target);
}

}  // namespace talvo
