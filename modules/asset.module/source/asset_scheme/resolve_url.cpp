#include "asset_scheme/resolve_url.h"

#include "asset_scheme/content_table.h"
#include "asset_scheme/url_parts.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

constexpr std::string_view TEXTURE_SUFFIX = "qltexbin";

ErrorRef MakeNotFoundError(const Url& url, SourceLocation location = SourceLocation::Current()) {
    return IoError::Create(FormatMessage("No asset found for Url @.", url), location);
}

/// The first of the versions that `parts` may mean.
Result<AssetDescription> FindVersion(const AssetUrlParts& parts, const AssetRepositoryRef& repository) {
    for (const Id& aid : parts.ids) {
        for (const Id& version : parts.versions) {
            AssetDescription found = TRY(repository->FindLatestAsset(Id(), aid, version, ASSET_FIND_MODE::NONE));
            if (found) return found;
        }
    }
    return AssetDescription();
}

/// The place of the metadata file of this name. The repository itself knows it, wherever it keeps metadata; nothing is put together from the name.
Result<Opt<Url>> FindMetaFile(const AssetDescription& description, std::string_view name) {
    const BaseArray<AssetMetaDataExistingEntry> entries = TRY(description->GetMetaData()->GetExistingEntries());
    for (const auto& [key, kind] : entries) {
        if (!name.starts_with(key.GetView())) continue;
        const Opt<Url> value = TRY(description->GetMetaData().Get<Url>(key));
        if (!value || value->GetScheme() != URLSCHEME_META || value->GetName() != name) continue;
        Opt<Url> target = FindResolveTarget(*value);
        if (target) return target;
    }
    return Opt<Url>();
}

Result<AssetDescription> ResolveAssetScheme(const Url& url, const AssetRepositoryRef& repository) {
    const AssetUrlParts parts = TRY(ParseAssetUrl(url));
    AssetDescription found = TRY(FindVersion(parts, repository));
    if (!found || !url.CheckSuffix(TEXTURE_SUFFIX)) return found;
    const Url& content = TRY_REF(found->GetUrl());
    return content.CheckSuffix(TEXTURE_SUFFIX) ? std::move(found) : AssetDescription();
}

/// @param target of the metadata file, if there is one.
Result<AssetDescription> ResolveMetaScheme(const Url& url, const AssetRepositoryRef& repository, Opt<Url>& target) {
    const AssetUrlParts parts = TRY(ParseAssetUrl(url));
    if (parts.inner.empty() || parts.inner.find('/') != std::string_view::npos) return AssetDescription();
    AssetDescription found = TRY(FindVersion(parts, repository));
    if (found) target = TRY(FindMetaFile(found, parts.inner));
    return target ? std::move(found) : AssetDescription();
}

ErrorRef MakeNoRepositoryError(const Url& url, SourceLocation location = SourceLocation::Current()) {
    return NullptrError::Create(
        FormatMessage("The url @ can't be resolved without a repository. Start the asset module, or name a repository.", url),
        location);
}

/// A target that isn't the payload itself is reached by a way that the url names, which may be anybody's.
void SetWay(ResolvedUrl& resolved, Bool isMeta) {
    if (isMeta) {
        resolved.trusted = resolved.target.GetDirectory();
        resolved.way = resolved.target.GetName();
        return;
    }
    if (!resolved.description) return;
    const Result<const Url&> content = resolved.description->GetUrl();
    if (content.IsError() || content.GetValue().GetScheme() != resolved.target.GetScheme()) return;
    const std::string_view top = content.GetValue().GetPath();
    const std::string_view path = resolved.target.GetPath();
    if (path.size() <= top.size() + 1 || !path.starts_with(top) || path[top.size()] != '/') return;
    resolved.trusted = content.GetValue();
    resolved.way = path.substr(top.size() + 1);
}

Opt<ResolvedUrl> ResolveFromInfo(const Url& url, Bool isMeta) {
    Opt<ResolveInfo> info = FindResolveInfo(url);
    if (!info) return std::nullopt;
    if (!isMeta && (!info->description || !info->description->GetRepository())) return std::nullopt;
    ResolvedUrl resolved{std::move(info->target), std::move(info->description), true, Url(), {}};
    SetWay(resolved, isMeta);
    return resolved;
}

Result<ResolvedUrl> ResolveMeta(const Url& url, const AssetRepositoryRef& repository) {
    const AssetUrlParts parts = TRY(ParseAssetUrl(url));
    if (!parts.hasInner) {
        return IllegalArgumentError::Create(FormatMessage("Meta Url without meta data identifier: @.", url));
    }
    TRY(CheckInnerPath(url, parts.inner));
    if (!repository) return MakeNoRepositoryError(url);
    Opt<Url> target;
    ResolvedUrl resolved;
    resolved.description = TRY(ResolveMetaScheme(url, repository, target));
    if (!resolved.description) return MakeNotFoundError(url);
    resolved.target = std::move(*target);
    SetWay(resolved, true);
    return resolved;
}

Result<ResolvedUrl> ResolveContent(const Url& url, const AssetRepositoryRef& repository) {
    ResolvedUrl resolved;
    std::string inner;
    if (url.GetScheme() == URLSCHEME_ASSET) {
        const AssetUrlParts parts = TRY(ParseAssetUrl(url));
        if (parts.hasInner) TRY(CheckInnerPath(url, parts.inner));
        inner = parts.inner;
    }
    resolved.description = TRY(AssetInterface::ResolveAsset(url, repository));
    if (!resolved.description) return MakeNotFoundError(url);
    resolved.target = TRY_REF(resolved.description->GetUrl());
    if (resolved.target.IsEmpty()) return MakeNotFoundError(url);
    resolved.target.Append(inner);
    SetWay(resolved, false);
    return resolved;
}

}  // namespace

Result<AssetDescription> AssetInterface::ResolveAsset(const Url& url, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<AssetDescription> {
        if (!repository) return MakeNoRepositoryError(url);
        if (url.GetScheme() == URLSCHEME_ASSET) return ResolveAssetScheme(url, repository);
        if (url.GetScheme() != URLSCHEME_META) return FindAssetByContent(url, repository);
        Opt<Url> unusedTarget;
        return ResolveMetaScheme(url, repository, unusedTarget);
    });
}

Result<ResolvedUrl> ResolveUrl(const Url& url, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<ResolvedUrl> {
        if (url.GetPath().empty()) return ResolvedUrl();
        if (url.GetScheme() == URLSCHEME_WATCHFOLDERSTORE) {
            return UnsupportedOperationError::Create(FormatMessage(
                "The url @ leads into the store of a watch folder, and there are no watch folders in this version.", url));
        }
        const Bool isMeta = url.GetScheme() == URLSCHEME_META;
        Opt<ResolvedUrl> known = ResolveFromInfo(url, isMeta);
        if (known) return std::move(*known);
        return isMeta ? ResolveMeta(url, repository) : ResolveContent(url, repository);
    });
}

Result<Url> ResolveAndAttach(const Url& url, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        if (url.GetScheme() != URLSCHEME_ASSET && url.GetScheme() != URLSCHEME_META) return url;
        const ResolvedUrl resolved = TRY(ResolveUrl(url, repository));
        if (resolved.fromInfo || resolved.target.IsEmpty()) return url;
        return AttachResolveInfo(url, resolved.target, resolved.description);
    });
}

Result<Url> AssetInterface::AddRepositoryScope(const Url& url, const AssetRepositoryRef& repository) {
    return ResolveAndAttach(url, repository);
}

}  // namespace talvo
