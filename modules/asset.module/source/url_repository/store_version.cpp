// Writing of a version into a hidden directory beside its place.
//
// The hidden directory `.~<n>` of a new version is made exclusively, which reserves the number n among all processes; that of an overwrite has a name of
// its own. Nothing of either is seen before PublishVersionImpl.
#include "kernel/app/log.h"
#include "url_repository/hash_file.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::size_t DIGEST_BYTES = 32;

Result<void> CheckVersionId(const Id& versionId) {
    if (versionId != DELETED_VERSION && versionId != g_newVersion && versionId.IsPopulated()) return OK;
    return IllegalArgumentError::Create(FormatMessage(
        "The version id \"@\" can't be given to a version with content: it has a meaning of its own. Use another one.",
        versionId));
}

/// Whether anything has a name that reads as this number, a file or a link as well.
Result<Bool> IsNumberUsed(const Url& assetDirectory, UInt number) {
    const IoConnectionRef connection = TRY(assetDirectory.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    return std::any_of(entries.begin(), entries.end(), [&](const IoEntry& entry) {
        const Opt<VersionDirectoryName> name = ParseVersionDirectoryName(entry.name);
        return name && name->number == number;
    });
}

/// Copies entry by entry, each file by the type, which enciphers it.
Result<void> CopyEnciphered(const AssetType& type, const AssetDescription& source, const Url& from, const Url& to) {
    const IO_DETECT kind = from.IoDetect();
    if (kind != IO_DETECT::DIRECTORY) return type->CopyWithEncryption(source, from, to);
    TRY(to.IoCreateDirectory());
    const IoConnectionRef connection = TRY(from.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        const Bool isContent = !entry.isLink && (entry.kind == IO_DETECT::FILE || entry.kind == IO_DETECT::DIRECTORY);
        if (isContent) {
            TRY(CopyEnciphered(type, source, from + entry.name, to + entry.name));
        } else {
            Log(LOG_LEVEL::WARNING, "@ is not copied: it is neither a file nor a directory.", from + entry.name);
        }
    }
    return OK;
}

}  // namespace

AssetHashStream MakePayloadHashStream() {
    return [](OutputStreamRef target, std::string& digest) { return CreateHashingOutputStream(std::move(target), digest); };
}

/// The hidden directory of a version that is being written.
struct UrlAssetRepositoryImpl::Staging {
    Url directory;
    StagedVersion version;
};

/// What goes into it.
struct UrlAssetRepositoryImpl::PayloadRequest {
    const Asset& asset;
    const AssetDescription& source;
    const Id& overwrittenHash;
    enum class CONTENT { ASSET, SOURCE, ENCIPHERED_SOURCE, DELETION } content;
};

Result<AssetStoreResult> UrlAssetRepositoryImpl::StoreImpl(const Asset& asset, Bool deleteAsset, const Id& overwrittenHash,
                                                           const AssetDescription& source, Data& adata,
                                                           const AssetVersionNumber& version, Bool addEncryption) {
    CHECK_STATE(IsWritable(), "_writable");
    CHECK_ARGUMENT(!addEncryption || source, "!addEncryption || source");
    CHECK_ARGUMENT(deleteAsset || asset || source, "deleteAsset || asset || source");
    const Id directory = TRY(GetAssetDirectory(adata));
    const Url assetDirectory = GetRoot() + directory.GetView();
    TRY(CheckNoLink(GetRoot(), assetDirectory));
    const Bool overwrites = overwrittenHash.IsPopulated() && !deleteAsset;
    Opt<Staging> staging;
    if (overwrites) {
        staging = TRY(StageOverwrite(assetDirectory, version.counter));
    } else {
        staging = TRY(ReserveNewVersion(assetDirectory, version.counter, deleteAsset));
    }
    if (!staging) {
        AssetStoreResult taken;
        taken.numberTaken = true;
        return taken;
    }
    using CONTENT = PayloadRequest::CONTENT;
    const CONTENT sourceContent = addEncryption ? CONTENT::ENCIPHERED_SOURCE : CONTENT::SOURCE;
    const CONTENT content = deleteAsset ? CONTENT::DELETION : source ? sourceContent : CONTENT::ASSET;
    Result<AssetStoreResult> written =
        CatchOutOfMemory([&] { return WriteVersion(PayloadRequest{asset, source, overwrittenHash, content}, *staging); });
    if (written.IsError()) DeleteHidden(GetRoot(), staging->directory);
    return written;
}

