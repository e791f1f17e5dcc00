// From a url to the asset that it names.
#include "assets/asset.h"
#include "assets/asset_repository.h"
#include "kernel/text/casing.h"
#include "kernel/text/format.h"

#include <string>
#include <string_view>

namespace talvo {

namespace {

constexpr LiteralId ASSET_SCHEME{"asset"};
constexpr LiteralId META_SCHEME{"meta"};
constexpr std::string_view REVISION_MARK = "rev=";

/// The asset id in the path of an `asset` url: its first component, without a suffix that was put behind it for programs that look at suffixes
/// (`<id>~.png`, or `file_<id>.png`).
std::string_view GetAssetPart(std::string_view path) {
    if (path.starts_with('/')) path.remove_prefix(1);
    path = path.substr(0, path.find('/'));
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return path;
    if (path[dot - 1] == '~') return path.substr(0, dot - 1);
    return path.starts_with("file_") ? path.substr(0, dot) : path;
}

/// The version id in the query: the whole of it, in lower case, if it has no "=", else what stands behind "rev=".
Result<Id> GetVersionPart(const Url& url) {
    const String query = url.GetData<String>(URLFLAGS::QUERY).value_or(String());
    const std::string_view text = query.GetView();
    if (text.find('=') == std::string_view::npos) return Id::Create(query.ToLower().GetView());
    const std::size_t mark = text.find(REVISION_MARK);
    if (mark == std::string_view::npos) return Id();
    const std::string_view rest = text.substr(mark + REVISION_MARK.size());
    return Id::Create(rest.substr(0, rest.find('&')));
}

Result<AssetDescription> FindByContent(const Url& url, const AssetRepositoryRef& repository) {
    AssetDescription result;
    TRY(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& found) -> Result<Bool> {
        const Result<const Url&> content = found->GetUrl();
        if (content.IsError() || content.GetValue() != url) return true;
        result = found;
        return false;
    }));
    return result;
}

}  // namespace

Result<AssetDescription> AssetInterface::ResolveAsset(const Url& url, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        if (!repository) return NullptrError::Create(FormatMessage("The url @ can't be resolved without a repository.", url));
        if (url.GetScheme() != ASSET_SCHEME) return FindByContent(url, repository);
        const Id aid = TRY(Id::Create(GetAssetPart(url.GetPath())));
        const Id version = TRY(GetVersionPart(url));
        return repository->FindLatestAsset(Id(), aid, version, ASSET_FIND_MODE::NONE);
    });
}

Result<Url> AssetInterface::AddRepositoryScope(const Url& url, const AssetRepositoryRef&) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        if (url.GetScheme() != ASSET_SCHEME && url.GetScheme() != META_SCHEME) return url;
        if (url.FindData(ASSET_SCHEME)) return url;
        return UnsupportedOperationError::Create(FormatMessage(
            "The url @ can't be bound to a repository: no handler of urls of the scheme @ is there.", url, url.GetScheme()));
    });
}

}  // namespace talvo
