// One mode of faults over one workload: the n-th operation, for each n until a run meets none.
#pragma once

#include "tests/sweep/oracle.h"

#include <string>

namespace talvo::sweep {

enum class MODE { KILL, FAIL, SHORT, OOM, POWER };

struct SweepOptions {
    std::string damage;  ///< what Damage does behind the oracle's back; empty: nothing
    std::string plan;    ///< empty: all there are
};

/// What a sweep went through.
struct SweepCounts {
    Int points = 0;
    Int violations = 0;
};

/// Prints each violation with the plan that led to it.
SweepCounts RunSweep(MODE mode, const Workload& workload, const SweepOptions& options);

/// Damages a repository on purpose, so that one sees the oracle find it: "bytes", "lost", "touched", "extra".
void Damage(const World& world, const std::string& kind);

}  // namespace talvo::sweep
