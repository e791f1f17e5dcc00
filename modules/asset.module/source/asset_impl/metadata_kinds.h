// The rules of kinds in one place.
#pragma once

#include "assets/asset_metadata.h"

namespace talvo {

using KIND = ASSET_METADATA_KIND;

inline constexpr KIND KIND_DERIVED = KIND::PERSISTENT | KIND::DERIVED;
inline constexpr KIND KIND_USER = KIND::PERSISTENT | KIND::USER;
inline constexpr KIND KIND_STORE_TIME = KIND::READ_ONLY | KIND::PERSISTENT | KIND::VERSIONED;

/// Plain persistent content, the user's or the repository's: following versions take it over, and a change of it makes derived values stale.
constexpr Bool IsCarriedToNextVersion(KIND kind) { return WithoutFlag(kind, KIND::USER) == KIND::PERSISTENT; }
/// Content of the repository: needs a writable one and makes its index stale.
constexpr Bool IsRepositoryContent(KIND kind) {
    return (kind & (KIND::PERSISTENT | KIND::DERIVED | KIND::USER)) == KIND::PERSISTENT;
}
/// What is kept with an entry: the low 16 bits.
constexpr KIND GetStoredKind(KIND kind) { return KIND(UInt32(kind) & 0xffff); }

}  // namespace talvo
