#include "browser_filter/length_formula.h"

#include <array>
#include <charconv>
#include <cmath>

namespace talvo {

namespace {

constexpr int MAX_DEPTH = 64;
constexpr Float64 PLAIN_LIMIT = 1e16;
/// Digits of the smallest number written plainly, and some more.
constexpr std::size_t FLOAT_TEXT_SIZE = 400;

struct Unit {
    std::string_view name;
    Float64 length;
};
constexpr Unit UNITS[] = {{"MM", 0.1},  {"CM", 1},     {"M", 100},    {"KM", 100000},
                          {"IN", 2.54}, {"FT", 30.48}, {"YD", 91.44}, {"MI", 160934.4}};

char ToUpperAscii(char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; }
Bool IsLetter(char c) { return ToUpperAscii(c) >= 'A' && ToUpperAscii(c) <= 'Z'; }

/// Recursive descent: sums of products of signed operands.
class Parser {
public:
    explicit Parser(std::string_view text) : _rest(text) {}

    Opt<Float64> Parse() {
        const Opt<Float64> value = ParseSum(0);
        SkipBlanks();
        if (!value || !_rest.empty() || !std::isfinite(*value)) return std::nullopt;
        return value;
    }

private:
    void SkipBlanks() {
        while (!_rest.empty() && UChar(_rest.front()) <= ' ') _rest.remove_prefix(1);
    }
    /// @return 0 if none of `wanted` comes next.
    char Take(std::string_view wanted) {
        SkipBlanks();
        if (_rest.empty() || wanted.find(_rest.front()) == std::string_view::npos) return 0;
        const char taken = _rest.front();
        _rest.remove_prefix(1);
        return taken;
    }
    Opt<Float64> ParseSum(int depth) {
        Opt<Float64> sum = ParseProduct(depth);
        while (sum) {
            const char sign = Take("+-");
            if (!sign) break;
            const Opt<Float64> next = ParseProduct(depth);
            if (!next) return std::nullopt;
            *sum += sign == '+' ? *next : -*next;
        }
        return sum;
    }
    Opt<Float64> ParseProduct(int depth) {
        Opt<Float64> product = ParseOperand(depth);
        while (product) {
            const char sign = Take("*/");
            if (!sign) break;
            const Opt<Float64> next = ParseOperand(depth);
            if (!next) return std::nullopt;
            *product = sign == '*' ? *product * *next : *product / *next;
        }
        return product;
    }
    Opt<Float64> ParseOperand(int depth) {
        Float64 factor = 1;
        while (const char sign = Take("+-")) {
            if (sign == '-') factor = -factor;
        }
        Opt<Float64> value;
        if (Take("(")) {
            if (depth == MAX_DEPTH) return std::nullopt;
            value = ParseSum(depth + 1);
            if (!value || !Take(")")) return std::nullopt;
        } else {
            value = ParseNumber();
        }
        const Opt<Float64> unit = ParseUnit();
        if (!value || !unit) return std::nullopt;
        return factor * *value * *unit;
    }
    Opt<Float64> ParseNumber() {
        SkipBlanks();
        const Bool begins = !_rest.empty() && (_rest.front() == '.' || (_rest.front() >= '0' && _rest.front() <= '9'));
        if (!begins) return std::nullopt;
        Float64 value = 0;
        const auto read = std::from_chars(_rest.data(), _rest.data() + _rest.size(), value);
        if (read.ec != std::errc()) return std::nullopt;
        _rest.remove_prefix(std::size_t(read.ptr - _rest.data()));
        return value;
    }
    /// @return 1 where no letter comes next, nothing for an unknown unit.
    Opt<Float64> ParseUnit() {
        SkipBlanks();
        std::string name;
        while (!_rest.empty() && IsLetter(_rest.front())) {
            name += ToUpperAscii(_rest.front());
            _rest.remove_prefix(1);
        }
        if (name.empty()) return 1;
        for (const Unit& unit : UNITS) {
            if (unit.name == name) return unit.length;
        }
        return std::nullopt;
    }

    std::string_view _rest;
};

}  // namespace

Opt<Float64> EvaluateLength(std::string_view text) { return Parser(text).Parse(); }

std::string WriteFloat(Float64 value) {
    std::array<char, FLOAT_TEXT_SIZE> text;
    const Bool isPlain = std::abs(value) < PLAIN_LIMIT;
    const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), value, format);
    return std::string(text.data(), written.ptr);
}

}  // namespace talvo
