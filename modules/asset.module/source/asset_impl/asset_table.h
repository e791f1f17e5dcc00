// What a repository holds in memory: a record per asset id that never moves, and per record the versions that are known of it.
#pragma once

#include "asset_impl/engine_locks.h"
#include "assets/asset_repository.h"

#include <absl/container/flat_hash_set.h>

#include <array>
#include <atomic>

namespace talvo {

/// Versions of one asset, oldest first. A value whose copies share one block: a change makes a new one, and whoever has a copy reads on in the old.
class AssetVersionTable {
public:
    using Entries = BaseArray<AssetVersionEntry>;
    enum class STATE : UChar { NOT_ASKED, LOADED };

    AssetVersionTable() = default;
    /// @param entries sorted by key. @param state whether the backend was asked for the versions. Throws std::bad_alloc.
    AssetVersionTable(Entries entries, STATE state) : _entries(std::move(entries)), _state(state) {}

    Bool IsLoaded() const { return _state == STATE::LOADED; }
    STATE GetState() const { return _state; }
    Int GetCount() const { return _entries.GetCount(); }
    const AssetVersionEntry& operator[](Int index) const { return _entries[index]; }
    /// The newest version or null. Pointers to entries live as long as a copy of the table.
    const AssetVersionEntry* GetLast() const { return _entries.IsEmpty() ? nullptr : _entries.end() - 1; }
    const AssetVersionEntry* FindKey(const AssetVersionKey& key) const;
    /// The greatest entry with this version id, or null.
    const AssetVersionEntry* FindVersion(const Id& version) const;
    UInt GetHighestCounter() const;

    const AssetVersionBlock& GetBlock() const { return _entries; }
    /// The entries for a change. Throws std::bad_alloc.
    Entries CopyEntries() const { return _entries.CopyValues(); }
    /// Takes in what a backend reports: an entry that has a description already keeps it.
    static Result<void> Merge(Entries& entries, const AssetVersionKey& key, const AssetDescription& description);
    static Result<void> Insert(Entries& entries, const AssetVersionKey& key, const AssetDescription& description);
    /// Removes the entry of `key`, if there is one.
    static void Remove(Entries& entries, const AssetVersionKey& key);

private:
    AssetVersionBlock _entries;
    STATE _state = STATE::NOT_ASKED;
};

/// One asset id of a repository.
///
/// Lock order: `storeLock`, then `versions`. `adata` is written with both held, so either of them is enough to read it.
struct AssetIdData {
    AssetIdData(const Id& aid, const Id& atype, UInt idHash) : id(aid), type(atype), hash(idHash) {}

    const Id id;
    const InternedId type;           // one id has one type
    const UInt hash;                 // of the id's text, see GetTableHash
    Spinlock storeLock{STORE_LOCK};  // one store at a time, held across the backend's I/O
    std::atomic<Bool> erased{
        true};  // false once lookups find it; written under storeLock then; a store that meets it looks the id up again
    std::atomic<Bool> created{false};    // the backend has made `adata`; written under storeLock
    std::atomic<Bool> wasLoaded{false};  // a hint for who would load ahead: the versions were loaded once
    Data adata;
    Guarded<AssetVersionTable, ARWLock> versions{VERSIONS_LOCK};

    AssetVersionTable GetVersions() {
        auto scope = versions.Read();
        return *scope;
    }
    /// Publishes another table; an empty one makes the next lookup load the versions again.
    void SetVersions(AssetVersionTable table) {
        auto scope = versions.Write();
        std::swap(*scope, table);
    }
};

/// The records of a repository in chunks that never move: walks hold plain pointers, and a walk over all of them runs over the chunks up to
/// the count that it read at its start. Ids are found through shards, so that threads that look for different ids don't meet, and the growth of
/// one shard keeps nobody waiting for long.
///
/// Threads:    any.
/// Lock order: a shard, then the lock of the chunks. No disk work and no receiver runs under them.
class AssetTable {
public:
    AssetTable() = default;
    ~AssetTable();

    /// The record of `id` or null.
    AssetIdData* Find(const Id& id) const;
    /// The record of `id`, made with `type` if there is none. Errors: OutOfMemoryError.
    Result<AssetIdData*> Ensure(const Id& id, const Id& type);
    /// About so many more ids will come: makes room for them at once. Throws std::bad_alloc.
    void Expect(Int count);
    /// Fetches into the caches what Ensure will need of the table; no other thread may work on it.
    void Prefetch(const Id& id) const;
    /// Takes the record out of lookups; its memory stays until the end of the table, since walks may hold it.
    void Erase(AssetIdData& record);

    /// How many records were ever made.
    Int GetRecordCount() const { return _count.load(std::memory_order_acquire); }
    /// A record by its number, 0 to GetRecordCount(); erased ones too.
    AssetIdData& GetRecord(Int number) const;

private:
    struct Key {
        const Id& id;
        UInt hash;
    };
    struct RecordHash {
        using is_transparent = void;
        std::size_t operator()(const AssetIdData* record) const { return record->hash; }
        std::size_t operator()(const Key& key) const { return key.hash; }
    };
    struct RecordEqual {
        using is_transparent = void;
        Bool operator()(const AssetIdData* first, const AssetIdData* second) const { return first == second; }
        Bool operator()(const AssetIdData* record, const Key& key) const {
            return record->hash == key.hash && record->id == key.id;
        }
        Bool operator()(const Key& key, const AssetIdData* record) const { return (*this)(record, key); }
    };
    using Index = absl::flat_hash_set<AssetIdData*, RecordHash, RecordEqual>;
    struct alignas(64) Shard {
        Guarded<Index, ARWLock> index{ID_TABLE_LOCK};
    };
    static constexpr Int SHARDS = 16;
    static constexpr Int FIRST_CHUNK = 256;
    static constexpr Int CHUNKS = 32;  // each twice as large as the one before; its memory is touched as it fills
    static Int GetChunk(Int number);

    Shard& GetShard(UInt hash) const { return _shards[hash >> 60]; }
    AssetIdData& MakeRecord(const Id& id, const Id& type, UInt hash);

    mutable std::array<Shard, SHARDS> _shards;
    Spinlock _chunkLock{KERNEL_TABLE_LOCK};  // one new record at a time
    std::array<std::atomic<AssetIdData*>, CHUNKS> _chunks{};
    std::atomic<Int> _count{0};
};

}  // namespace talvo
