#include "asset_scheme/ui_name.h"

#include "asset_scheme/resolve_info.h"
#include "asset_scheme/url_parts.h"
#include "category_asset/category_chain.h"

#include <algorithm>

namespace talvo {

namespace {

Result<std::string> GetName(const AssetDescription& asset, UI_NAME flags) {
    String name;
    if (!HasFlag(flags, UI_NAME::ID)) name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), LanguageRef(), String()));
    return std::string(name.IsPopulated() ? name.GetView() : asset->GetIdAndVersion().first.GetView());
}

/// "Plants/Trees/", empty for an asset that stands in no category.
Result<std::string> GetCategoryPath(const AssetDescription& asset, const AssetRepositoryRef& repository) {
    std::string path;
    TRY(WalkCategories(asset, repository, [&](const AssetDescription& category) -> Result<Bool> {
        const std::string name = TRY(GetName(category, UI_NAME::NONE));
        path.insert(0, name + "/");
        return true;
    }));
    return path;
}

Result<void> InsertVersion(std::string& text, const AssetDescription& asset, Bool hasQuery) {
    const Opt<String> tag = TRY(asset->GetMetaData().Get<String>(InternedId(ASSETMETADATA::VERSIONTAG)));
    std::string version;
    if (tag && tag->IsPopulated()) {
        version = (hasQuery ? " (" : " (Latest: ") + std::string(tag->GetView()) + ")";
    } else if (!hasQuery) {
        version = " (Latest)";
    }
    text.insert(std::min(text.rfind('.'), text.size()), version);
    return OK;
}

/// A value that people read: of these only "&" and "=" are masked.
std::string GetQueryText(std::string_view query, std::string_view name) {
    std::string text(FindQueryValue(query, name).value_or(std::string_view()));
    for (const auto& [mask, character] : {std::pair("%26", '&'), std::pair("%3d", '=')}) {
        for (std::size_t at = text.find(mask); at != std::string::npos; at = text.find(mask, at))
            text.replace(at, 3, 1, character);
    }
    return text;
}

/// Of an asset that isn't there the url itself may still tell what it was called.
Result<String> MakeNameFromQuery(const Url& url, UI_NAME flags) {
    const std::string query = GetUrlQuery(url);
    std::string text = GetQueryText(query, "name");
    if (text.empty()) return url.ToString();
    if (HasFlag(flags, UI_NAME::QUERY_NAME)) return String(text);
    const std::string repository = GetQueryText(query, "db");
    const std::string version = GetQueryText(query, "version");
    if (!repository.empty()) text += " (" + repository + ")";
    if (!version.empty()) text += " " + version;
    return String(text);
}

/// @param repository changed to that of the asset, if the url brings it along.
Result<AssetDescription> FindAsset(const Url& url, AssetRepositoryRef& repository) {
    const Opt<ResolveInfo> info = FindResolveInfo(url);
    const AssetRepositoryRef own = info && info->description ? info->description->GetRepository() : AssetRepositoryRef();
    if (own) {
        repository = own;
        return info->description;
    }
    const Bool canBeFound = repository && !url.GetPath().empty();
    return canBeFound ? AssetInterface::ResolveAsset(url, repository) : Result<AssetDescription>(AssetDescription());
}

}  // namespace

Result<String> ConvertAssetUrlToUiName(const Url& url, UI_NAME flags, AssetRepositoryRef repository) {
    return CatchOutOfMemory([&]() -> Result<String> {
        if (!repository) repository = AssetInterface::GetUserPrefsRepository();
        AssetDescription asset = TRY(FindAsset(url, repository));
        if (!asset) return MakeNameFromQuery(url, flags);
        const auto& [aid, version] = asset->GetIdAndVersion();
        const AssetDescription present = TRY(repository->FindLatestAsset(Id(), aid, version, ASSET_FIND_MODE::NONE));
        if (present) asset = present;
        const Bool isPlain = HasFlag(flags, UI_NAME::PLAIN);
        std::string text = TRY(GetName(asset, flags));
        if (!isPlain) {
            const std::string path = TRY(GetCategoryPath(asset, repository));
            text.insert(0, path);
        }
        if (HasFlag(flags, UI_NAME::WITHOUT_SUFFIX)) text.resize(std::min(text.rfind('.'), text.size()));
        if (HasFlag(flags, UI_NAME::VERSION)) TRY(InsertVersion(text, asset, !GetUrlQuery(url).empty()));
        if (!isPlain) text.insert(0, std::string(URLSCHEME_ASSETDATABASE.GetView()) + ":///");
        return String(text);
    });
}

}  // namespace talvo
