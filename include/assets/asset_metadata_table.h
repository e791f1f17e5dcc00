// The values of one version by id. There is a table for each version and few values in each, so it is one sorted block.
#pragma once

#include "kernel/base/id.h"
#include "kernel/data/data.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace talvo {

/// Kinds of metadata values, a flag word. Only PERSISTENT, and PERSISTENT with VERSIONED, READ_ONLY and VERSIONED, DERIVED,
/// or USER can be stored; 0 stays in memory.
enum class ASSET_METADATA_KIND : UInt32 {
    NONE = 0,
    READ_ONLY = 1,                ///< set when the entry is made, never changed after
    PERSISTENT = 2,               ///< saved with the repository
    VERSIONED = 4,                ///< belongs to one version; without it following versions take the value over
    DERIVED = 8,                  ///< computed, may be dropped at any time
    USER = 16,                    ///< the user's own: may be set on a repository that isn't writable
    OVERRIDE_READ_ONLY = 0x10000  ///< lifts READ_ONLY for this one call; never kept
};

/// One value of the table. A value that is not `loaded` is with the backend and read at first need.
struct AssetMetaDataEntry {
    Data value;
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;  ///< set when the entry is made
    UInt32 loaded : 1 = 1;
    UInt32 stamp : 30 = 0;      ///< counts the sets
    UInt32 unreadable : 1 = 0;  ///< loaded as empty, because a read failed
};
static_assert(sizeof(AssetMetaDataEntry) == 32);

/// Sorted by the bytes of the ids. Pointers to entries don't outlive the next change.
/// Threads: as a plain value.
class AssetMetaDataTable {
public:
    using Item = std::pair<InternedId, AssetMetaDataEntry>;

    /// How many values there are, those not yet loaded too.
    Int GetCount() const { return Int(_items.size()); }
    /// Whether there is none.
    Bool IsEmpty() const { return _items.empty(); }
    /// Whether there is an entry of `id`.
    Bool Contains(const InternedId& id) const { return Find(id) != nullptr; }
    /// Null if there is none.
    AssetMetaDataEntry* Find(const InternedId& id) { return const_cast<AssetMetaDataEntry*>(std::as_const(*this).Find(id)); }
    const AssetMetaDataEntry* Find(const InternedId& id) const {
        if (GetCount() > SEARCHED_LINEARLY) {
            const auto place = FindPlace(id);
            return place != _items.end() && place->first == id ? &place->second : nullptr;
        }
        for (const Item& item : _items) {
            if (item.first == id) return &item.second;
        }
        return nullptr;
    }
    /// The entry of `id`, made by default if it is new. Errors: OutOfMemoryError.
    Result<AssetMetaDataEntry*> InsertKey(const InternedId& id) {
        return CatchOutOfMemory([&]() -> Result<AssetMetaDataEntry*> {
            const auto place = FindPlace(id);
            if (place != _items.end() && place->first == id) return &_items[std::size_t(place - _items.begin())].second;
            return &_items.emplace(place, id, AssetMetaDataEntry())->second;
        });
    }
    /// Makes room for `count` entries, no more. Errors: OutOfMemoryError.
    Result<void> EnsureCapacity(Int count) {
        return CatchOutOfMemory([&]() -> Result<void> {
            _items.reserve(std::size_t(count));
            return OK;
        });
    }
    /// After it the next new entry needs no memory. Errors: OutOfMemoryError.
    Result<void> EnsureRoomForOne() {
        return CatchOutOfMemory([&]() -> Result<void> {
            if (_items.size() == _items.capacity()) _items.reserve(_items.size() + _items.size() / 2 + 1);
            return OK;
        });
    }
    /// Sets the entry of `id`, new or not. Errors: OutOfMemoryError.
    Result<void> Insert(const InternedId& id, AssetMetaDataEntry entry) {
        AssetMetaDataEntry* target = TRY(InsertKey(id));
        *target = std::move(entry);
        return OK;
    }
    /// @return whether there was one.
    Bool Erase(const InternedId& id) {
        return EraseIf([&](const Item& item) { return item.first == id; }) != 0;
    }
    /// Removes each item for which `Bool(const Item&)` holds. @return how many.
    template <typename PREDICATE>
    std::size_t EraseIf(PREDICATE&& predicate) {
        return std::erase_if(_items, std::forward<PREDICATE>(predicate));
    }

    /// Items in the order of their ids.
    auto begin() { return _items.begin(); }
    /// Behind the last item.
    auto end() { return _items.end(); }
    /// The same for readers.
    auto begin() const { return _items.begin(); }
    /// The same for readers.
    auto end() const { return _items.end(); }

private:
    static constexpr Int SEARCHED_LINEARLY = 16;
    std::vector<Item>::const_iterator FindPlace(const InternedId& id) const {
        return std::lower_bound(_items.begin(), _items.end(), id,
                                [](const Item& item, const InternedId& wanted) { return item.first < wanted; });
    }

    std::vector<Item> _items;
};

}  // namespace talvo
