#include "asset_impl/asset_table.h"

#include <algorithm>
#include <bit>

namespace talvo {

StrongRef<AssetVersionTable> AssetVersionTable::CopyOf(const AssetVersionTable* other) {
    auto copy = StrongRef<AssetVersionTable>::Create();
    if (other) {
        copy->loaded = other->loaded;
        copy->_entries = other->_entries;
        copy->_byVersion = other->_byVersion;
    }
    return copy;
}

Int AssetVersionTable::FindPlace(const AssetVersionKey& key) const {
    const auto place = std::lower_bound(_entries.begin(), _entries.end(), key,
                                        [](const AssetVersionEntry& entry, const AssetVersionKey& k) { return entry.key < k; });
    return Int(place - _entries.begin());
}

const AssetVersionEntry* AssetVersionTable::FindKey(const AssetVersionKey& key) const {
    const Int place = FindPlace(key);
    return place < _entries.GetCount() && _entries[place].key == key ? &_entries[place] : nullptr;
}

const AssetVersionEntry* AssetVersionTable::FindVersion(const Id& version) const {
    const AssetVersionKey* key = _byVersion.Find(version);
    return key ? FindKey(*key) : nullptr;
}

UInt AssetVersionTable::GetHighestCounter() const {
    UInt highest = 0;
    for (const AssetVersionEntry& entry : _entries) highest = std::max(highest, entry.key.counter);
    return highest;
}

Result<void> AssetVersionTable::NoteVersion(const Id& version, const AssetVersionKey& key) {
    const Bool isNew = !_byVersion.Contains(version);
    AssetVersionKey* known = TRY(_byVersion.InsertKey(version));
    if (isNew || *known < key) *known = key;
    return OK;
}

Result<void> AssetVersionTable::Merge(const AssetVersionKey& key, const AssetDescription& description, const Data& vdata) {
    const Int place = FindPlace(key);
    if (place == _entries.GetCount() || _entries[place].key != key) TRY(_entries.Insert(place, AssetVersionEntry{key, {}, {}}));
    AssetVersionEntry& entry = _entries[place];
    if (!entry.description) {
        entry.description = description;
        entry.vdata = vdata;
    }
    if (!entry.description) return OK;
    const Id& version = entry.description->GetIdAndVersion().second;
    if (version.IsEmpty()) return OK;
    return NoteVersion(version, key);
}

Result<void> AssetVersionTable::Insert(AssetVersionEntry entry) {
    const AssetVersionKey key = entry.key;
    const Id version = entry.description->GetIdAndVersion().second;
    TRY(NoteVersion(version, key));
    return _entries.Insert(FindPlace(key), std::move(entry));
}

Result<void> AssetVersionTable::Remove(const AssetVersionKey& key) {
    const Int place = FindPlace(key);
    if (place == _entries.GetCount() || _entries[place].key != key) return OK;
    const AssetDescription removed = _entries[place].description;
    _entries.Erase(place);
    if (!removed) return OK;
    const Id& version = removed->GetIdAndVersion().second;
    _byVersion.Erase(version);
    for (const AssetVersionEntry& entry : _entries) {
        if (entry.description && entry.description->GetIdAndVersion().second == version) TRY(NoteVersion(version, entry.key));
    }
    return OK;
}

AssetTable::~AssetTable() {
    for (auto& chunk : _chunks) delete[] chunk.load(std::memory_order_relaxed);
}

// Chunk k begins at FIRST_CHUNK * (2^k - 1).
Int AssetTable::GetChunk(Int number) { return Int(std::bit_width(UInt(number / FIRST_CHUNK + 1))) - 1; }

AssetIdData& AssetTable::GetRecord(Int number) const {
    const Int chunk = GetChunk(number);
    const Int begin = FIRST_CHUNK * ((Int(1) << chunk) - 1);
    return _chunks[std::size_t(chunk)].load(std::memory_order_acquire)[number - begin];
}

AssetIdData* AssetTable::Find(const Id& id) const {
    auto ids = _ids.Read();
    AssetIdData* const* record = ids->Find(id);
    return record ? *record : nullptr;
}

Result<AssetIdData*> AssetTable::Ensure(const Id& id, const Id& type) {
    if (AssetIdData* found = Find(id)) return found;
    return CatchOutOfMemory([&]() -> Result<AssetIdData*> {
        auto ids = _ids.Write();
        if (AssetIdData** found = ids->Find(id)) return *found;
        const Int number = _count.load(std::memory_order_relaxed);
        const Int chunk = GetChunk(number);
        auto& slot = _chunks[std::size_t(chunk)];
        if (!slot.load(std::memory_order_relaxed)) {
            slot.store(new AssetIdData[std::size_t(FIRST_CHUNK << chunk)], std::memory_order_release);
        }
        AssetIdData& record = GetRecord(number);
        record.id = id;
        record.type = type;
        TRY(ids->Insert(id, &record));
        _count.store(number + 1, std::memory_order_release);
        return &record;
    });
}

void AssetTable::Erase(AssetIdData& record) {
    record.erased.store(true, std::memory_order_release);
    auto ids = _ids.Write();
    AssetIdData* const* found = ids->Find(record.id);
    if (found && *found == &record) ids->Erase(record.id);
}

}  // namespace talvo
