// Which assets the tree holds.
#include "kernel/app/log.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

#include <thread>

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

/// Fewer are read sooner than a thread is made.
constexpr Int ASSETS_OF_A_THREAD = 512;

}  // namespace

/// One directory below the root, and what it says it is.
struct UrlAssetRepositoryImpl::FoundAsset {
    std::string directory;
    Opt<AssetInfo> info;
};

// The reading of many small files keeps several cores busy; the order in which they are told stays that of their names.
Result<void> UrlAssetRepositoryImpl::ReadInfos(std::vector<FoundAsset>& assets) {
    const Int count = Int(assets.size());
    const Int threads = std::min(Int(std::thread::hardware_concurrency()), count / ASSETS_OF_A_THREAD);
    return DoSideBySide(count, threads, [&](Int index) -> Result<void> {
        FoundAsset& asset = assets[std::size_t(index)];
        Result<Opt<AssetInfo>> info = ReadAssetInfo(GetRoot() + asset.directory);
        if (info.IsOk()) {
            asset.info = std::move(info).GetValue();
        } else if (OutOfMemoryError::IsClassOf(info.GetError())) {
            return info.GetError();  // nothing is wrong with the asset
        } else {
            Log(LOG_LEVEL::WARNING, "An asset is left out: @", info.GetError()->GetMessage());
        }
        return OK;
    });
}

Result<void> UrlAssetRepositoryImpl::LoadExistingIdsImpl(AssetIdReceiver receiver) {
    _counter.Load();
    TypeIds types;
    std::vector<FoundAsset> assets = TRY(ListAssetDirectories());
    TRY(ReadInfos(assets));
    for (const FoundAsset& asset : assets) {
        // A directory that names no asset is none of ours, or damaged: the others stand.
        if (!asset.info) continue;
        Data* adata = TRY(receiver(asset.info->id, types.Get(asset.info->type)));
        if (!adata->GetPtr<UrlAssetData>()) *adata = TRY(MakeAssetData(asset.info->id, asset.directory));
    }
    return OK;
}

Result<std::vector<UrlAssetRepositoryImpl::FoundAsset>> UrlAssetRepositoryImpl::ListAssetDirectories() {
    std::vector<FoundAsset> assets;
    const BaseArray<IoEntry> entries = TRY(BrowseTree(GetRoot()));
    for (const IoEntry& entry : entries) {
        if (entry.kind != IO_DETECT::DIRECTORY) continue;
        if (entry.name == INDEX_DIRECTORY_NAME) {
            _hasIndex.store(true, std::memory_order_release);
            continue;
        }
        assets.push_back({entry.name, std::nullopt});
    }
    return assets;
}

}  // namespace talvo
