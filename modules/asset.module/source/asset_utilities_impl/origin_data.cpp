// What a link remembers of the place where its target was found.
#include "asset_utilities.h"
#include "assets/asset_repository.h"
#include "kernel/app/application.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

/// Built-in assets have no versions of their own: theirs is the application's.
Result<String> GetVersionTag(const AssetDescription& asset) {
    if (asset->GetRepositoryId() == REPOSITORY_BUILTIN) {
        const Application::Version version = TRY(Application::GetVersion());
        return FormatString("@ - @", version.number, version.build);
    }
    const Opt<String> tag = TRY(asset->GetMetaData().Get<String>(InternedId(ASSETMETADATA::VERSIONTAG)));
    return tag.value_or(String());
}

void SetUnlessEmpty(DataDictionary& dictionary, const Id& key, const String& text) {
    if (text.IsPopulated()) dictionary.Set(key, text);
}

}  // namespace

Result<DataDictionary> AssetUtilities::GetMergedAssetOriginData(const AssetDescription& nodeAsset, const AssetLink& link,
                                                                LanguageRef lang) {
    return CatchOutOfMemory([&]() -> Result<DataDictionary> {
        DataDictionary origin;
        if (!nodeAsset) return origin;
        const LanguageRef language = lang ? lang : Resource::GetCurrentLanguage();
        const String name = TRY(nodeAsset->GetMetaString(InternedId(OBJECT_BASE_NAME), language, String()));
        SetUnlessEmpty(origin, ASSETLINK_ORIGIN::NAME, name);
        if (const AssetRepositoryRef repository = nodeAsset->GetRepository()) {
            if (repository->GetId().IsPopulated()) origin.Set(ASSETLINK_ORIGIN::REPOID, Id(repository->GetId()));
            const String repositoryName = TRY(repository->GetRepositoryName(language, true));
            SetUnlessEmpty(origin, ASSETLINK_ORIGIN::REPONAME, repositoryName);
        }
        const String tag = TRY(GetVersionTag(nodeAsset));
        SetUnlessEmpty(origin, ASSETLINK_ORIGIN::VERSIONTAG, tag);
        if (!link) return origin;
        for (const DataDictionary::Entry& entry : link->GetOriginData()) origin.Set(entry.key, entry.value);
        return origin;
    });
}

}  // namespace talvo
