// Where a metadata value lies, and reading it.
#include "asset_scheme/url_parts.h"
#include "url_repository/metadata_document.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

constexpr LiteralId RELATIVE_SCHEME{"relative"};

/// A repository that we only read was made by someone else. What it names must not lead us to files that are none of its own.
Bool MayPointTo(const Url& root, const Url& target) {
    const Id& scheme = target.GetScheme();
    if (scheme == URLSCHEME_META || scheme == URLSCHEME_ASSET || scheme == RELATIVE_SCHEME) return true;
    return target.IsEmpty() || target == root || IsBelow(root, target);
}

}  // namespace

Opt<Url> UrlAssetRepositoryImpl::FindMetaDataDirectory(const Url& versionDirectory, KIND kind) const {
    const Bool ofUser = HasFlag(kind, KIND::USER);
    if (!ofUser && !HasFlag(kind, KIND::DERIVED)) return versionDirectory;
    const Url& tree = ofUser ? _places.user : _places.derived;
    if (tree.IsEmpty()) return std::nullopt;
    return tree == _places.root ? versionDirectory : GetSideDirectory(tree, versionDirectory);
}

Result<Url> UrlAssetRepositoryImpl::GetUrlImpl(const Data& vdata) {
    const UrlVersionData* names = vdata.GetPtr<UrlVersionData>();
    if (!names || names->payload.IsEmpty()) return Url();
    const Url directory = TRY(GetVersionUrl(GetRoot(), vdata));
    return directory + names->payload.GetView();
}

Result<Data> UrlAssetRepositoryImpl::LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) {
    const Url versionDirectory = TRY(GetVersionUrl(GetRoot(), vdata));
    const Opt<Url> directory = FindMetaDataDirectory(versionDirectory, kind);
    if (!directory) return Data();
    Data value = TRY(ReadMetaDataDocument(*directory, metaId, kind));
    const Url* url = value.GetPtr<Url>();
    const Bool isForeign = url && IsRepositoryContent(kind) && !IsWritable() && !MayPointTo(GetRoot(), *url);
    return isForeign ? Data() : std::move(value);
}

}  // namespace talvo
