// Where a metadata value lies, and reading it.
#include "asset_scheme/url_parts.h"
#include "kernel/description/stored_texts.h"
#include "url_repository/loaded_index.h"
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

Result<Id> UrlAssetRepositoryImpl::GetAssetDirectory(const Data& adata) const {
    if (const UrlAssetData* asset = adata.GetPtr<UrlAssetData>()) return Id(asset->directory);
    const IndexedAssetData place = TRY(adata.Get<IndexedAssetData>());
    return Id::Create(_index->Get(place.index).GetText().GetRecord(place.record).directory);
}

Result<Url> UrlAssetRepositoryImpl::GetVersionUrl(const Data& vdata) const {
    std::string path;
    if (const UrlVersionData* names = vdata.GetPtr<UrlVersionData>()) {
        path = names->assetDirectory.GetView();
        path += '/';
        path += names->directory.GetView();
    } else if (const IndexedVersionData* place = vdata.GetPtr<IndexedVersionData>()) {
        const IndexText& text = _index->Get(place->index).GetText();
        const IndexText::Version version = text.GetVersion(place->position);
        path = text.GetRecord(place->record).directory;
        path += '/';
        path += MakeIndexedDirectoryName(version);
    } else {
        return vdata.Get<Url>();
    }
    return GetRoot() + path;
}

Result<Url> UrlAssetRepositoryImpl::GetUrlImpl(const Data& vdata) {
    std::string_view payload;
    if (const UrlVersionData* names = vdata.GetPtr<UrlVersionData>()) {
        payload = names->payload.GetView();
    } else if (const IndexedVersionData* place = vdata.GetPtr<IndexedVersionData>()) {
        const IndexText::Version version = _index->Get(place->index).GetText().GetVersion(place->position);
        // Others may name one for a deletion mark, too.
        if (version.versionId != DELETED_VERSION.GetView()) payload = version.payload;
    }
    if (payload.empty()) return Url();
    const Url directory = TRY(GetVersionUrl(vdata));
    const Url url = directory + payload;
    if (vdata.GetPtr<IndexedVersionData>() != nullptr) TRY(CheckNoLink(GetRoot(), url));
    return url;
}

Result<Data> UrlAssetRepositoryImpl::ReadValue(const Data& vdata, const InternedId& metaId, KIND kind) const {
    const IndexedVersionData* place = vdata.GetPtr<IndexedVersionData>();
    if (place && !HasFlag(kind, KIND::DERIVED) && !HasFlag(kind, KIND::USER)) {
        const CompactedIndex& index = _index->Get(place->index);
        const std::string_view aid = index.GetText().GetRecord(place->record).id;
        Data value = TRY(index.FindValue(place->record, aid, index.GetText().GetVersion(place->position).versionId, metaId));
        if (value.IsPopulated()) return value;
        // One that could not be compacted lies where it always did.
    }
    const Url versionDirectory = TRY(GetVersionUrl(vdata));
    if (place) TRY(CheckNoLink(GetRoot(), versionDirectory));
    const Opt<Url> directory = FindMetaDataDirectory(versionDirectory, kind);
    return directory ? ReadMetaDataDocument(*directory, metaId, kind) : Result<Data>(Data());
}

Result<Opt<CompactedMetaData::RawValue>> UrlAssetRepositoryImpl::FindIndexedValue(const Data& vdata,
                                                                                  const InternedId& metaId) const {
    using Found = Opt<CompactedMetaData::RawValue>;
    const IndexedVersionData* place = vdata.GetPtr<IndexedVersionData>();
    if (!place) return Found();
    const CompactedIndex& index = _index->Get(place->index);
    const CompactedMetaData* values = index.FindMetaData(metaId);
    if (!values) return Found();
    const std::string_view aid = index.GetText().GetRecord(place->record).id;
    const std::string_view version = index.GetText().GetVersionId(place->position);
    return values->FindRaw(aid, version, index.GetPlace(place->record));
}

Result<BaseAssetRepositoryInterface::StoredText> UrlAssetRepositoryImpl::FindTextImpl(const Data& vdata, const InternedId& metaId,
                                                                                      const Id& key) {
    const Opt<CompactedMetaData::RawValue> raw = TRY(FindIndexedValue(vdata, metaId));
    std::string_view text;
    const Bool isKnown = raw && ReadStoredTexts(*raw->typeId, raw->bytes, Block<const Id>(&key, 1), &text);
    return isKnown ? StoredText{true, true, String(text)} : StoredText();
}

Result<Data> UrlAssetRepositoryImpl::LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) {
    Data value = TRY(ReadValue(vdata, metaId, kind));
    const Url* url = value.GetPtr<Url>();
    const Bool isForeign = url && IsRepositoryContent(kind) && !IsWritable() && !MayPointTo(GetRoot(), *url);
    return isForeign ? Data() : std::move(value);
}

}  // namespace talvo
