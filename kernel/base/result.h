// Value or error: the return form of everything that can fail, and the words that hand an error on.
#pragma once

#include "kernel/base/error.h"

#include <cstdlib>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace talvo {

template <typename T>
using Opt = std::optional<T>;

namespace detail {
[[noreturn]] void AbortOnError(const Error& error, SourceLocation location);
}

/// A `T` or an error, never neither. Success costs no more than the value.
template <typename T>
class [[nodiscard]] Result {
    using Stored = std::conditional_t<std::is_reference_v<T>, std::remove_reference_t<T>*, T>;

public:
    using ValueType = T;

    template <typename U = T>
        requires(!std::is_reference_v<T> && std::constructible_from<T, U &&> && !std::same_as<std::remove_cvref_t<U>, Result> &&
                 std::convertible_to<U &&, T>)
    Result(U&& value) : _state(std::in_place_index<0>, std::forward<U>(value)) {}
    Result(std::remove_reference_t<T>& value)
        requires std::is_reference_v<T>
        : _state(std::in_place_index<0>, &value) {}
    Result(ErrorRef error) : _state(std::in_place_index<1>, std::move(error)) {}

    Bool IsError() const { return _state.index() == 1; }
    Bool IsOk() const { return _state.index() == 0; }
    /// The error; only for a failed result.
    const ErrorRef& GetError() const { return std::get<1>(_state); }
    /// The value; only for a successful result.
    decltype(auto) GetValue() & { return Value(*this); }
    decltype(auto) GetValue() const& { return Value(*this); }
    T GetValue() && {
        if constexpr (std::is_reference_v<T>) {
            return *std::get<0>(_state);
        } else {
            return std::move(std::get<0>(_state));
        }
    }
    /// The value, or `fallback` if this failed; dropping the error is meant.
    T GetValueOr(T fallback) && { return IsOk() ? std::move(*this).GetValue() : std::move(fallback); }
    /// Drops the outcome. @param reason why nobody needs to know; for the reader only.
    void Ignore([[maybe_unused]] const char* reason) const {}

private:
    template <typename SELF>
    static auto& Value(SELF& self) {
        if constexpr (std::is_reference_v<T>) {
            return *std::get<0>(self._state);
        } else {
            return std::get<0>(self._state);
        }
    }

    std::variant<Stored, ErrorRef> _state;
};

/// Success or an error: one pointer, null for success.
template <>
class [[nodiscard]] Result<void> {
public:
    using ValueType = void;

    Result() = default;
    Result(ErrorRef error) : _error(std::move(error)) {}

    Bool IsError() const { return Bool(_error); }
    Bool IsOk() const { return !_error; }
    const ErrorRef& GetError() const { return _error; }
    void GetValue() const {}
    void Ignore([[maybe_unused]] const char* reason) const {}

private:
    ErrorRef _error;
};

/// `return OK;` of an operation without a value.
inline const Result<void> OK{};

namespace detail {

template <typename T>
T TakeValue(Result<T>&& result) {
    static_assert(!std::is_reference_v<T>, "TRY would copy what this reference names; use TRY_REF");
    return std::move(result).GetValue();
}
template <>
inline void TakeValue<void>(Result<void>&&) {}

template <typename T>
Result<T> AsResult(Result<T>&& result) {
    return std::move(result);
}

}  // namespace detail

/// The value of an expression of type `Result<T>`; returns its error from the function around it.
/// A whole statement, or the whole initialiser of one variable: nowhere else, since compilers skip destructors of what
/// was built before it in the same expression. In a lambda it leaves the lambda only.
#define TRY(...)                                              \
    __extension__({                                           \
        auto&& talvoResult = (__VA_ARGS__);                   \
        if (talvoResult.IsError()) [[unlikely]]               \
            return talvoResult.GetError();                    \
        ::talvo::detail::TakeValue(::std::move(talvoResult)); \
    })

/// `TRY` for `Result<const T&>`: gives a reference to what it names. Use as `const T& x = TRY_REF(...)`.
#define TRY_REF(...)                            \
    (*__extension__({                           \
        auto&& talvoResult = (__VA_ARGS__);     \
        if (talvoResult.IsError()) [[unlikely]] \
            return talvoResult.GetError();      \
        &talvoResult.GetValue();                \
    }))

/// The value of what was shown not to fail; ends the process with the error's text if it did all the same.
#define MUST(...)                                                                                       \
    __extension__({                                                                                     \
        auto&& talvoResult = (__VA_ARGS__);                                                             \
        if (talvoResult.IsError()) [[unlikely]]                                                         \
            ::talvo::detail::AbortOnError(*talvoResult.GetError(), ::talvo::SourceLocation::Current()); \
        ::talvo::detail::TakeValue(::std::move(talvoResult));                                           \
    })

/// Caller's mistake in an argument: IllegalArgumentError with the words of the condition.
#define CHECK_ARGUMENT(CONDITION, TEXT)                                                                                         \
    do {                                                                                                                        \
        if (!(CONDITION)) return ::talvo::IllegalArgumentError::Create("Illegal argument: Condition " TEXT " not fulfilled. "); \
    } while (false)

/// The operation does not fit the state: IllegalStateError with the words of the condition.
#define CHECK_STATE(CONDITION, TEXT)                                                                                      \
    do {                                                                                                                  \
        if (!(CONDITION)) return ::talvo::IllegalStateError::Create("Illegal state: Condition " TEXT " not fulfilled. "); \
    } while (false)

/// Our own expectation is broken: UnexpectedError with the words of the condition.
#define CHECK_EXPECTED(CONDITION, TEXT)                                                                                    \
    do {                                                                                                                   \
        if (!(CONDITION)) return ::talvo::UnexpectedError::Create("Assertion failed: Condition " TEXT " not fulfilled. "); \
    } while (false)

/// Runs `work`, which returns a Result, and turns an allocation failure anywhere below into OutOfMemoryError.
/// Public operations stand on it: value types may throw std::bad_alloc, nothing else leaves them.
template <typename WORK>
auto CatchOutOfMemory(WORK&& work) -> decltype(work()) {
    try {
        return std::forward<WORK>(work)();
    } catch (const std::bad_alloc&) {
        return detail::GetOutOfMemoryError();
    }
}

}  // namespace talvo
