// What browsers answer without being made.
#include "asset_browser.h"
#include "asset_impl/config.h"
#include "browser_filter/search_index.h"

namespace talvo {

namespace {

class RepositoryGraphModel final : public NodesGraphModelInterface {
public:
    explicit RepositoryGraphModel(AssetRepositoryRef repository) : _repository(std::move(repository)) {}
    AssetRepositoryRef GetLookupRepository() const override { return _repository; }
    NodeSystemClassRef GetNodeSystemClass() const override { return nullptr; }

private:
    const AssetRepositoryRef _repository;
};

}  // namespace

Result<NodesGraphModelRef> CreateRepositoryGraphModel(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory(
        [&]() -> Result<NodesGraphModelRef> { return NodesGraphModelRef(StrongRef<RepositoryGraphModel>::Create(repository)); });
}

Result<Bool> AssetBrowserInterface::IsNodeHidden(const AssetDescription& asset, const NodeSystemClassRef& cls) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        if (!asset) return NullptrError::Create("There is no node to ask about.");
        const Opt<Bool> hidden = TRY(asset->GetMetaData().Get<Bool>("net.talvo.description.data.info.hidden"_id));
        if (hidden.value_or(false) && !g_showHiddenNodeAssets.Get()) return false;
        if (!NodeLibrary::AssetSupports(asset, cls)) return false;
        const Opt<String> tags = TRY(asset->GetMetaData().Get<String>("net.talvo.node.base.filtertags"_id));
        return !tags || tags->IsEmpty() || tags->GetView().find("morvane") != std::string_view::npos;
    });
}

Result<void> AssetBrowserInterface::PrepareSearch(const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<void> {
        if (!repository) return NullptrError::Create("There is no repository to prepare searches in.");
        const SearchIndexRef index = TRY(SearchIndex::Of(repository));
        return index->Prepare(repository);
    });
}

ASSET_SORT_BY AssetBrowserInterface::GetDefaultSortByFromGroupBy(ASSET_GROUP_BY groupBy) {
    switch (groupBy) {
        case ASSET_GROUP_BY::CREATIONDATE: return ASSET_SORT_BY::CREATIONDATE;
        case ASSET_GROUP_BY::USEDATE: return ASSET_SORT_BY::USEDATE;
        case ASSET_GROUP_BY::USECOUNT: return ASSET_SORT_BY::USECOUNT;
        case ASSET_GROUP_BY::CATEGORY:
        case ASSET_GROUP_BY::TYPE:
        case ASSET_GROUP_BY::DATABASE:
        case ASSET_GROUP_BY::NONE: return ASSET_SORT_BY::NAME;
    }
    return ASSET_SORT_BY::NOT_GIVEN;
}

}  // namespace talvo
