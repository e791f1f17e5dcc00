// The versions of one asset, as its directory tells them.
//
// Of several directories with one number the preferred one that is a version counts. A version is what has a payload or says that it is deleted; what
// is wrong with the rest of it costs that one thing only: its order, a value, its id.
#include "asset_scheme/url_parts.h"
#include "kernel/app/log.h"
#include "kernel/data/document_binary.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/hash_file.h"
#include "url_repository/loaded_index.h"
#include "url_repository/metadata_document.h"
#include "url_repository/metadata_files.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

#include <algorithm>

namespace talvo {

namespace {

/// Nothing for one that is damaged, be it that it is too long.
Result<Opt<HashFile>> ReadHashFile(const Url& versionDirectory) {
    const Url file = versionDirectory + HASH_FILE_NAME;
    const Result<std::string> text = FileUtilities::ReadFileToMemory(file, MAX_HASH_FILE_SIZE);
    if (text.IsOk()) return ParseHashFile(text.GetValue());
    const Bool isTooLong = file.GetContentLength().GetValueOr(0) > MAX_HASH_FILE_SIZE;
    return isTooLong ? Result<Opt<HashFile>>(Opt<HashFile>()) : Result<Opt<HashFile>>(text.GetError());
}

/// A time as late as stores give times out, so that a version stored after one from the far future stays the newer one; else 0.
UInt GetSoundTime(const Data& value) {
    const UniversalDateTime* time = value.GetPtr<UniversalDateTime>();
    const Bool isSound = time && time->GetValue() > 0 && time->GetValue() < UniversalDateTime::GetMax().GetValue();
    return isSound ? UInt(time->GetValue()) : 0;
}

}  // namespace

struct UrlAssetRepositoryImpl::LoadedVersion {
    Url directory;
    Url payload;  // empty for a deletion mark
    AssetVersionKey key;
    Id versionId;
    Bool deleted = false;
    AssetMetaDataTable metaData;
};

Result<void> UrlAssetRepositoryImpl::LoadVersionsImpl(const Id& aid, const Id& type, const Data& adata,
                                                      AssetVersionReceiver receiver) {
    HashSet<UInt> indexed;
    if (const IndexedAssetData* place = adata.GetPtr<IndexedAssetData>()) {
        const std::string_view directory = _index->Get(place->index).GetText().GetRecord(place->record).directory;
        if (!_indexDirectory.WasChangedHere(directory)) {
            const Bool goOn = TRY(LoadIndexedVersions(aid, type, *place, receiver, indexed));
            if (!goOn || !_index->scansTree) return OK;
        }
    }
    const Id directory = TRY(GetAssetDirectory(adata));
    // Whoever stored there meanwhile is met when the number is reserved.
    if (TakeFresh(directory)) return OK;
    return LoadTreeVersions(aid, type, directory, indexed, receiver);
}

/// @param known numbers that are known otherwise.
Result<void> UrlAssetRepositoryImpl::LoadTreeVersions(const Id& aid, const Id& type, const Id& assetDirectory,
                                                      const HashSet<UInt>& known, AssetVersionReceiver receiver) {
    const Url directory = GetRoot() + assetDirectory.GetView();
    const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(directory));
    Opt<UInt> last;
    for (const VersionDirectory& version : versions) {
        const UInt number = version.meaning.number;
        if (last == number || known.Contains(number)) continue;
        Opt<LoadedVersion> loaded = TRY(LoadVersion(aid, directory, version));
        if (!loaded) continue;
        last = number;
        _counter.Raise(*last);
        const Data vdata = TRY(MakeVersionData(assetDirectory, loaded->directory.GetName(), loaded->payload.GetName()));
        const Bool goOn = TRY(DeliverVersion(vdata, aid, type, *loaded, receiver));
        if (!goOn) return OK;
    }
    return OK;
}

/// @param numbers of the versions that were delivered.
Result<Bool> UrlAssetRepositoryImpl::LoadIndexedVersions(const Id& aid, const Id& type, const IndexedAssetData& first,
                                                         AssetVersionReceiver receiver, HashSet<UInt>& numbers) {
    const Bool more = TRY(LoadIndexedVersions(aid, type, IndexPlace{first.index, first.record}, receiver, numbers));
    if (!more) return false;
    for (const IndexPlace& place : _index->FindMorePlaces(aid)) {
        const Bool goOn = TRY(LoadIndexedVersions(aid, type, place, receiver, numbers));
        if (!goOn) return false;
    }
    return true;
}

