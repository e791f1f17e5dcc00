// The smallest whole backend. It shows what each operation has to do; where the payload and the values lie is all that is special about it.
//
//   adata of an asset id:  a MemoryAsset, which knows the versions that were published
//   vdata of a version:    a MemoryVersion, which knows the directory of its files and its metadata values
#include "memoryassetrepository.h"

#include "asset_scheme/resolve_info.h"
#include "asset_scheme/url_parts.h"
#include "kernel/io/memory_volume.h"
#include "kernel/text/format.h"
#include "kernel/thread/locks.h"

#include <atomic>
#include <map>

namespace talvo {

namespace {

using KIND = ASSET_METADATA_KIND;

constexpr KIND KIND_VERSIONED = KIND::PERSISTENT | KIND::VERSIONED;
constexpr KIND KIND_STORE_TIME = KIND_VERSIONED | KIND::READ_ONLY;
constexpr KIND KIND_DERIVED = KIND::PERSISTENT | KIND::DERIVED;
constexpr KIND KIND_USER = KIND::PERSISTENT | KIND::USER;

Bool CanBeFile(KIND kind) { return kind == KIND::PERSISTENT || kind == KIND_VERSIONED || kind == KIND_STORE_TIME; }
Bool CanBeStored(KIND kind) { return CanBeFile(kind) || kind == KIND_DERIVED || kind == KIND_USER; }

struct MemoryVersion;

struct MemoryAsset : ObjectInterface {
    Guarded<std::map<UInt, StrongRef<MemoryVersion>>, ARWLock> published;  // by counter
};

struct StoredValue {
    Data data;
    KIND kind = KIND::NONE;
    Url file;  ///< of a value that is a file
};

struct MemoryVersion : ObjectInterface {
    MemoryVersion(const StrongRef<MemoryAsset>& memoryAsset, AssetVersionNumber versionNumber, Url versionDirectory)
        : asset(memoryAsset), number(versionNumber), directory(std::move(versionDirectory)) {}

    const WeakRef<MemoryAsset> asset;
    const AssetVersionNumber number;
    const Url directory;
    Id id;        // this and the next are constant once it is published
    Url content;  // empty: a deletion marker
    Guarded<HashMap<InternedId, StoredValue>, ARWLock> values;
};

/// What is behind `adata` or `vdata`.
template <typename T>
Result<StrongRef<T>> GetObject(const Data& data) {
    return data.Get<StrongRef<T>>();
}

class MemoryAssetRepositoryImpl final : public BaseAssetRepository {
public:
    MemoryAssetRepositoryImpl(MemoryVolumeRef volume, MemoryAssetRepository::ACCESS access)
        : _volume(std::move(volume)), _isWritable(access == MemoryAssetRepository::ACCESS::WRITABLE) {}

    Bool IsWritable() const override { return _isWritable; }

    // Which ids are there? None: the repository is new.
    Result<void> LoadExistingIdsImpl(AssetIdReceiver) override { return OK; }

    Result<Data> CreateDataForIdImpl(const Id&, const Id&) override { return Data(StrongRef<MemoryAsset>::Create()); }

    // Which versions has an id? The engine keeps what it is told, so this runs once for each id.
    Result<void> LoadVersionsImpl(const Id& aid, const Id& type, const Data& adata, AssetVersionReceiver receiver) override {
        const auto asset = TRY(GetObject<MemoryAsset>(adata));
        const auto versions = asset->published.Read();
        for (const auto& entry : *versions) {
            const MemoryVersion& version = *entry.second;
            AssetDescription::Parts parts;
            parts.type = type;
            parts.identity = {aid, version.id};
            parts.key = GetKey(version);
            parts.deleted = version.content.IsEmpty();
            parts.url = version.content;
            const Data vdata(entry.second);
            AssetMetaDataTable table = TRY(ListMetaData(version));
            parts.metaData = TRY(AssetMetaData::Create(GetSelf(), type, parts.identity, vdata, std::move(table)));
            const AssetVersionKey key = parts.key;
            const AssetDescription description = TRY(AssetDescription::Create(GetSelf(), std::move(parts)));
            TRY(receiver(key, description, vdata));
        }
        return OK;
    }

    Bool NeedsLoadVersionsBeforeStore() const override { return true; }

