#include "kernel/base/hashing.h"

#include <sys/random.h>
#include <xxhash.h>

#include <algorithm>
#include <chrono>

namespace talvo {

UInt GetStoredHash64(std::string_view bytes) { return XXH3_64bits(bytes.data(), bytes.size()); }

std::array<UChar, 16> GetStoredHash128(std::string_view bytes) {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
    std::array<UChar, 16> result;
    std::copy(std::begin(canonical.digest), std::end(canonical.digest), result.begin());
    return result;
}

namespace {

UInt MakeSeed() {
    UInt seed = 0;
    // A seed that can be guessed costs speed at worst, so this doesn't wait for the system to have random numbers.
    if (getrandom(&seed, sizeof(seed), GRND_NONBLOCK) == ssize_t(sizeof(seed))) return seed;
    return UInt(std::chrono::steady_clock::now().time_since_epoch().count());
}

}  // namespace

UInt GetTableHash(std::string_view bytes) {
    static const UInt seed = MakeSeed();
    return XXH3_64bits_withSeed(bytes.data(), bytes.size(), seed);
}

}  // namespace talvo