Result<Bool> UrlAssetRepositoryImpl::LoadIndexedVersions(const Id& aid, const Id& type, const IndexPlace& place,
                                                         AssetVersionReceiver receiver, HashSet<UInt>& numbers) {
    const CompactedIndex& index = _index->Get(place.index);
    const IndexText::Record record = index.GetText().GetRecord(place.record);
    UInt position = record.versions;
    UInt begin = position;
    IndexText::Version version;
    for (; index.GetText().ReadVersion(position, version); begin = position) {
        if (numbers.Contains(version.number)) continue;
        const Data vdata(IndexedVersionData{place.index, place.record, begin});
        LoadedVersion loaded = TRY(LoadIndexedVersion(aid, index, version, vdata));
        TRY(numbers.Insert(version.number));
        const Bool goOn = TRY(DeliverVersion(vdata, aid, type, loaded, receiver));
        if (!goOn) return false;
    }
    return true;
}

Result<UrlAssetRepositoryImpl::LoadedVersion> UrlAssetRepositoryImpl::LoadIndexedVersion(const Id& aid,
                                                                                         const CompactedIndex& index,
                                                                                         const IndexText::Version& version,
                                                                                         const Data& vdata) {
    LoadedVersion loaded;
    loaded.deleted = version.versionId == DELETED_VERSION.GetView();
    loaded.versionId = TRY(Id::Create(version.versionId));
    loaded.key = {0, version.number, GetId().GetWord()};
    const InternedId time(ASSETMETADATA::TIMESTAMP);
    TRY(loaded.metaData.EnsureCapacity(version.metaDataCount));
    std::string_view name;
    Opt<IndexedMetaDataName> odd;
    for (UInt position = version.metaData; index.GetText().ReadMetaDataName(position, name);) {
        const IndexedMetaDataName* meaning = index.ParseName(name, odd);
        if (!meaning || loaded.metaData.Contains(meaning->key)) continue;
        AssetMetaDataEntry entry{Data(), meaning->kind, false, 1};
        if (meaning->form == MetaDataFileName::FORM::FILE) {
            const Url directory = TRY(GetVersionUrl(vdata));
            entry.value = Data(MakeMetaUrl({aid, loaded.versionId}, name, directory + name));
            entry.loaded = true;
        } else if (meaning->key == time) {
            entry.value = TRY(LoadIndexedTime(vdata, entry.kind));
            entry.loaded = true;
            loaded.key.time = GetSoundTime(entry.value);
        }
        TRY(loaded.metaData.Insert(meaning->key, std::move(entry)));
    }
    TRY(AddSideMetaData(aid, vdata, loaded));
    return loaded;
}

// Each version needs its time, for its place among the others.
Result<Data> UrlAssetRepositoryImpl::LoadIndexedTime(const Data& vdata, KIND kind) {
    const InternedId time(ASSETMETADATA::TIMESTAMP);
    const Opt<CompactedMetaData::RawValue> raw = TRY(FindIndexedValue(vdata, time));
    if (raw && *raw->typeId == DataTraits<UniversalDateTime>::ID) {
        const Opt<std::string_view> text = BinaryValueView(raw->bytes).GetText();
        const Result<UniversalDateTime> read =
            text ? UniversalDateTime::Parse(*text) : Result<UniversalDateTime>(UniversalDateTime());
        if (text && read.IsOk()) return Data(read.GetValue());
    }
    return LoadMetaDataImpl(vdata, time, kind);
}

/// The values of a version that lie in trees of their own.
Result<void> UrlAssetRepositoryImpl::AddSideMetaData(const Id& aid, const Data& vdata, LoadedVersion& loaded) {
    const auto add = [&](const Url& tree, SideTreeNames& names, KIND kind) -> Result<void> {
        if (!IsOwnTree(tree)) return OK;
        const IndexedVersionData* place = vdata.GetPtr<IndexedVersionData>();
        const Bool mayHave = place ? names.MayHave(_index->Get(place->index).GetText().GetRecord(place->record).directory)
                                   : names.MayHave(loaded.directory.GetDirectory().GetName());
        if (!mayHave) return OK;
        Url version = loaded.directory;
        if (place) version = TRY(GetVersionUrl(vdata));
        const Url directory = GetSideDirectory(tree, version);
        const VersionContent side = TRY(ScanVersionDirectory(directory));
        return AddMetaDataFiles({aid, loaded.versionId}, directory, side, kind, loaded.metaData);
    };
    TRY(add(_places.derived, _derivedNames, KIND::DERIVED));
    return add(_places.user, _userNames, KIND::USER);
}

