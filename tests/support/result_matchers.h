// What tests expect of results: success with the error's text when it is none, or one class of error that names the thing.
#pragma once

#include "kernel/base/result.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace talvo {

template <typename T>
testing::AssertionResult Succeeds(const Result<T>& result) {
    if (result.IsOk()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << result.GetError()->GetMessage();
}

/// `EXPECT_TRUE(FailsWith<IoError>(result, {"/the/path", "No space"}))`: the class and each of the parts of its message.
template <typename ERROR, typename T>
testing::AssertionResult FailsWith(const Result<T>& result, std::initializer_list<std::string_view> parts = {}) {
    if (result.IsOk()) return testing::AssertionFailure() << "succeeded where " << ERROR::ID.GetView() << " was expected";
    const Error& error = *result.GetError();
    if (error.GetClassId() != ERROR::ID) {
        return testing::AssertionFailure() << error.GetClassId().GetView() << ": " << error.GetMessage();
    }
    for (const std::string_view part : parts) {
        if (error.GetMessage().find(part) == std::string::npos) {
            return testing::AssertionFailure() << "\"" << error.GetMessage() << "\" lacks \"" << part << "\"";
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace talvo
