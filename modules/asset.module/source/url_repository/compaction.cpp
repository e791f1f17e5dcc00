#include "url_repository/compaction.h"

#include "asset_types/asset_description_impl.h"
#include "kernel/app/log.h"
#include "kernel/base/hashing.h"
#include "kernel/io/directory_tree.h"
#include "kernel/text/casing.h"
#include "kernel/thread/job.h"
#include "url_repository/asset_info.h"
#include "url_repository/hash_file.h"
#include "url_repository/loaded_index.h"
#include "url_repository/metadata_file_name.h"
#include "url_repository/tree_access.h"

#include <algorithm>

namespace talvo {

LockClass UrlAssetRepositoryImpl::compactionLockClass{"compaction", LOCK_FLAGS::IO | LOCK_FLAGS::CALLBACKS};

namespace {

constexpr const char* MODIFIED_NAME = "modified.dat";
constexpr const char* TREE_NAME = "index.dat";
/// How often a compaction begins again because of changes before it gives up.
constexpr int COMPACTION_TRIES = 5;
/// How much of the work is the reading of what goes into it.
constexpr Float64 SHARE_OF_READING = 0.6;

/// Whether a value is the file of that key beside the others; a document may hold a url to any.
Bool IsFileOf(const Data& value, const InternedId& key) {
    const Url* url = value.GetPtr<Url>();
    if (!url || url->GetScheme() != "meta"_id) return false;
    const Opt<MetaDataFileName> name = ParseMetaDataFileName(url->GetName());
    return name && name->form == MetaDataFileName::FORM::FILE && name->key == key.GetView();
}

Result<void> CheckGoesOn() {
    return Job::IsCurrentCancelled() ? Result<void>(OperationCancelledError::Create()) : Result<void>(OK);
}

}  // namespace

Result<void> UrlAssetRepositoryImpl::Compact() { return Compact(0, UInt(-1)); }

Result<void> UrlAssetRepositoryImpl::Compact(UInt first, UInt last) {
    return CatchOutOfMemory([&]() -> Result<void> {
        for (int i = 0; i < COMPACTION_TRIES; ++i) {
            const Bool written = TRY(CompactOnce(first, last, [](Float64) -> Result<void> { return OK; }));
            if (written) return OK;
        }
        return IllegalStateError::Create(
            FormatMessage("@ is being changed all the time. Write its index when less is going on.", GetRoot()));
    });
}

Result<Bool> UrlAssetRepositoryImpl::CompactOnce(UInt first, UInt last, FunctionRef<Result<void>(Float64)> progress) {
    if (!IsWritable()) return IllegalStateError::Create(FormatMessage("Repository @ isn't writable", GetId()));
    Result<Bool> written = CatchOutOfMemory([&] {
        const ScopedWriteLock turn(_compactionLock);
        return Compaction(*this, {first, last}, progress).Run();
    });
    // An older one may not tell what this one could not.
    if (written.IsError()) RemoveIndex(IndexDirectory::REMOVE::VISIBLE).Ignore("the error at hand tells more");
    HandleBaseChanged(GetSelf(), false);
    return written;
}

Result<Bool> UrlAssetRepositoryImpl::Compaction::Run() {
    {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::CreateExclusive(_repository._lock));
        _start = TRY(_repository._indexDirectory.BeginCompaction());
    }
    Result<Bool> written = CatchOutOfMemory([&]() -> Result<Bool> {
        const std::string name = TRY(MakeWorkName());
        const Url work = _repository.GetRoot() + name;
        TRY(work.IoCreateDirectory());
        Result<Bool> done = CatchOutOfMemory([&] { return RunIn(work); });
        _writer.reset();
        DeleteHidden(_repository.GetRoot(), work);
        return done;
    });
    if (written.IsOk() && written.GetValue()) return written;
    return Abandon(std::move(written));
}

/// What can't be read may have been on its way out.
Result<Bool> UrlAssetRepositoryImpl::Compaction::Abandon(Result<Bool> outcome) {
    IndexDirectory& index = _repository._indexDirectory;
    const Result<RepositoryWriteLock> lock = RepositoryWriteLock::CreateExclusive(_repository._lock);
    if (lock.IsError()) return outcome;
    const Bool mayPass = outcome.IsError() && IoError::IsClassOf(outcome.GetError());
    if (mayPass && !_isPlaced && !index.IsUnchangedSince(_start)) outcome = false;
    index.AbandonCompaction(_start).Ignore("the next compaction takes it away");
    return outcome;
}

