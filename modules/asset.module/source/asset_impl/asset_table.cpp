#include "asset_impl/asset_table.h"

#include "kernel/base/hash_growth.h"

#include "kernel/base/hashing.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <new>

namespace talvo {

namespace {

using Entries = AssetVersionTable::Entries;

template <typename ENTRIES>
auto FindPlace(ENTRIES& entries, const AssetVersionKey& key) {
    return std::lower_bound(entries.begin(), entries.end(), key,
                            [](const AssetVersionEntry& entry, const AssetVersionKey& wanted) { return entry.key < wanted; });
}

UInt GetVersionWord(const AssetDescription& description) {
    return description ? description->GetIdAndVersion().second.GetWord() : 0;
}

}  // namespace

const AssetVersionEntry* AssetVersionTable::FindKey(const AssetVersionKey& key) const {
    const AssetVersionEntry* place = FindPlace(_entries, key);
    return place != _entries.end() && place->key == key ? place : nullptr;
}

const AssetVersionEntry* AssetVersionTable::FindVersion(const Id& version) const {
    if (version.IsEmpty()) return nullptr;
    for (const AssetVersionEntry* entry = _entries.end(); entry != _entries.begin();) {
        --entry;
        if (entry->versionWord == version.GetWord() && entry->description->GetIdAndVersion().second == version) return entry;
    }
    return nullptr;
}

UInt AssetVersionTable::GetHighestCounter() const {
    UInt highest = 0;
    for (const AssetVersionEntry& entry : _entries) highest = std::max(highest, entry.key.counter);
    return highest;
}

Result<void> AssetVersionTable::Merge(Entries& entries, const AssetVersionKey& key, const AssetDescription& description) {
    const auto place = FindPlace(entries, key);
    if (place == entries.end() || place->key != key) return Insert(entries, key, description);
    if (place->description) return OK;
    place->description = description;
    place->versionWord = GetVersionWord(description);
    return OK;
}

Result<void> AssetVersionTable::Insert(Entries& entries, const AssetVersionKey& key, const AssetDescription& description) {
    const Int place = Int(FindPlace(entries, key) - entries.begin());
    return entries.Insert(place, AssetVersionEntry{key, GetVersionWord(description), description});
}

void AssetVersionTable::Remove(Entries& entries, const AssetVersionKey& key) {
    const auto place = FindPlace(entries, key);
    if (place != entries.end() && place->key == key) entries.Erase(Int(place - entries.begin()));
}

AssetTable::~AssetTable() {
    for (Int number = 0; number < GetRecordCount(); ++number) std::destroy_at(&GetRecord(number));
    for (auto& chunk : _chunks) ::operator delete(chunk.load(std::memory_order_relaxed));
}

// Chunk k begins at FIRST_CHUNK * (2^k - 1).
Int AssetTable::GetChunk(Int number) { return Int(std::bit_width(UInt(number / FIRST_CHUNK + 1))) - 1; }

AssetIdData& AssetTable::GetRecord(Int number) const {
    const Int chunk = GetChunk(number);
    const Int begin = FIRST_CHUNK * ((Int(1) << chunk) - 1);
    return _chunks[std::size_t(chunk)].load(std::memory_order_acquire)[number - begin];
}

AssetIdData* AssetTable::Find(const Id& id) const {
    const UInt hash = GetTableHash(id.GetView());
    auto index = GetShard(hash).index.Read();
    const auto found = index->find(Key{id, hash});
    return found == index->end() ? nullptr : *found;
}

Result<AssetIdData*> AssetTable::Ensure(const Id& id, const Id& type) {
    const UInt hash = GetTableHash(id.GetView());
    return CatchOutOfMemory([&]() -> Result<AssetIdData*> {
        auto index = GetShard(hash).index.Write();
        if (const auto found = index->find(Key{id, hash}); found != index->end()) return *found;
        EnsureRoomForOne(*index);
        AssetIdData& record = MakeRecord(id, type, hash);
        index->insert(&record);
        record.erased.store(false, std::memory_order_release);
        return &record;
    });
}

// The shards fill evenly, but not to the last one.
void AssetTable::Expect(Int count) {
    const std::size_t share = std::size_t(count) / SHARDS + std::size_t(count) / (SHARDS * 32) + 1;
    for (Shard& shard : _shards) {
        auto index = shard.index.Write();
        EnsureRoomFor(*index, share);
    }
}

void AssetTable::Prefetch(const Id& id) const {
    const UInt hash = GetTableHash(id.GetView());
    const auto index = GetShard(hash).index.Read();
    index->prefetch(Key{id, hash});
}

/// A record that counts as erased: if it can't be entered after all, walks pass it over.
AssetIdData& AssetTable::MakeRecord(const Id& id, const Id& type, UInt hash) {
    const ScopedLock lock(_chunkLock);
    const Int number = _count.load(std::memory_order_relaxed);
    const Int chunk = GetChunk(number);
    auto& slot = _chunks[std::size_t(chunk)];
    if (!slot.load(std::memory_order_relaxed)) {
        void* memory = ::operator new(std::size_t(FIRST_CHUNK << chunk) * sizeof(AssetIdData));
        slot.store(static_cast<AssetIdData*>(memory), std::memory_order_release);
    }
    AssetIdData* record = new (&GetRecord(number)) AssetIdData(id, type, hash);
    _count.store(number + 1, std::memory_order_release);
    return *record;
}

void AssetTable::Erase(AssetIdData& record) {
    record.erased.store(true, std::memory_order_release);
    auto index = GetShard(record.hash).index.Write();
    const auto found = index->find(Key{record.id, record.hash});
    if (found != index->end() && *found == &record) index->erase(found);
}

}  // namespace talvo
