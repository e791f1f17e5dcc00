#include "url_repository/compacted_index.h"

#include "kernel/base/hash_growth.h"

#include "kernel/io/connection.h"
#include "url_repository/tree_access.h"

namespace talvo {

Result<StrongRef<CompactedIndex>> CompactedIndex::OpenFiles(const Url& directory, const IndexRange& range) {
    return CatchOutOfMemory([&]() -> Result<StrongRef<CompactedIndex>> {
        StrongRef<CompactedIndex> index(new CompactedIndex(directory, range));
        TRY(index->OpenAll());
        return index;
    });
}

Result<StrongRef<CompactedIndex>> CompactedIndex::Open(const Url& directory, const IndexRange& range) {
    StrongRef<CompactedIndex> index = TRY(OpenFiles(directory, range));
    TRY(index->Check([](UInt, UInt, UInt) -> Result<void> { return OK; }));
    return index;
}

Result<void> CompactedIndex::OpenAll() {
    const BaseArray<IoEntry> entries = TRY(BrowseTree(_directory));
    for (const IoEntry& entry : entries) {
        if (entry.kind != IO_DETECT::FILE || entry.name == "index") continue;
        const Id key = TRY(Id::Create(entry.name));
        StrongRef<CompactedMetaData> values = TRY(CompactedMetaData::Open(_directory + entry.name));
        _metaData.emplace_back(InternedId(key), std::move(values));
    }
    _file = TRY(MappedFile::Open(_directory + "index"));
    return OK;
}

Result<void> CompactedIndex::Check(IndexText::Taker taker) {
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(_text.Open(_file->GetBytes(), _range, _directory + "index", taker));
        EnsureRoomFor(_names, _text.GetMetaDataNames().size());
        for (const std::string_view name : _text.GetMetaDataNames()) _names.emplace(name, ParseAnyName(name));
        return OK;
    });
}

Opt<IndexedMetaDataName> CompactedIndex::ParseAnyName(std::string_view name) {
    const Opt<MetaDataFileName> meaning = ParseMetaDataFileName(name);
    if (!meaning || !IsStorableKind(meaning->kind) || HasFlag(meaning->kind, ASSET_METADATA_KIND::DERIVED)) return std::nullopt;
    const Result<Id> key = Id::Create(meaning->key);
    if (key.IsError()) return std::nullopt;
    return IndexedMetaDataName{InternedId(key.GetValue()), meaning->kind, meaning->form};
}

const IndexedMetaDataName* CompactedIndex::ParseName(std::string_view name, Opt<IndexedMetaDataName>& odd) const {
    const auto known = _names.find(name);
    if (known == _names.end()) odd = ParseAnyName(name);
    const Opt<IndexedMetaDataName>& meaning = known == _names.end() ? odd : known->second;
    return meaning ? &*meaning : nullptr;
}

const CompactedMetaData* CompactedIndex::FindMetaData(const InternedId& key) const {
    for (const auto& [id, values] : _metaData) {
        if (id == key) return values.GetPointer();
    }
    return nullptr;
}

Result<void> CompactedIndex::CheckValues() const {
    for (const auto& [key, values] : _metaData) TRY(values->FindRaw({}, {}, 0));
    return OK;
}

Result<Data> CompactedIndex::FindValue(UInt record, std::string_view aid, std::string_view version, const InternedId& key) const {
    const CompactedMetaData* values = FindMetaData(key);
    return values ? values->Find(aid, version, GetPlace(record)) : Result<Data>(Data());
}

}  // namespace talvo