// A number is taken if it is reserved, or anything in the asset's directory reads as it: another process may have stored meanwhile.
Result<Opt<UrlAssetRepositoryImpl::Staging>> UrlAssetRepositoryImpl::ReserveNewVersion(const Url& assetDirectory, UInt number,
                                                                                       Bool deleted) {
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    TRY(_indexDirectory.NoteChange(assetDirectory.GetName()));
    Staging staging;
    staging.directory = assetDirectory + MakeReservationName(number);
    const std::string name = deleted ? MakeDeletedDirectoryName(number) : MakeVersionDirectoryName(number);
    staging.version = {assetDirectory + name, number, StagedVersion::PURPOSE::NEW};
    const Bool reserved = TRY(staging.directory.IoCreateDirectoryExclusive());
    if (!reserved) return Opt<Staging>();
    const Result<Bool> used = IsNumberUsed(assetDirectory, number);
    if (used.IsOk() && !used.GetValue()) return Opt<Staging>(std::move(staging));
    DeleteHidden(GetRoot(), staging.directory);
    if (used.IsError()) return used.GetError();
    return Opt<Staging>();
}

// The new content takes the very place of the old one, so that the exchange is one step whatever the old name.
Result<UrlAssetRepositoryImpl::Staging> UrlAssetRepositoryImpl::StageOverwrite(const Url& assetDirectory, UInt number) {
    {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        TRY(_indexDirectory.NoteChange(assetDirectory.GetName()));
    }
    const std::vector<VersionDirectory> old = TRY(FindVersionDirectories(assetDirectory, number));
    const std::string finalName = old.empty() ? MakeVersionDirectoryName(number) : old.front().name;
    const std::string name = TRY(MakeWorkName());
    Staging staging{assetDirectory + name, {assetDirectory + finalName, number, StagedVersion::PURPOSE::OVERWRITE}};
    const Bool made = TRY(staging.directory.IoCreateDirectoryExclusive());
    CHECK_EXPECTED(made, "made");
    return staging;
}

Result<AssetStoreResult> UrlAssetRepositoryImpl::WriteVersion(const PayloadRequest& request, const Staging& staging) {
    AssetStoreResult result;
    result.vdata = MakeStagedVersionData(staging.directory, staging.version);
    if (request.content == PayloadRequest::CONTENT::DELETION) {
        result.versionId = DELETED_VERSION;
        return result;
    }
    std::string digest;
    if (request.content == PayloadRequest::CONTENT::ASSET) {
        const AssetType type = request.asset->GetType();
        CHECK_EXPECTED(Bool(type), "type");
        const String suffix = TRY(type->GetUrlSuffix(request.asset));
        result.url = staging.directory + MakePayloadName(suffix.GetView());
        result.metaData = TRY(type->Store(request.asset, result.url, MakePayloadHashStream(), digest));
    } else {
        const Url from = TRY_REF(request.source->GetUrl());
        result.url = staging.directory + MakePayloadName(from.GetSuffix());
        const AssetType type = request.content == PayloadRequest::CONTENT::ENCIPHERED_SOURCE
                                   ? FindAssetType(request.source->GetTypeId())
                                   : AssetType();
        if (type) {
            TRY(CopyEnciphered(type, request.source, from, result.url));
            TRY(StoreTree(result.url, Url(), MakePayloadHashStream(), digest));
        } else {
            TRY(StoreTree(from, result.url, MakePayloadHashStream(), digest));
        }
        result.versionId = request.source->GetIdAndVersion().second;
    }
    CHECK_STATE(digest.size() == DIGEST_BYTES, "hash.GetLength() == HASH_LEN/2");
    const std::string digestText = ToHex(digest);
    if (result.versionId.IsEmpty()) result.versionId = TRY(Id::Create(digestText));
    if (request.overwrittenHash.IsPopulated()) result.versionId = request.overwrittenHash;
    TRY(CheckVersionId(result.versionId));
    TRY(WriteNewFile(staging.directory + HASH_FILE_NAME, WriteHashText({result.versionId, digestText})));
    return result;
}

}  // namespace talvo
