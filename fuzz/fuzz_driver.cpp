// Joins the fuzzer's entry point to the one target that is linked with it.
#include "fuzz_target.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const talvo::FuzzTarget TARGET = talvo::GetFuzzTargets().front();
    TARGET.run(std::string_view(reinterpret_cast<const char*>(bytes), size));
    return 0;
}
