#include "kernel/base/id.h"

#include "kernel/base/hash_growth.h"
#include "kernel/base/result.h"

#include <absl/container/flat_hash_set.h>

#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>

namespace talvo {

namespace {

/// Stands right before the bytes of an owned text.
struct OwnedHead {
    std::atomic<UInt32> references{1};
};

OwnedHead* HeadOf(const char* text) { return reinterpret_cast<OwnedHead*>(const_cast<char*>(text) - sizeof(OwnedHead)); }

const char* MakeOwnedText(std::string_view text) {
    void* block = ::operator new(sizeof(OwnedHead) + text.size() + 1);
    new (block) OwnedHead;
    char* bytes = static_cast<char*>(block) + sizeof(OwnedHead);
    std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = 0;
    return bytes;
}

}  // namespace

Result<Id> Id::Create(std::string_view text) {
    if (text.empty()) return Id();
    if (text.size() > MAX_LENGTH) {
        return IllegalArgumentError::Create("The identifier \"" + std::string(text.substr(0, 40)) + "...\" has " +
                                            std::to_string(text.size()) + " bytes; at most " + std::to_string(MAX_LENGTH) +
                                            " are possible. Use a shorter one.");
    }
    return Id(MakeOwnedText(text), MakeWord(text) | OWNED_BIT);
}

void Id::AddReference() const { HeadOf(_text)->references.fetch_add(1, std::memory_order_relaxed); }

void Id::ReleaseReference() const {
    OwnedHead* head = HeadOf(_text);
    if (head->references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    head->~OwnedHead();
    ::operator delete(head);
}

namespace detail {

/// One interned text. Invariant: the count goes from 1 to 0, and from nothing to 1, only with the shard locked; an entry
/// found in a locked shard is therefore alive and may be counted up.
struct InternedEntry {
    explicit InternedEntry(Id entryId) : id(std::move(entryId)) {}
    const Id id;
    std::atomic<UInt32> holders{1};
};

}  // namespace detail

namespace {

using detail::InternedEntry;

struct EntryHash {
    using is_transparent = void;
    std::size_t operator()(const Id& id) const { return absl::Hash<Id>()(id); }
    std::size_t operator()(const InternedEntry* entry) const { return (*this)(entry->id); }
};
struct EntryEqual {
    using is_transparent = void;
    Bool operator()(const InternedEntry* first, const InternedEntry* second) const { return first == second; }
    Bool operator()(const InternedEntry* entry, const Id& id) const { return entry->id == id; }
    Bool operator()(const Id& id, const InternedEntry* entry) const { return entry->id == id; }
};

/// A plain mutex: this room lies below the one that has locks.
struct alignas(64) Shard {
    std::mutex mutex;
    absl::flat_hash_set<InternedEntry*, EntryHash, EntryEqual> entries;
};

constexpr std::size_t SHARD_COUNT = 32;

/// Never destroyed, since objects with static lifetime hold interned ids until the very end.
std::array<Shard, SHARD_COUNT>& Shards() {
    static auto* const shards = new std::array<Shard, SHARD_COUNT>;
    return *shards;
}

Shard& ShardOf(const Id& id) {
    // The word's low bits are those of the last bytes; neighbours such as "a1", "a2" spread by them alone.
    const UInt mixed = id.GetWord() * 0x9e3779b97f4a7c15;
    return Shards()[mixed >> 59];
}
static_assert(SHARD_COUNT == std::size_t(1) << (64 - 59));

InternedEntry* Intern(const Id& id) {
    Shard& shard = ShardOf(id);
    const std::lock_guard lock(shard.mutex);
    if (const auto found = shard.entries.find(id); found != shard.entries.end()) {
        (*found)->holders.fetch_add(1, std::memory_order_relaxed);
        return *found;
    }
    EnsureRoomForOne(shard.entries);
    auto entry = std::make_unique<InternedEntry>(id);
    shard.entries.insert(entry.get());
    return entry.release();
}

void Release(InternedEntry* entry) {
    UInt32 holders = entry->holders.load(std::memory_order_relaxed);
    while (holders > 1) {
        if (entry->holders.compare_exchange_weak(holders, holders - 1, std::memory_order_release, std::memory_order_relaxed)) {
            return;
        }
    }
    // Perhaps the last one. Until the shard is locked another thread may still find the entry and hold it.
    Shard& shard = ShardOf(entry->id);
    {
        const std::lock_guard lock(shard.mutex);
        if (entry->holders.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
        shard.entries.erase(entry);
    }
    delete entry;
}

}  // namespace

InternedId::InternedId(const Id& id) : _entry(id.IsEmpty() ? nullptr : Intern(id)) {}

InternedId::InternedId(const InternedId& other) : _entry(other._entry) {
    if (_entry) _entry->holders.fetch_add(1, std::memory_order_relaxed);
}

InternedId::~InternedId() {
    if (_entry) Release(_entry);
}

const Id& InternedId::GetId() const {
    static constinit const Id NULL_ID;
    return _entry ? _entry->id : NULL_ID;
}

Id InternedId::FindSame(Id id) {
    Shard& shard = ShardOf(id);
    const std::lock_guard lock(shard.mutex);
    const auto found = shard.entries.find(id);
    return found == shard.entries.end() ? std::move(id) : Id((*found)->id);
}

Int InternedId::GetTableCount() {
    Int count = 0;
    for (Shard& shard : Shards()) {
        const std::lock_guard lock(shard.mutex);
        count += Int(shard.entries.size());
    }
    return count;
}

}  // namespace talvo
