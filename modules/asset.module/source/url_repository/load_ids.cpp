// Which assets the tree holds.
#include "kernel/thread/job.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

/// The id objects of registered types, so that all assets of one type share one. A tree has few types and many assets.
class TypeIds {
public:
    const Id& Get(const Id& read) {
        for (const Id& known : _known) {
            if (known == read) return known;
        }
        const AssetType type = FindAssetType(read);
        return _known.emplace_back(type ? type->GetId() : read);
    }

private:
    std::vector<Id> _known;
};

}  // namespace

Result<void> UrlAssetRepositoryImpl::LoadExistingIdsImpl(AssetIdReceiver receiver) {
    _counter.Load();
    TypeIds types;
    const BaseArray<IoEntry> entries = TRY(BrowseTree(GetRoot()));
    for (const IoEntry& entry : entries) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        if (entry.kind != IO_DETECT::DIRECTORY) continue;
        if (entry.name == INDEX_DIRECTORY_NAME) {
            _hasIndex.store(true, std::memory_order_release);
            continue;
        }
        const Url directory = GetRoot() + entry.name;
        // A directory that names no asset is none of ours, or damaged: the others stand.
        const Opt<AssetInfo> info = ReadAssetInfo(directory);
        if (!info) continue;
        Data* adata = TRY(receiver(info->id, types.Get(info->type)));
        if (!adata->GetPtr<UrlAssetData>()) *adata = TRY(MakeAssetData(info->id, entry.name));
    }
    return OK;
}

}  // namespace talvo
