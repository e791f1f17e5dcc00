#include "kernel/base/date_time.h"
#include "kernel/base/hashing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace talvo {
namespace {

TEST(UniversalDateTime, writesWhatItReads) {
    struct Row {
        Int64 value;
        const char* text;
        const char* why;
    };
    const Row rows[] = {
        {0, "1970-01-01T00:00:00.000000Z", "the origin"},
        {1683028800000000, "2023-05-02T12:00:00.000000Z", "whole seconds keep six digits"},
        {-1, "1969-12-31T23:59:59.999999Z", "before the origin, rounded down"},
        {951782400000001, "2000-02-29T00:00:00.000001Z", "leap day of a century that has one"},
        {253402300799999999, "9999-12-31T23:59:59.999999Z", "last with four digits"},
        {253402300800000000, "+010000-01-01T00:00:00.000000Z", "first with six"},
        {-62167219200000001, "-000001-12-31T23:59:59.999999Z", "before the year 0"},
        {INT64_MAX, "+294247-01-10T04:00:54.775807Z", "the greatest"},
        {INT64_MIN, "-290308-12-21T19:59:05.224192Z", "the least"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(UniversalDateTime(row.value).Format(), row.text);
        const Result<UniversalDateTime> read = UniversalDateTime::Parse(row.text);
        ASSERT_TRUE(read.IsOk()) << read.GetError()->GetMessage();
        EXPECT_EQ(read.GetValue().GetValue(), row.value);
    }
}

TEST(UniversalDateTime, readsOtherFormsOfTheSame) {
    struct Row {
        const char* text;
        Int64 value;
    };
    const Row rows[] = {
        {"2023-05-02T14:30:00+02:30", 1683028800000000}, {"2023-05-01t23:00:00-13:00", 1683028800000000},
        {"2023-05-02 12:00:00.5z", 1683028800500000},    {"2023-05-02T12:00:00.1234567891Z", 1683028800123456},
        {"1998-12-31T23:59:60Z", 915148800000000},
    };
    for (const Row& row : rows) EXPECT_EQ(MUST(UniversalDateTime::Parse(row.text)).GetValue(), row.value) << row.text;
}

TEST(UniversalDateTime, refusesWhatIsNoTime) {
    const char* const rows[] = {"",
                                "2023",
                                "2023-05-02T12:00:00",
                                "2023-05-02T12:00:00.Z",
                                "2023-02-29T12:00:00Z",
                                "2023-13-01T12:00:00Z",
                                "2023-05-02T24:00:00Z",
                                "2023-05-02T12:00:00Zx",
                                "2023-05-02T12:00:00+2:00",
                                "2023-05-02T12:00:00*02:00",
                                "2023-05-02X12:00:00Z",
                                "-1-01-01T00:00:00Z",
                                "+294247-01-10T04:00:54.775808Z",
                                "+999999-01-01T00:00:00Z",
                                "2023-05-02T12:00:00.\xc3\xa4Z"};
    for (const char* text : rows) {
        const Result<UniversalDateTime> read = UniversalDateTime::Parse(text);
        ASSERT_TRUE(read.IsError()) << text;
        EXPECT_TRUE(FileFormatError::IsClassOf(read.GetError()));
        EXPECT_THAT(read.GetError()->GetMessage(), testing::HasSubstr("\"" + std::string(text) + "\""));
    }
}

TEST(UniversalDateTime, localTextAndSteppedClock) {
    setenv("TZ", "ABC-03:30", 1);
    tzset();
    EXPECT_EQ(UniversalDateTime(1683028800000000).FormatLocal("%Y-%m-%d %H:%M"), "2023-05-02 15:30");
    EXPECT_EQ(UniversalDateTime(0).FormatLocal(""), "");
    unsetenv("TZ");
    tzset();

    SetClockForTests([] { return Int64(42); });
    EXPECT_EQ(UniversalDateTime::GetNow().GetValue(), 42);
    SetClockForTests(nullptr);
    EXPECT_GT(UniversalDateTime::GetNow().GetValue(), 1683028800000000);
}

TEST(StoredHash, isPinnedForEver) {
    EXPECT_EQ(GetStoredHash64(""), 0x2d06800538d394c2u);
    EXPECT_EQ(GetStoredHash64("a"), 0xe6c632b61e964e1fu);
    const auto hash = GetStoredHash128("");
    EXPECT_EQ(hash[0], 0x99);
    EXPECT_EQ(hash[15], 0x7f);
}

}  // namespace
}  // namespace talvo
