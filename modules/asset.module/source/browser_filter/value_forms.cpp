#include "browser_filter/value_forms.h"

#include "kernel/text/casing.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstring>

namespace talvo {

namespace {

enum class OPERATOR { EQUAL, LESS, GREATER, LESS_OR_EQUAL, GREATER_OR_EQUAL };

struct Comparison {
    OPERATOR op = OPERATOR::EQUAL;
    std::string_view operand;
};

/// Longer values are looked for in time that grows with the text alone, whatever they are.
constexpr std::size_t LONG_VALUE = 64;
/// In upper case a text has at most so many times its bytes.
constexpr std::size_t GROWTH = 2;

Bool ContainsBytes(std::string_view text, std::string_view wanted) {
    return memmem(text.data(), text.size(), wanted.data(), wanted.size()) != nullptr;
}

Bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// @return nothing for what can't be a comparison.
Opt<Comparison> ReadComparison(std::string_view text) {
    if (text.empty()) return std::nullopt;
    if (IsDigit(text.front()) || text.front() == '-') return Comparison{OPERATOR::EQUAL, text};
    if (text.starts_with("<=")) return Comparison{OPERATOR::LESS_OR_EQUAL, text.substr(2)};
    if (text.starts_with(">=")) return Comparison{OPERATOR::GREATER_OR_EQUAL, text.substr(2)};
    switch (text.front()) {
        case '=': return Comparison{OPERATOR::EQUAL, text.substr(1)};
        case '<': return Comparison{OPERATOR::LESS, text.substr(1)};
        case '>': return Comparison{OPERATOR::GREATER, text.substr(1)};
        default: return std::nullopt;
    }
}

template <typename T>
Bool Holds(OPERATOR op, const T& value, const T& operand) {
    switch (op) {
        case OPERATOR::EQUAL: return value == operand;
        case OPERATOR::LESS: return value < operand;
        case OPERATOR::GREATER: return value > operand;
        case OPERATOR::LESS_OR_EQUAL: return value <= operand;
        case OPERATOR::GREATER_OR_EQUAL: return value >= operand;
    }
    return false;
}

/// The number that the whole text is.
template <typename T>
Opt<T> ReadNumber(std::string_view text) {
    // "inf" and "nan" are no numbers here.
    if (text.empty() || !(IsDigit(text.back()) || text.back() == '.')) return std::nullopt;
    T number{};
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

template <typename T>
Bool MatchesNumberOf(T number, const String& value) {
    const Opt<Comparison> comparison = ReadComparison(value.GetView());
    if (!comparison) return false;
    const Opt<T> operand = ReadNumber<T>(comparison->operand);
    return operand && Holds(comparison->op, number, *operand);
}

/// Days since 1970-01-01 of "YYYY-MM-DD".
Opt<Int64> ReadDate(std::string_view text) {
    const std::size_t first = text.find('-');
    const std::size_t second = first == std::string_view::npos ? first : text.find('-', first + 1);
    if (second == std::string_view::npos) return std::nullopt;
    const Opt<Int32> year = ReadNumber<Int32>(text.substr(0, first));
    const Opt<Int32> month = ReadNumber<Int32>(text.substr(first + 1, second - first - 1));
    const Opt<Int32> day = ReadNumber<Int32>(text.substr(second + 1));
    constexpr Int32 LAST_YEAR = 9999;
    if (!year || !month || !day || *year < 1 || *year > LAST_YEAR || *month < 1 || *day < 1) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(*year), std::chrono::month(unsigned(*month)),
                                           std::chrono::day(unsigned(*day))};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days(date).time_since_epoch().count();
}

/// At most three decimals, no more than needed.
std::string WriteDecimals(Float64 value) {
    std::array<char, 400> text;
    constexpr int DECIMALS = 3;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, DECIMALS);
    std::string_view digits(text.data(), std::size_t(written.ptr - text.data()));
    while (digits.ends_with('0')) digits.remove_suffix(1);
    if (digits.ends_with('.')) digits.remove_suffix(1);
    return digits == "-0" ? "0" : std::string(digits);
}

struct Scale {
    Float64 from;
    Float64 factor;
    const char* unit;
};

String WriteScaled(Float64 metres, std::span<const Scale> scales) {
    for (const Scale& scale : scales) {
        if (metres >= scale.from) return String(WriteDecimals(metres * scale.factor) + " " + scale.unit);
    }
    return String(WriteDecimals(metres));
}

constexpr Float64 LOWEST = -INFINITY;
constexpr Scale METRIC[] = {{1000, 0.001, "km"}, {1, 1, "m"}, {0.01, 100, "cm"}, {LOWEST, 1000, "mm"}};
constexpr Scale IMPERIAL[] = {
    {1609.344, 1 / 1609.344, "mi"}, {0.9144, 1 / 0.9144, "yd"}, {0.3048, 1 / 0.3048, "ft"}, {LOWEST, 1 / 0.0254, "in"}};

}  // namespace

