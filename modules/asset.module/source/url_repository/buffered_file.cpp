#include "url_repository/buffered_file.h"

namespace talvo {

Result<BufferedFile> BufferedFile::Create(const Url& url) {
    OutputStreamRef stream = TRY(url.OpenOutputStream(OUTPUT_MODE::CREATE_NEW));
    return BufferedFile(std::move(stream));
}

Result<void> BufferedFile::Write(std::string_view bytes) {
    if (_buffer.size() + bytes.size() > CAPACITY && !_buffer.empty()) {
        TRY(_stream->Write(_buffer));
        _buffer.clear();
    }
    if (bytes.size() >= CAPACITY) return _stream->Write(bytes);
    _buffer += bytes;
    return OK;
}

Result<void> BufferedFile::Close() {
    if (!_buffer.empty()) TRY(_stream->Write(_buffer));
    _buffer.clear();
    return _stream->Close();
}

}  // namespace talvo
