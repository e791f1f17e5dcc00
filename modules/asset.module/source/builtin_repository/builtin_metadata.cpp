// Values of built-in assets: those that the loader gives, and in three trees those that users, the program and, where it may, an author added.
#include "asset_impl/config.h"
#include "asset_types/asset_description_impl.h"
#include "builtin_repository/builtin_repository.h"
#include "kernel/app/log.h"
#include "kernel/base/hashing.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/metadata_document.h"
#include "url_repository/metadata_files.h"
#include "url_repository/tree_access.h"

namespace talvo {

namespace {

Url GetAssetDirectory(const Url& tree, const BuiltinVersionData& places) { return tree + places.directory.GetView(); }

/// Everything ends in the built-in assets, so a tree that can't be read costs the values in it and no more.
Result<VersionContent> ScanTree(const Url& directory) {
    Result<VersionContent> content = ScanVersionDirectory(directory);
    if (content.IsOk() || !IoError::IsClassOf(content.GetError())) return content;
    Log(LOG_LEVEL::WARNING, "Values of a built-in asset are left out: @", content.GetError()->GetMessage());
    return VersionContent();
}

}  // namespace

Result<AssetMetaDataTable> BuiltinRepository::ListMetaData(const IdAndVersion& identity, const BuiltinVersionData& places,
                                                           const DataDictionary& given) const {
    AssetMetaDataTable table;
    for (const DataDictionary::Entry& value : given) {
        const Id* key = value.key.GetPtr<Id>();
        if (key) TRY(table.Insert(InternedId(*key), AssetMetaDataEntry{value.value, KIND::PERSISTENT, true, 1}));
    }
    const auto add = [&](const Url& tree, KIND kind) -> Result<void> {
        if (tree.IsEmpty()) return OK;
        const Url directory = GetAssetDirectory(tree, places);
        const VersionContent content = TRY(ScanTree(directory));
        return AddMetaDataFiles(identity, directory, content, kind, table);
    };
    TRY(add(_places.user, KIND::USER));
    if (!g_disableDerivedCache) TRY(add(_places.derived, KIND::DERIVED));
    TRY(add(places.metaRoot, KIND::NONE));
    return table;
}

Result<BuiltinRepository::EntryRef> BuiltinRepository::MakeEntry(const Delivery& delivery) {
    if (delivery.aid.IsEmpty() || !delivery.asset) {
        return IllegalArgumentError::Create(
            FormatMessage("A loader of built-in assets gave nothing for the id \"@\". Correct the loader.", delivery.aid));
    }
    AssetDescription::Parts parts;
    parts.type = delivery.asset->GetTypeId();
    parts.identity = {delivery.aid, delivery.asset->GetIdAndVersion().second};
    if (const auto file = Cast<FileAssetInterface>(StrongRef<AssetInterface>(delivery.asset))) parts.url = file->GetUrl();
    const std::string name = TRY(MakeDirectoryName(delivery.aid));
    const Id directory = TRY(Id::Create(name));
    const BuiltinVersionData places{directory, delivery.metaRoot};
    const Data vdata(places);
    AssetMetaDataTable values = TRY(ListMetaData(parts.identity, places, delivery.metaData));
    parts.metaData = TRY(AssetMetaData::Create(GetSelf(), parts.type, parts.identity, vdata, std::move(values)));

    // The loader goes on with its own object; the copy is what a load gives.
    const Asset loaded = TRY(delivery.asset->Clone());
    loaded->SetId(parts.identity, 0, GetSelf(), parts.url);
    loaded->SetMetaData(parts.metaData);
    const Id type = parts.type;
    const AssetDescription description = TRY(AssetDescription::Create(GetSelf(), std::move(parts)));
    AssetDescriptionImpl::Of(description).SetVersionData(vdata);
    AssetDescriptionImpl::Of(description).PresetLoaded(loaded);

    AssetVersionTable::Entries versions;
    TRY(AssetVersionTable::Insert(versions, AssetVersionKey(), description));
    return EntryRef(StrongRef<Entry>::Create(type, GetTableHash(delivery.aid.GetView()),
                                             AssetVersionTable(std::move(versions), AssetVersionTable::STATE::LOADED)));
}

Result<Data> BuiltinRepository::LoadMetaDataImpl(const Data& vdata, const InternedId& metaId, ASSET_METADATA_KIND kind) {
    const BuiltinVersionData places = TRY(vdata.Get<BuiltinVersionData>());
    const Url& tree = HasFlag(kind, KIND::USER) ? _places.user : HasFlag(kind, KIND::DERIVED) ? _places.derived : places.metaRoot;
    return tree.IsEmpty() ? Result<Data>(Data()) : ReadMetaDataDocument(GetAssetDirectory(tree, places), metaId, kind);
}

Result<Url> BuiltinRepository::GetWriteDirectory(const BuiltinVersionData& places, const Id& aid, KIND kind) const {
    if (HasFlag(kind, KIND::DERIVED)) return GetAssetDirectory(_places.derived, places);
    if (HasFlag(kind, KIND::USER)) return GetAssetDirectory(_places.user, places);
    if (!g_builtinRepositoryWritable) {
        return IllegalStateError::Create(FormatMessage("Meta data for built-in asset @ isn't writable", aid));
    }
    if (places.metaRoot.IsEmpty()) {
        return UnsupportedOperationError::Create(FormatMessage("Can't write meta data to built-in asset @", aid));
    }
    return GetAssetDirectory(places.metaRoot, places);
}

Result<Data> BuiltinRepository::StoreMetaDataImpl(const Data& vdata, const InternedId& metaId, const Data& data,
                                                  const IdAndVersion& asset, const Url&, ASSET_METADATA_KIND kind, Bool) {
    const BuiltinVersionData places = TRY(vdata.Get<BuiltinVersionData>());
    const Url directory = TRY(GetWriteDirectory(places, asset.first, kind));
    // Without PERSISTENT a value lives in memory only.
    if (!HasFlag(kind, KIND::PERSISTENT)) return data;
    CHECK_ARGUMENT(IsStorableKind(kind), "!(kind & AssetMetaData::KIND::PERSISTENT)");
    TRY(CheckStorableKey(metaId));
    if (IsCarriedToNextVersion(kind)) TRY(DropDerivedDocuments(GetAssetDirectory(_places.derived, places)));
    if (data.IsEmpty()) {
        const std::vector<Url> files = TRY(FindValueFiles(directory, metaId, kind, {}));
        Int removed = 0;
        TRY(RemoveValueFiles(directory, files, removed));
        return Data();
    }
    TRY(MakeDirectory(directory));
    TRY(ReplaceMetaDataDocument(directory, metaId, data, kind));
    return data;
}

Result<void> BuiltinRepository::StoreMetaData(const AssetDescription& asset, const InternedId& metaId, const Data& data,
                                              ASSET_METADATA_KIND kind) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const IdAndVersion identity = asset ? asset->GetIdAndVersion() : IdAndVersion();
        if (!Find(identity.first)) return IllegalArgumentError::Create(FormatMessage("Asset @ not found.", identity.first));
        const auto metaData = Cast<AssetMetaDataImpl>(StrongRef<AssetMetaDataInterface>(asset->GetMetaData()));
        const BuiltinVersionData* places = metaData ? metaData->GetVersionData().GetPtr<BuiltinVersionData>() : nullptr;
        CHECK_EXPECTED(places, "impl && builtinImpl");
        TRY(CheckMetaId(metaId));
        TRY(GetWriteDirectory(*places, identity.first, kind));
        const auto how = data.IsEmpty() ? AssetMetaDataImpl::CHANGE::REMOVE : AssetMetaDataImpl::CHANGE::SET;
        // A value of the loader keeps its kind, and then it isn't the user's to change: the write is asked about that kind.
        const auto change = TRY(metaData->StoreThrough(metaId, how, kind, [&](const Data& vdata, KIND written) -> Result<Data> {
            return StoreMetaDataImpl(vdata, metaId, data, identity, Url(), written, false);
        }));
        HandleMetaDataStored(asset, metaId, change.kind, change.previous, change.current);
        return OK;
    });
}

}  // namespace talvo