Bool ContainsText(const String& text, const String& value) {
    const std::size_t length = value.GetView().size();
    if (length < LONG_VALUE) return text.FindUpperIndex(value) != String::NOT_FOUND;
    return length <= GROWTH * text.GetView().size() && ContainsBytes(text.ToUpper().GetView(), value.GetView());
}

Bool MatchId(std::string_view idText, const String& value) {
    std::string_view wanted = value.GetView();
    const Bool isAtFront = wanted.starts_with('$');
    if (isAtFront) wanted.remove_prefix(1);
    if (wanted.size() > idText.size()) return false;
    const auto fold = [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; };
    const auto isSame = [&](char id, char upper) { return fold(id) == upper; };
    if (wanted.size() >= LONG_VALUE) {
        std::string upper(isAtFront ? idText.substr(0, wanted.size()) : idText);
        std::transform(upper.begin(), upper.end(), upper.begin(), fold);
        return ContainsBytes(upper, wanted);
    }
    if (isAtFront) return std::equal(wanted.begin(), wanted.end(), idText.begin(), [&](char w, char i) { return isSame(i, w); });
    return std::search(idText.begin(), idText.end(), wanted.begin(), wanted.end(), isSame) != idText.end() || wanted.empty();
}

Bool MatchesBool(Bool answer, const String& value) {
    const std::string_view word = value.GetView();
    if (word == "YES" || word == "TRUE" || word == "1") return answer;
    if (word == "NO" || word == "FALSE" || word == "0") return !answer;
    return false;
}

Bool MatchesNumber(Int64 number, const String& value) { return MatchesNumberOf(number, value); }
Bool MatchesFloat(Float64 number, const String& value) { return MatchesNumberOf(number, value); }

Bool MatchesDate(Int64 day, const String& value) {
    const Opt<Comparison> comparison = ReadComparison(value.GetView());
    if (!comparison) return false;
    const Opt<Int64> operand = ReadDate(comparison->operand);
    return operand && Holds(comparison->op, day, *operand);
}

Bool IsComparison(const String& value) {
    const std::string_view text = value.GetView();
    return !text.empty() && (text.front() == '=' || text.front() == '<' || text.front() == '>');
}

Bool MatchesOrderedText(const String& text, const String& value) {
    if (!IsComparison(value)) return ContainsText(text, value);
    const Opt<Comparison> comparison = ReadComparison(value.GetView());
    const String operand(comparison->operand);
    const String upper = text.ToUpper();
    if (comparison->op == OPERATOR::EQUAL) return upper == operand;
    return Holds(comparison->op, CompareText(upper, operand, COMPARE_MODE::DISPLAY), 0);
}

String DescribeLength(const String& value, Int32 lengthUnitSystem) {
    const Opt<Comparison> comparison = ReadComparison(value.GetView());
    const Opt<Float64> units = comparison ? ReadNumber<Float64>(comparison->operand) : std::nullopt;
    if (!units) return value;
    const std::string_view text = value.GetView();
    const std::string op(text.substr(0, text.size() - comparison->operand.size()));
    return String(op) + WriteLength(*units, lengthUnitSystem);
}

String WriteByteCount(Int64 bytes) {
    constexpr const char* UNITS[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
    constexpr Float64 STEP = 1024;
    auto value = Float64(bytes);
    std::size_t unit = 0;
    for (; value >= STEP && unit + 1 < std::size(UNITS); ++unit) value /= STEP;
    std::array<char, 64> text;
    const auto written =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, unit == 0 ? 0 : 1);
    return String(std::string(text.data(), written.ptr) + " " + UNITS[unit]);
}

String WriteLength(Float64 units, Int32 lengthUnitSystem) {
    constexpr Float64 UNITS_OF_A_METRE = 100;
    constexpr Int32 IMPERIAL_SYSTEM = 1;
    const Float64 metres = units / UNITS_OF_A_METRE;
    return lengthUnitSystem == IMPERIAL_SYSTEM ? WriteScaled(metres, IMPERIAL) : WriteScaled(metres, METRIC);
}

}  // namespace talvo
