// Which assets there are: from the index, and from the tree what no index tells.
#include "kernel/app/log.h"
#include "kernel/thread/job.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/loaded_index.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

#include <algorithm>
#include <thread>

namespace talvo {

/// The id objects of registered types, so that all assets of one type share one. A tree has few types and many assets.
class UrlAssetRepositoryImpl::TypeIds {
public:
    const Id& Get(const Id& read) {
        if (const Id* known = Find(read.GetView())) return *known;
        return Add(read);
    }
    Result<Id> Get(std::string_view read) {
        if (const Id* known = Find(read)) return Id(*known);
        const Opt<Id> type = ParseTypeLine(read);
        if (!type) return FileFormatError::Create(FormatMessage("\"@\" in an index is no type.", read));
        return Id(Add(*type));
    }

private:
    const Id* Find(std::string_view read) const {
        for (const Id& known : _known) {
            if (known.GetView() == read) return &known;
        }
        return nullptr;
    }
    const Id& Add(const Id& read) {
        const AssetType type = FindAssetType(read);
        return _known.emplace_back(type ? type->GetId() : read);
    }

    std::vector<Id> _known;
};

namespace {

/// Fewer are read sooner than a thread is made.
constexpr Int ASSETS_OF_A_THREAD = 512;
/// Assets of an index that are announced together.
constexpr std::size_t RECORDS_OF_A_BATCH = 64;
/// How often an index that went away while it was read is looked for again.
constexpr int INDEX_TRIES = 5;

}  // namespace

// The reading of many small files keeps several cores busy; the order in which they are told stays that of their names.
Result<void> UrlAssetRepositoryImpl::ReadInfos(std::vector<FoundAsset>& assets, UNREADABLE policy) {
    const Int count = Int(assets.size());
    const Int threads = std::min(Int(std::thread::hardware_concurrency()), count / ASSETS_OF_A_THREAD);
    return DoSideBySide(count, threads, [&](Int index) -> Result<void> {
        FoundAsset& asset = assets[std::size_t(index)];
        Result<Opt<AssetInfo>> info = ReadAssetInfo(GetRoot() + asset.directory);
        if (info.IsOk()) {
            asset.info = std::move(info).GetValue();
        } else if (policy == UNREADABLE::FAIL || OutOfMemoryError::IsClassOf(info.GetError())) {
            return info.GetError();
        } else {
            asset.isUnreadable = true;
            Log(LOG_LEVEL::WARNING, "An asset is left out: @", info.GetError()->GetMessage());
        }
        return OK;
    });
}

Result<void> UrlAssetRepositoryImpl::LoadExistingIdsImpl(AssetIdReceiver receiver) {
    TypeIds types;
    TRY(OpenIndex());
    for (Int i = 0; i < _index->GetCount(); ++i) TRY(LoadIdsOfIndex(UInt32(i), types, receiver));
    _counter.Raise(_index->GetHighestNumber());
    const HashSet<std::string>& changed = _index->GetSource().changed;
    if (!_index->scansTree && changed.GetCount() == 0) return OK;
    std::vector<FoundAsset> assets;
    if (_index->scansTree) {
        assets = TRY(ListAssetDirectories());
    } else {
        assets = TRY(ListChangedDirectories(changed));
    }
    TRY(ReadInfos(assets, UNREADABLE::LEAVE_OUT));
    for (const FoundAsset& asset : assets) {
        // The asset is there: no index may be written from what is in memory.
        if (asset.isUnreadable) {
            auto known = _knownGeneration.Write();
            *known = {};
        }
        // A directory that names no asset is none of ours, or damaged: the others stand.
        if (!asset.info) continue;
        Data* adata = TRY(receiver(asset.info->id, types.Get(asset.info->type)));
        if (adata->IsEmpty()) *adata = TRY(MakeAssetData(asset.info->id, asset.directory));
    }
    return OK;
}

// A writer may give the index another name at any moment, or put another one in its place. What is open by then stays as it is.
Result<void> UrlAssetRepositoryImpl::OpenIndex() {
    for (int tries = 1;; ++tries) {
        auto index = std::make_unique<LoadedIndex>();
        Result<Opt<IndexSource>> found = _indexDirectory.Find();
        if (found.IsError()) {
            const Bool isGone = (GetRoot() + INDEX_DIRECTORY_NAME).IoDetect() == IO_DETECT::NOT_THERE;
            if (isGone && tries < INDEX_TRIES) continue;
            return found.GetError();
        }
        Opt<IndexSource> source = std::move(found).GetValue();
        const VersionFileState counter = _counter.Load();
        const Bool isVisible = source && !source->isDropped;
        if (source) {
            const Url place = source->isDropped ? GetRoot() + DROPPED_INDEX_NAME : GetRoot() + INDEX_DIRECTORY_NAME;
            const Result<void> opened = index->Open(std::move(*source));
            if (opened.IsError()) {
                const Bool isGone = place.IoDetect() == IO_DETECT::NOT_THERE || index->HasMoved();
                if (isGone && tries < INDEX_TRIES) continue;
                return opened;
            }
        }
        _hasIndex.store(isVisible, std::memory_order_release);
        _hadIndex.store(index->GetCount() != 0, std::memory_order_release);
        // Without a counter a repository was published with its index, which then is all there is.
        const Bool isBehind = counter.exists && (!counter.number || *counter.number > index->GetLast());
        index->scansTree = index->GetCount() == 0 || (isVisible && isBehind);
        {
            // Whoever stored without dropping the index may have changed what it tells, too.
            auto known = _knownGeneration.Write();
            *known = {index->scansTree ? std::string() : index->GetGeneration(), counter};
        }
        _index = std::move(index);
        return OK;
    }
}

// The table of ids is larger than the caches, so each batch is announced before it is entered.
Result<void> UrlAssetRepositoryImpl::LoadIdsOfIndex(UInt32 number, TypeIds& types, AssetIdReceiver receiver) {
    const IndexText& text = _index->Get(number).GetText();
    const HashSet<std::string>& changed = _index->GetSource().changed;
    const JobRef job = Job::GetCurrent();  // asked on another thread
    std::vector<std::pair<Id, UInt32>> batch;
    Id type;
    std::string_view typeText;
    return _index->Check(number, [&](UInt first, UInt end, UInt expected) -> Result<void> {
        if (job && job->IsCancelled()) return OperationCancelledError::Create();
        if (end > UInt(UInt32(-1)))
            return FileFormatError::Create(FormatMessage("@ holds more assets than can be read.", GetRoot()));
        if (first == 0) TRY(ExpectRecords(Int(expected)));
        const auto enter = [&]() -> Result<void> {
            for (const auto& [aid, record] : batch) {
                if (const IndexText::Record told = text.GetRecord(record); type.IsEmpty() || told.type != typeText) {
                    typeText = told.type;
                    type = TRY(types.Get(typeText));
                }
                Data* adata = TRY(receiver(aid, type));
                if (adata->IsEmpty()) {
                    *adata = Data(IndexedAssetData{number, record});
                } else {
                    TRY(_index->AddPlace(aid, {number, record}));
                }
            }
            batch.clear();
            return OK;
        };
        for (auto next = UInt32(first); next < end; ++next) {
            const IndexText::Record record = text.GetRecord(next);
            if (changed.GetCount() != 0 && changed.Contains(std::string(record.directory))) continue;
            Id aid = TRY(Id::Create(record.id));
            ExpectRecord(aid);
            batch.emplace_back(std::move(aid), next);
            if (batch.size() == RECORDS_OF_A_BATCH) TRY(enter());
        }
        return enter();
    });
}

/// Those of them that a walk through the tree would meet: a journal may name what is gone, or a link. What nobody can tell of is kept.
Result<std::vector<UrlAssetRepositoryImpl::FoundAsset>> UrlAssetRepositoryImpl::ListChangedDirectories(
    const HashSet<std::string>& names) const {
    std::vector<FoundAsset> assets;
    for (const std::string& directory : names) {
        if (IsTreeDirectory(GetRoot() + directory).GetValueOr(true)) assets.push_back({directory});
    }
    std::sort(assets.begin(), assets.end(),
              [](const FoundAsset& first, const FoundAsset& second) { return first.directory < second.directory; });
    return assets;
}

Result<std::vector<UrlAssetRepositoryImpl::FoundAsset>> UrlAssetRepositoryImpl::ListAssetDirectories() {
    std::vector<FoundAsset> assets;
    const BaseArray<IoEntry> entries = TRY(BrowseTree(GetRoot()));
    for (const IoEntry& entry : entries) {
        if (entry.kind == IO_DETECT::DIRECTORY && entry.name != INDEX_DIRECTORY_NAME) assets.push_back({entry.name});
    }
    return assets;
}

}  // namespace talvo
