// Looking for short texts in long ones finds what the plain way finds.
#include "browser_filter/byte_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace talvo {
namespace {

TEST(ByteScan, FindsTheFirstPlace) {
    std::mt19937 dice(3);
    const auto make = [&](std::size_t length, unsigned letters) {
        std::string text(length, ' ');
        for (char& c : text) c = char(200 + dice() % letters);
        return text;
    };
    for (int round = 0; round < 20000; ++round) {
        const unsigned letters = 1 + dice() % 6;
        const std::string text = make(dice() % 300, letters);
        const bool isPart = dice() % 2 == 0 && !text.empty();
        const std::string wanted = isPart ? text.substr(dice() % text.size(), dice() % 40) : make(dice() % 40, letters);
        // On a heap block of its own, so that a byte read behind the end is found.
        const std::string exact(text.begin(), text.end());
        ASSERT_EQ(FindBytes(exact, wanted), exact.find(wanted)) << round;
    }
}

}  // namespace
}  // namespace talvo
