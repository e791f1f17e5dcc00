// What is wrong with the form of a repository, and the mending of it.
#include "kernel/thread/job.h"
#include "url_repository/asset_info.h"
#include "url_repository/compacted_index.h"
#include "url_repository/create_repository.h"
#include "url_repository/database_id.h"
#include "url_repository/hash_file.h"
#include "url_repository/index_directory.h"
#include "url_repository/metadata_document.h"
#include "url_repository/repository_lock.h"
#include "url_repository/tree_access.h"
#include "url_repository/version_scan.h"
#include "urlassetrepository.h"

namespace talvo {

namespace {

using RepositoryMaintenance::Ailment;
using RepositoryMaintenance::DIAGNOSE_MODE;

/// A hidden name that tells where it came from: scans pass over it, and no sweep takes it for ours.
Result<Url> MoveAside(const Url& file) {
    Url aside = file;
    aside.SetName(".damaged-" + std::string(file.GetName()));
    TRY(file.IoRename(aside, RENAME_MODE::NO_REPLACE));
    return aside;
}

class Doctor {
public:
    Doctor(const Url& root, DIAGNOSE_MODE mode, Receiver<Ailment> receiver)
        : _root(root), _mends(mode == DIAGNOSE_MODE::MEND), _receiver(receiver), _lock(root), _index(root) {}

    Result<void> Run() {
        const Result<Opt<Id>> id = ReadDatabaseId(_root);
        const Bool hasId = id.IsOk() && id.GetValue();
        if (!hasId) {
            TRY(Tell(
                _root + REPOSITORY_IDENTIFIER_FILE, false,
                id.IsError()
                    ? id.GetError()->GetMessage()
                    : FormatMessage(
                          "@ has no identifier, so it is no repository. Restore its file databaseid, or make one: talvo init.",
                          _root)));
            _mends = false;  // nobody knows whose directory it is
        }
        TRY(LookAtTree());
        return LookAtIndex(hasId);
    }

private:
    Result<void> Tell(const Url& path, Bool isMended, std::string_view explanation) {
        if (_isEnough) return OK;
        const Bool goOn = TRY(_receiver(Ailment{String(explanation), path, isMended}));
        _isEnough = !goOn;
        return OK;
    }

    Result<void> LookAtTree() {
        const BaseArray<IoEntry> entries = TRY(BrowseTree(_root));
        for (const IoEntry& entry : entries) {
            if (_isEnough) return OK;
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            const Bool mayBeAsset = entry.kind == IO_DETECT::DIRECTORY && entry.name != INDEX_DIRECTORY_NAME;
            if (mayBeAsset) TRY(LookAtAsset(_root + entry.name));
        }
        return OK;
    }
    Result<void> LookAtAsset(const Url& directory) {
        const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(directory));
        const Result<Opt<AssetInfo>> info = ReadAssetInfo(directory);
        if (!versions.empty() && (info.IsError() || !info.GetValue())) {
            TRY(Tell(
                directory + ASSET_INFO_NAME, false,
                FormatMessage("@ holds versions and doesn't say of which asset. Restore @, two lines: the asset id and its type.",
                              directory, directory + ASSET_INFO_NAME)));
        }
        for (const VersionDirectory& version : versions) {
            TRY(LookAtDocuments(directory + version.name));
            TRY(LookAtName(directory, version));
        }
        return OK;
    }
    Result<void> LookAtDocuments(const Url& directory) {
        const VersionContent content = TRY(ScanVersionDirectory(directory));
        for (const auto& [name, meaning] : content.metaData) {
            if (meaning.form != MetaDataFileName::FORM::DOCUMENT) continue;
            const Url file = directory + name;
            const Result<Data> read = ReadMetaDataDocument(file);
            if (read.IsOk() || !FileFormatError::IsClassOf(read.GetError())) continue;
            if (!_mends) {
                TRY(Tell(file, false, read.GetError()->GetMessage() + " talvo doctor REPO --fix moves it aside."));
                continue;
            }
            TRY(NoteChange(directory.GetDirectory()));
            const Url aside = TRY(MoveAside(file));
            TRY(Tell(file, true,
                     FormatMessage("@ can't be read and has the name @ now; what it held is not known any more.", file,
                                   aside.GetName())));
        }
        return OK;
    }

