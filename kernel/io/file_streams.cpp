#include "kernel/io/file_streams.h"

#include "kernel/io/replacing_file.h"
#include "kernel/text/format.h"

#include <utility>

namespace talvo {

using PosixFiles::FileHandle;

namespace {

constexpr mode_t NEW_FILE_MODE = 0666;
constexpr std::size_t GATHERED_SIZE = std::size_t(64) << 10;

class FileInputStream final : public InputStream {
public:
    FileInputStream(FileHandle file, std::string path, const struct stat& status)
        : _path(std::move(path)), _opened(status), _file(std::move(file)) {}

    /// As it was when the file was opened.
    Int64 GetStreamLength() const override { return _opened.st_size; }
    Int64 GetPosition() const override { return _position; }
    Bool SeekSupported() const override { return true; }
    String GetName() const override { return String(_path); }

    Result<void> Seek(Int64 position) override {
        if (position < 0) return IllegalArgumentError::Create(FormatMessage("Can't go to position @ of @.", position, GetName()));
        _position = position;
        return OK;
    }
    Result<Int64> ReadEOS(Block<char> buffer) override {
        if (!_file.IsOpen()) return IllegalStateError::Create(FormatMessage("@ is closed already.", GetName()));
        const auto read = PosixFiles::ReadAt(_file, buffer, _position, _path);
        TRY(CheckFile(read.error, "read", _path));
        _position += read.value;
        return read.value;
    }
    Result<Int64> Skip(Int64 count) override {
        CHECK_ARGUMENT(count >= 0, "count >= 0");
        const auto status = PosixFiles::StatOpen(_file, _path);
        TRY(CheckFile(status.error, "read", _path));
        const Int64 skipped = std::clamp<Int64>(status.value.st_size - _position, 0, count);
        _position += skipped;
        return skipped;
    }
    Result<void> CheckUnchanged() const override {
        return CheckFile(PosixFiles::CheckUnchanged(_file, _opened, _path), "read", _path);
    }
    Result<void> Close() override {
        _file = FileHandle();  // nothing was written: nothing can be lost
        return OK;
    }

private:
    const std::string _path;
    const struct stat _opened;
    FileHandle _file;
    Int64 _position = 0;
};

/// Where a stream's bytes go: a file in its place, or one beside it.
class FileSink {
public:
    FileSink(FileHandle file, std::string path) : _path(std::move(path)), _file(std::move(file)) {}
    const std::string& GetPath() const { return _path; }
    Result<void> Write(std::string_view bytes) { return CheckFile(PosixFiles::Write(_file, bytes, _path), "write", _path); }
    Result<void> Publish() { return CheckFile(PosixFiles::Close(_file, _path), "write", _path); }

private:
    const std::string _path;
    FileHandle _file;
};

template <typename SINK>
class FileOutputStream final : public OutputStream {
public:
    FileOutputStream(SINK sink, Int64 position) : _sink(std::move(sink)), _position(position) {}

    Int64 GetStreamLength() const override { return _position; }
    Int64 GetPosition() const override { return _position; }
    String GetName() const override { return String(_sink.GetPath()); }

    Result<void> Write(std::string_view bytes) override {
        TRY(CheckOpen());
        _outcome = CatchOutOfMemory([&]() -> Result<void> { return Gather(bytes); });
        return _outcome;
    }
    Result<void> Flush() override {
        TRY(CheckOpen());
        _outcome = WriteGathered();
        return _outcome;
    }
    Result<void> Close() override {
        if (_closed) return _outcome;
        _closed = true;
        if (_outcome.IsOk()) _outcome = WriteGathered();
        if (_outcome.IsOk()) _outcome = _sink.Publish();
        return _outcome;
    }

private:
    Result<void> CheckOpen() const {
        if (_closed) return IllegalStateError::Create(FormatMessage("@ is closed already.", GetName()));
        return _outcome;
    }
    Result<void> Gather(std::string_view bytes) {
        if (_gathered.size() + bytes.size() > GATHERED_SIZE) TRY(WriteGathered());
        if (bytes.size() > GATHERED_SIZE) {
            TRY(_sink.Write(bytes));
        } else {
            _gathered.append(bytes);
        }
        _position += Int64(bytes.size());
        return OK;
    }
    Result<void> WriteGathered() {
        const Result<void> written = _sink.Write(_gathered);
        _gathered.clear();
        return written;
    }

    SINK _sink;
    Int64 _position;
    std::string _gathered;
    Result<void> _outcome;  // the first error stays
    Bool _closed = false;
};

template <typename SINK>
OutputStreamRef MakeStream(SINK sink, Int64 position) {
    return OutputStreamRef(new FileOutputStream<SINK>(std::move(sink), position));
}

Result<OutputStreamRef> OpenAtEnd(const std::string& path) {
    auto opened = PosixFiles::OpenWrite(path, PosixFiles::WRITE_START::AT_END);
    TRY(CheckFile(opened.error, "write", path));
    const auto status = PosixFiles::StatOpen(opened.value, path);
    TRY(CheckFile(status.error, "write", path));
    return MakeStream(FileSink(std::move(opened.value), path), status.value.st_size);
}

}  // namespace

Result<InputStreamRef> OpenFileInputStream(const std::string& path) {
    struct stat status;
    auto opened = PosixFiles::OpenRead(path, status);
    TRY(CheckFile(opened.error, "read", path));
    return MakeFileInputStream(std::move(opened.value), path, status);
}

InputStreamRef MakeFileInputStream(FileHandle file, std::string path, const struct stat& status) {
    return InputStreamRef(new FileInputStream(std::move(file), std::move(path), status));
}

Result<OutputStreamRef> OpenFileOutputStream(const std::string& path, OUTPUT_MODE mode) {
    if (mode == OUTPUT_MODE::REPLACE) {
        ReplacingFile file = TRY(ReplacingFile::Create(path, NEW_FILE_MODE));
        return MakeStream(std::move(file), 0);
    }
    if (mode == OUTPUT_MODE::APPEND) return OpenAtEnd(path);
    auto opened = mode == OUTPUT_MODE::CREATE_NEW ? PosixFiles::Create(path, NEW_FILE_MODE)
                                                  : PosixFiles::OpenWrite(path, PosixFiles::WRITE_START::EMPTY);
    TRY(CheckFile(opened.error, "write", path));
    return MakeStream(FileSink(std::move(opened.value), path), 0);
}

}  // namespace talvo
