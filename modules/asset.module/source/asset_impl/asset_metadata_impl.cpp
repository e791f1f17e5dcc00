#include "asset_impl/asset_metadata_impl.h"

#include "assets/asset_type.h"
#include "baseassetrepository.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

Result<void> Deliver(const Data& value, DataType type, void* mem, Bool& isSet) {
    isSet = false;
    if (!type) {
        new (mem) Data(value);
        isSet = true;
    } else if (value.GetType() == type) {
        type->copy(mem, value.GetMemory());
        isSet = true;
    }
    return OK;
}

}  // namespace

AssetMetaDataImpl::AssetMetaDataImpl(AssetMetaDataTable entries)
    : _hasRepository(false), _entries(METADATA_LOCK, std::move(entries)) {}

AssetMetaDataImpl::AssetMetaDataImpl(const AssetRepositoryRef& repository, Id type, IdAndVersion identity, Data vdata,
                                     AssetMetaDataTable entries)
    : _hasRepository(Bool(repository)),
      _repository(repository),
      _type(std::move(type)),
      _identity(std::move(identity)),
      _vdata(std::move(vdata)),
      _entries(METADATA_LOCK, std::move(entries)) {}

Result<BaseArray<AssetMetaDataExistingEntry>> AssetMetaDataImpl::GetExistingEntries() const {
    BaseArray<AssetMetaDataExistingEntry> result;
    auto entries = _entries.Read();
    TRY(result.EnsureCapacity(entries->GetCount()));
    for (const auto& [id, entry] : *entries) TRY(result.Append({id, entry.kind}));
    return result;
}

Result<Opt<Data>> AssetMetaDataImpl::Get(const InternedId& metaId) const {
    return CatchOutOfMemory([&]() -> Result<Opt<Data>> {
        Data value = TRY(Resolve(metaId));
        return value.IsEmpty() ? Opt<Data>() : Opt<Data>(std::move(value));
    });
}

UInt AssetMetaDataImpl::GetTimeStamp(const InternedId& metaId) const {
    auto entries = _entries.Read();
    const AssetMetaDataEntry* entry = entries->Find(metaId);
    return entry ? entry->stamp : 0;
}

Result<void> AssetMetaDataImpl::PrivateGet(const InternedId& metaId, DataType type, void* mem, Bool& isSet) const {
    isSet = false;
    return CatchOutOfMemory([&]() -> Result<void> {
        const Data value = TRY(Resolve(metaId));
        if (value.IsEmpty()) return OK;
        return Deliver(value, type, mem, isSet);
    });
}

Result<Data> AssetMetaDataImpl::Resolve(const InternedId& metaId) const {
    {
        auto entries = _entries.Read();
        const AssetMetaDataEntry* entry = entries->Find(metaId);
        if (entry && entry->loaded) return entry->value;
        if (!entry && !_hasRepository) return Data();
    }
    Opt<Data> loaded = TRY(LoadEntry(metaId));
    if (loaded) return std::move(*loaded);
    return Compute(metaId);
}

Result<Opt<Data>> AssetMetaDataImpl::LoadEntry(const InternedId& metaId) const {
    auto entries = _entries.Write();
    AssetMetaDataEntry* entry = entries->Find(metaId);
    if (!entry) return Opt<Data>();
    if (entry->loaded) return Opt<Data>(entry->value);

    Result<Data> read = ReadFromBackend(metaId, entry->kind);
    const Bool failed = read.IsError();
    // A read that failed counts as no value and isn't tried again at each call; GetForCarry knows the difference.
    if (failed && !IoError::IsClassOf(read.GetError())) return read.GetError();
    Data value = failed ? Data() : std::move(read).GetValue();
    if (value.IsEmpty() && entry->kind == KIND_DERIVED) return Opt<Data>();
    entry->unreadable = failed;
    entry->value = value;
    entry->loaded = true;
    return Opt<Data>(std::move(value));
}

Result<Data> AssetMetaDataImpl::ReadFromBackend(const InternedId& metaId, KIND kind) const {
    const AssetRepositoryRef repository = TRY(GetRepository());
    const auto backend = Cast<BaseAssetRepositoryInterface>(repository);
    if (!backend) return IllegalStateError::Create(FormatMessage("Repository has unsupported class @.", repository->GetId()));
    return backend->LoadMetaDataImpl(_vdata, metaId, kind);
}

Result<Data> AssetMetaDataImpl::GetForCarry(const InternedId& metaId) const {
    auto entries = _entries.Write();
    AssetMetaDataEntry* entry = entries->Find(metaId);
    if (!entry) return Data();
    if (entry->loaded && !entry->unreadable) return entry->value;
    Data value = TRY(ReadFromBackend(metaId, entry->kind));
    entry->unreadable = false;
    entry->value = value;
    entry->loaded = true;
    return value;
}

Result<BaseAssetRepositoryInterface::StoredText> AssetMetaDataImpl::FindText(const InternedId& metaId, const Id& key) const {
    auto entries = _entries.Read();
    const AssetMetaDataEntry* entry = entries->Find(metaId);
    if (!entry || entry->loaded) return BaseAssetRepositoryInterface::StoredText();
    const AssetRepositoryRef repository = TRY(GetRepository());
    auto* backend = dynamic_cast<BaseAssetRepositoryInterface*>(repository.GetPointer());
    return backend ? backend->FindTextImpl(_vdata, metaId, key) : BaseAssetRepositoryInterface::StoredText();
}

