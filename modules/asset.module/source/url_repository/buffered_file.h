// A new file that is written in many small pieces.
#pragma once

#include "kernel/io/streams.h"
#include "kernel/io/url.h"

#include <string>
#include <string_view>

namespace talvo {

/// Threads: one at a time.
class BufferedFile {
public:
    /// Errors: IoError that names the file, also if there is one.
    static Result<BufferedFile> Create(const Url& url);
    Result<void> Write(std::string_view bytes);
    Result<void> Close();

private:
    explicit BufferedFile(OutputStreamRef stream) : _stream(std::move(stream)) { _buffer.reserve(CAPACITY); }
    static constexpr std::size_t CAPACITY = std::size_t(1) << 20;

    OutputStreamRef _stream;
    std::string _buffer;
};

}  // namespace talvo
