#include "asset_browser/tree_rows.h"

#include "asset_browser/row_builder.h"
#include "category_asset.h"

#include <algorithm>

namespace talvo {

Result<void> TreeRows::Add(const AssetDescription& asset, AcceptResult::KIND kind) {
    if (kind == AcceptResult::KIND::HIDDEN) return OK;
    if (kind == AcceptResult::KIND::STRUCTURE && asset->GetTypeId() == ASSETTYPE_CATEGORY) {
        TRY(FindCategoryNode(asset->GetIdAndVersion().first));
        return OK;
    }
    const std::size_t parent = TRY(FindCategoryNode(CategoryAssetInterface::GetParentCategory(asset)));
    if (kind == AcceptResult::KIND::STRUCTURE) TRY(AddNode(asset, parent));
    return OK;
}

Result<std::size_t> TreeRows::AddNode(const AssetDescription& asset, std::size_t parent) {
    Node node;
    node.parent = parent;
    node.row.asset = asset;
    node.row.name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
    String sortText = TRY(MakeSortText(asset, node.row.name));
    node.row.sortValue = SortValue(std::move(sortText));
    _nodes.push_back(std::move(node));
    return _nodes.size() - 1;
}

/// Goes up until a category is met that has a row, then makes the rows downwards. Categories stored in a circle end up at the top.
Result<std::size_t> TreeRows::FindCategoryNode(const Id& category) {
    std::vector<const ListingTexts::Category*> missing;
    std::size_t node = ROOT;
    for (Id id = category;;) {
        const ListingTexts::Category& found = TRY_REF(_texts.GetCategory(id));
        const std::string key(found.id.GetView());
        if (const auto known = _numbers.find(key); known != _numbers.end()) {
            node = known->second;
            break;
        }
        const Bool isCircle = std::find(missing.begin(), missing.end(), &found) != missing.end();
        if (isCircle || !found.asset) break;
        const AcceptResult accepted = TRY(_acceptance.Accept(found.asset, true));
        if (accepted.kind == AcceptResult::KIND::HIDDEN) break;
        missing.push_back(&found);
        id = CategoryAssetInterface::GetParentCategory(found.asset);
        if (id.IsEmpty()) break;
    }
    for (auto step = missing.rbegin(); step != missing.rend(); ++step) {
        node = TRY(AddNode((*step)->asset, node));
        _numbers.emplace(std::string((*step)->id.GetView()), node);
    }
    return node;
}

// Children come behind their parents, so what is last has all its rows when it is moved.
std::vector<BrowserRow> TreeRows::TakeRows() {
    for (std::size_t i = _nodes.size() - 1; i > ROOT; --i) {
        _nodes[_nodes[i].parent].row.EnsureDetails().children.push_back(std::move(_nodes[i].row));
    }
    return std::move(_nodes[ROOT].row.EnsureDetails().children);
}

}  // namespace talvo
