// Hash codes that may be stored (pinned for ever) and the mix for tables in memory.
#pragma once

#include "kernel/base/types.h"

#include <array>
#include <memory>
#include <string_view>

namespace talvo {

/// XXH3, 64 bits, seed 0, over the bytes given. Part of file formats: never changes.
UInt GetStoredHash64(std::string_view bytes);
/// XXH3, 128 bits, seed 0, in canonical (big-endian) byte order. Part of file formats: never changes.
std::array<UChar, 16> GetStoredHash128(std::string_view bytes);

/// GetStoredHash64 of bytes that come piece by piece. Throws std::bad_alloc if memory is out. Threads: one at a time.
class StoredHasher64 {
public:
    StoredHasher64();
    ~StoredHasher64();
    void Add(std::string_view bytes);
    /// The hash of all that was added so far.
    UInt Get() const;

private:
    struct State;
    const std::unique_ptr<State> _state;
};

/// XXH3, 64 bits, with a seed drawn at start: for tables in memory, never stored. Nobody can choose texts that collide.
UInt GetTableHash(std::string_view bytes);

}  // namespace talvo
