// Hash tables whose growth reports lack of memory. Their order differs per process: sort what leaves it.
#pragma once

#include "kernel/base/result.h"

#include <absl/hash/hash.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace talvo {

/// Map in no defined order. Pointers to values stay valid until those are erased. An insertion that fails leaves it as it was.
template <typename K, typename V>
class HashMap {
public:
    Int GetCount() const { return Int(_map.size()); }
    Bool IsEmpty() const { return _map.empty(); }
    Bool Contains(const K& key) const { return _map.contains(key); }
    V* Find(const K& key) {
        const auto it = _map.find(key);
        return it == _map.end() ? nullptr : &it->second;
    }
    const V* Find(const K& key) const {
        const auto it = _map.find(key);
        return it == _map.end() ? nullptr : &it->second;
    }
    /// The value of `key`, made by default if it is new.
    Result<V*> InsertKey(const K& key) {
        return CatchOutOfMemory([&]() -> Result<V*> { return &_map[key]; });
    }
    /// Sets the value of `key`, new or not.
    Result<void> Insert(const K& key, V value) {
        return CatchOutOfMemory([&]() -> Result<void> {
            _map.insert_or_assign(key, std::move(value));
            return OK;
        });
    }
    Bool Erase(const K& key) { return _map.erase(key) != 0; }
    template <typename PREDICATE>
    void EraseIf(PREDICATE&& predicate) {
        std::erase_if(_map, std::forward<PREDICATE>(predicate));
    }
    void Reset() { _map.clear(); }
    /// Keys in ascending order, for whatever leaves the process. Throws std::bad_alloc.
    std::vector<K> GetSortedKeys() const {
        std::vector<K> keys;
        keys.reserve(_map.size());
        for (const auto& entry : _map) keys.push_back(entry.first);
        std::sort(keys.begin(), keys.end());
        return keys;
    }
    auto begin() { return _map.begin(); }
    auto end() { return _map.end(); }
    auto begin() const { return _map.begin(); }
    auto end() const { return _map.end(); }

private:
    std::unordered_map<K, V, absl::Hash<K>> _map;
};

/// Set in no defined order.
template <typename K>
class HashSet {
public:
    Int GetCount() const { return Int(_set.size()); }
    Bool Contains(const K& key) const { return _set.contains(key); }
    /// @return true if `key` was new.
    Result<Bool> Insert(const K& key) {
        return CatchOutOfMemory([&]() -> Result<Bool> { return _set.insert(key).second; });
    }
    Bool Erase(const K& key) { return _set.erase(key) != 0; }
    auto begin() const { return _set.begin(); }
    auto end() const { return _set.end(); }

private:
    std::unordered_set<K, absl::Hash<K>> _set;
};

}  // namespace talvo
