// What people call a repository on a url.
#include "asset_databases.h"
#include "database_asset.h"
#include "kernel/text/casing.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

constexpr LiteralId HTTP{"http"};
constexpr LiteralId HTTPS{"https"};

String GetFirstUpper(std::string_view name) {
    const String text(name);
    return text.IsEmpty() ? text : UnicodeUtils::UpperCase(text.GetPart(0, 1)) + text.GetPart(1, text.GetLength() - 1);
}

/// The url in the authority, or what stands there as text.
Url GetAuthorityUrl(const Url& url) {
    Url embedded = url.GetEmbeddedUrl();
    return embedded.IsPopulated() ? embedded : Url::Create(Id(), {}, url.GetAuthority());
}

/// The name of a mounted database that nobody named: where it comes from tells what it is.
String MakeDatabaseName(const Url& root, Bool addDetails) {
    String name;
    const Opt<Url> origin = root.GetData<Url>(URLFLAGS::ORIGINURL);
    if (origin && origin->IsPopulated()) {
        name = String(origin->GetName());
        const Bool isOnWeb = origin->GetScheme() == HTTP || origin->GetScheme() == HTTPS;
        if (addDetails && isOnWeb) name += String(FormatMessage(" (@)", GetAuthorityUrl(*origin).GetPath()));
    } else {
        name = GetFirstUpper(root.GetName());
    }
    return name.IsPopulated() ? name : String(GetAuthorityUrl(root).GetName());
}

}  // namespace

Result<String> UrlAssetRepositoryImpl::GetRepositoryName(LanguageRef language, Bool addDetails) {
    return CatchOutOfMemory([&]() -> Result<String> {
        {
            auto name = _repositoryName.Read();
            if (name->IsPopulated()) return String(*name);
        }
        String fallback;
        if (AssetDataBases::FindRepository(GetSelf())) fallback = MakeDatabaseName(GetRoot(), addDetails);
        return DatabaseAssetInterface::GetRepositoryName(GetSelf(), language, fallback, addDetails);
    });
}

Result<void> UrlAssetRepositoryImpl::SetRepositoryName(const String& name, LanguageRef language) {
    if (GetId() == REPOSITORY_SCENE) {
        // Repositories of a document are made anew with it: their name is never stored.
        String former = name;  // released outside of the lock
        auto stored = _repositoryName.Write();
        std::swap(*stored, former);
        return OK;
    }
    if (AssetDataBases::FindRepository(GetSelf()))
        return IllegalArgumentError::Create("SetRepositoryName is blocked for custom databases.");
    return BaseAssetRepository::SetRepositoryName(name, language);
}

}  // namespace talvo
