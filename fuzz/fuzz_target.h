// What a fuzz target is: a function from bytes, under a name. The same targets are fuzzed and replayed on their corpora by tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

/// Runs on any bytes and ends the process where a promise is broken.
struct FuzzTarget {
    const char* name;  ///< also that of its corpus, fuzz/corpus/<name>
    void (*run)(std::string_view bytes);
};

/// The targets linked into this program.
inline std::vector<FuzzTarget>& GetFuzzTargets() {
    static std::vector<FuzzTarget> targets;
    return targets;
}

struct FuzzTargetRegistration {
    explicit FuzzTargetRegistration(FuzzTarget target) { GetFuzzTargets().push_back(target); }
};

/// `FUZZ_TARGET(name, bytes) { ... }`
#define FUZZ_TARGET(NAME, BYTES)                                                                   \
    static void NAME(std::string_view BYTES);                                                      \
    static const ::talvo::FuzzTargetRegistration NAME##Registration{{.name = #NAME, .run = NAME}}; \
    static void NAME(std::string_view BYTES)

[[noreturn]] inline void FailFuzz(const char* file, int line, const char* condition, const std::string& detail) {
    std::fprintf(stderr, "%s:%d: broken: %s\n%s\n", file, line, condition, detail.c_str());
    std::abort();
}

/// A promise of the code under test. `DETAIL` is text for whoever looks at the finding.
#define FUZZ_EXPECT(CONDITION, DETAIL)                                                            \
    do {                                                                                          \
        if (!(CONDITION)) ::talvo::FailFuzz(__FILE__, __LINE__, #CONDITION, std::string(DETAIL)); \
    } while (false)

}  // namespace talvo
