// Callables: counted delegates that are kept, and receivers that live for one call.
#pragma once

#include "kernel/base/object.h"
#include "kernel/base/result.h"

#include <memory>
#include <type_traits>
#include <utility>

namespace talvo {

template <typename SIGNATURE>
class Delegate;

/// A callable with captured state. Copies share the state; two delegates are equal if they share it.
/// Threads: copying is safe; calling is as safe as what was captured.
template <typename R, typename... ARGS>
class Delegate<R(ARGS...)> {
public:
    Delegate() = default;
    Delegate(std::nullptr_t) {}
    template <typename F>
        requires(!std::same_as<std::remove_cvref_t<F>, Delegate> && std::is_invocable_r_v<R, F&, ARGS...>)
    Delegate(F&& callable) : _body(new Body<std::decay_t<F>>(std::forward<F>(callable))) {}

    explicit operator Bool() const { return Bool(_body); }
    R operator()(ARGS... args) const { return _body->Call(std::forward<ARGS>(args)...); }
    Bool operator==(const Delegate& other) const { return _body == other._body; }

private:
    struct BodyBase : ObjectInterface {
        virtual R Call(ARGS... args) = 0;
    };
    template <typename F>
    struct Body final : BodyBase {
        template <typename G>
        explicit Body(G&& callable) : callable(std::forward<G>(callable)) {}
        R Call(ARGS... args) override { return callable(std::forward<ARGS>(args)...); }
        F callable;
    };
    StrongRef<BodyBase> _body;
};

template <typename SIGNATURE>
class FunctionRef;

/// A callable seen through two words, for arguments of a call: it owns nothing and must not be kept.
template <typename R, typename... ARGS>
class FunctionRef<R(ARGS...)> {
public:
    template <typename F>
        requires(!std::same_as<std::remove_cvref_t<F>, FunctionRef> && std::is_invocable_r_v<R, F&, ARGS...>)
    FunctionRef(F&& callable)
        : _target(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          _call([](void* target, ARGS... args) -> R {
              return (*static_cast<std::remove_reference_t<F>*>(target))(std::forward<ARGS>(args)...);
          }) {}

    R operator()(ARGS... args) const { return _call(_target, std::forward<ARGS>(args)...); }

private:
    void* _target;
    R (*_call)(void*, ARGS...);
};

/// Takes one item at a time. True goes on, false stops the walk without an error, an error stops it and is handed on.
template <typename T>
using Receiver = FunctionRef<Result<Bool>(const T&)>;

}  // namespace talvo
