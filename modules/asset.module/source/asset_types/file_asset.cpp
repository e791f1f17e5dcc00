// Assets that are a file or a directory.
#include "asset_types/file_asset.h"

#include "asset_types/type_defaults.h"
#include "assets/asset_repository.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

class FileAssetImpl final : public AssetObject<FileAssetInterface> {
public:
    explicit FileAssetImpl(Url url) : AssetObject(ASSETTYPE_FILE), _url(std::move(url)) {}

    const Url& GetUrl() const override { return _url; }
    AssetType GetType() const override { return FindAssetType(ASSETTYPE_FILE); }
    void SetId(const IdAndVersion& identity, Int update, const AssetRepositoryRef& repository, const Url& url) override {
        _state.SetId(identity, update, repository);
        if (url.IsPopulated()) _url = url;
    }
    Result<Asset> Clone() const override {
        return CatchOutOfMemory([&]() -> Result<Asset> {
            const auto copy = StrongRef<FileAssetImpl>::Create(_url);
            copy->_state = _state;
            return Asset(StrongRef<AssetInterface>(copy));
        });
    }

private:
    Url _url;
};

Result<StrongRef<FileAssetInterface>> GetFile(const Asset& asset) {
    auto file = Cast<FileAssetInterface>(StrongRef<AssetInterface>(asset));
    if (file) return file;
    return IllegalArgumentError::Create(FormatMessage("Asset is of unsupported class @.", asset ? asset->GetTypeId() : Id()));
}

class FileAssetType final : public AssetTypeBase {
public:
    const Id& GetId() const override { return ASSETTYPE_FILE; }
    const Id& GetAssetDataType() const override {
        static constexpr LiteralId DATA_TYPE{"net.talvo.datatype.fileasset"};
        return DATA_TYPE;
    }
    Result<String> GetUrlSuffix(const Asset& asset) const override {
        const auto file = TRY(GetFile(asset));
        return String(file->GetUrl().GetSuffix());
    }
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url& url, Bool) const override {
        const FileAsset file = TRY(FileAsset::Create(url));
        return Asset(StrongRef<AssetInterface>(file));
    }
    Result<AssetStoreMetaData> Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                     std::string& digest) const override {
        const auto file = TRY(GetFile(asset));
        TRY(StoreTree(file->GetUrl(), url, hashStream, digest));
        return AssetStoreMetaData();
    }
    Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                   const AssetMetaData& meta, const InternedId& metaId) const override {
        if (metaId.GetId() == OBJECT_BASE_TAGS) return std::tuple(Data(String()), true);
        if (metaId.GetId() == NODE_BASE_CATEGORY) return std::tuple(Data(Id()), true);
        return AssetTypeBase::ComputeMetaData(repository, asset, meta, metaId);
    }
};

}  // namespace

Result<FileAsset> FileAsset::Create(const Url& url) {
    return CatchOutOfMemory(
        [&]() -> Result<FileAsset> { return FileAsset(StrongRef<FileAssetInterface>(StrongRef<FileAssetImpl>::Create(url))); });
}

AssetType MakeFileAssetType() { return AssetType(StrongRef<AssetTypeInterface>(new FileAssetType)); }

}  // namespace talvo