Result<Opt<UrlAssetRepositoryImpl::LoadedVersion>> UrlAssetRepositoryImpl::LoadVersion(const Id& aid, const Url& assetDirectory,
                                                                                       const VersionDirectory& version) {
    LoadedVersion loaded;
    loaded.directory = assetDirectory + version.name;
    loaded.deleted = version.meaning.form == VersionDirectoryName::FORM::DELETED;
    loaded.key = {0, version.meaning.number, GetId().GetWord()};
    const VersionContent content = TRY(ScanVersionDirectory(loaded.directory));
    const std::string payload = content.GetPayload();
    if (!loaded.deleted) {
        if (payload.empty()) return Opt<LoadedVersion>();
        loaded.payload = loaded.directory + payload;
    }
    TRY(LoadVersionId(version, content, loaded));
    const IdAndVersion identity(aid, loaded.versionId);
    TRY(AddMetaDataFiles(identity, loaded.directory, content, KIND::NONE, loaded.metaData));
    TRY(LoadTime(loaded));
    TRY(AddSideMetaData(aid, Data(), loaded));
    return Opt<LoadedVersion>(std::move(loaded));
}

Result<void> UrlAssetRepositoryImpl::LoadVersionId(const VersionDirectory& version, const VersionContent& content,
                                                   LoadedVersion& loaded) {
    if (loaded.deleted) {
        loaded.versionId = DELETED_VERSION;
        return OK;
    }
    if (version.meaning.form == VersionDirectoryName::FORM::WITH_VERSION_ID) {
        loaded.versionId = TRY(Id::Create(version.meaning.versionId));
        return OK;
    }
    if (content.hasHash) {
        const Opt<HashFile> hash = TRY(ReadHashFile(loaded.directory));
        if (hash) {
            loaded.versionId = hash->versionId;
            return OK;
        }
    }
    loaded.versionId = TRY(ComputeVersionId(loaded.directory, loaded.payload));
    return OK;
}

Result<Id> UrlAssetRepositoryImpl::ComputeVersionId(const Url& versionDirectory, const Url& payload) {
    std::string digest;
    TRY(StoreTree(payload, Url(), MakePayloadHashStream(), digest));
    Id id = TRY(Id::Create(ToHex(digest)));
    if (!IsWritable()) return id;
    // Kept to spare the work next time only, so the version is known without it too.
    const Result<void> written = ReplaceFile(versionDirectory + HASH_FILE_NAME, WriteHashText({id, {}}));
    if (written.IsError()) Log(LOG_LEVEL::WARNING, "The hash of @ can't be kept: @", payload, written.GetError()->GetMessage());
    return id;
}

Result<void> UrlAssetRepositoryImpl::LoadTime(LoadedVersion& loaded) {
    const InternedId id(ASSETMETADATA::TIMESTAMP);
    AssetMetaDataEntry* entry = loaded.metaData.Find(id);
    if (!entry || entry->loaded) return OK;
    Result<Data> read = ReadMetaDataDocument(loaded.directory, id, entry->kind);
    // One that is there and only can't be read now must not turn the order of versions around.
    if (read.IsError() && !FileFormatError::IsClassOf(read.GetError())) return read.GetError();
    if (read.IsError()) {
        Log(LOG_LEVEL::WARNING, "@ comes before all others: @", loaded.directory, read.GetError()->GetMessage());
        return OK;
    }
    entry->value = std::move(read).GetValue();
    entry->loaded = true;
    loaded.key.time = GetSoundTime(entry->value);
    return OK;
}

// The url is left to be found at need: few versions are ever opened.
Result<Bool> UrlAssetRepositoryImpl::DeliverVersion(const Data& vdata, const Id& aid, const Id& type, LoadedVersion& loaded,
                                                    AssetVersionReceiver receiver) {
    AssetDescription::Parts parts;
    parts.type = type;
    parts.identity = {aid, loaded.versionId};
    parts.key = loaded.key;
    parts.metaData = TRY(AssetMetaData::Create(GetSelf(), type, parts.identity, vdata, std::move(loaded.metaData)));
    parts.deleted = loaded.deleted;
    const AssetDescription description = TRY(AssetDescription::Create(GetSelf(), std::move(parts)));
    return receiver(loaded.key, description, vdata);
}

}  // namespace talvo
