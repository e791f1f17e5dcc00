// Urls that name an asset as people do: categories, then its name.
#include "asset_scheme/asset_handlers.h"
#include "asset_scheme/url_parts.h"
#include "assets/asset_type.h"
#include "category_asset/category_chain.h"
#include "kernel/text/casing.h"

#include <string>
#include <vector>

namespace talvo {

namespace {

/// Where such a url is looked up, if it isn't the user preferences repository.
constexpr LiteralId REPOSITORY_KEY{"repo"};

ErrorRef MakeNotFoundError(const Url& url, SourceLocation location = SourceLocation::Current()) {
    return IoError::Create(
        FormatMessage("Asset not found: @. Write the names of its categories and its own, with \"/\" in between.", url),
        location);
}

Result<Bool> HasName(const AssetDescription& asset, const String& name) {
    const String own = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), LanguageRef(), String()));
    return CompareText(own, name, COMPARE_MODE::NO_CASE) == 0;
}

/// Whether `asset` is called by the last of `names` and stands in categories that are called by the others.
Result<Bool> StandsAt(const AssetDescription& asset, const std::vector<String>& names, const AssetRepositoryRef& repository) {
    std::size_t rest = names.size() - 1;
    const Bool isCalledSo = TRY(HasName(asset, names[rest]));
    if (!isCalledSo) return false;
    TRY(WalkCategories(asset, repository, [&](const AssetDescription& category) -> Result<Bool> {
        const Bool fits = TRY(HasName(category, names[rest - 1]));
        if (fits) --rest;
        return fits && rest > 0;
    }));
    return rest == 0;
}

class AssetDbIoHandlerImpl final : public IoHandler {
public:
    Id GetUrlScheme() const override { return URLSCHEME_ASSETDATABASE; }

    Result<IoConnectionRef> OpenConnection(const Url& url) override {
        return IoError::Create(FormatMessage("invalid asset: @ is a name. Normalize it to the url of the asset first.", url));
    }

    Result<Url> Normalize(const Url& url, NORMALIZE) override {
        std::vector<String> names;
        for (const std::string& component : url.GetComponents()) names.emplace_back(component);
        if (names.size() < 2) return MakeNotFoundError(url);
        const AssetRepositoryRef repository =
            url.GetData<AssetRepositoryRef>(REPOSITORY_KEY).value_or(AssetInterface::GetUserPrefsRepository());
        if (!repository) {
            return NullptrError::Create(
                FormatMessage("The url @ can't be resolved without a repository. Start the asset module.", url));
        }
        const Id types[] = {ASSETTYPE_CATEGORY, ASSETTYPE_FILE};
        Url result;
        TRY(FindAssets(repository, types, Id(), Id(), ASSET_FIND_MODE::LATEST,
                       [&](const AssetDescription& asset) -> Result<Bool> {
                           const Bool fits = TRY(StandsAt(asset, names, repository));
                           if (fits) result = TRY(AssetInterface::GetAssetUrl(asset, true));
                           return !fits;
                       }));
        if (result.IsEmpty()) return MakeNotFoundError(url);
        return result;
    }
};

}  // namespace

IoHandlerRef CreateAssetDatabaseHandler() { return IoHandlerRef(new AssetDbIoHandlerImpl); }

}  // namespace talvo
