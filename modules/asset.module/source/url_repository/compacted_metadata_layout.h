// What writer and reader of compacted metadata agree on.
//
// Payload, little endian: flags, count of types (UInt32 each); counts of assets and rows, bytes of asset ids, of version ids, of type ids and of values (UInt64
// each); then the columns: offsets of asset ids, first row of each asset, offsets of version ids (not with digests), offsets of values (UInt64 each, one more
// than there are), asset ids, version ids, type ids (each behind its length, UInt32), values (each the number of its type, UInt32, and a tagged value).
#pragma once

#include "kernel/base/types.h"

#include <array>
#include <bit>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace talvo::compacted {

inline constexpr UInt32 VERSIONS_ARE_DIGESTS = 1;
inline constexpr std::size_t MAX_TYPES = 4096;
inline constexpr UInt DIGEST_SIZE = 32;
inline constexpr std::size_t HEAD_SIZE = 2 * sizeof(UInt32) + 6 * sizeof(UInt);

static_assert(std::endian::native == std::endian::little, "numbers are written and read as they lie in memory");

template <typename T>
void AppendNumber(std::string& bytes, T number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof(T));
}

/// The number at `position`, which the caller knows to be there.
template <typename T>
T ReadNumber(std::string_view bytes, std::size_t position) {
    T number;
    std::memcpy(&number, bytes.data() + position, sizeof(T));
    return number;
}

inline std::string_view GetBytes(const std::vector<UInt>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(UInt)};
}

using Digest = std::array<char, DIGEST_SIZE>;
/// The 32 bytes that 64 lower-case hexadecimal digits stand for. @return false for another text.
Bool PackDigest(std::string_view text, Digest& digest);

/// A version id in both forms that columns have it in, for who looks into several. The text must outlive it.
class VersionKey {
public:
    explicit VersionKey(std::string_view text) : _text(text), _isDigest(PackDigest(text, _digest)) {}
    std::string_view GetText() const { return _text; }
    Bool IsDigest() const { return _isDigest; }
    std::string_view GetDigest() const { return {_digest.data(), _digest.size()}; }

private:
    std::string_view _text;
    Digest _digest;
    Bool _isDigest;
};

}  // namespace talvo::compacted