Result<Data> AssetMetaDataImpl::Compute(const InternedId& metaId) const {
    if (!_hasRepository) return Data();
    const AssetRepositoryRef repository = TRY(GetRepository());
    const AssetType type = FindAssetType(_type);
    if (!type) return Data();
    CheckNoLockHeld(LOCK_USE::CALLBACK, "the computing of a value by an asset type");
    const AssetMetaData self(StrongRef<AssetMetaDataInterface>(const_cast<AssetMetaDataImpl*>(this)));
    auto [value, doNotKeep] = TRY(type->ComputeMetaData(repository, _identity, self, metaId));
    if (value.IsEmpty() || doNotKeep) return std::move(value);

    AssetDescription description;
    TRY(FindAssets(repository, Block<const Id>(&_type, 1), _identity.first, _identity.second,
                   ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::WITHOUT_BASES,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       description = found;
                       return false;
                   }));
    if (description) TRY(repository->StoreMetaData(description, metaId, value, KIND_DERIVED));
    return std::move(value);
}

Result<AssetRepositoryRef> AssetMetaDataImpl::GetRepository() const {
    AssetRepositoryRef repository = _repository.Promote();
    if (!repository) return IllegalStateError::Create("Repository doesn't exist any longer.");
    return repository;
}

Result<void> AssetMetaDataImpl::CheckChange(const AssetMetaDataTable& entries, const InternedId& metaId, CHANGE change,
                                            KIND kind) {
    if (change == CHANGE::REMOVE || HasFlag(kind, KIND::OVERRIDE_READ_ONLY)) return OK;
    const AssetMetaDataEntry* entry = entries.Find(metaId);
    if (!entry) return OK;
    CHECK_ARGUMENT(!HasFlag(entry->kind | kind, KIND::READ_ONLY),
                   "!((v.Get<AssetMetaData::KIND>() | kind) & AssetMetaData::KIND::READ_ONLY)");
    return OK;
}

Result<Data> AssetMetaDataImpl::SetEntry(AssetMetaDataTable& entries, const InternedId& metaId, Data value, KIND kind) {
    if (IsCarriedToNextVersion(GetStoredKind(kind))) {
        entries.EraseIf([](const auto& item) { return HasFlag(item.second.kind, KIND::DERIVED); });
    }
    TRY(CheckChange(entries, metaId, value.IsEmpty() ? CHANGE::REMOVE : CHANGE::SET, kind));
    if (value.IsEmpty()) {
        AssetMetaDataEntry* entry = entries.Find(metaId);
        if (!entry) return Data();
        Data previous = std::move(entry->value);
        entries.Erase(metaId);
        return previous;
    }
    const Bool isNew = !entries.Contains(metaId);
    AssetMetaDataEntry* entry = TRY(entries.InsertKey(metaId));
    if (isNew) entry->kind = GetStoredKind(kind);
    entry->loaded = true;
    entry->unreadable = false;
    entry->stamp = entry->stamp + 1;
    return std::exchange(entry->value, std::move(value));
}

Result<Data> AssetMetaDataImpl::Set(const InternedId& metaId, Data value, KIND kind) {
    auto entries = _entries.Write();
    return SetEntry(*entries, metaId, std::move(value), kind);
}

Result<AssetMetaDataImpl::Change> AssetMetaDataImpl::StoreThrough(const InternedId& metaId, CHANGE change, KIND kind,
                                                                  FunctionRef<Result<Data>(const Data& vdata, KIND kind)> write) {
    auto entries = _entries.Write();
    TRY(CheckChange(*entries, metaId, change, kind));
    // An entry keeps the kind that it was made with, on disk as in the table.
    const AssetMetaDataEntry* entry = entries->Find(metaId);
    const Bool keepsKind = entry && HasFlag(entry->kind, KIND::PERSISTENT);
    const KIND written = keepsKind ? entry->kind : GetStoredKind(kind);
    // What may change is tested and what is needed is there before the write, so that disk and table stay one.
    TRY(entries->EnsureRoomForOne());
    Data value = TRY(write(_vdata, written));
    Data current = value;
    Data previous = TRY(SetEntry(*entries, metaId, std::move(value), written | KIND::OVERRIDE_READ_ONLY));
    return Change{std::move(previous), std::move(current), written};
}

const AssetMetaData& AssetMetaData::DefaultValuePtr() {
    static const AssetMetaData empty(StrongRef<AssetMetaDataInterface>(new AssetMetaDataImpl(AssetMetaDataTable())));
    return empty;
}

Result<AssetMetaData> AssetMetaData::Create(AssetMetaDataTable entries) {
    return CatchOutOfMemory([&]() -> Result<AssetMetaData> {
        return AssetMetaData(StrongRef<AssetMetaDataInterface>(new AssetMetaDataImpl(std::move(entries))));
    });
}

Result<AssetMetaData> AssetMetaData::Create(const AssetRepositoryRef& repository, const Id& type, const IdAndVersion& identity,
                                            Data vdata, AssetMetaDataTable entries) {
    return CatchOutOfMemory([&]() -> Result<AssetMetaData> {
        return AssetMetaData(StrongRef<AssetMetaDataInterface>(
            new AssetMetaDataImpl(repository, type, identity, std::move(vdata), std::move(entries))));
    });
}

}  // namespace talvo
