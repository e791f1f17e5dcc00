#include "asset_browser/row_builder.h"

#include "asset_downloads.h"
#include "asset_presentation.h"
#include "category_asset.h"
#include "command_asset.h"
#include "keyword_asset.h"

namespace talvo {

namespace {

constexpr const char* PART_SEPARATOR = " - ";

String JoinNames(const BaseArray<String>& names) {
    String joined;
    for (const String& name : names) {
        if (joined.IsPopulated()) joined += String(", ");
        joined += name;
    }
    return joined;
}

Bool IsFavourite(const AssetDescription& asset, const AssetFacts* facts) {
    return facts ? facts->isFavourite : KeywordAssetInterface::IsFavouriteAsset(asset);
}

String JoinSortText(const String& sort, const String& name) {
    return sort.IsPopulated() ? sort + String("_") + name.ToLower() : name.ToLower();
}

}  // namespace

Result<String> MakeSortText(const AssetDescription& asset, const String& name) {
    const Opt<String> sort = TRY(asset->GetMetaData().Get<String>(ASSETMETADATA::SORT));
    return JoinSortText(sort.value_or(String()), name);
}

RowConfig MakeRowConfig(const FilterOptions& options) {
    return {options.sortBy, options.sortOrder, options.firstItems, options.relevantItems, options.context};
}

RowBuilder::RowBuilder(const ListingRequest& request, ListingTexts& texts, BaseArray<String> searchStrings)
    : _request(request),
      _texts(texts),
      _relevance(request.settings, request.options.context, std::move(searchStrings)),
      _groups(request.options.groupBy, MakeRowConfig(request.options), texts) {}

Result<void> RowBuilder::Add(const AssetDescription& asset, String matchText, const AssetFacts* facts) {
    const FilterOptions& options = _request.options;
    const Opt<Id> read = facts ? Opt<Id>() : TRY(asset->GetMetaData().Get<Id>(ASSETMETADATA::SUBTYPE));
    const Id readSubtype = read.value_or(Id());
    const Id readCategory = facts ? Id() : CategoryAssetInterface::GetParentCategory(asset);
    const Id& type = asset->GetTypeId();
    const Id& subtype = facts ? facts->subtype : readSubtype;
    const GroupSource source{asset, type, subtype, facts ? facts->category : readCategory,
                             TRY_REF(_texts.GetTypeName(type, subtype))};
    BrowserRow row;
    row.asset = asset;
    row.name = facts ? facts->name : TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), nullptr, String()));
    row.matchText = std::move(matchText);
    if (options.sortBy != ASSET_SORT_BY::NAME) {
        String sortText = facts ? JoinSortText(String(facts->sort), row.name) : TRY(MakeSortText(asset, row.name));
        row.sortValue = SortValue(std::move(sortText));
    }
    if (source.type == ASSETTYPE_COMMAND) {
        TRY(FillCommand(row, source.typeName));
    } else {
        row.subtitle = TRY_REF(_texts.GetSubtitle(source.type, source.subtype, source.category));
    }
    row.relevant =
        options.firstItems == ASSET_FIRST_ITEMS::RELEVANT && IsRelevantItem(options.relevantItems, source.type, source.subtype);
    row.isMarked = options.firstItems == ASSET_FIRST_ITEMS::FAVORITES && IsFavourite(asset, facts);
    const RowGroups::Place place = TRY(_groups.FindPlace(row, source));
    TRY(SetOrder(row, source, facts));
    return _groups.Add(std::move(row), place);
}

Result<void> RowBuilder::FillCommand(BrowserRow& row, const String& typeName) const {
    const BaseArray<String> names = TRY(CommandAssetInterface::GetCommandScopeNames(row.asset));
    const String scopes = JoinNames(names);
    row.subtitle =
        typeName.IsPopulated() && scopes.IsPopulated() ? typeName + String(PART_SEPARATOR) + scopes : typeName + scopes;
    const Opt<String> shortcuts = TRY(row.asset->GetMetaData().Get<String>(COMMANDMETADATA::SHORTCUTS));
    const Opt<String> help = TRY(row.asset->GetMetaData().Get<String>(COMMANDMETADATA::HELP));
    if (shortcuts) row.EnsureDetails().shortcuts = *shortcuts;
    if (help) row.EnsureDetails().help = *help;
    return OK;
}

/// What the sort asked for says; else the group's value stands.
Result<void> RowBuilder::SetOrder(BrowserRow& row, const GroupSource& source, const AssetFacts* facts) const {
    switch (_request.options.sortBy) {
        case ASSET_SORT_BY::NAME: {
            const Bool needsRenderer = facts ? facts->needsRenderer : TRY(HasQuenliteDependencies(source.asset));
            row.rank = facts ? facts->rank : 0;
            row.keys = BrowserRow::KEYS::NAME;
            // One with a rank is ordered by that. What the group says is of no account.
            row.sortValue = row.rank == 0 ? SortValue(row.name.ToLower()) : SortValue();
            row.needsNoRenderer = !needsRenderer;
            return OK;
        }
        case ASSET_SORT_BY::MODIFICATIONDATE:
        case ASSET_SORT_BY::CREATIONDATE: {
            const UniversalDateTime time = TRY(_texts.GetCreationDate(source.asset));
            row.sortValue = SortValue(time.GetValue());
            return OK;
        }
        case ASSET_SORT_BY::USEDATE:
        case ASSET_SORT_BY::USECOUNT: {
            const AssetUsage usage = TRY(_texts.GetUsage(source.asset));
            const Bool isCount = _request.options.sortBy == ASSET_SORT_BY::USECOUNT;
            row.sortValue = SortValue(isCount ? Int64(std::get<1>(usage)) : std::get<0>(usage).GetValue());
            return OK;
        }
        case ASSET_SORT_BY::SIZE: {
            const Int64 size = TRY(AssetDownloads::GetAssetFileSize(source.asset));
            row.sortValue = SortValue(size);
            return OK;
        }
        case ASSET_SORT_BY::RELEVANCE: {
            Relevance::Source keySource{source.asset, source.type, source.subtype, false, false};
            keySource.needsRenderer = facts ? facts->needsRenderer : TRY(HasQuenliteDependencies(source.asset));
            keySource.isFavourite = row.isMarked || IsFavourite(source.asset, facts);
            row.keys = BrowserRow::KEYS::RELEVANCE;
            row.EnsureDetails().relevanceKeys = TRY(_relevance.MakeKeys(row.name, keySource));
            return OK;
        }
        case ASSET_SORT_BY::NOT_GIVEN: return OK;
    }
    return OK;
}

}  // namespace talvo
