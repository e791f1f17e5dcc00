// Fresh identities: 128 random bits and id texts made with them.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/result.h"

#include <array>
#include <compare>
#include <string>
#include <string_view>

namespace talvo {

/// 128-bit value. All bits zero is the empty one.
class Uuid {
public:
    /// 128 bits of the system's random source. Errors: SystemError if it gives none.
    static Result<Uuid> CreateId();
    /// Reads the 36-character form, either case. Errors: IllegalArgumentError that shows the text.
    static Result<Uuid> Create(std::string_view text);

    Bool IsEmpty() const;
    /// 36 characters, lower case.
    std::string ToString() const;
    /// 32 hexadecimal digits, lower case.
    std::string ToCompactString() const;
    auto operator<=>(const Uuid&) const = default;

private:
    std::array<UChar, 16> _bytes{};
};

enum class UUID_FORM { HYPHENS, COMPACT };

namespace IdHelper {

/// `prefix`, "_" if it isn't empty, and a fresh unique part. Errors: SystemError, IllegalArgumentError (prefix too long).
Result<Id> MakeUuid(std::string_view prefix, UUID_FORM form);

}  // namespace IdHelper

}  // namespace talvo
