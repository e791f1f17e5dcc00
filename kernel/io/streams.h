// Byte streams.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/object.h"
#include "kernel/base/result.h"
#include "kernel/text/string.h"

#include <span>
#include <string>
#include <string_view>

namespace talvo {

/// What input and output have in common. Threads: one at a time.
class BaseStream : public ObjectInterface {
public:
    /// Whole length, or -1 where it can't be known.
    virtual Int64 GetStreamLength() const { return -1; }
    virtual Int64 GetPosition() const = 0;
    virtual Bool SeekSupported() const { return false; }
    /// Errors: UnsupportedOperationError where seeking is not supported.
    virtual Result<void> Seek(Int64 position);
    /// Ends the work; a second call is fine. An output stream is whole only after a Close that succeeded.
    virtual Result<void> Close() = 0;
};

class InputStream : public BaseStream {
public:
    /// Reads up to `buffer.size()` bytes. @return how many; less than asked for only at the end.
    virtual Result<Int64> ReadEOS(Block<char> buffer) = 0;
    /// Exactly `buffer.size()` bytes. Errors: IoError "Unexpected end of @." that names the stream.
    Result<void> Read(Block<char> buffer);
    /// Passes over up to `count` bytes. @return how many; less only at the end. Errors: IllegalArgumentError if it is negative.
    virtual Result<Int64> Skip(Int64 count);
    /// For whoever needs all of one state: fails if what is read was changed since the stream was opened, as far as that can be
    /// told. Errors: IoError that names it.
    virtual Result<void> CheckUnchanged() const { return OK; }
    virtual String GetName() const = 0;
};

class OutputStream : public BaseStream {
public:
    virtual Result<void> Write(std::string_view bytes) = 0;
    virtual Result<void> Flush() { return OK; }
    virtual String GetName() const = 0;
};

using InputStreamRef = StrongRef<InputStream>;
using OutputStreamRef = StrongRef<OutputStream>;

/// Throws everything away, counting.
Result<OutputStreamRef> CreateNullOutputStream();
/// Appends to `target`, which the caller keeps alive.
Result<OutputStreamRef> CreateStringOutputStream(std::string& target);
Result<InputStreamRef> CreateStringInputStream(std::string bytes, String name);

/// Passes all bytes on to `target` and hashes them (SHA-256, FIPS 180-4).
/// `Close` closes `target` and then sets `digest` to the 32 raw bytes; until then it stays as it was. The caller keeps
/// `digest` alive.
Result<OutputStreamRef> CreateHashingOutputStream(OutputStreamRef target, std::string& digest);

/// 64 lower-case hexadecimal digits of a 32-byte digest (any length works).
std::string ToHex(std::string_view bytes);

/// Wraps an output stream in another; how a caller asks a writer for a hash of what it writes.
using HashStreamDelegate = FunctionRef<Result<OutputStreamRef>(OutputStreamRef target, std::string& digest)>;

}  // namespace talvo
