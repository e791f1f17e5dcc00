#include "browser_filter/local_day.h"

#include <ctime>

namespace talvo {

namespace {

Int64 DivideDown(Int64 value, Int64 by) { return value / by - (value % by < 0 ? 1 : 0); }

}  // namespace

Int64 GetLocalDay(UniversalDateTime time) {
    constexpr Int64 MICROSECONDS = 1000000;
    constexpr Int64 SECONDS_OF_A_DAY = 86400;
    const Int64 seconds = DivideDown(time.GetValue(), MICROSECONDS);
    const std::time_t clock = seconds;
    std::tm local{};
    // By the offset, since years of stored times may be of any length.
    const Int64 offset = localtime_r(&clock, &local) ? Int64(local.tm_gmtoff) : 0;
    return DivideDown(seconds + offset, SECONDS_OF_A_DAY);
}

}  // namespace talvo
