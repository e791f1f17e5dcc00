// The lack of memory that tests plan: the n-th allocation fails. Only in builds with TALVO_FAULTS, which bring their own operator new, and not
// under sanitizers, which have theirs.
#pragma once

#include "kernel/base/types.h"

#include <string_view>

namespace talvo {

/// Text form as for files (kernel/io/file_system.h): `fail@N` or `failfrom@N`; N counts from 1. The empty plan only counts.
/// Counted are the allocations of the thread that set the plan, through operator new; what fails throws std::bad_alloc.
/// Threads: each has a plan of its own.
namespace AllocationPlan {

/// @return false if the text is no plan, or in builds that can't plan.
Bool Set(std::string_view plan);
/// The plan of the environment's TALVO_OOM_PLAN, if there is one. A text that is no plan ends the process.
void SetFromEnvironment();
/// From here on nothing is hit or counted.
void Clear();

/// Allocations of this thread neither count nor fail while it lives: for checks that only test builds have. Nothing in other builds.
class Pause {
public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

private:
    [[maybe_unused]] Bool _wasOn = false;
};

/// Allocations counted since the last Set.
Int GetAllocationCount();
/// True if one failed since the last Set.
Bool WasHit();

}  // namespace AllocationPlan

}  // namespace talvo
