#include "kernel/base/date_time.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace talvo {

namespace {

constexpr Int64 MICROSECONDS = 1'000'000;
constexpr Int64 SECONDS_A_DAY = 86'400;

std::atomic<Int64 (*)()> clockOfTests{nullptr};

/// Reads the parts of a text from its front; remembers if one did not fit.
class Reader {
public:
    explicit Reader(std::string_view text) : _rest(text) {}

    Bool IsGood() const { return _good; }
    Bool IsAtEnd() const { return _rest.empty(); }
    char Peek() const { return _rest.empty() ? '\0' : _rest.front(); }
    char Take() {
        const char next = Peek();
        _good = _good && !_rest.empty();
        if (!_rest.empty()) _rest.remove_prefix(1);
        return next;
    }
    void Expect(std::string_view anyOf) { _good = anyOf.find(Take()) != std::string_view::npos && _good; }
    Bool HasDigit() const { return Peek() >= '0' && Peek() <= '9'; }
    /// A number of exactly `digits` digits, from `least` to `greatest`.
    Int64 Number(int digits, Int64 least, Int64 greatest) {
        Int64 value = 0;
        for (int i = 0; i < digits; ++i) {
            _good = _good && HasDigit();
            value = value * 10 + (Take() - '0');
        }
        _good = _good && value >= least && value <= greatest;
        return _good ? value : least;
    }

private:
    std::string_view _rest;
    Bool _good = true;
};

/// Years beyond four digits have a sign and six, so that every value can be written and read back.
Int64 ReadYear(Reader& reader) {
    const char sign = reader.Peek();
    if (sign != '+' && sign != '-') return reader.Number(4, 0, 9999);
    reader.Take();
    const Int64 year = reader.Number(6, 0, 999'999);
    return sign == '-' ? -year : year;
}

/// Microseconds of the fraction; digits beyond the sixth are dropped.
Int64 ReadFraction(Reader& reader) {
    if (reader.Peek() != '.') return 0;
    reader.Take();
    Int64 value = reader.Number(1, 0, 9) * (MICROSECONDS / 10);
    for (Int64 weight = MICROSECONDS / 100; reader.HasDigit(); weight /= 10) value += weight * (reader.Take() - '0');
    return value;
}

/// Seconds that the text is ahead of UTC.
Int64 ReadOffset(Reader& reader) {
    const char sign = reader.Take();
    if (sign == 'Z' || sign == 'z') return 0;
    const Int64 hours = reader.Number(2, 0, 23);
    reader.Expect(":");
    const Int64 seconds = (hours * 60 + reader.Number(2, 0, 59)) * 60;
    if (sign != '+' && sign != '-') reader.Expect("");
    return sign == '-' ? -seconds : seconds;
}

/// Days since 1970-01-01; also for years beyond those of std::chrono. Errors: no such day sets `valid` to false.
Int64 CountDays(Int64 year, Int64 month, Int64 day, Bool& valid) {
    // 400 years repeat exactly: count in the equal year of one period, add the whole periods.
    constexpr Int64 DAYS_A_PERIOD = 146'097;
    const Int64 shifted = year - 2000;
    const Int64 period = shifted >= 0 ? shifted / 400 : -((-shifted + 399) / 400);
    const std::chrono::year_month_day date(std::chrono::year(int(year - period * 400)), std::chrono::month(unsigned(month)),
                                           std::chrono::day(unsigned(day)));
    valid = date.ok();
    return valid ? std::chrono::sys_days(date).time_since_epoch().count() + period * DAYS_A_PERIOD : 0;
}

/// Seconds rounded down, and the rest.
std::pair<Int64, Int64> SplitSeconds(Int64 microseconds) {
    const Int64 seconds = microseconds / MICROSECONDS;
    const Int64 rest = microseconds % MICROSECONDS;
    if (rest < 0) return {seconds - 1, rest + MICROSECONDS};
    return {seconds, rest};
}

#ifdef TALVO_FAULTS

/// A clock that is set while the program runs: `TALVO_CLOCK_PLAN=step:SECONDS@N` adds so many seconds from the N-th reading on.
struct ClockPlan {
    Int64 step = 0;
    Int64 first = INT64_MAX;
    std::atomic<Int64> readings{0};

    ClockPlan() {
        const char* text = std::getenv("TALVO_CLOCK_PLAN");
        if (!text) return;
        long long seconds = 0;
        long long number = 0;
        char behind = 0;
        if (std::sscanf(text, "step:%lld@%lld%c", &seconds, &number, &behind) != 2 || number < 1) {
            std::fprintf(stderr, "TALVO_CLOCK_PLAN: can't read \"%s\". Write for instance step:-3600@2.\n", text);
            std::abort();
        }
        step = seconds * MICROSECONDS;
        first = number;
    }
};

Int64 GetPlannedStep() {
    static ClockPlan& plan = *new ClockPlan;
    return plan.readings.fetch_add(1, std::memory_order_relaxed) + 1 >= plan.first ? plan.step : 0;
}

#else

Int64 GetPlannedStep() { return 0; }

#endif

}  // namespace

UniversalDateTime UniversalDateTime::GetNow() {
    if (const auto read = clockOfTests.load(std::memory_order_acquire)) return UniversalDateTime(read());
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return UniversalDateTime(Int64(now.tv_sec) * MICROSECONDS + now.tv_nsec / 1000 + GetPlannedStep());
}

void SetClockForTests(Int64 (*read)()) { clockOfTests.store(read, std::memory_order_release); }

Result<UniversalDateTime> UniversalDateTime::Parse(std::string_view text) {
    Reader reader(text);
    const Int64 year = ReadYear(reader);
    reader.Expect("-");
    const Int64 month = reader.Number(2, 1, 12);
    reader.Expect("-");
    const Int64 day = reader.Number(2, 1, 31);
    reader.Expect("Tt ");
    Int64 seconds = reader.Number(2, 0, 23) * 3600;
    reader.Expect(":");
    seconds += reader.Number(2, 0, 59) * 60;
    reader.Expect(":");
    seconds += reader.Number(2, 0, 60);  // 60: a leap second, which is the next one here
    const Int64 fraction = ReadFraction(reader);
    seconds -= ReadOffset(reader);

    Bool valid = false;
    seconds += CountDays(year, month, day, valid) * SECONDS_A_DAY;
    __extension__ typedef __int128 Wide;
    const Wide value = Wide(seconds) * MICROSECONDS + fraction;
    if (!reader.IsGood() || !reader.IsAtEnd() || !valid || value < INT64_MIN || value > INT64_MAX) {
        return FileFormatError::Create("\"" + std::string(text.substr(0, 80)) +
                                       "\" is no point in time. Write it like 2023-05-02T12:00:00.000000Z.");
    }
    return UniversalDateTime(Int64(value));
}

std::string UniversalDateTime::Format() const {
    const auto [seconds, fraction] = SplitSeconds(_value);
    const std::time_t time = seconds;
    std::tm parts{};
    gmtime_r(&time, &parts);
    const Int64 year = Int64(parts.tm_year) + 1900;
    const char* yearPattern = year >= 0 && year <= 9999 ? "%04lld" : "%+07lld";
    char yearText[16];
    std::snprintf(yearText, sizeof(yearText), yearPattern, static_cast<long long>(year));
    char rest[64];
    std::snprintf(rest, sizeof(rest), "-%02d-%02dT%02d:%02d:%02d.%06lldZ", parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<long long>(fraction));
    return std::string(yearText) + rest;
}

std::string UniversalDateTime::FormatLocal(const char* pattern) const {
    const std::time_t time = SplitSeconds(_value).first;
    std::tm parts{};
    localtime_r(&time, &parts);
    char text[512];
    // Nothing written may also mean that it did not fit: then there is no text, which nobody takes for a time.
    return std::string(text, std::strftime(text, sizeof(text), pattern, &parts));
}

}  // namespace talvo
