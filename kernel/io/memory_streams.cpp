#include "kernel/io/memory_streams.h"

#include "kernel/io/file_errors.h"
#include "kernel/text/format.h"

#include <algorithm>
#include <utility>

namespace talvo {

namespace {

ErrorRef MakeClosedError(const String& name) { return IllegalStateError::Create(FormatMessage("@ is closed already.", name)); }

class MemoryInputStream final : public InputStream {
public:
    MemoryInputStream(MemoryStreamPlace place, MemoryNodeRef file)
        : _place(std::move(place)), _file(std::move(file)), _length(_place.tree.GetSize(*_file)) {}

    /// As it was when the file was opened.
    Int64 GetStreamLength() const override { return _length; }
    Int64 GetPosition() const override { return _position; }
    Bool SeekSupported() const override { return true; }
    String GetName() const override { return _place.name; }

    Result<void> Seek(Int64 position) override {
        if (position < 0) return IllegalArgumentError::Create(FormatMessage("Can't go to position @ of @.", position, GetName()));
        _position = position;
        return OK;
    }
    Result<Int64> ReadEOS(Block<char> buffer) override {
        if (_closed) return MakeClosedError(_place.name);
        const Int64 read = _place.tree.ReadAt(*_file, buffer, _position);
        _position += read;
        return read;
    }
    Result<Int64> Skip(Int64 count) override {
        CHECK_ARGUMENT(count >= 0, "count >= 0");
        const Int64 skipped = std::clamp<Int64>(_place.tree.GetSize(*_file) - _position, 0, count);
        _position += skipped;
        return skipped;
    }
    Result<void> Close() override {
        _closed = true;
        return OK;
    }

private:
    const MemoryStreamPlace _place;
    const MemoryNodeRef _file;
    const Int64 _length;
    Int64 _position = 0;
    Bool _closed = false;
};

class MemoryOutputStream final : public OutputStream {
public:
    MemoryOutputStream(MemoryStreamPlace place, MemoryNodeRef file)
        : _place(std::move(place)), _file(std::move(file)), _position(_place.tree.GetSize(*_file)) {}

    Int64 GetStreamLength() const override { return _position; }
    Int64 GetPosition() const override { return _position; }
    String GetName() const override { return _place.name; }

    Result<void> Write(std::string_view bytes) override {
        if (_closed) return MakeClosedError(_place.name);
        return CatchOutOfMemory([&]() -> Result<void> {
            _place.tree.WriteAt(*_file, bytes, _position);
            _position += Int64(bytes.size());
            return OK;
        });
    }
    Result<void> Close() override {
        _closed = true;
        return OK;
    }

private:
    const MemoryStreamPlace _place;
    const MemoryNodeRef _file;
    Int64 _position;
    Bool _closed = false;
};

class MemoryReplaceStream final : public OutputStream {
public:
    explicit MemoryReplaceStream(MemoryStreamPlace place) : _place(std::move(place)) {}

    Int64 GetStreamLength() const override { return _position; }
    Int64 GetPosition() const override { return _position; }
    String GetName() const override { return _place.name; }

    Result<void> Write(std::string_view bytes) override {
        if (_closed) return MakeClosedError(_place.name);
        if (_outcome.IsError()) return _outcome;
        _outcome = CatchOutOfMemory([&]() -> Result<void> {
            _bytes.append(bytes);
            return OK;
        });
        _position += Int64(bytes.size());
        return _outcome;
    }
    Result<void> Close() override {
        if (std::exchange(_closed, true) || _outcome.IsError()) return _outcome;
        _outcome = CatchOutOfMemory(
            [&] { return CheckFile(_place.tree.Replace(_place.path, std::move(_bytes)), "write", _place.name.GetView()); });
        return _outcome;
    }

private:
    const MemoryStreamPlace _place;
    std::string _bytes;
    Int64 _position = 0;
    Result<void> _outcome;  // the first error stays
    Bool _closed = false;
};

}  // namespace

InputStreamRef CreateMemoryInputStream(MemoryStreamPlace place, MemoryNodeRef file) {
    return InputStreamRef(new MemoryInputStream(std::move(place), std::move(file)));
}

OutputStreamRef CreateMemoryOutputStream(MemoryStreamPlace place, MemoryNodeRef file) {
    return OutputStreamRef(new MemoryOutputStream(std::move(place), std::move(file)));
}

OutputStreamRef CreateMemoryReplaceStream(MemoryStreamPlace place) {
    return OutputStreamRef(new MemoryReplaceStream(std::move(place)));
}

}  // namespace talvo