Result<Bool> UrlAssetRepositoryImpl::Compaction::RunIn(const Url& work) {
    _memoryIsTrue = IsMemoryTrue();
    _writer.emplace(TRY(IndexWriter::Create(work)));
    const std::vector<Item> items = TRY(ListItems());
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i % 256 == 0) TRY(_progress(SHARE_OF_READING * Float64(i) / Float64(items.size())));
        const Bool goOn = TRY(WriteItem(items[i]));
        if (!goOn) return false;
    }
    std::vector<std::string> names = TRY(_writer->Finish(GetFinalRange()));
    TRY(SyncTree(work));
    _modified = "[\n  {\n    \"modified\": " + std::to_string(UniversalDateTime::GetNow().GetValue()) + "\n  }\n]\n";
    TRY(WriteNewFile(work + MODIFIED_NAME, _modified));
    TRY(SyncTree(work + MODIFIED_NAME));
    {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::CreateExclusive(_repository._lock));
        if (!_repository._indexDirectory.IsUnchangedSince(_start)) return false;
        names.emplace_back(MODIFIED_NAME);
        _isPlaced = true;
        TRY(_repository._indexDirectory.Publish(work, names));
        // What others changed before is in the index, but not in memory.
        const Bool isKnown = _memoryIsTrue && _start.changedByOthers.GetCount() == 0;
        auto known = _repository._knownGeneration.Write();
        *known = {isKnown ? _modified : std::string(), _start.counter};
        _repository._hasIndex.store(true, std::memory_order_release);
    }
    _repository.NoteChange();
    TRY(_progress(SHARE_OF_READING + (1 - SHARE_OF_READING) / 2));
    TRY(WriteTree(work));
    return true;
}

// Others may have stored what no counter here knows of.
IndexRange UrlAssetRepositoryImpl::Compaction::GetFinalRange() const {
    const UInt highest =
        std::max({_repository._counter.GetValue(), _start.counter.number.value_or(0), _writer->GetHighestNumber()});
    IndexRange range{_range.first, std::min(_range.last, highest)};
    if (range.first > range.last || range.last == 0) range = {std::min(range.first, UInt(1)), std::max(range.last, UInt(1))};
    return range;
}

/// Whether what is in memory can be taken for what is in the tree, but for what others wrote down in the journal.
Bool UrlAssetRepositoryImpl::Compaction::IsMemoryTrue() const {
    const auto known = _repository._knownGeneration.Read();
    if (known->generation.empty() || known->generation != _start.generation) return false;
    return !_start.journal.empty() || known->counter == _start.counter;
}

Result<std::vector<UrlAssetRepositoryImpl::Compaction::Item>> UrlAssetRepositoryImpl::Compaction::ListItems() {
    std::vector<Item> items;
    std::vector<FoundAsset> found;
    if (_memoryIsTrue) {
        const auto records = TRY(_repository.ListRecords());
        items.reserve(records.size());
        for (const auto& [aid, type] : records) items.push_back({aid, type, Id()});
        found = TRY(_repository.ListChangedDirectories(_start.changedByOthers));
    } else {
        found = TRY(_repository.ListAssetDirectories());
    }
    TRY(_repository.ReadInfos(found, UNREADABLE::FAIL));
    for (const FoundAsset& asset : found) {
        if (!asset.info) continue;
        const Id directory = TRY(Id::Create(asset.directory));
        items.push_back({asset.info->id, asset.info->type, directory});
    }
    // Of two directories with one id the one that a load meets first counts; one from the tree before the same one from memory.
    std::sort(items.begin(), items.end(), [](const Item& first, const Item& second) {
        if (first.aid != second.aid) return first.aid < second.aid;
        if (first.directory.IsEmpty() || second.directory.IsEmpty())
            return first.directory.IsPopulated() && second.directory.IsEmpty();
        return first.directory < second.directory;
    });
    items.erase(
        std::unique(items.begin(), items.end(), [](const Item& first, const Item& second) { return first.aid == second.aid; }),
        items.end());
    return items;
}

Result<Bool> UrlAssetRepositoryImpl::Compaction::WriteItem(const Item& item) {
    TRY(CheckGoesOn());
    // Whatever comes out of this is void already.
    if (_repository._indexDirectory.GetChangeStamp() != _start.stamp) return false;
    std::vector<Version> versions;
    const auto add = [&](const AssetVersionKey& key, const AssetDescription& description, const Data& vdata) -> Result<Bool> {
        if (!description || !_range.Contains(key.counter)) return true;
        const Url directory = TRY(_repository.GetVersionUrl(vdata));
        const Url payload = TRY(_repository.GetUrlImpl(vdata));
        versions.push_back({key.counter, description, std::string(directory.GetName()), std::string(payload.GetName())});
        return true;
    };
    if (item.directory.IsPopulated()) {
        std::vector<std::pair<AssetVersionKey, std::pair<AssetDescription, Data>>> loaded;
        TRY(_repository.LoadTreeVersions(
            item.aid, item.type, item.directory, {},
            [&](const AssetVersionKey& key, const AssetDescription& description, const Data& vdata) -> Result<Bool> {
                loaded.push_back({key, {description, vdata}});
                return true;
            }));
        std::sort(loaded.begin(), loaded.end(), [](const auto& first, const auto& second) { return first.first < second.first; });
        for (const auto& [key, version] : loaded) TRY(add(key, version.first, version.second));
        TRY(WriteVersions(item, item.directory, versions));
        return true;
    }
    // One that is being stored or was erased just now is a change that the end would notice, too.
    return _repository.ReadRecord(item.aid, [&](const Record& record) -> Result<void> {
        if (record.adata.IsEmpty()) return OK;
        const Id directory = TRY(_repository.GetAssetDirectory(record.adata));
        for (const AssetVersionEntry& entry : record.versions) {
            if (entry.description)
                TRY(add(entry.key, entry.description, AssetDescriptionImpl::Of(entry.description).GetVersionData()));
        }
        return WriteVersions(item, directory, versions);
    });
}

