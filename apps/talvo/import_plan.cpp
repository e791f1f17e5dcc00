#include "apps/talvo/import_plan.h"

#include "apps/talvo/asset_values.h"
#include "apps/talvo/named_assets.h"
#include "category_asset.h"
#include "kernel/app/application.h"
#include "kernel/io/file_utilities.h"
#include "kernel/text/casing.h"
#include "subtype_asset.h"

#include <sstream>

namespace talvo {

namespace {

constexpr LiteralId MODULE_ID{"net.talvo.asset"};
constexpr Int64 MAX_TABLE_SIZE = Int64(1) << 20;

/// Each suffix with its subtype. A table that isn't there is empty: then each suffix has a subtype of its own.
Result<std::map<std::string, Id>> ReadSubtypes() {
    std::map<std::string, Id> subtypes;
    const Url resources = TRY(Application::PrivateGetUrl(MODULE_ID, APPLICATION_DIRECTORY::MODULE_RESOURCES));
    const Result<std::string> text = FileUtilities::ReadFileToMemory(resources + "subtypes.txt", MAX_TABLE_SIZE);
    if (text.IsError()) return subtypes;
    LineReader lines(text.GetValue());
    for (Opt<std::string> line = lines.ReadLine(); line; line = lines.ReadLine()) {
        if (line->starts_with('#')) continue;
        std::istringstream words(*line);
        std::string word;
        if (!(words >> word)) continue;
        const Id subtype = TRY(Id::Create(word));
        while (words >> word) subtypes[word] = subtype;
    }
    return subtypes;
}

/// The version id that the content would have.
Result<Id> HashContent(const Url& url) {
    std::string digest;
    const AssetHashStream hash = [](OutputStreamRef target, std::string& result) {
        return CreateHashingOutputStream(std::move(target), result);
    };
    TRY(StoreTree(url, Url(), hash, digest));
    return Id::Create(ToHex(digest));
}

/// Whether the content may be the same: files of different sizes can't.
Bool MayBeSame(const Url& url, const AssetDescription& asset) {
    const Result<const Url&> content = asset->GetUrl();
    if (content.IsError()) return false;
    if (url.IoDetect() != IO_DETECT::FILE) return true;
    return url.GetContentLength().GetValueOr(-1) == content.GetValue().GetContentLength().GetValueOr(-2);
}

}  // namespace

Result<AssetDescription> ImportCandidates::Choose(const Url& url, IMPORT_STATE& state) {
    state = IMPORT_STATE::NEW;
    std::vector<AssetDescription> assets;
    {
        const std::lock_guard lock(_lock);
        assets = _assets;
    }
    Opt<Id> hash;
    for (const AssetDescription& asset : assets) {
        if (!MayBeSame(url, asset)) continue;
        if (!hash) hash = TRY(HashContent(url));
        if (asset->GetIdAndVersion().second != *hash) continue;
        const std::lock_guard lock(_lock);
        if (std::erase_if(_assets, [&](const AssetDescription& each) { return each == asset; }) == 0) continue;
        state = IMPORT_STATE::UNCHANGED;
        return asset;
    }
    if (assets.size() != 1 || _items != 1) return AssetDescription();
    state = IMPORT_STATE::UPDATED;
    return assets.front();
}

Result<std::unique_ptr<ImportPlan>> ImportPlan::Create(const AssetRepositoryRef& repository, const std::vector<ImportItem>& items,
                                                       KNOWN known) {
    auto plan = std::make_unique<ImportPlan>();
    plan->_subtypes = TRY(ReadSubtypes());
    TRY(plan->ReadCategories(repository));
    if (known == KNOWN::LOOK_UP) TRY(plan->ReadAssets(repository));
    for (const ImportItem& item : items) {
        ImportPlanItem planned;
        const Id category = TRY(plan->EnsureCategory(repository, item.folders));
        if (category.IsPopulated()) planned.category = category;
        planned.subtype = TRY(plan->FindSubtype(item));
        const auto found = plan->_known.find({category, item.name.GetCString()});
        if (found != plan->_known.end()) {
            planned.candidates = found->second.get();
            planned.candidates->CountItem();
        }
        plan->_items.push_back(std::move(planned));
    }
    return plan;
}

Result<void> ImportPlan::ReadCategories(const AssetRepositoryRef& repository) {
    const Id type = ASSETTYPE_CATEGORY;
    TRY(FindAssets(repository, Block<const Id>(&type, 1), Id(), Id(), ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       const String name = TRY(GetAssetName(found));
                       const Id parent = CategoryAssetInterface::GetParentCategory(found);
                       // Of two with one name in one place the first one in the order of ids, whatever the order of the walk.
                       const auto [place, isNew] =
                           _categories.try_emplace({parent, name.GetCString()}, found->GetIdAndVersion().first);
                       if (!isNew) place->second = std::min(place->second, found->GetIdAndVersion().first);
                       return true;
                   }));
    return OK;
}

Result<void> ImportPlan::ReadAssets(const AssetRepositoryRef& repository) {
    const Id type = ASSETTYPE_FILE;
    TRY(FindAssets(repository, Block<const Id>(&type, 1), Id(), Id(), ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES,
                   [&](const AssetDescription& found) -> Result<Bool> {
                       const String name = TRY(GetAssetName(found));
                       auto& candidates = _known[{CategoryAssetInterface::GetParentCategory(found), name.GetCString()}];
                       if (!candidates) candidates = std::make_unique<ImportCandidates>();
                       candidates->Add(found);
                       return true;
                   }));
    return OK;
}

/// @return the category of the last folder; the null id for a file without one.
Result<Id> ImportPlan::EnsureCategory(const AssetRepositoryRef& repository, const std::vector<std::string>& folders) {
    Id parent;
    for (const std::string& folder : folders) {
        const String name(folder);
        const auto [place, isNew] = _categories.try_emplace({parent, name.GetCString()}, Id());
        if (isNew) {
            AssetValues values;
            values.name = name;
            if (parent.IsPopulated()) values.category = parent;
            const CategoryAsset category = TRY(CategoryAssetInterface::Create());
            const AssetDescription stored =
                TRY(StoreNamedAsset(repository, {}, "category", Asset(StrongRef<AssetInterface>(category)), values));
            place->second = stored->GetIdAndVersion().first;
        }
        parent = place->second;
    }
    return parent;
}

Result<Opt<Id>> ImportPlan::FindSubtype(const ImportItem& item) {
    const std::string suffix(String(item.url.GetSuffix()).ToLower().GetView());
    if (suffix.empty() || item.url.IoDetect() == IO_DETECT::DIRECTORY) return Opt<Id>();
    const auto known = _subtypes.find(suffix);
    if (known != _subtypes.end()) return Opt<Id>(known->second);
    Id subtype = TRY(Id::Create(std::string(ASSETSUBTYPE::FILE_PREFIX.GetView()) + suffix));
    _subtypes[suffix] = subtype;
    return Opt<Id>(std::move(subtype));
}

}  // namespace talvo
