#include "asset_browser/listing_texts.h"

#include "asset_browser/row_groups.h"
#include "asset_presentation.h"
#include "browser_filter/local_day.h"
#include "category_asset.h"
#include "subtype_asset.h"

namespace talvo {

namespace {

constexpr const char* PATH_SEPARATOR = " > ";
constexpr const char* PART_SEPARATOR = " - ";
}  // namespace

String GetListingText(const char* key) { return LoadGlobalString(key); }
String GetListingText(const char* key, Int64 argument) {
    return String(FormatMessage(LoadGlobalString(key).GetView(), argument));
}
String GetListingText(const char* key, const char* argument) {
    return String(FormatMessage(LoadGlobalString(key).GetView(), argument));
}

ListingTexts::ListingTexts(AssetRepositoryRef lookupRepository, UniversalDateTime now)
    : _lookupRepository(std::move(lookupRepository)),
      _now(now.IsEmpty() ? UniversalDateTime::GetNow() : now),
      _today(GetLocalDay(_now)) {}

Result<const ListingTexts::Category&> ListingTexts::GetCategory(const Id& id) {
    if (const Category* known = _categories.Find(id)) return *known;
    Category found = TRY(FindCategory(id));
    Category* const kept = TRY(_categories.InsertKey(id));
    *kept = std::move(found);
    return *kept;
}

Result<ListingTexts::Category> ListingTexts::FindCategory(const Id& id) const {
    Category category;
    if (id.IsPopulated()) {
        category.id = id;
        category.asset = TRY(_lookupRepository->FindLatestAsset(ASSETTYPE_CATEGORY, id, Id(), ASSET_FIND_MODE::LATEST));
    }
    if (!category.asset) {
        category.id = NODE_CATEGORY_UNCATEGORIZED;
        category.asset = TRY(
            _lookupRepository->FindLatestAsset(ASSETTYPE_CATEGORY, NODE_CATEGORY_UNCATEGORIZED, Id(), ASSET_FIND_MODE::LATEST));
    }
    if (!category.asset) return category;
    const InternedId name(OBJECT_BASE_NAME);
    category.name = TRY(category.asset->GetMetaString(name, nullptr, String()));
    category.upperName = category.name.ToUpper();
    BaseArray<String> parts = TRY(CategoryAssetInterface::GetAssetBreadcrumbString(category.asset, _lookupRepository));
    for (const String& part : parts) category.path += part + String(PATH_SEPARATOR);
    category.path += category.name;
    return category;
}

Result<const String&> ListingTexts::GetTypeName(const Id& type, const Id& subtype) {
    const std::pair<Id, Id> key(type, subtype);
    if (const String* known = _typeNames.Find(key)) return *known;
    String name;
    if (subtype.IsPopulated()) name = TRY(GetAssetTypeName(_lookupRepository, ASSETTYPE_SUBTYPE, subtype, Id(), false, nullptr));
    if (name.IsEmpty()) name = std::get<0>(GetAssetTypeName(type));
    String* const kept = TRY(_typeNames.InsertKey(key));
    *kept = std::move(name);
    return *kept;
}

Result<const String&> ListingTexts::GetSubtitle(const Id& type, const Id& subtype, const Id& category) {
    const std::pair<std::pair<Id, Id>, Id> key({type, subtype}, category);
    if (const String* known = _subtitles.Find(key)) return *known;
    const String& typeName = TRY_REF(GetTypeName(type, subtype));
    const Category& place = TRY_REF(GetCategory(category));
    String* const kept = TRY(_subtitles.InsertKey(key));
    *kept = typeName + String(PART_SEPARATOR) + place.path;
    return *kept;
}

String ListingTexts::GetTypePrefix(const Id& type) { return std::get<1>(GetAssetTypeName(type)); }

Result<const String&> ListingTexts::GetRepositoryName(const AssetDescription& asset) {
    const Id& id = asset->GetRepositoryId();
    if (const String* known = _repositoryNames.Find(id)) return *known;
    String name;
    if (const AssetRepositoryRef repository = asset->GetRepository()) name = TRY(repository->GetRepositoryName(nullptr, false));
    String* const kept = TRY(_repositoryNames.InsertKey(id));
    *kept = std::move(name);
    return *kept;
}

Result<UniversalDateTime> ListingTexts::GetCreationDate(const AssetDescription& asset) const {
    const Opt<UniversalDateTime> time = TRY(asset->GetMetaData().Get<UniversalDateTime>(ASSETMETADATA::TIMESTAMP));
    return time.value_or(UniversalDateTime());
}

Result<AssetUsage> ListingTexts::GetUsage(const AssetDescription& asset) const {
    const Opt<AssetUsage> usage = TRY(asset->GetMetaData().Get<AssetUsage>(ASSETMETADATA::USAGE));
    return usage.value_or(AssetUsage());
}

Bucket ListingTexts::GetBucket(UniversalDateTime time, const char* missing) const {
    if (time.IsEmpty()) return {Bucket::NO_DATE, GetListingText(missing)};
    return GetDayBucket(GetLocalDay(time), _today);
}

}  // namespace talvo
