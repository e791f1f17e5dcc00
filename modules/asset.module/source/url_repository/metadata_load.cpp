// Where a metadata value lies, and reading it.
#include "url_repository/metadata_document.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

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
    return directory ? ReadMetaDataDocument(*directory, metaId, kind) : Result<Data>(Data());
}

}  // namespace talvo
