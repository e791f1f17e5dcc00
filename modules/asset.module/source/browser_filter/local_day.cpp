#include "browser_filter/local_day.h"

#include <chrono>
#include <ctime>

namespace talvo {

Int64 GetLocalDay(UniversalDateTime time) {
    constexpr Int64 MICROSECONDS = 1000000;
    const Int64 seconds = time.GetValue() / MICROSECONDS - (time.GetValue() % MICROSECONDS < 0 ? 1 : 0);
    const std::time_t clock = seconds;
    std::tm local{};
    if (!localtime_r(&clock, &local)) return 0;
    constexpr int FIRST_YEAR = 1900;
    const std::chrono::year_month_day day{std::chrono::year(local.tm_year + FIRST_YEAR),
                                          std::chrono::month(unsigned(local.tm_mon + 1)),
                                          std::chrono::day(unsigned(local.tm_mday))};
    return std::chrono::sys_days(day).time_since_epoch().count();
}

}  // namespace talvo
