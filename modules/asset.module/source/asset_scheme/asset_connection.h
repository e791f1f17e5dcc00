// An opened url of an asset or of its metadata: reads what lies at its target, and never writes.
#pragma once

#include "asset_scheme/resolve_url.h"
#include "kernel/io/connection.h"

namespace talvo {

/// What isn't offered here fails as in the base class: these schemes are read-only.
class AssetConnection final : public IoConnection {
public:
    AssetConnection(Url url, ResolvedUrl resolved) : _url(std::move(url)), _resolved(std::move(resolved)) {}

    Url GetUrl() const override { return _url; }
    Result<InputStreamRef> OpenInputStream() override;
    Result<Int64> GetContentLength() override;
    IO_DETECT IoDetect() override { return IO_DETECT::FILE; }
    Result<UInt> IoGetAttributes() override { return ATTRIBUTES; }
    Result<UniversalDateTime> IoGetTime() override;
    Result<void> IoCopyFile(const Url& target) override;

private:
    /// A file that can be read and not written, as browsers of files know it.
    static constexpr UInt ATTRIBUTES = 0x4901;

    Bool HasWay() const { return !_resolved.way.empty(); }

    const Url _url;
    const ResolvedUrl _resolved;
};

}  // namespace talvo
