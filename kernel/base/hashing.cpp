#include "kernel/base/hashing.h"

#include <sys/random.h>
#include <xxhash.h>

#include <algorithm>
#include <chrono>
#include <new>

namespace talvo {

UInt GetStoredHash64(std::string_view bytes) { return XXH3_64bits(bytes.data(), bytes.size()); }

std::array<UChar, 16> GetStoredHash128(std::string_view bytes) {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
    std::array<UChar, 16> result;
    std::copy(std::begin(canonical.digest), std::end(canonical.digest), result.begin());
    return result;
}

struct StoredHasher64::State {
    struct Free {
        void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
    };
    std::unique_ptr<XXH3_state_t, Free> xxh3{XXH3_createState()};
};

StoredHasher64::StoredHasher64() : _state(std::make_unique<State>()) {
    if (!_state->xxh3) throw std::bad_alloc();
    XXH3_64bits_reset(_state->xxh3.get());
}

StoredHasher64::~StoredHasher64() = default;

void StoredHasher64::Add(std::string_view bytes) { XXH3_64bits_update(_state->xxh3.get(), bytes.data(), bytes.size()); }

UInt StoredHasher64::Get() const { return XXH3_64bits_digest(_state->xxh3.get()); }

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