    /// An index finds versions under their plain name only.
    Result<void> LookAtName(const Url& assetDirectory, const VersionDirectory& version) {
        const VersionDirectoryName& meaning = version.meaning;
        const std::string plain = meaning.form == VersionDirectoryName::FORM::DELETED ? MakeDeletedDirectoryName(meaning.number)
                                                                                      : MakeVersionDirectoryName(meaning.number);
        if (version.name == plain) return OK;
        const Url from = assetDirectory + version.name;
        const Url to = assetDirectory + plain;
        if (to.IoDetect() != IO_DETECT::NOT_THERE) {
            return Tell(from, false, FormatMessage("@ has the number of @ and is never read. Move it away.", from, to));
        }
        if (!_mends) {
            return Tell(
                from, false,
                FormatMessage("@ would not be found by an index. talvo doctor REPO --fix gives it the name @.", from, plain));
        }
        TRY(NoteChange(assetDirectory));
        if (meaning.form == VersionDirectoryName::FORM::WITH_VERSION_ID) {
            const Id versionId = TRY(Id::Create(meaning.versionId));
            TRY(ReplaceFile(from + HASH_FILE_NAME, WriteHashText({versionId, {}})));
        }
        {
            const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
            TRY(from.IoRename(to, RENAME_MODE::NO_REPLACE));
        }
        return Tell(to, true, FormatMessage("@ has the name @ now, by which an index finds it.", from, plain));
    }
    Result<void> NoteChange(const Url& assetDirectory) {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        return _index.NoteChange(assetDirectory.GetName());
    }

    Result<void> LookAtIndex(Bool hasId) {
        const Result<void> read = ReadIndex();
        if (read.IsOk()) return OK;
        if (!FileFormatError::IsClassOf(read.GetError())) return read;
        const Url index = _root + INDEX_DIRECTORY_NAME;
        if (!_mends || !hasId) {
            return Tell(index, false, read.GetError()->GetMessage() + " talvo doctor REPO --fix does so.");
        }
        {
            const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
            TRY(_index.Remove(IndexDirectory::REMOVE::DROPPED_TOO));
        }
        TRY(Rebuild());
        return Tell(index, true,
                    "The index was damaged and has been written anew from the tree: " + read.GetError()->GetMessage());
    }
    Result<void> ReadIndex() const {
        const Opt<IndexSource> source = TRY(_index.Find());
        if (!source) return OK;
        for (const IndexSource::Entry& entry : source->entries) {
            const StrongRef<CompactedIndex> index = TRY(CompactedIndex::Open(entry.directory, entry.range));
            TRY(index->CheckValues());
        }
        return OK;
    }
    Result<void> Rebuild() const {
        UrlRepositoryRequest request;
        request.url = _root;
        request.access = UrlRepositoryRequest::ACCESS::WRITABLE;
        const UpdatableAssetRepositoryRef repository = TRY(OpenUrlRepository(request));
        auto* compactable = dynamic_cast<CompactableAssetRepositoryInterface*>(repository.GetPointer());
        CHECK_EXPECTED(compactable != nullptr, "compactable");
        return compactable->Compact();
    }

    const Url& _root;
    Bool _mends;
    const Receiver<Ailment> _receiver;
    RepositoryLock _lock;
    IndexDirectory _index;
    Bool _isEnough = false;
};

}  // namespace

Result<void> RepositoryMaintenance::Diagnose(const Url& root, DIAGNOSE_MODE mode, Receiver<Ailment> receiver) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (root.IoDetect() != IO_DETECT::DIRECTORY) {
            return IllegalArgumentError::Create(FormatMessage("@ doesn't point to a directory.", root));
        }
        return Doctor(root, mode, receiver).Run();
    });
}

}  // namespace talvo
