// The fuzz targets on their committed corpora: what was found once is never let in again, with any compiler.
#include "fuzz/fuzz_target.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace talvo {
namespace {

class Corpus : public testing::TestWithParam<FuzzTarget> {};

TEST_P(Corpus, EachInputKeepsTheTargetsPromises) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(TALVO_CORPUS) / GetParam().name)) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(file), {});
        // A broken promise ends the process: the last name told is the input's.
        std::fprintf(stderr, "%s\n", entry.path().filename().c_str());
        GetParam().run(bytes);
        ++count;
    }
    EXPECT_GE(count, 3) << "a target without seeds finds little";
}

INSTANTIATE_TEST_SUITE_P(Targets, Corpus, testing::ValuesIn(GetFuzzTargets()),
                         [](const auto& target) { return std::string(target.param.name); });

}  // namespace
}  // namespace talvo
