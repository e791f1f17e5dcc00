// The versions of one asset, as its directory tells them.
//
// Of several directories with one number the preferred one that is a version counts. A version is what has a payload or says that it is deleted; what
// is wrong with the rest of it costs that one thing only: its order, a value, its id.
#include "kernel/app/log.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/hash_file.h"
#include "url_repository/metadata_document.h"
#include "url_repository/metadata_files.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

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
    const UrlAssetData asset = TRY(adata.Get<UrlAssetData>());
    // Whoever stored there meanwhile is met when the number is reserved.
    if (TakeFresh(asset.directory)) return OK;
    const Url directory = GetRoot() + asset.directory.GetView();
    const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(directory));
    Opt<UInt> last;
    for (const VersionDirectory& version : versions) {
        if (last == version.meaning.number) continue;
        const Opt<LoadedVersion> loaded = TRY(LoadVersion(aid, directory, version));
        if (!loaded) continue;
        last = version.meaning.number;
        _counter.Raise(*last);
        const Bool goOn = TRY(DeliverVersion(asset, aid, type, *loaded, receiver));
        if (!goOn) return OK;
    }
    return OK;
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
    for (const Url& tree : GetSideTrees()) {
        const Url directory = GetSideDirectory(tree, loaded.directory);
        const VersionContent side = TRY(ScanVersionDirectory(directory));
        const KIND kind = tree == _places.user ? KIND::USER : KIND::DERIVED;
        TRY(AddMetaDataFiles(identity, directory, side, kind, loaded.metaData));
    }
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
    const UniversalDateTime* time = entry->value.GetPtr<UniversalDateTime>();
    // As late as stores give times out: a version stored after one from the far future stays the newer one.
    const Bool isSound = time && time->GetValue() > 0 && time->GetValue() < UniversalDateTime::GetMax().GetValue();
    if (isSound) loaded.key.time = UInt(time->GetValue());
    return OK;
}

// The url is left to be found at need: few versions are ever opened.
Result<Bool> UrlAssetRepositoryImpl::DeliverVersion(const UrlAssetData& asset, const Id& aid, const Id& type,
                                                    const LoadedVersion& loaded, AssetVersionReceiver receiver) {
    Data vdata = TRY(MakeVersionData(asset.directory, loaded.directory.GetName(), loaded.payload.GetName()));
    AssetDescription::Parts parts;
    parts.type = type;
    parts.identity = {aid, loaded.versionId};
    parts.key = loaded.key;
    parts.metaData = TRY(AssetMetaData::Create(GetSelf(), type, parts.identity, vdata, loaded.metaData));
    parts.deleted = loaded.deleted;
    const AssetDescription description = TRY(AssetDescription::Create(GetSelf(), std::move(parts)));
    return receiver(loaded.key, description, vdata);
}

}  // namespace talvo
