#include "kernel/base/allocation_plan.h"

// Sanitizers bring operators of their own, which find more than they would behind others.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TALVO_ALLOCATION_IS_TAKEN
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TALVO_ALLOCATION_IS_TAKEN
#endif
#endif

#if defined(TALVO_FAULTS) && !defined(TALVO_ALLOCATION_IS_TAKEN)

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace talvo {

namespace {

struct Plan {
    Bool isOn = false;
    Bool wasHit = false;
    Bool failsOn = false;  // after the first one too
    Int first = 0;         // 0: none fails
    Int count = 0;
};
thread_local constinit Plan t_plan;

}  // namespace

Bool AllocationPlan::Set(std::string_view text) {
    Plan plan;
    plan.isOn = true;
    if (!text.empty()) {
        const std::size_t at = text.find('@');
        const std::string_view kind = text.substr(0, at);
        if (at == std::string_view::npos || (kind != "fail" && kind != "failfrom")) return false;
        const auto [end, error] = std::from_chars(text.data() + at + 1, text.data() + text.size(), plan.first);
        if (error != std::errc() || end != text.data() + text.size() || plan.first < 1) return false;
        plan.failsOn = kind == "failfrom";
    }
    t_plan = plan;
    return true;
}

void AllocationPlan::SetFromEnvironment() {
    const char* text = std::getenv("TALVO_OOM_PLAN");
    if (!text || Set(text)) return;
    std::fprintf(stderr, "TALVO_OOM_PLAN: can't read \"%s\". Write for instance fail@3.\n", text);
    std::abort();
}

void AllocationPlan::Clear() { t_plan.isOn = false; }

AllocationPlan::Pause::Pause() : _wasOn(std::exchange(t_plan.isOn, false)) {}
AllocationPlan::Pause::~Pause() { t_plan.isOn = _wasOn; }

Int AllocationPlan::GetAllocationCount() { return t_plan.count; }

Bool AllocationPlan::WasHit() { return t_plan.wasHit; }

namespace {

Bool MustFail() {
    Plan& plan = t_plan;
    if (!plan.isOn) return false;
    const Int number = ++plan.count;
    const Bool fails = plan.first != 0 && (number == plan.first || (plan.failsOn && number > plan.first));
    plan.wasHit = plan.wasHit || fails;
    return fails;
}

}  // namespace

}  // namespace talvo

void* operator new(std::size_t size) {
    void* memory = talvo::MustFail() ? nullptr : std::malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

#else

namespace talvo {

Bool AllocationPlan::Set(std::string_view) { return false; }
void AllocationPlan::SetFromEnvironment() {}
void AllocationPlan::Clear() {}
AllocationPlan::Pause::Pause() = default;
AllocationPlan::Pause::~Pause() = default;
Int AllocationPlan::GetAllocationCount() { return 0; }
Bool AllocationPlan::WasHit() { return false; }

}  // namespace talvo

#endif
