#include "kernel/base/result.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace talvo {
namespace {

using testing::HasSubstr;

constexpr int CHECK_LINE = __LINE__ + 2;
Result<int> Half(int value) {
    CHECK_ARGUMENT(value % 2 == 0, "value is even");
    return value / 2;
}

Result<int> Quarter(int value) {
    const int half = TRY(Half(value));
    return Half(half);
}

TEST(Result, errorIsHandedOnAsItWasMade) {
    EXPECT_EQ(MUST(Quarter(8)), 2);
    const Result<int> failed = Quarter(6);
    ASSERT_TRUE(failed.IsError());
    const ErrorRef error = failed.GetError();
    EXPECT_EQ(error->GetMessage(), "Illegal argument: Condition value is even not fulfilled. ");
    EXPECT_TRUE(IllegalArgumentError::IsClassOf(error));
    EXPECT_FALSE(IllegalStateError::IsClassOf(error));
    EXPECT_THAT(error->GetLocation().file, HasSubstr("error_test.cpp")) << "the place of the cause";
    EXPECT_EQ(error->GetLocation().line, CHECK_LINE);
}

TEST(Result, referencesAreNotCopied) {
    std::string text = "content";
    const auto find = [&](Bool there) -> Result<const std::string&> {
        if (!there) return UnknownError::Create("not there");
        return text;
    };
    const auto use = [&](Bool there) -> Result<const std::string*> {
        const std::string& found = TRY_REF(find(there));
        return &found;
    };
    EXPECT_EQ(MUST(use(true)), &text);
    EXPECT_TRUE(use(false).IsError());
}

TEST(Result, lackOfMemoryBecomesAnErrorAtTheBoundary) {
    const Result<int> result = CatchOutOfMemory([]() -> Result<int> { throw std::bad_alloc(); });
    ASSERT_TRUE(result.IsError());
    EXPECT_TRUE(OutOfMemoryError::IsClassOf(result.GetError()));
}

TEST(AggregatedError, speaksWithTheFirstMessage) {
    std::vector<ErrorRef> errors{IoError::Create("disk"), UnknownError::Create("else")};
    const StrongRef<const AggregatedError> error(new AggregatedError(errors));
    EXPECT_EQ(error->GetMessage(), "disk");
    EXPECT_EQ(error->GetCount(), 2);
    EXPECT_EQ(error->GetError(1)->GetMessage(), "else");
    EXPECT_TRUE(IoError::IsClassOf(error->GetCause()));
    EXPECT_EQ(AggregatedError({}).GetMessage(), "");
}

TEST(ResultDeathTest, mustTellsWhatFailedAndWhere) {
    EXPECT_DEATH(
        MUST(Half(3)),
        "value is even not fulfilled. \n.*error_test.cpp:[0-9]+: the error was made here, class net.talvo.error.illegalargument");
}

}  // namespace
}  // namespace talvo
