#include "kernel/io/streams.h"

#include "kernel/text/format.h"

#include <algorithm>
#include <utility>

namespace talvo {

namespace {

class NullOutputStream final : public OutputStream {
public:
    Int64 GetStreamLength() const override { return _position; }
    Int64 GetPosition() const override { return _position; }
    Result<void> Write(std::string_view bytes) override {
        _position += Int64(bytes.size());
        return OK;
    }
    Result<void> Close() override { return OK; }
    String GetName() const override { return "nowhere"; }

private:
    Int64 _position = 0;
};

class StringOutputStream final : public OutputStream {
public:
    explicit StringOutputStream(std::string& target) : _target(target) {}
    Int64 GetStreamLength() const override { return _position; }
    Int64 GetPosition() const override { return _position; }
    Result<void> Write(std::string_view bytes) override {
        return CatchOutOfMemory([&]() -> Result<void> {
            _target.append(bytes);
            _position += Int64(bytes.size());
            return OK;
        });
    }
    Result<void> Close() override { return OK; }
    String GetName() const override { return "memory"; }

private:
    std::string& _target;
    Int64 _position = 0;
};

class StringInputStream final : public InputStream {
public:
    StringInputStream(std::string bytes, String name) : _bytes(std::move(bytes)), _name(std::move(name)) {}
    Int64 GetStreamLength() const override { return Int64(_bytes.size()); }
    Int64 GetPosition() const override { return _position; }
    Bool SeekSupported() const override { return true; }
    Result<void> Seek(Int64 position) override {
        if (position < 0 || position > GetStreamLength()) {
            return IllegalArgumentError::Create(
                FormatMessage("Can't go to position @ of @: it has @ bytes.", position, _name, _bytes.size()));
        }
        _position = position;
        return OK;
    }
    Result<Int64> ReadEOS(Block<char> buffer) override {
        const std::string_view part = std::string_view(_bytes).substr(std::size_t(_position), buffer.size());
        std::copy(part.begin(), part.end(), buffer.begin());
        _position += Int64(part.size());
        return Int64(part.size());
    }
    Result<Int64> Skip(Int64 count) override {
        CHECK_ARGUMENT(count >= 0, "count >= 0");
        count = std::min(count, GetStreamLength() - _position);
        _position += count;
        return count;
    }
    Result<void> Close() override { return OK; }
    String GetName() const override { return _name; }

private:
    const std::string _bytes;
    const String _name;
    Int64 _position = 0;
};

}  // namespace

Result<void> BaseStream::Seek(Int64) {
    return UnsupportedOperationError::Create("This stream can only be read or written in order.");
}

Result<void> InputStream::Read(Block<char> buffer) {
    const Int64 count = TRY(ReadEOS(buffer));
    if (count < Int64(buffer.size())) return IoError::Create(FormatMessage("Unexpected end of @.", GetName()));
    return OK;
}

Result<Int64> InputStream::Skip(Int64 count) {
    CHECK_ARGUMENT(count >= 0, "count >= 0");
    char buffer[4096];
    Int64 skipped = 0;
    while (skipped < count) {
        const Int64 wanted = std::min(count - skipped, Int64(sizeof(buffer)));
        const Int64 read = TRY(ReadEOS(Block<char>(buffer, std::size_t(wanted))));
        skipped += read;
        if (read < wanted) break;
    }
    return skipped;
}

Result<OutputStreamRef> CreateNullOutputStream() {
    return CatchOutOfMemory([]() -> Result<OutputStreamRef> { return OutputStreamRef(new NullOutputStream); });
}

Result<OutputStreamRef> CreateStringOutputStream(std::string& target) {
    return CatchOutOfMemory([&]() -> Result<OutputStreamRef> { return OutputStreamRef(new StringOutputStream(target)); });
}

Result<InputStreamRef> CreateStringInputStream(std::string bytes, String name) {
    return CatchOutOfMemory(
        [&]() -> Result<InputStreamRef> { return InputStreamRef(new StringInputStream(std::move(bytes), std::move(name))); });
}

std::string ToHex(std::string_view bytes) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        text += DIGITS[static_cast<UChar>(c) >> 4];
        text += DIGITS[static_cast<UChar>(c) & 15];
    }
    return text;
}

}  // namespace talvo
