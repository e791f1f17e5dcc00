#include "kernel/text/format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace talvo {
namespace {

TEST(FormatMessage, eachMarkTakesOneArgument) {
    EXPECT_EQ(FormatMessage("Asset @ is in @.", "chair"_id, String("r\u00e4um")), "Asset chair is in r\u00e4um.");
    EXPECT_EQ(FormatMessage("@ @", "a@b", 1), "a@b 1") << "an argument is not expanded again";
    EXPECT_EQ(FormatMessage("@{}@", "a", "b"), "ab") << "two adjacent arguments";
    EXPECT_EQ(FormatMessage("a@@b@", 1), "a@b1") << "a literal one";
    EXPECT_EQ(FormatMessage("@@@", 1), "@1");
    EXPECT_EQ(FormatMessage("@ @{x} @", 1), "1 @{x} @") << "missing arguments leave their mark";
    EXPECT_EQ(FormatMessage("@", 1, 2), "1") << "extra ones are dropped";
    EXPECT_EQ(FormatMessage("@{x", 1), "1{x") << "no end of a format: no format";
    EXPECT_EQ(FormatMessage("none"), "none");
}

TEST(FormatMessage, formats) {
    EXPECT_EQ(FormatMessage("@{x} @{x}", 255, Int64(-16)), "ff -10");
    EXPECT_EQ(FormatMessage("@{x}", UINT64_MAX), "ffffffffffffffff");
    EXPECT_EQ(FormatMessage("@{04} @{04}", 42, -42), "0042 -042");
    EXPECT_EQ(FormatMessage("@{08x}", 0xbeef), "0000beef");
    EXPECT_EQ(FormatMessage("@{5}|@{02}", "abc", 12345), "  abc|12345");
    EXPECT_EQ(FormatMessage("@{x} @{what} @{999}", "text", 7, 8), "text 7 8") << "what does not fit has no effect";
}

TEST(ToText, numbersAreExactAndWithoutLocale) {
    EXPECT_EQ(ToText(Int64(INT64_MIN)), "-9223372036854775808");
    EXPECT_EQ(ToText(UInt64(UINT64_MAX)), "18446744073709551615");
    EXPECT_EQ(ToText(0.1), "0.1");
    EXPECT_EQ(ToText(1e300), "1e+300");
    EXPECT_EQ(ToText(2024.5), "2024.5");
    EXPECT_EQ(ToText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(ToText(true), "true");
    EXPECT_EQ(ToText('c'), "c");
    EXPECT_EQ(ToText(UniversalDateTime(0)), "1970-01-01T00:00:00.000000Z");
}

struct Named : ObjectInterface {
    String ToString() const { return "named"; }
};

TEST(ToText, objectsAndReferencesToThem) {
    EXPECT_EQ(FormatMessage("@ @", StrongRef<Named>::Create(), StrongRef<Named>()), "named nullptr");
    EXPECT_EQ(FormatMessage("@ @", MUST(Uuid::Create("00000000-0000-0000-0000-000000000001")), InternedId("x"_id)),
              "00000000-0000-0000-0000-000000000001 x");
}

}  // namespace
}  // namespace talvo
