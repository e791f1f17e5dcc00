// Error objects: what went wrong, with what, and where. They are made at the cause and handed on unchanged.
#pragma once

#include "kernel/base/id.h"
#include "kernel/base/object.h"
#include "kernel/base/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace talvo {

class Error;
using ErrorRef = StrongRef<const Error>;

/// One failure. Immutable once made, so that it may be shared between threads.
class Error : public ObjectInterface {
public:
    /// @param classId one of `net.talvo.error.*`. @param message UTF-8 for people; names the thing and what to do.
    Error(Id classId, std::string message, SourceLocation location, ErrorRef cause = nullptr)
        : _classId(std::move(classId)), _message(std::move(message)), _location(location), _cause(std::move(cause)) {}

    const Id& GetClassId() const { return _classId; }
    const std::string& GetMessage() const { return _message; }
    SourceLocation GetLocation() const { return _location; }
    /// What this failure came from, or null.
    const ErrorRef& GetCause() const { return _cause; }

private:
    const Id _classId;
    const std::string _message;
    const SourceLocation _location;
    const ErrorRef _cause;
};

/// Several failures of one operation, in the order in which they happened. Its message is that of the first.
class AggregatedError final : public Error {
public:
    static constexpr LiteralId ID{"net.talvo.error.aggregated"};
    explicit AggregatedError(std::vector<ErrorRef> errors, SourceLocation location = SourceLocation::Current());
    Int GetCount() const { return Int(_errors.size()); }
    const ErrorRef& GetError(Int index) const { return _errors[std::size_t(index)]; }

private:
    const std::vector<ErrorRef> _errors;
};

/// A class of errors: a namespace for its id and its maker. `return IllegalStateError::Create("...")` is how one is raised.
template <typename TAG>
struct ErrorClass {
    static ErrorRef Create(std::string_view message = {}, SourceLocation location = SourceLocation::Current()) {
        return Create(message, nullptr, location);
    }
    static ErrorRef Create(std::string_view message, ErrorRef cause, SourceLocation location = SourceLocation::Current()) {
        return ErrorRef(new Error(TAG::ID, std::string(message), location, std::move(cause)));
    }
    static Bool IsClassOf(const ErrorRef& error) { return error && error->GetClassId() == TAG::ID; }
};

#define TALVO_ERROR_CLASS(NAME, TEXT)                           \
    struct NAME : ErrorClass<NAME> {                            \
        static constexpr LiteralId ID{"net.talvo.error." TEXT}; \
    }

/// A caller's argument breaks a stated condition.
TALVO_ERROR_CLASS(IllegalArgumentError, "illegalargument");
/// The operation does not fit the object's state.
TALVO_ERROR_CLASS(IllegalStateError, "illegalstate");
/// A required reference is null.
TALVO_ERROR_CLASS(NullptrError, "nullptr");
/// Allocation failed.
TALVO_ERROR_CLASS(OutOfMemoryError, "outofmemory");
/// A virtual operation that this class does not offer.
TALVO_ERROR_CLASS(FunctionNotImplementedError, "functionnotimplemented");
/// An operation that this object does not support at all.
TALVO_ERROR_CLASS(UnsupportedOperationError, "unsupportedoperation");
/// An argument of a kind that is not handled.
TALVO_ERROR_CLASS(UnsupportedArgumentError, "unsupportedargument");
/// A broken internal expectation.
TALVO_ERROR_CLASS(UnexpectedError, "unexpected");
/// Stored data does not parse.
TALVO_ERROR_CLASS(FileFormatError, "fileformat");
/// A file or stream operation failed.
TALVO_ERROR_CLASS(IoError, "io");
/// No more exact class applies.
TALVO_ERROR_CLASS(UnknownError, "unknown");
/// An operating system call failed.
TALVO_ERROR_CLASS(SystemError, "system");
/// A symbol or entity could not be resolved.
TALVO_ERROR_CLASS(UnresolvedError, "unresolved");
/// A data type is not registered.
TALVO_ERROR_CLASS(UnregisteredDataTypeError, "unregistereddatatype");
/// A job was cancelled.
TALVO_ERROR_CLASS(OperationCancelledError, "OperationCancelledError");

namespace detail {
/// The error for where there is no memory to make one.
ErrorRef GetOutOfMemoryError() noexcept;
}  // namespace detail

}  // namespace talvo
