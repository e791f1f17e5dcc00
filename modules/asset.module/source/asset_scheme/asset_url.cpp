// The url of an asset: its id for programs, and in the query what people know it by.
#include "asset_scheme/url_parts.h"
#include "asset_utilities.h"
#include "assets/asset_repository.h"

namespace talvo {

namespace {

/// "name=...&db=...", "version=..." and "rev=..." where there is anything to say.
Result<String> MakeQuery(const AssetDescription& asset, const AssetRepositoryRef& repository, Bool isLatest) {
    const String repositoryName = TRY(repository->GetRepositoryName(LanguageRef(), true));
    const String name = TRY(asset->GetMetaString(InternedId(OBJECT_BASE_NAME), LanguageRef(), String()));
    const Opt<String> tag = TRY(asset->GetMetaData().Get<String>(InternedId(ASSETMETADATA::VERSIONTAG)));
    const String maskedName = TRY(AssetUtilities::ReplaceUrlQueryCharacters(name));
    const String maskedRepository = TRY(AssetUtilities::ReplaceUrlQueryCharacters(repositoryName));
    String query(FormatMessage("name=@&db=@", maskedName, maskedRepository));
    if (tag && tag->IsPopulated()) {
        const String maskedTag = TRY(AssetUtilities::ReplaceUrlQueryCharacters(*tag));
        query += "&version=" + maskedTag;
    }
    if (!isLatest) {
        const String version = TRY(MaskVersion(asset->GetIdAndVersion().second));
        query += "&rev=" + version;
    }
    return query;
}

}  // namespace

Result<Url> AssetInterface::GetAssetUrl(const AssetDescription& asset, Bool isLatest) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        if (!asset) return NullptrError::Create("There is no url of an asset that is null.");
        const Url& content = TRY_REF(asset->GetUrl());
        if (content.IsEmpty()) return Url();
        const AssetRepositoryRef repository = asset->GetRepository();
        if (!repository) {
            return NullptrError::Create(
                FormatMessage("The repository of @ has gone, so that there is no url of it. Open it again.", asset));
        }
        Url url = Url::Create(URLSCHEME_ASSET, {}, MakeAssetPath(asset->GetIdAndVersion().first, content.GetSuffix()));
        String query = TRY(MakeQuery(asset, repository, isLatest));
        url.SetData(URLFLAGS::QUERY, Data(std::move(query)));
        return AddRepositoryScope(url, repository);
    });
}

}  // namespace talvo
