// Counted objects and the strong and weak references to them.
#pragma once

#include "kernel/base/types.h"

#include <atomic>
#include <concepts>
#include <functional>
#include <type_traits>
#include <utility>

namespace talvo {

namespace detail {

/// Outlives its object for as long as weak references need it. `strong` counts strong references, `weak` the weak
/// ones plus one for the object itself.
struct ControlBlock {
    std::atomic<UInt32> strong{0};
    std::atomic<UInt32> weak{1};

    void AddWeak() { weak.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseWeak() {
        if (weak.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
    /// Adds a strong reference unless the last one has gone. @return false if the object is gone or going.
    Bool Promote() {
        UInt32 count = strong.load(std::memory_order_relaxed);
        while (count != 0) {
            if (strong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel, std::memory_order_relaxed)) {
                return true;
            }
        }
        return false;
    }
};

}  // namespace detail

/// Root of everything that is held by reference.
///
/// Threads:   counting is safe from any thread; the rest is the subclass's.
/// Ownership: made by `StrongRef<T>::Create`; destroyed when the last strong reference goes, on the thread that drops it.
class ObjectInterface {
public:
    ObjectInterface(const ObjectInterface&) = delete;
    ObjectInterface& operator=(const ObjectInterface&) = delete;
    virtual ~ObjectInterface() { _control->ReleaseWeak(); }

    /// How many strong references there are right now; 1 means that the caller's is the only one.
    UInt32 GetReferenceCount() const { return _control->strong.load(std::memory_order_acquire); }

    void AddReference() const { _control->strong.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseReference() const {
        if (_control->strong.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
    detail::ControlBlock* GetControlBlock() const { return _control; }

protected:
    ObjectInterface() : _control(new detail::ControlBlock) {}

private:
    detail::ControlBlock* const _control;
};

/// Counting for shared bodies of values, which need no weak references and no virtual functions: 4 bytes instead of two blocks.
/// Threads:   counting is safe from any thread; the rest is the subclass's.
/// Ownership: made by `StrongRef<T>::Create`; deleted as a `T` when the last reference goes.
template <typename T>
class CountedBody {
public:
    CountedBody() = default;
    CountedBody(const CountedBody&) = delete;
    CountedBody& operator=(const CountedBody&) = delete;

    UInt32 GetReferenceCount() const { return _references.load(std::memory_order_acquire); }
    void AddReference() const { _references.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseReference() const {
        if (_references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete static_cast<const T*>(this);
    }

protected:
    ~CountedBody() = default;

private:
    mutable std::atomic<UInt32> _references{0};
};

/// Counted reference to a `T` or null. Copying never fails.
template <typename T>
class StrongRef {
public:
    using ObjectType = T;

    constexpr StrongRef() = default;
    constexpr StrongRef(std::nullptr_t) {}
    explicit StrongRef(T* object) : _object(object) {
        if (_object) _object->AddReference();
    }
    StrongRef(const StrongRef& other) : StrongRef(other._object) {}
    StrongRef(StrongRef&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
    template <typename U>
        requires std::convertible_to<U*, T*>
    StrongRef(const StrongRef<U>& other) : StrongRef(static_cast<T*>(other.GetPointer())) {}
    template <typename U>
        requires std::convertible_to<U*, T*>
    StrongRef(StrongRef<U>&& other) noexcept : _object(other.Detach()) {}
    ~StrongRef() {
        if (_object) _object->ReleaseReference();
    }

    StrongRef& operator=(StrongRef other) noexcept {
        std::swap(_object, other._object);
        return *this;
    }

    /// Makes a new object. Throws std::bad_alloc if memory is out.
    template <typename... ARGS>
    static StrongRef Create(ARGS&&... args) {
        return StrongRef(new T(std::forward<ARGS>(args)...));
    }
    /// Takes over a reference that is counted already.
    static StrongRef Adopt(T* object) {
        StrongRef result;
        result._object = object;
        return result;
    }
    /// Gives the counted reference away; this one is null afterwards.
    T* Detach() noexcept { return std::exchange(_object, nullptr); }

    T* GetPointer() const { return _object; }
    T* operator->() const { return _object; }
    T& operator*() const { return *_object; }
    explicit operator Bool() const { return _object != nullptr; }

    /// Identity, not equality of content.
    template <typename U>
    Bool operator==(const StrongRef<U>& other) const {
        return _object == other.GetPointer();
    }
    Bool operator==(std::nullptr_t) const { return _object == nullptr; }

    template <typename H>
    friend H AbslHashValue(H state, const StrongRef& ref) {
        return H::combine(std::move(state), static_cast<const void*>(ref._object));
    }

private:
    T* _object = nullptr;
};

/// Reference that does not keep its object alive. Promoting is safe against the last release on another thread.
template <typename T>
class WeakRef {
public:
    WeakRef() = default;
    WeakRef(T* object) : _control(object ? object->GetControlBlock() : nullptr), _object(object) {
        if (_control) _control->AddWeak();
    }
    template <typename U>
        requires std::convertible_to<U*, T*>
    WeakRef(const StrongRef<U>& ref) : WeakRef(static_cast<T*>(ref.GetPointer())) {}
    WeakRef(const WeakRef& other) : _control(other._control), _object(other._object) {
        if (_control) _control->AddWeak();
    }
    WeakRef(WeakRef&& other) noexcept
        : _control(std::exchange(other._control, nullptr)), _object(std::exchange(other._object, nullptr)) {}
    ~WeakRef() {
        if (_control) _control->ReleaseWeak();
    }
    WeakRef& operator=(WeakRef other) noexcept {
        std::swap(_control, other._control);
        std::swap(_object, other._object);
        return *this;
    }

    /// The object, or null once its last strong reference has gone.
    StrongRef<T> Promote() const {
        if (!_control || !_control->Promote()) return nullptr;
        return StrongRef<T>::Adopt(_object);
    }
    Bool IsAlive() const { return _control && _control->strong.load(std::memory_order_acquire) != 0; }
    /// Both were made from one object, alive or not.
    friend Bool operator==(const WeakRef& first, const WeakRef& second) {
        return first._control == second._control && first._object == second._object;
    }
    /// True if this was made from `object`, alive or not; compares identity without promoting.
    Bool Refers(const T* object) const { return _object == object; }

private:
    detail::ControlBlock* _control = nullptr;
    T* _object = nullptr;
};

/// The object seen as another interface of it, or null if it has none.
template <typename TO, typename FROM>
StrongRef<TO> Cast(const StrongRef<FROM>& ref) {
    return StrongRef<TO>(dynamic_cast<TO*>(ref.GetPointer()));
}

}  // namespace talvo
