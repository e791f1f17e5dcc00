#include "bench/report.h"

#include <cmath>
#include <cstdio>

namespace talvo::bench {

namespace {

std::string Format(const char* format, Float64 number) {
    char text[64];
    std::snprintf(text, sizeof(text), format, number);
    return text;
}

std::string ShowTarget(const Row& row) {
    if (row.goal == Row::GOAL::NONE) return "";
    const std::string unit = row.unit.empty() ? "" : " " + row.unit;
    return (row.goal == Row::GOAL::AT_MOST ? "at most " : "at least ") + ShowNumber(row.target) + unit;
}

}  // namespace

Bool Row::IsMet() const {
    if (goal == GOAL::NONE) return true;
    return goal == GOAL::AT_MOST ? measured <= target : measured >= target;
}

std::string ShowSeconds(Float64 seconds) {
    if (seconds < 1e-6) return Format("%.0f ns", seconds * 1e9);
    if (seconds < 1e-3) return Format("%.2f us", seconds * 1e6);
    return seconds < 1 ? Format("%.1f ms", seconds * 1e3) : Format("%.2f s", seconds);
}

std::string ShowNumber(Float64 number) {
    if (number == std::floor(number) && std::fabs(number) < 1e9) return Format("%.0f", number);
    return std::fabs(number) < 10 ? Format("%.2f", number) : Format("%.1f", number);
}

std::string MakeTableHead() {
    return "| Benchmark | Work | Ours | Peer | Measured | Target | Met |\n|---|---|---|---|---|---|---|\n";
}

std::string MakeTableLine(const std::string& benchmark, const Row& row) {
    const std::string unit = row.unit.empty() ? "" : " " + row.unit;
    const std::string met = row.goal == Row::GOAL::NONE ? "" : row.IsMet() ? "yes" : "NO";
    return "| " + benchmark + " | " + row.work + " | " + row.ours + " | " + row.peer + " | " + ShowNumber(row.measured) + unit +
           " | " + ShowTarget(row) + " | " + met + " |\n";
}

}  // namespace talvo::bench
