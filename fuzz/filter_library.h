// A small library in which each condition of a filter finds something to look at: for tests and for fuzzing of the evaluation.
#pragma once

#include "category_asset.h"
#include "command_asset.h"
#include "kernel/data/data_dictionary.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "keyword_asset.h"
#include "memoryassetrepository.h"
#include "subtype_asset.h"

namespace talvo {

struct FilterLibrary {
    FilterLibrary() : volume(MUST(MemoryVolume::Create())) {
        repository = MUST(MemoryAssetRepository::Create("shelf"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE));
        Add("furniture", Asset(MUST(CategoryAssetInterface::Create())), "Furniture");
        const AssetDescription chairs = Add("chairs", Asset(MUST(CategoryAssetInterface::Create())), "Chairs");
        Set(chairs, ASSETMETADATA::CATEGORY, Data(Id("furniture"_id)));
        Add("wood", Asset(MUST(KeywordAssetInterface::Create())), "Wooden");
        Add("old", Asset(MUST(KeywordAssetInterface::Create())), "Antique");
        Add("nameless", Asset(MUST(KeywordAssetInterface::Create())), "");
        Add("net.talvo.asset.subtype.object", Asset(MUST(SubTypeAssetInterface::Create())), "Mesh");
        AddFile("bark", "Bark Texture", "0123456789");
        AddFile("oak", "Oak Chair", "oak");
        const AssetDescription oak = AddFile("oak", "Oak Chair", "oak!");
        Set(oak, ASSETMETADATA::VERSIONTAG, Data(String("final")));
        Furnish(oak);
        AddFile("plain", "Plain", "");
        const AssetDescription run = Add("run", Asset(MUST(CommandAssetInterface::Create())), "Run");
        Set(run, COMMANDMETADATA::SCOPES, Data(BaseArray<Id>{Id(COMMANDSCOPE::VIEWPORT), Id("other.scope"_id)}));
        const AssetDescription former = Add("former", Asset(MUST(CommandAssetInterface::Create())), "Former");
        Set(former, COMMANDMETADATA::LEGACYSCOPE, Data(String("Timeline")));
    }

    /// The newest version.
    AssetDescription Get(const Id& aid) const {
        return MUST(repository->FindLatestAsset(Id(), aid, Id(), ASSET_FIND_MODE::LATEST));
    }
    void Set(const AssetDescription& asset, const Id& key, Data value) const {
        MUST(asset.StoreMetaData(InternedId(key), value, ASSET_METADATA_KIND::PERSISTENT));
    }

    const MemoryVolumeRef volume;
    BaseAssetRepositoryRef repository;

private:
    AssetDescription Add(const char* aid, const Asset& asset, const char* name) {
        const AssetDescription stored = MUST(repository->StoreAsset(MUST(Id::Create(aid)), asset, AssetMetaData()));
        if (*name) MUST(stored->StoreMetaString(InternedId(OBJECT_BASE_NAME), String(name), nullptr));
        return stored;
    }
    AssetDescription AddFile(const char* aid, const char* name, std::string_view content) {
        const Url url = volume->GetRoot() + (std::string(aid) + ".txt");
        MUST(FileUtilities::WriteFileFromMemory(url, content));
        const FileAsset file = MUST(FileAsset::Create(url));
        return Add(aid, Asset(StrongRef<AssetInterface>(file)), name);
    }
    /// Gives it a value for each key of the language.
    void Furnish(const AssetDescription& oak) {
        const UniversalDateTime noon = MUST(UniversalDateTime::Parse("2024-02-29T12:00:00Z"));
        Set(oak, ASSETMETADATA::SUBTYPE, Data(Id("net.talvo.asset.subtype.object"_id)));
        Set(oak, ASSETMETADATA::CATEGORY, Data(Id("chairs"_id)));
        Set(oak, ASSETMETADATA::KEYWORDS, Data(BaseArray<Id>{Id("wood"_id), Id("nameless"_id)}));
        Set(oak, ASSETMETADATA::USERKEYWORDS, Data(BaseArray<Id>{Id("old"_id), Id("wood"_id)}));
        Set(oak, ASSETMETADATA::USAGE, Data(AssetUsage(noon, 5)));
        Set(oak, ASSETMETADATA::PREVIEWIMAGEURL, Data(volume->GetRoot() + "oak.png"));
        Set(oak, "net.talvo.object.base.annotations"_id, Data(String("Handle with care")));
        MUST(oak->StoreMetaString(InternedId(OBJECT_BASE_TAGS), String("$%$shiny,very shiny; round table"), nullptr));
        AssetDependencyStruct bark;
        bark.assetIdAndVersion = {Id("bark"_id), Id()};
        bark.assetTypeId = ASSETTYPE_FILE;
        Set(oak, ASSETMETADATA::DEPENDENCIES, Data(BaseArray<AssetDependencyStruct>{bark}));
        DataDictionary properties;
        const auto set = [&](const char* key, auto value) {
            properties.Set(MUST(Id::Create("net.talvo.asset.metaproperties." + std::string(key))), std::move(value));
        };
        set("media.fps", Float64(25));
        set("media.animlength", Float64(10.5));
        set("media.bitdepth", Int64(16));
        set("media.pixelformat", Id("rgba"_id));
        set("media.colorprofile", String("sRGB"));
        set("media.width", Int64(1024));
        set("media.height", Int64(4096));
        set("media.alphachannels", Int64(0));
        set("base.fileformat", String("EXR"));
        set("base.fileformatversion", String("2.10"));
        set("tv3file.pointcount", Int64(1000));
        set("tv3file.polygoncount", Int64(900));
        set("tv3file.geometryobjectcount", Int64(3));
        set("tv3file.materialcount", Int64(-1));
        set("tv3file.boundingbox", BaseArray<Float64>{0, 0, -50, 50, 200, 50});
        Set(oak, ASSETMETADATA::METAPROPERTIES, Data(properties));
    }
};

}  // namespace talvo