    // How is a version written? Into a directory that nobody knows yet...
    Result<AssetStoreResult> StoreImpl(const Asset& asset, Bool deleteAsset, const Id& overwrittenHash,
                                       const AssetDescription& source, Data& adata, const AssetVersionNumber& number,
                                       Bool addEncryption) override {
        const auto memoryAsset = TRY(GetObject<MemoryAsset>(adata));
        const Url directory = _volume->GetRoot() + std::to_string(_nextDirectory.fetch_add(1));
        const auto version = StrongRef<MemoryVersion>::Create(memoryAsset, number, directory);
        TRY(directory.IoCreateDirectory());
        AssetStoreResult stored;
        stored.vdata = Data(version);
        Result<void> written;
        if (deleteAsset) {
            version->id = DELETED_VERSION;
        } else if (source) {
            written = WriteCopy(source, addEncryption, *version);
        } else {
            written = WritePayload(asset, *version, stored);
        }
        if (written.IsError()) {
            DiscardVersionImpl(stored);
            return written.GetError();
        }
        if (overwrittenHash.IsPopulated()) version->id = overwrittenHash;
        stored.versionId = version->id;
        stored.url = version->content;
        return stored;
    }

    // ... its metadata with it (StoreMetaDataImpl), and then it becomes known in one step.
    Result<void> PublishVersionImpl(AssetStoreResult& stored) override {
        const auto version = TRY(GetObject<MemoryVersion>(stored.vdata));
        const auto asset = version->asset.Promote();
        StrongRef<MemoryVersion> replaced = version;
        {
            const auto versions = asset->published.Write();
            std::swap((*versions)[version->number.counter], replaced);
        }
        if (replaced) replaced->directory.IoDelete().Ignore("nobody knows it any longer, and it goes with the volume");
        return OK;
    }

    void DiscardVersionImpl(const AssetStoreResult& stored) override {
        const auto version = GetObject<MemoryVersion>(stored.vdata);
        if (version.IsOk()) version.GetValue()->directory.IoDelete().Ignore("nobody knows it, and it goes with the volume");
    }

    // How is a version removed?
    Result<void> EraseImpl(const AssetDescription&, const Data& vdata) override {
        const auto version = TRY(GetObject<MemoryVersion>(vdata));
        if (const auto asset = version->asset.Promote()) {
            const auto versions = asset->published.Write();
            versions->erase(version->number.counter);
        }
        version->directory.IoDelete().Ignore("nobody knows it any longer, and it goes with the volume");
        return OK;
    }

    Result<Bool> HandleAssetErasedCompletely(const Id&, const Data&) override { return true; }

    // Where do metadata values go?
    Result<Data> LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, KIND) override {
        const auto version = TRY(GetObject<MemoryVersion>(vdata));
        const auto values = version->values.Read();
        const StoredValue* value = values->Find(metaId);
        return value ? value->data : Data();
    }

    Result<Data> StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data, const IdAndVersion& asset,
                                   const Url& source, KIND kind, Bool urlMode) override {
        if (urlMode ? !CanBeFile(kind) : !CanBeStored(kind)) {
            CHECK_ARGUMENT(!HasFlag(kind, KIND::PERSISTENT), "!(kind & AssetMetaData::KIND::PERSISTENT)");
            return data;  // a value of memory only
        }
        const auto version = TRY(GetObject<MemoryVersion>(vdata));
        StoredValue value{data, kind, Url()};
        if (urlMode) value = TRY(CopyFile(*version, metaId, asset, source, kind));
        Data stored = value.data;
        const StoredValue former = TRY(Exchange(*version, metaId, std::move(value)));
        if (former.file.IsPopulated()) former.file.IoDelete().Ignore("nobody knows it any longer, and it goes with the volume");
        return stored;
    }

    // Numbers of versions that no asset has given out yet: the engine asks for one when it overwrites what isn't there.
    Result<AssetVersionNumber> GetNextVersionImpl() override {
        return AssetVersionNumber{_lastCounter.fetch_add(1) + 1, GetId().GetWord()};
    }

    Result<void> UpdateNextVersionImpl(UInt currentVersion) override {
        UInt last = _lastCounter.load();
        while (last < currentVersion && !_lastCounter.compare_exchange_weak(last, currentVersion)) continue;
        return OK;
    }

private:
    static Result<Url> MakeContentUrl(const MemoryVersion& version, const String& suffix) {
        Url url = version.directory + "asset";
        if (suffix.IsPopulated()) url.SetSuffix(suffix.GetView());
        return url;
    }

