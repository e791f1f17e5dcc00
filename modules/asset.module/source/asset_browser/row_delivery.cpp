#include "asset_browser/row_delivery.h"

#include "asset_browser/row_sort.h"
#include "command_asset.h"
#include "subtype_asset.h"

#include <unordered_map>

namespace talvo {

namespace {

constexpr const char* MORE_ROWS = "...";

/// In their order rows lie far from each other, and so do their assets: both are brought into the caches in time.
constexpr std::size_t ROWS_AHEAD = 4;

void FetchAhead(const BrowserRow& row) {
    constexpr std::size_t LINE = 64;
    for (std::size_t at = 0; at < sizeof(row); at += LINE) __builtin_prefetch(reinterpret_cast<const char*>(&row) + at);
}

/// Folders that are watched are no repositories of this module yet.
Bool LiesInWatchFolder(const AssetDescription&) { return false; }

/// Takes its parts from the row, which only has its children left to tell then.
BuildEntryRecord MakeRecord(BrowserRow& row) {
    BuildEntryRecord record;
    record.asset = std::move(row.asset);
    record.name = DropSortPrefix(std::move(row.name));
    record.matchText = std::move(row.matchText);
    record.subtitle = std::move(row.subtitle);
    record.isGroup = row.isGroup;
    record.isMarked = row.isMarked;
    record.relevant = row.relevant;
    if (row.details) {
        record.groupId = row.details->groupId;
        record.shortcuts = row.details->shortcuts;
        record.help = row.details->help;
        record.isGroup = row.isGroup || !row.details->children.empty();
    }
    return record;
}

/// The same thing may be there as a node and as a command: under relevance the context says which one is shown.
class Folding {
public:
    Folding(const std::vector<BrowserRow>& rows, const RowConfig& config) {
        const ASSET_CONTEXT context = config.context;
        const Bool isAsked = config.sortBy == ASSET_SORT_BY::RELEVANCE &&
                             (context == ASSET_CONTEXT::OBJECTOM || context == ASSET_CONTEXT::OBJECTVP ||
                              context == ASSET_CONTEXT::NODE || context == ASSET_CONTEXT::OTHER);
        if (!isAsked) return;
        _hidden = context == ASSET_CONTEXT::NODE ? KIND::COMMAND : KIND::NODE;
        for (const BrowserRow& row : rows) {
            const KIND kind = GetKind(row);
            if (kind != KIND::NONE) _kinds[MakeKey(row)] |= UChar(kind);
        }
    }
    Bool IsFolded(const BrowserRow& row) const {
        if (_kinds.empty() || GetKind(row) != _hidden) return false;
        const auto kinds = _kinds.find(MakeKey(row));
        return kinds != _kinds.end() && kinds->second == (UChar(KIND::NODE) | UChar(KIND::COMMAND));
    }

private:
    enum class KIND : UChar { NONE = 0, NODE = 1, COMMAND = 2 };
    static std::string MakeKey(const BrowserRow& row) { return std::string(row.name.ToUpper().GetView()); }
    static KIND GetKind(const BrowserRow& row) {
        if (!row.asset) return KIND::NONE;
        const Id& type = row.asset->GetTypeId();
        if (type != ASSETTYPE_NODETEMPLATE && type != ASSETTYPE_COMMAND) return KIND::NONE;
        const Id subtype = row.asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE).GetValueOr(Opt<Id>()).value_or(Id());
        if (type == ASSETTYPE_NODETEMPLATE) return subtype == ASSETSUBTYPE::NODE_OPERATOR ? KIND::NODE : KIND::NONE;
        const Bool isObject =
            subtype == COMMANDTYPE::PRIMITIVE || subtype == COMMANDTYPE::DEFORMER || subtype == COMMANDTYPE::FIELD;
        return isObject ? KIND::COMMAND : KIND::NONE;
    }
    KIND _hidden = KIND::NONE;
    std::unordered_map<std::string, UChar> _kinds;
};

}  // namespace

String DropSortPrefix(String name) {
    constexpr std::size_t PREFIX_LENGTH = 4;
    const std::string_view text = name.GetView();
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const Bool hasPrefix = text.size() > PREFIX_LENGTH && text.starts_with("#$") && isDigit(text[2]) && isDigit(text[3]);
    return hasPrefix ? String(text.substr(PREFIX_LENGTH)) : name;
}

Bool RowDelivery::IsLeftOut(const BrowserRow& row) const {
    if (_request.mode == ASSET_BROWSE_MODE::CATEGORY_TREE)
        return _request.settings.skipWatchfolders && row.asset && LiesInWatchFolder(row.asset);
    const Bool hasChildren = row.details && !row.details->children.empty();
    return !hasChildren && !row.asset;
}

Result<void> RowDelivery::Deliver(std::vector<BrowserRow>& rows, const RowConfig& config, const Data* parent) {
    const std::vector<UInt32> order = TRY(OrderRows(rows, config));
    const Folding folding(rows, config);
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (i + 2 * ROWS_AHEAD < order.size()) FetchAhead(rows[order[i + 2 * ROWS_AHEAD]]);
        if (i + ROWS_AHEAD < order.size()) __builtin_prefetch(rows[order[i + ROWS_AHEAD]].asset.GetPointer());
        BrowserRow& row = rows[order[i]];
        if (folding.IsFolded(row) || IsLeftOut(row)) continue;
        const GO_ON goOn = TRY(DeliverRow(row, parent));
        if (goOn == GO_ON::NO || _isFull) break;
    }
    return OK;
}

Result<RowDelivery::GO_ON> RowDelivery::DeliverRow(BrowserRow& row, const Data* parent) {
    const Bool hasChildren = row.details && !row.details->children.empty();
    if (!hasChildren && _isLimited && _left-- == 0) {
        _isFull = true;
        BuildEntryRecord more;
        more.name = String(MORE_ROWS);
        TRY(_host.AddRow(parent, more));
        return GO_ON::NO;
    }
    const Data entry = TRY(_host.AddRow(parent, MakeRecord(row)));
    if (!hasChildren) return GO_ON::YES;
    TRY(Deliver(row.details->children, row.details->childConfig, &entry));
    const Bool* answer = entry.GetPtr<Bool>();
    const Bool endsLevel = _request.mode == ASSET_BROWSE_MODE::ASSET_LIST && answer && !*answer;
    return endsLevel ? GO_ON::NO : GO_ON::YES;
}

}  // namespace talvo
