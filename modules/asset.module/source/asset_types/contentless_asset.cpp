#include "asset_types/contentless_asset.h"

#include "asset_types/type_defaults.h"
#include "category_asset.h"
#include "colorcategory_asset.h"
#include "command_asset.h"
#include "database_asset.h"
#include "kernel/text/format.h"
#include "keyword_asset.h"
#include "nodespace_asset.h"
#include "plugin_asset.h"
#include "smartsearch_asset.h"
#include "subtype_asset.h"

#include <new>

namespace talvo {

namespace {

/// What a kind answers for values that it never stores and that are not worth keeping.
enum class PLACEHOLDERS { NONE, TAGS, TAGS_AND_CATEGORY };

struct ContentlessKind {
    LiteralId type;
    LiteralId dataType;
    const char* noun;  // what an object of another class is not
    const char* icon;  // null: that of any asset
    PLACEHOLDERS placeholders;
    Result<Asset> (*create)();
    Bool (*isOne)(const Asset& asset);
};

template <typename INTERFACE>
constexpr ContentlessKind MakeKind(LiteralId type, LiteralId dataType, const char* noun, const char* icon,
                                   PLACEHOLDERS placeholders) {
    const auto create = []() -> Result<Asset> {
        const StrongRef<INTERFACE> asset = TRY(INTERFACE::Create());
        return Asset(StrongRef<AssetInterface>(asset));
    };
    const auto isOne = [](const Asset& asset) -> Bool {
        return dynamic_cast<ContentlessAsset<INTERFACE>*>(asset.GetPointer()) != nullptr;
    };
    return {type, dataType, noun, icon, placeholders, create, isOne};
}

constexpr ContentlessKind KINDS[] = {
    MakeKind<CategoryAssetInterface>(ASSETTYPE_CATEGORY, "net.talvo.datatype.categoryasset"_id, "category", "category.svg",
                                     PLACEHOLDERS::TAGS_AND_CATEGORY),
    MakeKind<ColorCategoryAssetInterface>(ASSETTYPE_COLORCATEGORY, "net.talvo.datatype.colorcategoryasset"_id, "preset", nullptr,
                                          PLACEHOLDERS::TAGS_AND_CATEGORY),
    MakeKind<DatabaseAssetInterface>(ASSETTYPE_DATABASE, "net.talvo.datatype.databaseasset"_id, "database", nullptr,
                                     PLACEHOLDERS::NONE),
    MakeKind<SubTypeAssetInterface>(ASSETTYPE_SUBTYPE, "net.talvo.datatype.subtypeasset"_id, "subtype", nullptr,
                                    PLACEHOLDERS::NONE),
    MakeKind<SmartSearchAssetInterface>(ASSETTYPE_SMARTSEARCH, "net.talvo.datatype.smartsearchasset"_id, "smart filter",
                                        "smartsearch.svg", PLACEHOLDERS::TAGS),
    MakeKind<KeywordAssetInterface>(ASSETTYPE_KEYWORD, "net.talvo.datatype.keywordasset"_id, "keyword", "keyword.svg",
                                    PLACEHOLDERS::NONE),
    MakeKind<CommandAssetInterface>(ASSETTYPE_COMMAND, "net.talvo.datatype.commandasset"_id, "command", "keyword.svg",
                                    PLACEHOLDERS::NONE),
    MakeKind<NodeSpaceAssetInterface>(ASSETTYPE_NODESPACE, "net.talvo.datatype.nodespaceasset"_id, "nodespace", nullptr,
                                      PLACEHOLDERS::TAGS_AND_CATEGORY),
    MakeKind<PluginAssetInterface>(ASSETTYPE_PLUGIN, "net.talvo.datatype.pluginasset"_id, "plugin", nullptr,
                                   PLACEHOLDERS::TAGS_AND_CATEGORY),
};

class ContentlessType final : public AssetTypeBase {
public:
    explicit ContentlessType(const ContentlessKind& kind) : _kind(kind) {}

    const Id& GetId() const override { return _kind.type; }
    const Id& GetAssetDataType() const override { return _kind.dataType; }
    Result<Url> GetDefaultIcon(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                               const AssetMetaData& meta) const override {
        return _kind.icon ? GetModuleIcon(_kind.icon) : AssetTypeBase::GetDefaultIcon(repository, asset, meta);
    }
    /// Whatever the file holds.
    Result<Asset> Load(const AssetRepositoryRef&, const AssetDescription&, const Url&, Bool) const override {
        return _kind.create();
    }
    Result<AssetStoreMetaData> Store(const Asset& asset, const Url& url, const AssetHashStream& hashStream,
                                     std::string& digest) const override {
        if (!_kind.isOne(asset)) return IllegalArgumentError::Create(FormatMessage("Given asset is not a valid @.", _kind.noun));
        OutputStreamRef output = TRY(url.IsPopulated() ? url.OpenOutputStream(OUTPUT_MODE::OVERWRITE) : CreateNullOutputStream());
        if (hashStream) output = TRY(hashStream(output, digest));
        TRY(output->Close());
        return AssetStoreMetaData();
    }
    Result<std::tuple<Data, Bool>> ComputeMetaData(const AssetRepositoryRef& repository, const IdAndVersion& asset,
                                                   const AssetMetaData& meta, const InternedId& metaId) const override {
        const Id& id = metaId.GetId();
        if (_kind.placeholders != PLACEHOLDERS::NONE && id == OBJECT_BASE_TAGS) return std::tuple(Data(String()), true);
        if (_kind.placeholders == PLACEHOLDERS::TAGS_AND_CATEGORY && id == NODE_BASE_CATEGORY)
            return std::tuple(Data(Id()), true);
        return AssetTypeBase::ComputeMetaData(repository, asset, meta, metaId);
    }
    Result<Data> GetProperty(const Id& key) const override {
        return key == ASSETTYPE_SUPPORT_VERSIONS ? Result<Data>(Data(false)) : AssetTypeBase::GetProperty(key);
    }

private:
    const ContentlessKind& _kind;
};

}  // namespace

void RegisterContentlessTypes(Registry<AssetType>& types) {
    for (const ContentlessKind& kind : KINDS) {
        const AssetType type(StrongRef<AssetTypeInterface>(new ContentlessType(kind)));
        // Each has an id of its own, so this can only fail for lack of memory.
        if (types.Register(kind.type, type).IsError()) throw std::bad_alloc();
    }
}

}  // namespace talvo
