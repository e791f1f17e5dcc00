#include "kernel/base/error.h"

#include "kernel/base/result.h"

#include <cstdio>
#include <cstdlib>

namespace talvo {

namespace {

std::string FirstMessage(const std::vector<ErrorRef>& errors) { return errors.empty() ? std::string() : errors[0]->GetMessage(); }

ErrorRef FirstError(const std::vector<ErrorRef>& errors) { return errors.empty() ? ErrorRef() : errors[0]; }

// Made before there can be need of it.
[[gnu::used]] const ErrorRef OUT_OF_MEMORY = detail::GetOutOfMemoryError();

}  // namespace

AggregatedError::AggregatedError(std::vector<ErrorRef> errors, SourceLocation location)
    : Error(ID, FirstMessage(errors), location, FirstError(errors)), _errors(std::move(errors)) {}

ErrorRef detail::GetOutOfMemoryError() noexcept {
    static const auto& error = *new ErrorRef(
        OutOfMemoryError::Create("Out of memory. Close other work or give the process more memory, then try again."));
    return error;
}

void detail::AbortOnError(const Error& error, SourceLocation location) {
    const SourceLocation origin = error.GetLocation();
    std::fprintf(stderr, "%s:%d: cannot go on: %s\n", location.file, location.line, error.GetMessage().c_str());
    std::fprintf(stderr, "%s:%d: the error was made here, class %s\n", origin.file, origin.line,
                 std::string(error.GetClassId().GetView()).c_str());
    std::abort();
}

}  // namespace talvo
