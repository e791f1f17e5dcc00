// What a repository holds in memory: a record per asset id that never moves, and per record a published table of versions.
#pragma once

#include "asset_impl/engine_locks.h"
#include "assets/asset_repository.h"

#include <array>
#include <atomic>
#include <memory>

namespace talvo {

struct AssetVersionEntry {
    AssetVersionKey key;
    AssetDescription description;  // null for a version known only by its key
    Data vdata;                    // the backend's data of the version
};

/// Versions of one asset, oldest first. Never changed once published: a change makes a new one.
class AssetVersionTable final : public ObjectInterface {
public:
    AssetVersionTable() = default;
    /// The same versions, for a change. Throws std::bad_alloc.
    static StrongRef<AssetVersionTable> CopyOf(const AssetVersionTable* other);

    /// Whether the backend was asked for the versions.
    Bool loaded = false;

    Int GetCount() const { return _entries.GetCount(); }
    const BaseArray<AssetVersionEntry>& GetEntries() const { return _entries; }
    /// The newest version or null.
    const AssetVersionEntry* GetLast() const { return _entries.GetLast(); }
    const AssetVersionEntry* FindKey(const AssetVersionKey& key) const;
    /// The greatest entry with this version id, or null.
    const AssetVersionEntry* FindVersion(const Id& version) const;
    UInt GetHighestCounter() const;

    /// Takes in what a backend reports: an entry that has a description already keeps it.
    Result<void> Merge(const AssetVersionKey& key, const AssetDescription& description, const Data& vdata);
    Result<void> Insert(AssetVersionEntry entry);
    /// Removes the entry of `key`, if there is one; another entry of its version id takes its place.
    Result<void> Remove(const AssetVersionKey& key);

private:
    Int FindPlace(const AssetVersionKey& key) const;
    Result<void> NoteVersion(const Id& version, const AssetVersionKey& key);

    BaseArray<AssetVersionEntry> _entries;    // sorted by key
    HashMap<Id, AssetVersionKey> _byVersion;  // greatest key of each version id
};
using AssetVersionTableRef = StrongRef<const AssetVersionTable>;

/// One asset id of a repository.
///
/// Lock order: `storeLock`, then `versions`. `adata` is written with both held, so either of them is enough to read it.
struct AssetIdData {
    Id id;                             // constant
    Id type;                           // constant: one id has one type
    std::atomic<Bool> erased{false};   // written under storeLock; a store that meets it looks the id up again
    std::atomic<Bool> created{false};  // the backend has made `adata`; written under storeLock
    Data adata;
    Spinlock storeLock{STORE_LOCK};  // one store at a time, held across the backend's I/O
    Guarded<AssetVersionTableRef, ARWLock> versions{VERSIONS_LOCK};

    AssetVersionTableRef GetVersions() {
        auto scope = versions.Read();
        return *scope;
    }
    /// Publishes another table; null makes the next lookup load the versions again.
    void SetVersions(AssetVersionTableRef table) {
        auto scope = versions.Write();
        std::swap(*scope, table);
    }
};

/// The records of a repository in chunks that never move: walks hold plain pointers, and a walk over all of them runs over the chunks up to
/// the count that it read at its start.
///
/// Threads:    any.
/// Lock order: a leaf. No disk work and no receiver runs under it.
class AssetTable {
public:
    ~AssetTable();

    /// The record of `id` or null.
    AssetIdData* Find(const Id& id) const;
    /// The record of `id`, made with `type` if there is none.
    Result<AssetIdData*> Ensure(const Id& id, const Id& type);
    /// Takes the record out of lookups; its memory stays until the end of the table, since walks may hold it.
    void Erase(AssetIdData& record);

    /// How many records were ever made.
    Int GetRecordCount() const { return _count.load(std::memory_order_acquire); }
    /// A record by its number, 0 to GetRecordCount(); erased ones too.
    AssetIdData& GetRecord(Int number) const;

private:
    static constexpr Int FIRST_CHUNK = 256;
    static constexpr Int CHUNKS = 32;  // each twice as large as the one before
    static Int GetChunk(Int number);

    std::array<std::atomic<AssetIdData*>, CHUNKS> _chunks{};
    std::atomic<Int> _count{0};
    mutable Guarded<HashMap<Id, AssetIdData*>, ARWLock> _ids{ID_TABLE_LOCK};
};

}  // namespace talvo
