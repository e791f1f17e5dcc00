// Writing of one metadata value, as a document or as a file of its own.
//
// Invariants: 1. what is refused is refused before the disk is touched; 2. of one key and kind one form stays, and the new one is whole before the old
// one goes; 3. only names that read back as the key are ever removed; 4. after an error the old value is what a reader finds.
#include "asset_scheme/resolve_info.h"
#include "asset_scheme/url_parts.h"
#include "kernel/app/log.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/metadata_document.h"
#include "url_repository/metadata_files.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

#include <algorithm>

namespace talvo {

namespace {

/// The file behind a source: a meta url stands for the one that it was resolved to.
Result<Url> ResolveSource(const Url& source) {
    if (source.GetScheme() != URLSCHEME_META) return source;
    Opt<Url> target = FindResolveTarget(source);
    if (target) return std::move(*target);
    return IoError::Create(
        FormatMessage("Can't read @: the url has lost where its file lies. Read the value from its repository again.", source));
}

Result<void> CopyValue(const Url& source, const Url& target) {
    BaseArray<Url> passedOver;
    TRY(FileUtilities::CopyFileOrDirectory(source, target, &passedOver));
    for (const Url& each : passedOver) Log(LOG_LEVEL::WARNING, "@ is not copied: it is neither a file nor a directory.", each);
    return OK;
}

/// Whether a value at `target` is the one that is read while `others` are there: a document counts before a file, then the first name.
Bool CountsBefore(const Url& target, const std::vector<Url>& others) {
    return std::all_of(others.begin(), others.end(), [&](const Url& other) {
        const Opt<MetaDataFileName> meaning = ParseMetaDataFileName(other.GetName());
        return (!meaning || meaning->form == MetaDataFileName::FORM::FILE) && target.GetName() < other.GetName();
    });
}

/// Removes `others` once the new value stands at `target` and the old one at `hidden`, or changes those two back. Once one of the others is gone
/// that may have been the old value: then the new one stays, since none at all would be worse, and an error tells that it may not last.
Result<void> FinishOrTakeBack(const Url& directory, const Url& hidden, const Url& target, RENAME_MODE mode,
                              const std::vector<Url>& others, Bool countsBeforeOthers) {
    const Result<void> synced = CatchOutOfMemory([&] { return SyncNames(directory); });
    Int removed = 0;
    const Result<void> finished = synced.IsOk() ? RemoveValueFiles(directory, others, removed) : synced;
    if (finished.IsOk() || removed > 0) return finished;
    const Result<void> takenBack = CatchOutOfMemory([&] { return target.IoRename(hidden, mode); });
    if (takenBack.IsOk() || synced.IsError() || !countsBeforeOthers) return finished;
    Log(LOG_LEVEL::WARNING, "A former value stays beside @: @", target, finished.GetError()->GetMessage());
    return OK;
}

/// Copies beside the place and exchanges then, so that a source that lies in that place survives, and an old value stays until the new one is whole.
/// @param others further files of the old value, which go.
Result<void> PlaceValue(const Url& root, const Url& source, const Url& target, const std::vector<Url>& others) {
    const std::string name = TRY(MakeWorkName());
    const Url directory = target.GetDirectory();
    const Url hidden = directory + name;
    Result<void> placed = CopyValue(source, hidden);
    if (placed.IsOk()) placed = SyncTree(hidden);
    if (placed.IsOk()) {
        const Bool hasOld = target.IoDetect() != IO_DETECT::NOT_THERE;
        const RENAME_MODE mode = hasOld ? RENAME_MODE::EXCHANGE : RENAME_MODE::NO_REPLACE;
        const Bool countsBeforeOthers = CountsBefore(target, others);
        placed = hidden.IoRename(target, mode);
        if (placed.IsOk()) placed = FinishOrTakeBack(directory, hidden, target, mode, others, countsBeforeOthers);
    }
    DeleteHidden(root, hidden);
    return placed;
}

}  // namespace

Result<void> UrlAssetRepositoryImpl::CheckMetaDataWrite(const InternedId& metaId, KIND kind) const {
    CHECK_ARGUMENT(IsStorableKind(kind), "!(kind & AssetMetaData::KIND::PERSISTENT)");
    if (IsRepositoryContent(kind) && !IsWritable()) {
        return IllegalStateError::Create(FormatMessage("Repository @ isn't writable", GetId()));
    }
    return CheckStorableKey(metaId);
}

Result<Url> UrlAssetRepositoryImpl::GetMetaDataDirectory(const Url& versionDirectory, KIND kind) const {
    Opt<Url> directory = FindMetaDataDirectory(versionDirectory, kind);
    if (directory) return std::move(*directory);
    return UnsupportedOperationError::Create(
        FormatMessage("Asset repository @ doesn't support to store derived meta data.", GetId()));
}

Result<Data> UrlAssetRepositoryImpl::StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data,
                                                       const IdAndVersion& asset, const Url& source, ASSET_METADATA_KIND kind,
                                                       Bool urlMode) {
    // Without PERSISTENT a value lives in memory only.
    if (!urlMode && !HasFlag(kind, KIND::PERSISTENT)) return data;
    const Bool canBeFile = HasFlag(kind, KIND::PERSISTENT) && !HasFlag(kind, KIND::DERIVED) && !HasFlag(kind, KIND::USER);
    if (urlMode && !canBeFile) {
        return IllegalArgumentError::Create(
            FormatMessage("Meta data id @ can't be stored as a file with kind @: only values of the asset or of a version can.",
                          metaId, UInt32(kind)));
    }
    TRY(CheckMetaDataWrite(metaId, kind));
    const Url versionDirectory = TRY(GetVersionUrl(vdata));
    const Url directory = TRY(GetMetaDataDirectory(versionDirectory, kind));
    const Bool staged = FindStaged(versionDirectory).has_value();
    if (!staged) TRY(CheckNoLink(GetRoot(), versionDirectory));
    // A value of a version that is seen is content that an index tells; nobody may begin to write one in the midst of this.
    Opt<RepositoryWriteLock> lock;
    if (IsRepositoryContent(kind) && !staged) {
        lock.emplace(TRY(RepositoryWriteLock::Create(_lock)));
        TRY(_indexDirectory.NoteChange(versionDirectory.GetDirectory().GetName()));
    }
    if (IsCarriedToNextVersion(kind) && !staged) TRY(DropDerivedValues(versionDirectory));
    NoteChange();
    const Bool removes = urlMode ? source.IsEmpty() : data.IsEmpty();
    if (removes) {
        const std::vector<Url> files = TRY(FindValueFiles(directory, metaId, kind, {}));
        Int removed = 0;
        TRY(RemoveValueFiles(directory, files, removed));
        return Data();
    }
    // The version's own directory is never made here: one that was erased meanwhile must not come back.
    if (!(directory == versionDirectory)) {
        TRY(MakeDirectory(directory));
        SideTreeNames& names = HasFlag(kind, KIND::USER) ? _userNames : _derivedNames;
        names.Add(directory.GetDirectory().GetName());
    }
    if (urlMode) return WriteFileValue(directory, staged, metaId, source, asset, kind);
    TRY(WriteDocument(directory, staged, metaId, data, kind));
    return data;
}

