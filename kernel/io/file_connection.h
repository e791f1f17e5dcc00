// One opened file url.
#pragma once

#include "kernel/io/connection.h"

#include <string>

namespace talvo {

class FileConnection final : public IoConnection {
public:
    FileConnection(Url url, std::string path) : _url(std::move(url)), _path(std::move(path)) {}

    Url GetUrl() const override { return _url; }
    Result<BaseArray<IoEntry>> Browse(BROWSE_MODE mode) override;
    Result<InputStreamRef> OpenInputStream() override;
    Result<OutputStreamRef> OpenOutputStream(OUTPUT_MODE mode) override;
    /// Errors besides those of looking: IoError for what is no file.
    Result<Int64> GetContentLength() override;
    IO_DETECT IoDetect() override;
    Result<Bool> IoIsLink() override;
    Result<UInt> IoGetAttributes() override;
    Result<void> IoSetAttributes(UInt flags, UInt mask) override;
    Result<UniversalDateTime> IoGetTime() override;
    Result<void> IoDelete() override;
    Result<void> IoCreateDirectory() override;
    Result<Bool> IoCreateDirectoryExclusive() override;
    Result<void> IoCopyFile(const Url& target) override;
    Result<void> IoRename(const Url& target, RENAME_MODE mode) override;
    Result<void> IoSync() override;

private:
    const Url _url;
    const std::string _path;
};

}  // namespace talvo