Result<void> UrlAssetRepositoryImpl::Compaction::WriteVersions(const Item& item, const Id& directory,
                                                               const std::vector<Version>& versions) {
    if (item.type.IsEmpty() && versions.empty()) return OK;
    _writer->BeginAsset(directory.GetView(), item.aid.GetView(), item.type.GetView());
    TRY(Skip(std::string(directory.GetView()) + "/" + ASSET_INFO_NAME));
    std::vector<Id> ids;
    for (const Version& version : versions) ids.push_back(version.description->GetIdAndVersion().second);
    std::sort(ids.begin(), ids.end());
    for (const Version& version : versions) {
        const auto [first, end] = std::equal_range(ids.begin(), ids.end(), version.description->GetIdAndVersion().second);
        TRY(WriteVersion(item, directory, version, end - first > 1));
    }
    return OK;
}

Result<void> UrlAssetRepositoryImpl::Compaction::WriteVersion(const Item& item, const Id& directory, const Version& version,
                                                              Bool isDoubled) {
    TRY(CheckGoesOn());
    const AssetDescription& description = version.description;
    const std::string plain =
        description->IsDeleted() ? MakeDeletedDirectoryName(version.number) : MakeVersionDirectoryName(version.number);
    if (version.directory != plain) {
        return IllegalStateError::Create(FormatMessage(
            "Version @ of asset @ lies in @, where an index would not find it. Let \"talvo doctor @ --fix\" bring it to @.",
            version.number, item.aid, _repository.GetRoot() + directory.GetView() + version.directory, _repository.GetRoot(),
            plain));
    }
    const std::string path = std::string(directory.GetView()) + "/" + plain + "/";
    TRY(_writer->BeginVersion(version.number, description->GetIdAndVersion().second.GetView(), version.payload));
    TRY(Skip(path + HASH_FILE_NAME));
    BaseArray<AssetMetaDataExistingEntry> entries = TRY(description->GetMetaData()->GetExistingEntries());
    std::sort(entries.begin(), entries.end(), [](const auto& first, const auto& second) { return first.first < second.first; });
    for (const auto& [key, kind] : entries) {
        if (!HasFlag(kind, KIND::PERSISTENT)) continue;
        const Bool isOthers = HasFlag(kind, KIND::DERIVED) || HasFlag(kind, KIND::USER);
        const std::string name = MakeMetaDataFileName(key.GetView(), kind);
        if (isOthers) {
            TRY(Skip(path + name));
            continue;
        }
        const Data value = TRY(ReadStoredValue(description, key));
        if (value.IsEmpty()) continue;
        if (IsFileOf(value, key)) {
            TRY(_writer->AddFile(value.GetPtr<Url>()->GetName()));
        } else if (isDoubled || key.GetView() == "index") {
            TRY(_writer->AddFile(name));
        } else {
            TRY(_writer->AddValue(key, kind, value));
            TRY(Skip(path + name));
        }
    }
    return OK;
}

Result<void> UrlAssetRepositoryImpl::Compaction::Skip(const std::string& path) {
    _skipped.push_back(GetStoredHash64(path));
    return OK;
}

// The tree is walked without the lock: whoever changes it meanwhile drops the index, and then nothing is placed.
Result<void> UrlAssetRepositoryImpl::Compaction::WriteTree(const Url& work) {
    std::sort(_skipped.begin(), _skipped.end());
    const Url& root = _repository.GetRoot();
    const std::size_t rootLength = root.GetPath().size() + 1;
    const auto isKept = [&](const Url& url) -> Bool {
        if (String(url.GetName()).ToLower().GetView() == ".ds_store") return false;
        return !std::binary_search(_skipped.begin(), _skipped.end(), GetStoredHash64(url.GetPath().substr(rootLength)));
    };
    const Result<void> written = FileUtilities::WriteDirectoryTree(root, work + TREE_NAME, isKept);
    if (written.IsError() && UnsupportedArgumentError::IsClassOf(written.GetError())) {
        // Payloads may be as deep as they like; then only those who copy the repository from afar have no listing.
        Log(LOG_LEVEL::WARNING, "@ gets no listing of its tree: @", root, written.GetError()->GetMessage());
        return OK;
    }
    if (written.IsError()) return written;
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_repository._lock));
    TRY(_repository._indexDirectory.PublishBeside(work, TREE_NAME, _modified));
    return OK;
}

}  // namespace talvo