Result<void> UrlAssetRepositoryImpl::DropDerivedValues(const Url& versionDirectory) {
    const Opt<Url> directory = FindMetaDataDirectory(versionDirectory, KIND_DERIVED);
    return directory ? DropDerivedDocuments(*directory) : Result<void>(OK);
}

Result<void> UrlAssetRepositoryImpl::WriteDocument(const Url& directory, const Bool staged, const InternedId& metaId,
                                                   const Data& data, KIND kind) {
    if (!staged || HasFlag(kind, KIND::USER)) return ReplaceMetaDataDocument(directory, metaId, data, kind);
    const std::string text = TRY(MakeMetaDataDocument(data, kind));
    return WriteNewFile(directory + MakeMetaDataFileName(metaId.GetView(), kind), text);
}

Result<Data> UrlAssetRepositoryImpl::WriteFileValue(const Url& directory, const Bool staged, const InternedId& metaId,
                                                    const Url& source, const IdAndVersion& asset, KIND kind) {
    const Url file = TRY(ResolveSource(source));
    const std::string name = MakeMetaDataFileName(metaId.GetView(), kind, source.GetSuffix());
    Data value(MakeMetaUrl(asset, name, GetFinalUrl(directory) + name));
    if (staged) {
        TRY(CopyValue(file, directory + name));
    } else {
        const std::vector<Url> others = TRY(FindValueFiles(directory, metaId, kind, name));
        TRY(PlaceValue(GetRoot(), file, directory + name, others));
    }
    return value;
}

}  // namespace talvo
