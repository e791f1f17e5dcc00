// Points in time: microseconds since 1970 in UTC, and the clock that tests can step.
#pragma once

#include "kernel/base/result.h"
#include "kernel/base/types.h"

#include <compare>
#include <string>
#include <string_view>

namespace talvo {

/// Microseconds since 1970-01-01 00:00 UTC. 0 stands for no time.
class UniversalDateTime {
public:
    constexpr UniversalDateTime() = default;
    constexpr explicit UniversalDateTime(Int64 microseconds) : _value(microseconds) {}

    /// The clock of the system, or the stepped one of a test.
    static UniversalDateTime GetNow();
    /// The greatest value: the time of what is always newest.
    static constexpr UniversalDateTime GetMax() { return UniversalDateTime(INT64_MAX); }
    /// Reads RFC 3339 text as `Format` writes it; fewer or no fraction digits and an offset are read too.
    /// Errors: FileFormatError that shows the text.
    static Result<UniversalDateTime> Parse(std::string_view text);

    constexpr Int64 GetValue() const { return _value; }
    constexpr Bool IsEmpty() const { return _value == 0; }
    /// RFC 3339, 6 fraction digits, UTC: "2023-05-02T12:00:00.000000Z".
    std::string Format() const;
    /// Local time by a strftime pattern.
    std::string FormatLocal(const char* pattern) const;

    constexpr auto operator<=>(const UniversalDateTime&) const = default;
    template <typename H>
    friend H AbslHashValue(H state, UniversalDateTime time) {
        return H::combine(std::move(state), time._value);
    }

private:
    Int64 _value = 0;
};

/// Replaces the clock for tests: `GetNow` gives `read()` until null is set again. Not while other threads read it.
void SetClockForTests(Int64 (*read)());

}  // namespace talvo
