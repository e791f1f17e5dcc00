// What a benchmark has to say: rows of one table, each with its target.
#pragma once

#include "kernel/base/types.h"

#include <string>
#include <vector>

namespace talvo::bench {

struct Row {
    std::string work;
    std::string ours;
    std::string peer;
    std::string unit;  ///< of `measured` and `target`
    Float64 measured = 0;
    enum class GOAL { AT_MOST, AT_LEAST, NONE } goal = GOAL::NONE;  ///< NONE: told for orientation
    Float64 target = 0;

    Bool IsMet() const;
};

/// Sizes and places for all benchmarks.
struct Setting {
    Bool quick = false;   ///< small sizes: shows that everything works, its figures mean nothing
    Int runs = 5;         ///< of each side of a comparison
    std::string program;  ///< `talvo`
    std::string self;     ///< this program
    std::string scratch;  ///< folder that is emptied before each benchmark
    std::string kept;     ///< folder of what several benchmarks use; empty: one that goes with the run

    /// The size for this setting.
    Int Choose(Int full, Int small) const { return quick ? small : full; }
    std::string At(const std::string& name) const { return scratch + "/" + name; }
};

std::string ShowSeconds(Float64 seconds);
std::string ShowNumber(Float64 number);

/// One line for each row, as rows come; the whole table at the end.
std::string MakeTableHead();
std::string MakeTableLine(const std::string& benchmark, const Row& row);

}  // namespace talvo::bench
