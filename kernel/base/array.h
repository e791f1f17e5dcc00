// Arrays: a growable one whose growth reports lack of memory, a shared immutable one, and a view.
#pragma once

#include "kernel/base/object.h"
#include "kernel/base/result.h"

#include <algorithm>
#include <initializer_list>
#include <span>
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

/// Array that many may hold: changing it makes a fresh one, so that a reader's snapshot stays as it is.
template <typename T>
class Array {
public:
    Int GetCount() const { return _body ? _body->values.GetCount() : 0; }
    Bool IsEmpty() const { return GetCount() == 0; }
    const T& operator[](Int index) const { return _body->values[index]; }
    const T* begin() const { return _body ? _body->values.GetFirst() : nullptr; }
    const T* end() const { return begin() + GetCount(); }

    /// Own copy of the values, for a change that `Array(BaseArray)` publishes again. Throws std::bad_alloc.
    BaseArray<T> CopyValues() const { return _body ? _body->values : BaseArray<T>(); }

    Array() = default;
    explicit Array(BaseArray<T> values) : _body(new Body(std::move(values))) {}

private:
    struct Body : ObjectInterface {
        explicit Body(BaseArray<T> v) : values(std::move(v)) {}
        const BaseArray<T> values;
    };
    StrongRef<Body> _body;
};

}  // namespace talvo