    static Result<void> WritePayload(const Asset& asset, MemoryVersion& version, AssetStoreResult& stored) {
        const AssetType type = FindAssetType(asset->GetTypeId());
        if (!type) return IllegalStateError::Create(FormatMessage("Unknown asset type @.", asset->GetTypeId()));
        const String suffix = TRY(type->GetUrlSuffix(asset));
        version.content = TRY(MakeContentUrl(version, suffix));
        version.id = TRY(Id::Create("v" + std::to_string(version.number.counter)));
        std::string unusedDigest;
        stored.metaData = TRY(type->Store(asset, version.content, AssetHashStream(), unusedDigest));
        return OK;
    }

    static Result<void> WriteCopy(const AssetDescription& source, Bool addEncryption, MemoryVersion& version) {
        const Url& from = TRY_REF(source->GetUrl());
        version.id = source->GetIdAndVersion().second;
        if (from.IsEmpty() || version.id == DELETED_VERSION) {
            return IllegalArgumentError::Create(FormatMessage("@ is a deletion marker and can't be copied.", source));
        }
        version.content = TRY(MakeContentUrl(version, String(from.GetSuffix())));
        const AssetType type = addEncryption ? FindAssetType(source->GetTypeId()) : AssetType();
        if (type) return type->CopyWithEncryption(source, from, version.content);
        std::string unusedDigest;
        return StoreTree(from, version.content, AssetHashStream(), unusedDigest);
    }

    static AssetVersionKey GetKey(const MemoryVersion& version) {
        const auto values = version.values.Read();
        const StoredValue* value = values->Find(InternedId(ASSETMETADATA::TIMESTAMP));
        const UniversalDateTime* time = value ? value->data.GetPtr<UniversalDateTime>() : nullptr;
        return {time ? UInt(time->GetValue()) : 0, version.number.counter, version.number.origin};
    }

    /// Ids and kinds; the values are read when somebody asks for them.
    static Result<AssetMetaDataTable> ListMetaData(const MemoryVersion& version) {
        AssetMetaDataTable table;
        const auto values = version.values.Read();
        for (const auto& [id, value] : *values) TRY(table.Insert(id, AssetMetaDataEntry{Data(), value.kind, false, 0}));
        return table;
    }

    /// A value that is a file: the file is copied in, and the value is a url that leads to it.
    Result<StoredValue> CopyFile(const MemoryVersion& version, const InternedId& metaId, const IdAndVersion& asset,
                                 const Url& source, KIND kind) {
        if (source.IsEmpty()) return StoredValue{Data(), kind, Url()};
        const Url from = FindResolveTarget(source).value_or(source);
        const std::string suffix = from.GetSuffix().empty() ? "file" : std::string(from.GetSuffix());
        const std::string name = FormatMessage("@.@.@", metaId, _nextDirectory.fetch_add(1), suffix);
        const Url file = version.directory + name;
        std::string unusedDigest;
        TRY(StoreTree(from, file, AssetHashStream(), unusedDigest));
        return StoredValue{Data(MakeMetaUrl(asset, name, file)), kind, file};
    }

    /// Puts a value in its place, an empty one removes what is there. @return what was there.
    static Result<StoredValue> Exchange(MemoryVersion& version, const InternedId& metaId, StoredValue value) {
        const auto values = version.values.Write();
        // New content makes everything stale that was computed from the old one.
        if (WithoutFlag(value.kind, KIND::USER) == KIND::PERSISTENT) {
            values->EraseIf([](const auto& entry) { return HasFlag(entry.second.kind, KIND::DERIVED); });
        }
        StoredValue* present = values->Find(metaId);
        StoredValue former = present ? std::move(*present) : StoredValue();
        if (value.data.IsEmpty()) {
            values->Erase(metaId);
        } else {
            TRY(values->Insert(metaId, std::move(value)));
        }
        return former;
    }

    const MemoryVolumeRef _volume;
    const Bool _isWritable;
    std::atomic<Int> _nextDirectory{1};
    std::atomic<UInt> _lastCounter{0};
};

}  // namespace

Result<BaseAssetRepositoryRef> MemoryAssetRepository::Create(const Id& id, Block<const AssetRepositoryRef> bases, ACCESS access) {
    return CatchOutOfMemory([&]() -> Result<BaseAssetRepositoryRef> {
        const MemoryVolumeRef volume = TRY(MemoryVolume::Create());
        const BaseAssetRepositoryRef repository(new MemoryAssetRepositoryImpl(volume, access));
        TRY(repository->InitBases(bases));
        TRY(repository->InitImpl(id, false));
        return repository;
    });
}

}  // namespace talvo
