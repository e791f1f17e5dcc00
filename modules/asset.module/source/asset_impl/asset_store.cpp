// The one road by which a version comes into a repository:
//
//   record of the id -> store lock -> versions loaded -> number -> backend writes it hidden -> metadata -> published -> memory
//   -> lock given up -> references -> event
//
// Invariants: 1. until it is published nobody sees the version, and an error takes it back whole; 2. a number is given out once; 3. the time of a
// version is later than that of the one before, so that a clock set back hides nothing; 4. a value that is to be carried over is carried or the store fails.
#include "asset_impl/repository_engine.h"
#include "asset_types/asset_description_impl.h"
#include "kernel/text/message_text.h"

namespace talvo {

namespace {

// Numbers that another process took meanwhile; more in a row means that something else is wrong.
constexpr Int MAX_NUMBER_TRIES = 10000;

/// A later time than `newest`, and not earlier than now.
UniversalDateTime GetNextTime(const AssetVersionKey& newest) {
    const Int64 now = UniversalDateTime::GetNow().GetValue();
    const Int64 latest = UniversalDateTime::GetMax().GetValue() - 1;  // the greatest belongs to "*"
    const Int64 last = Int64(std::min(newest.time, UInt(latest - 1)));
    return UniversalDateTime(std::min(std::max(now, last + 1), latest));
}

Id GetTypeOf(const StoreRequest& request) {
    if (request.source) return request.source->GetTypeId();
    return request.asset ? request.asset->GetTypeId() : Id();
}

}  // namespace

/// What is known of the version while it comes into being.
struct RepositoryEngine::NewVersion {
    AssetVersionKey oldKey;  // of the version that is replaced; empty: none
    Id overwrittenHash;
    AssetVersionKey newest;  // before this one
    AssetVersionNumber number;
    IdAndVersion identity;
    AssetVersionKey key;
    AssetStoreResult stored;
    AssetMetaDataTable table;
};

Result<void> CheckIdText(const Id& id, const char* what) {
    for (const char c : id.GetView()) {
        const UChar byte = UChar(c);
        if (byte >= 0x20 && byte != 0x7f) continue;
        std::string shown;
        for (const char each : id.GetView()) {
            const Bool plain = UChar(each) >= 0x20 && UChar(each) != 0x7f;
            shown += plain ? std::string(1, each) : "\\x" + ToHex(std::string_view(&each, 1));
        }
        return IllegalArgumentError::Create(
            FormatMessage("The @ \"@\" contains a control character. Use an id without line ends and other control characters.",
                          what, ShortenForMessage(shown)));
    }
    return OK;
}

Result<void> RepositoryEngine::CheckWritable() const {
    if (_self.IsWritable()) return OK;
    return IllegalStateError::Create(FormatMessage("Repository @ isn't writable", _id));
}

Result<void> RepositoryEngine::CheckStore(const StoreRequest& request) const {
    if (request.source) {
        const Bool valid = TRY(AssetInterface::IsAssetValid(request.source));
        if (!valid) return IllegalStateError::Create("Asset not valid for this app version.");
        TRY(CheckIdText(request.source->GetIdAndVersion().second, "version id"));
    }
    const Bool hasContent = request.content == StoreRequest::CONTENT::DELETION || request.asset || request.source;
    CHECK_ARGUMENT(hasContent, "asset || source");
    TRY(CheckWritable());
    if (request.aid.IsEmpty()) return IllegalArgumentError::Create("Asset ID cannot be null.");
    TRY(CheckIdText(request.aid, "asset id"));
    return CheckIdText(GetTypeOf(request), "type id");
}

Result<AssetDescription> RepositoryEngine::Store(const StoreRequest& request) {
    TRY(CheckStore(request));
    for (;;) {
        AssetIdData* record = TRY(GetRecordToStore(request));
        AssetDescription description;
        {
            const ScopedLock store(record->storeLock);
            // The last version was erased meanwhile, and the id with it.
            if (record->erased.load(std::memory_order_acquire)) continue;
            description = TRY(StoreInRecord(*record, request));
        }
        Result<void> registered = RegisterStored(*record, request, description);
        if (request.content == StoreRequest::CONTENT::DELETION) {
            _self.HandleAssetErased(description);
        } else {
            _self.HandleAssetStored(description);
        }
        TRY(std::move(registered));
        return description;
    }
}

Result<void> RepositoryEngine::RegisterStored(AssetIdData& record, const StoreRequest& request,
                                              const AssetDescription& description) {
    if (!request.asset) return OK;
    const Asset stored = TRY(description->Load(true));
    return RegisterReferences(record, stored);
}

Result<AssetIdData*> RepositoryEngine::GetRecordToStore(const StoreRequest& request) {
    if (AssetIdData* found = _table.Find(request.aid)) return found;
    if (request.content == StoreRequest::CONTENT::DELETION) {
        return IllegalStateError::Create(FormatMessage("No asset to delete for asset id @.", request.aid));
    }
    return _table.Ensure(request.aid, GetTypeOf(request));
}

Result<AssetDescription> RepositoryEngine::StoreInRecord(AssetIdData& record, const StoreRequest& request) {
    TRY(CreateRecordData(record));
    if (_self.NeedsLoadVersionsBeforeStore()) TRY(EnsureVersions(record));
    NewVersion version;
    TRY(ChooseNumber(record, request, version));
    TRY(WriteVersion(record, request, version));

    Result<void> written = CatchOutOfMemory([&]() -> Result<void> {
        TRY(CollectMetaData(request, version));
        TRY(WriteVersionMetaData(record, version));
        return _self.PublishVersionImpl(version.stored);
    });
    if (written.IsError()) {
        _self.DiscardVersionImpl(version.stored);
        return written.GetError();
    }
    Result<AssetDescription> published = CatchOutOfMemory([&] { return PublishVersion(record, request, version); });
    // The version is whole in the backend but memory doesn't know it: forget the table, the next lookup loads it again.
    if (published.IsError()) record.SetVersions({});
    return published;
}

Result<void> RepositoryEngine::CreateRecordData(AssetIdData& record) {
    if (record.created.load(std::memory_order_acquire)) return OK;
    Result<Data> made = CatchOutOfMemory([&] { return _self.CreateDataForIdImpl(record.id, record.type.GetId()); });
    if (made.IsError()) {
        // Nothing half-known stays in memory: the next store of this id begins anew, perhaps with another type.
        _table.Erase(record);
        return made.GetError();
    }
    auto versions = record.versions.Write();
    record.adata = std::move(made).GetValue();
    record.created.store(true, std::memory_order_release);
    return OK;
}

Result<void> RepositoryEngine::ChooseNumber(AssetIdData& record, const StoreRequest& request, NewVersion& version) {
    const AssetVersionTable table = record.GetVersions();
    const AssetVersionEntry* last = table.GetLast();
    const Bool lastDeleted = last && last->description && last->description->IsDeleted();
    // Overwriting a deleted asset brings it back by a version of its own; the marker stays in its history.
    const Bool overwrite = request.place == StoreRequest::PLACE::NEWEST_VERSION && !lastDeleted;
    if (last) version.newest = last->key;
    if (overwrite && last) {
        version.oldKey = last->key;
        if (last->description) version.overwrittenHash = last->description->GetIdAndVersion().second;
        version.number = {last->key.counter, last->key.origin};
    } else if (last) {
        version.number = {table.GetHighestCounter() + 1, last->key.origin};
    } else if (!overwrite) {
        version.number = {1, _id.GetWord()};
    }
    if (version.number.counter == 0 && version.number.origin == 0) {
        version.number = TRY(_self.GetNextVersionImpl());
        return OK;
    }
    return _self.UpdateNextVersionImpl(version.number.counter);
}

Result<void> RepositoryEngine::WriteVersion(AssetIdData& record, const StoreRequest& request, NewVersion& version) {
    const Bool deletes = request.content == StoreRequest::CONTENT::DELETION;
    for (Int tries = 0; tries < MAX_NUMBER_TRIES; ++tries) {
        Data adata = record.adata;
        version.stored = TRY(_self.StoreImpl(request.asset, deletes, version.overwrittenHash, request.source, adata,
                                             version.number, request.encryption == StoreRequest::ENCRYPTION::ADD));
        if (!version.stored.numberTaken) {
            auto versions = record.versions.Write();
            record.adata = std::move(adata);
            return OK;
        }
        // Someone else stored this number: take his versions in and go behind them.
        const UInt taken = version.number.counter;
        record.SetVersions({});
        const AssetVersionTable table = TRY(EnsureVersions(record));
        if (const AssetVersionEntry* last = table.GetLast()) version.newest = std::max(version.newest, last->key);
        version.number.counter = std::max(taken, table.GetHighestCounter()) + 1;
        TRY(_self.UpdateNextVersionImpl(version.number.counter));
    }
    return UnexpectedError::Create(
        FormatMessage("No free version number was found for asset @ in repository @. Check the repository.", record.id, _id));
}

Result<void> RepositoryEngine::CollectMetaData(const StoreRequest& request, NewVersion& version) {
    TRY(version.table.Insert(InternedId(ASSETMETADATA::TIMESTAMP),
                             AssetMetaDataEntry{Data(GetNextTime(version.newest)), KIND_STORE_TIME, true, 1}));
    if (request.asset) {
        const AssetMetaData own = TRY(request.asset->GetMetaData());
        TRY(CarryMetaData(own, request, version));
    } else if (request.source) {
        TRY(CarryMetaData(request.source->GetMetaData(), request, version));
    }
    if (request.metaData && request.content != StoreRequest::CONTENT::DELETION) {
        const auto entries = TRY(request.metaData->GetExistingEntries());
        for (const auto& [id, kind] : entries) {
            if (!IsCarriedToNextVersion(kind)) continue;
            Opt<Data> value = TRY(request.metaData->Get(id));
            if (value) TRY(version.table.Insert(id, AssetMetaDataEntry{std::move(*value), kind, true, 1}));
        }
    }
    for (const auto& [id, value] : version.stored.metaData) {
        TRY(version.table.Insert(id, AssetMetaDataEntry{value, KIND::PERSISTENT, true, 1}));
    }
    return OK;
}

// Plain persistent values follow the asset to its next version; a copy takes what belongs to the version too, but nothing that was computed.
Result<void> RepositoryEngine::CarryMetaData(const AssetMetaData& from, const StoreRequest& request, NewVersion& version) {
    if (!from) return OK;
    const auto impl = Cast<AssetMetaDataImpl>(StrongRef<AssetMetaDataInterface>(from));
    const auto entries = TRY(from->GetExistingEntries());
    for (const auto& [id, kind] : entries) {
        const Bool wanted = IsCarriedToNextVersion(kind) || (request.source && !HasFlag(kind, KIND::DERIVED));
        if (!wanted) continue;
        Data value;
        if (impl) {
            value = TRY(impl->GetForCarry(id));
        } else {
            Opt<Data> read = TRY(from->Get(id));
            if (read) value = std::move(*read);
        }
        if (value.IsPopulated()) TRY(version.table.Insert(id, AssetMetaDataEntry{std::move(value), kind, true, 1}));
    }
    return OK;
}

Result<void> RepositoryEngine::WriteVersionMetaData(const AssetIdData& record, NewVersion& version) {
    version.identity = {record.id, version.stored.versionId};
    for (auto& [id, entry] : version.table) {
        const Url* url = entry.value.GetPtr<Url>();
        // A value that names a file of another version's metadata: the file moves along.
        const Bool urlMode = url && url->GetScheme() == "meta"_id;
        const Url source = urlMode ? *url : Url();
        entry.value = TRY(_self.StoreMetaDataImpl(version.stored.vdata, id, urlMode ? Data() : entry.value, version.identity,
                                                  source, entry.kind, urlMode));
    }
    const AssetMetaDataEntry* time = version.table.Find(InternedId(ASSETMETADATA::TIMESTAMP));
    CHECK_EXPECTED(time != nullptr, "timeMeta");
    const UniversalDateTime* value = time->value.GetPtr<UniversalDateTime>();
    if (!value)
        return IllegalStateError::Create(FormatMessage("The time of a version of asset @ is no point in time.", record.id));
    version.key = {UInt(value->GetValue()), version.number.counter, version.number.origin};
    return OK;
}

Result<AssetDescription> RepositoryEngine::MakeDescription(const AssetIdData& record, const StoreRequest& request,
                                                           NewVersion& version) {
    const AssetRepositoryRef self(&_self);
    AssetDescription::Parts parts;
    parts.type = record.type.GetId();
    parts.identity = version.identity;
    parts.key = version.key;
    parts.metaData =
        TRY(AssetMetaData::Create(self, record.type.GetId(), version.identity, version.stored.vdata, std::move(version.table)));
    parts.deleted = request.content == StoreRequest::CONTENT::DELETION;
    parts.url = version.stored.url;
    const AssetMetaData metaData = parts.metaData;
    AssetDescription description = TRY(AssetDescription::Create(self, std::move(parts)));
    AssetDescriptionImpl::Of(description).SetVersionData(version.stored.vdata);
    if (request.asset) {
        // The caller goes on with its own object; the copy is what a load of the new version gives.
        const Asset loaded = TRY(request.asset->Clone());
        loaded->SetId(version.identity, 0, self, version.stored.url);
        loaded->SetMetaData(metaData);
        AssetDescriptionImpl::Of(description).PresetLoaded(loaded);
    }
    return description;
}

Result<AssetDescription> RepositoryEngine::PublishVersion(AssetIdData& record, const StoreRequest& request, NewVersion& version) {
    AssetDescription description = TRY(MakeDescription(record, request, version));
    AssetVersionTable old;  // released after the lock: what was replaced may go with it
    auto versions = record.versions.Write();
    AssetVersionTable::Entries entries = versions->CopyEntries();
    if (!version.oldKey.IsEmpty()) AssetVersionTable::Remove(entries, version.oldKey);
    TRY(AssetVersionTable::Insert(entries, version.key, description));
    old = std::exchange(*versions, AssetVersionTable(std::move(entries), versions->GetState()));
    return description;
}

}  // namespace talvo
