// Arrays: a growable one whose growth reports lack of memory, a shared immutable one, and a view.
#pragma once

#include "kernel/base/object.h"
#include "kernel/base/result.h"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <vector>

namespace talvo {

/// Pointer and count; owns nothing.
template <typename T>
using Block = std::span<T>;

/// Growable array. Reading is std::vector's; growth returns OutOfMemoryError and then leaves the array as it was.
template <typename T>
class BaseArray {
public:
    BaseArray() = default;
    BaseArray(std::initializer_list<T> values) : _values(values) {}
    /// Copies. Throws std::bad_alloc.
    BaseArray(const T* first, const T* last) : _values(first, last) {}
    explicit BaseArray(std::vector<T> values) : _values(std::move(values)) {}

    Int GetCount() const { return Int(_values.size()); }
    Bool IsEmpty() const { return _values.empty(); }
    Bool IsPopulated() const { return !_values.empty(); }
    T& operator[](Int index) { return _values[std::size_t(index)]; }
    const T& operator[](Int index) const { return _values[std::size_t(index)]; }
    auto begin() { return _values.begin(); }
    auto end() { return _values.end(); }
    auto begin() const { return _values.begin(); }
    auto end() const { return _values.end(); }
    T* GetFirst() { return _values.empty() ? nullptr : &_values.front(); }
    const T* GetFirst() const { return _values.empty() ? nullptr : &_values.front(); }
    T* GetLast() { return _values.empty() ? nullptr : &_values.back(); }
    const T* GetLast() const { return _values.empty() ? nullptr : &_values.back(); }
    operator Block<const T>() const { return {_values.data(), _values.size()}; }

    Result<void> Append(T value) {
        return Grow([&] { _values.push_back(std::move(value)); });
    }
    /// @param index 0 to GetCount().
    Result<void> Insert(Int index, T value) {
        return Grow([&] { _values.insert(_values.begin() + index, std::move(value)); });
    }
    Result<void> EnsureCapacity(Int count) {
        return Grow([&] { _values.reserve(std::size_t(count)); });
    }
    Result<void> Resize(Int count) {
        return Grow([&] { _values.resize(std::size_t(count)); });
    }
    void Erase(Int index) { _values.erase(_values.begin() + index); }
    T PopLast() {
        T value = std::move(_values.back());
        _values.pop_back();
        return value;
    }
    void Reset() { _values.clear(); }
    void Sort() { std::sort(begin(), end()); }

    Bool operator==(const BaseArray&) const = default;

private:
    template <typename STEP>
    Result<void> Grow(STEP&& step) {
        return CatchOutOfMemory([&]() -> Result<void> {
            step();
            return OK;
        });
    }
    std::vector<T> _values;
};

/// Array that many may hold: changing it makes a fresh one, so that a reader's snapshot stays as it is. One block of memory.
template <typename T>
class Array {
public:
    Int GetCount() const { return _body ? Int(_body->count) : 0; }
    Bool IsEmpty() const { return GetCount() == 0; }
    const T& operator[](Int index) const { return begin()[index]; }
    const T* begin() const { return _body ? _body->GetValues() : nullptr; }
    const T* end() const { return begin() + GetCount(); }

    /// Own copy of the values, for a change that `Array(BaseArray)` publishes again. Throws std::bad_alloc.
    BaseArray<T> CopyValues() const { return BaseArray<T>(begin(), end()); }

    Array() = default;
    /// Throws std::bad_alloc.
    explicit Array(BaseArray<T> values) : _body(values.IsEmpty() ? nullptr : Body::Create(values)) {}

private:
    /// The values stand right behind it.
    struct Body {
        mutable std::atomic<UInt32> references{0};
        std::size_t count = 0;

        static Body* Create(BaseArray<T>& values) {
            static_assert(alignof(T) <= alignof(Body) && std::is_nothrow_move_constructible_v<T>);
            const auto count = std::size_t(values.GetCount());
            Body* body = new (::operator new(sizeof(Body) + count * sizeof(T))) Body;
            std::uninitialized_move(values.begin(), values.end(), body->GetValues());
            body->count = count;
            return body;
        }
        T* GetValues() { return reinterpret_cast<T*>(this + 1); }
        const T* GetValues() const { return reinterpret_cast<const T*>(this + 1); }
        void AddReference() const { references.fetch_add(1, std::memory_order_relaxed); }
        void ReleaseReference() const {
            if (references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
            Body* self = const_cast<Body*>(this);
            std::destroy_n(self->GetValues(), count);
            self->~Body();
            ::operator delete(self);
        }
    };
    StrongRef<const Body> _body;
};

}  // namespace talvo
