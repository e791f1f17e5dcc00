// The file `hash` of a version: its version id and, where that is another text, the digest of the payload.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"

#include <string>
#include <string_view>

namespace talvo {

inline constexpr const char* HASH_FILE_NAME = "hash";
/// The version id and a digest fit many times over; what is longer is none of ours.
inline constexpr Int64 MAX_HASH_FILE_SIZE = Int64(2) << 20;

/// Overwritten and copied versions keep an id that isn't the hash of their bytes. The digest beside it lets a check tell damage from that.
struct HashFile {
    Id versionId;
    std::string digest;  ///< 64 lower-case hexadecimal digits; empty: the version id is the digest, or nobody knows it
};

/// One line, and a second one only where the digest differs from the version id.
std::string WriteHashText(const HashFile& hash);
/// Nothing if the first line is no version id that a version with a payload can have.
Opt<HashFile> ParseHashFile(std::string_view text);
/// Whether `text` is a SHA-256 in hexadecimal digits, of either case.
Bool IsDigestText(std::string_view text);

}  // namespace talvo
