#include "asset_browser/row_groups.h"

#include "category_asset.h"
#include "node_library.h"
#include "subtype_asset.h"

namespace talvo {

namespace {

constexpr Int64 DAYS_OF_A_WEEK = 7;
constexpr Int64 LAST_WEEK_KEY = 14;
constexpr Int64 AGES_AGO_KEY = 10000;
/// Later days are told as weeks.
constexpr Int64 LAST_SINGLE_DAY = 4;
constexpr Int64 LAST_TOLD_DAY = 27;
constexpr const char* RELEVANT_FIRST = "#$00";

/// 0 is Monday; 1970-01-01 was a Thursday.
Int64 GetWeekday(Int64 day) { return ((day + 3) % DAYS_OF_A_WEEK + DAYS_OF_A_WEEK) % DAYS_OF_A_WEEK; }

std::string MakeBucketKey(const Bucket& bucket) { return "sort_" + std::to_string(bucket.key); }

}  // namespace

Bool IsRelevantItem(ASSET_RELEVANT_ITEMS relevantItems, const Id& type, const Id& subtype) {
    switch (relevantItems) {
        case ASSET_RELEVANT_ITEMS::OBJECTS: return subtype == ASSETSUBTYPE::OBJECT;
        case ASSET_RELEVANT_ITEMS::MATERIALS: return subtype == ASSETSUBTYPE::MATERIAL;
        case ASSET_RELEVANT_ITEMS::MEDIA: return subtype == ASSETSUBTYPE::MEDIAIMAGE || subtype == ASSETSUBTYPE::MEDIAMOVIE;
        case ASSET_RELEVANT_ITEMS::NODES: return type == ASSETTYPE_NODETEMPLATE;
        case ASSET_RELEVANT_ITEMS::SCENENODES: return subtype == ASSETSUBTYPE::NODE_OPERATOR;
        case ASSET_RELEVANT_ITEMS::SCENES: return subtype == ASSETSUBTYPE::SCENE;
        case ASSET_RELEVANT_ITEMS::PRESETS: return subtype.GetView().starts_with(ASSETSUBTYPE::PRESET_PREFIX.GetView());
        case ASSET_RELEVANT_ITEMS::NONE: return false;
    }
    return false;
}

Bucket GetDayBucket(Int64 day, Int64 today) {
    const Int64 days = today - day;
    if (days < 0) return {-1, GetListingText("assetusagefuture")};
    if (days == 0) return {0, GetListingText("assetusagetoday")};
    if (days == 1) return {1, GetListingText("assetusageyesterday")};
    if (days <= LAST_SINGLE_DAY) return {days, GetListingText("assetusagedaysago", days)};
    const Int64 sinceMonday = days - GetWeekday(day);
    if (sinceMonday < DAYS_OF_A_WEEK) return {LAST_WEEK_KEY, GetListingText("assetusagelastweek")};
    if (sinceMonday > LAST_TOLD_DAY) return {AGES_AGO_KEY, GetListingText("assetusageagesago")};
    const Int64 weeks = sinceMonday / DAYS_OF_A_WEEK + 1;
    return {weeks * DAYS_OF_A_WEEK + DAYS_OF_A_WEEK, GetListingText("assetusageweeksago", weeks)};
}

Bucket GetUseCountBucket(Int64 count) {
    if (count <= 0) return {Bucket::NEVER_USED, GetListingText("assetusednever")};
    if (count == 1) return {1, GetListingText("assetonetimeused")};
    if (count <= 10) return {10, GetListingText("assetntimesused", "2 ... 10")};
    if (count <= 20) return {20, GetListingText("assetntimesused", "11 ... 20")};
    if (count <= 100) return {100, GetListingText("assetntimesused", "21 ... 100")};
    return {101, GetListingText("assetntimesused", "> 100")};
}

Result<void> RowGroups::Add(BrowserRow row, const Place& place) {
    auto known = _numbers.find(place.key);
    if (known == _numbers.end()) {
        known = _numbers.emplace(place.key, _groups.size()).first;
        BrowserRow group;
        group.isGroup = true;
        group.name = place.name;
        group.sortValue = place.sortValue;
        group.EnsureDetails().groupId = TRY(Id::Create(place.key));
        group.details->childConfig = _config;
        _groups.push_back(std::move(group));
    }
    _groups[known->second].details->children.push_back(std::move(row));
    return OK;
}

Result<RowGroups::Place> RowGroups::FindPlace(BrowserRow& row, const GroupSource& source) {
    switch (_groupBy) {
        case ASSET_GROUP_BY::CATEGORY: return FindCategory(row, source);
        case ASSET_GROUP_BY::TYPE: return FindType(row, source);
        case ASSET_GROUP_BY::DATABASE: return FindDatabase(row, source);
        case ASSET_GROUP_BY::CREATIONDATE: {
            const UniversalDateTime time = TRY(_texts.GetCreationDate(source.asset));
            row.sortValue = SortValue(time.GetValue());
            const Bucket bucket = _texts.GetBucket(time, "assetcreationdateunknown");
            return Place{MakeBucketKey(bucket), bucket.text, SortValue(-bucket.key)};
        }
        case ASSET_GROUP_BY::USEDATE: {
            const AssetUsage usage = TRY(_texts.GetUsage(source.asset));
            row.sortValue = SortValue(std::get<0>(usage).GetValue());
            const Bucket bucket = _texts.GetBucket(std::get<0>(usage), "assetusednever");
            return Place{MakeBucketKey(bucket), bucket.text, SortValue(-bucket.key)};
        }
        case ASSET_GROUP_BY::USECOUNT: {
            const AssetUsage usage = TRY(_texts.GetUsage(source.asset));
            row.sortValue = SortValue(Int64(std::get<1>(usage)));
            const Bucket bucket = GetUseCountBucket(std::get<1>(usage));
            return Place{MakeBucketKey(bucket), bucket.text, SortValue(bucket.key)};
        }
        case ASSET_GROUP_BY::NONE: break;
    }
    return Place{"none", String(), SortValue(Int64(-1))};
}

Result<RowGroups::Place> RowGroups::FindCategory(BrowserRow& row, const GroupSource& source) {
    const ListingTexts::Category& category = TRY_REF(_texts.GetCategory(source.category));
    row.sortValue = SortValue(category.upperName);
    return Place{std::string(category.id.GetView()), category.name, SortValue(Int64(0))};
}

RowGroups::Place RowGroups::FindType(BrowserRow& row, const GroupSource& source) const {
    const Bool hasSubtype = source.subtype.IsPopulated();
    const Id& key = hasSubtype ? source.subtype : source.type;
    row.sortValue = SortValue(row.name.ToLower());
    const String prefix = hasSubtype ? String() : ListingTexts::GetTypePrefix(source.type);
    String order = prefix.IsPopulated() ? prefix + String("_") : String();
    order += source.typeName.ToLower();
    const Bool isFirst = _config.sortBy != ASSET_SORT_BY::RELEVANCE && _config.firstItems == ASSET_FIRST_ITEMS::RELEVANT &&
                         IsRelevantItem(_config.relevantItems, source.type, key);
    if (isFirst) order = String(RELEVANT_FIRST) + order;
    return Place{std::string(key.GetView()), source.typeName, SortValue(std::move(order))};
}

Result<RowGroups::Place> RowGroups::FindDatabase(BrowserRow& row, const GroupSource& source) {
    const Id& id = source.asset->GetRepositoryId();
    const String& name = TRY_REF(_texts.GetRepositoryName(source.asset));
    row.sortValue = SortValue(name.ToLower());
    return Place{std::string(id.GetView()), name, row.sortValue};
}

}  // namespace talvo
