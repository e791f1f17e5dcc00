// The rows of a tree of categories: each category that holds something listed, below those that it stands in.
#pragma once

#include "asset_browser/acceptance.h"
#include "asset_browser/browser_row.h"

namespace talvo {

/// Threads: as a plain value, of one update.
class TreeRows {
public:
    TreeRows(Acceptance& acceptance, ListingTexts& texts) : _acceptance(acceptance), _texts(texts) {}

    /// Errors: those of reading metadata and of the lookups.
    Result<void> Add(const AssetDescription& asset, AcceptResult::KIND kind);
    /// The top level. Nothing is sorted yet.
    std::vector<BrowserRow> TakeRows();

private:
    static constexpr std::size_t ROOT = 0;
    struct Node {
        BrowserRow row;
        std::size_t parent = ROOT;
    };
    Result<std::size_t> FindCategoryNode(const Id& category);
    Result<std::size_t> AddNode(const AssetDescription& asset, std::size_t parent);

    Acceptance& _acceptance;
    ListingTexts& _texts;
    std::vector<Node> _nodes = std::vector<Node>(1);  // the root first
    std::unordered_map<std::string, std::size_t> _numbers;
};

}  // namespace talvo
