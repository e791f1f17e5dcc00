#include "kernel/base/hashing.h"

#include <xxhash.h>

#include <algorithm>

namespace talvo {

UInt GetStoredHash64(std::string_view bytes) { return XXH3_64bits(bytes.data(), bytes.size()); }

std::array<UChar, 16> GetStoredHash128(std::string_view bytes) {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
    std::array<UChar, 16> result;
    std::copy(std::begin(canonical.digest), std::end(canonical.digest), result.begin());
    return result;
}

}  // namespace talvo
