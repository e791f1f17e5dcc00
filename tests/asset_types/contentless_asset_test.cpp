#include "asset_types/contentless_asset.h"

#include "category_asset.h"
#include "colorcategory_asset.h"
#include "command_asset.h"
#include "database_asset.h"
#include "kernel/io/file_utilities.h"
#include "keyword_asset.h"
#include "memoryassetrepository.h"
#include "nodespace_asset.h"
#include "plugin_asset.h"
#include "smartsearch_asset.h"
#include "subtype_asset.h"
#include "support/asset_test_support.h"

#include <set>

namespace talvo {

namespace {

template <typename INTERFACE>
Asset Make() {
    return Asset(StrongRef<AssetInterface>(Need(INTERFACE::Create())));
}

struct Kind {
    Id type;
    Asset (*make)();
    const char* refusal;
    const char* icon;
    const char* placeholders;  // which of "tags" and "category" it computes
};

const Kind KINDS[] = {
    {ASSETTYPE_CATEGORY, Make<CategoryAssetInterface>, "category", "category.svg", "tags category"},
    {ASSETTYPE_COLORCATEGORY, Make<ColorCategoryAssetInterface>, "preset", "genericasset.svg", "tags category"},
    {ASSETTYPE_DATABASE, Make<DatabaseAssetInterface>, "database", "genericasset.svg", ""},
    {ASSETTYPE_SUBTYPE, Make<SubTypeAssetInterface>, "subtype", "genericasset.svg", ""},
    {ASSETTYPE_SMARTSEARCH, Make<SmartSearchAssetInterface>, "smart filter", "smartsearch.svg", "tags"},
    {ASSETTYPE_KEYWORD, Make<KeywordAssetInterface>, "keyword", "keyword.svg", ""},
    {ASSETTYPE_COMMAND, Make<CommandAssetInterface>, "command", "keyword.svg", ""},
    {ASSETTYPE_NODESPACE, Make<NodeSpaceAssetInterface>, "nodespace", "genericasset.svg", "tags category"},
    {ASSETTYPE_PLUGIN, Make<PluginAssetInterface>, "plugin", "genericasset.svg", "tags category"},
};

}  // namespace

TEST(ContentlessAsset, isStoredAsAnEmptyFileAndLoadedAsItsKind) {
    const auto repository = Need(MemoryAssetRepository::Create("r"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
    for (const Kind& kind : KINDS) {
        SCOPED_TRACE(kind.type.GetView());
        const AssetDescription stored = Need(repository->StoreAsset(kind.type, kind.make(), nullptr));
        EXPECT_EQ(stored->GetTypeId(), kind.type);
        EXPECT_EQ(ReadPayload(stored), "");
        EXPECT_EQ(NeedRef(stored->GetUrl()).GetSuffix(), "");
        const Asset loaded = Need(stored->Load(false));
        EXPECT_EQ(loaded->GetTypeId(), kind.type);
        EXPECT_EQ(loaded->GetIdAndVersion(), stored->GetIdAndVersion());
        EXPECT_EQ(loaded->GetType()->GetId(), kind.type);
        const Asset copy = Need(loaded->Clone());
        EXPECT_TRUE(copy.IsEqual(loaded));
        copy->SetId({"other"_id, Id()}, 0, nullptr, Url());
        EXPECT_EQ(loaded->GetIdAndVersion(), stored->GetIdAndVersion()) << "the copy is its own";
    }
}

TEST(ContentlessType, refusesAnObjectOfAnotherClassBeforeItWritesAnything) {
    const ScratchDirectory scratch;
    for (const Kind& kind : KINDS) {
        const AssetType type = FindAssetType(kind.type);
        std::string digest;
        for (const Kind& other : KINDS) {
            if (&other == &kind) continue;
            EXPECT_THAT(type->Store(other.make(), scratch.GetUrl() + "x", {}, digest),
                        FailsWith<IllegalArgumentError>(std::string("Given asset is not a valid ") + kind.refusal + "."));
        }
        EXPECT_THAT(type->Store(Asset(), scratch.GetUrl() + "x", {}, digest), FailsWith<IllegalArgumentError>());
    }
    EXPECT_EQ(scratch.List(), "");
}

TEST(ContentlessType, saysWhatItsRowSays) {
    std::set<Id> dataTypes;
    for (const Kind& kind : KINDS) {
        SCOPED_TRACE(kind.type.GetView());
        const AssetType type = FindAssetType(kind.type);
        dataTypes.insert(type->GetAssetDataType());
        EXPECT_EQ(*Need(type->GetProperty(ASSETTYPE_SUPPORT_VERSIONS)).GetPtr<Bool>(), false);
        EXPECT_THAT(type->GetProperty("other"_id), FailsWith<IllegalArgumentError>());
        const Url icon = Need(type->GetDefaultIcon(nullptr, {}, nullptr));
        EXPECT_EQ(icon.GetName(), kind.icon);
        EXPECT_THAT(Need(FileUtilities::ReadFileToMemory(icon, 1 << 16)), testing::HasSubstr("<svg"));
        std::string computed;
        for (const auto& [id, name] :
             {std::pair(Id(OBJECT_BASE_TAGS), "tags"), {"net.talvo.node.base.category"_id, "category"}}) {
            const auto [value, doNotKeep] = Need(type->ComputeMetaData(nullptr, {}, nullptr, InternedId(id)));
            EXPECT_EQ(doNotKeep, value.IsPopulated());
            if (value.IsPopulated()) computed += (computed.empty() ? "" : " ") + std::string(name);
        }
        EXPECT_EQ(computed, kind.placeholders);
        EXPECT_TRUE(std::get<0>(Need(type->ComputeMetaData(nullptr, {}, nullptr, MakeMetaId("other")))).IsEmpty());
    }
    EXPECT_EQ(dataTypes.size(), std::size(KINDS)) << "each has a data type of its own";
}

TEST(ContentlessType, hashesNoBytesAndNeedsNoPlaceForThem) {
    std::string digest;
    const AssetHashStream hashStream = [](OutputStreamRef target, std::string& result) {
        return CreateHashingOutputStream(std::move(target), result);
    };
    Need(FindAssetType(ASSETTYPE_CATEGORY)->Store(Make<CategoryAssetInterface>(), Url(), hashStream, digest));
    EXPECT_EQ(ToHex(digest), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

}  // namespace talvo
