// The names of version directories: `<n>`, `<n>-deleted`, and `<n>-<40 characters of a version id>`, which is read only.
#pragma once

#include "kernel/base/result.h"
#include "kernel/base/types.h"

#include <string>
#include <string_view>

namespace talvo {

struct VersionDirectoryName {
    enum class FORM { PLAIN, DELETED, WITH_VERSION_ID };
    UInt number = 0;
    FORM form = FORM::PLAIN;
    std::string versionId;   ///< of the form that has one, in lower case
    Bool canonical = false;  ///< no leading zeros
};

/// Nothing for a name that is no version: its number is missing, has other characters than digits, or needs more than 63 bits.
Opt<VersionDirectoryName> ParseVersionDirectoryName(std::string_view name);
/// `<n>`
std::string MakeVersionDirectoryName(UInt number);
/// `<n>-deleted`
std::string MakeDeletedDirectoryName(UInt number);
/// Which of two names of one number counts: a canonical one, then a plain one, then a deletion mark.
Bool IsPreferred(const VersionDirectoryName& first, const VersionDirectoryName& second);

}  // namespace talvo
