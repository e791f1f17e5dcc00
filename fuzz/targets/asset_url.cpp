// Urls of assets: whatever a url says, it leads to an asset's content, below it or to its metadata; and every id survives its url.
#include "asset_scheme/resolve_url.h"
#include "asset_scheme/ui_name.h"
#include "asset_scheme/url_parts.h"
#include "fuzz/fuzz_target.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "memoryassetrepository.h"

#include <algorithm>

namespace talvo {

namespace {

/// Two assets, one of which is a folder, the other with a picture as metadata.
struct Library {
    Library() {
        const Url root = volume->GetRoot();
        MUST((root + "set/part").IoCreateDirectory());
        MUST(FileUtilities::WriteFileFromMemory(root + "set/part/file", "inner"));
        MUST(FileUtilities::WriteFileFromMemory(root + "chair.png", "wood"));
        Store("set"_id, root + "set");
        Store("file_1"_id, root + "chair.png");
        const AssetDescription chair = Store("chair"_id, root + "chair.png");
        MUST(repository->StoreUrlMetaData(chair, InternedId(ASSETMETADATA::PREVIEWIMAGEURL), root + "chair.png",
                                          ASSET_METADATA_KIND::PERSISTENT));
    }
    AssetDescription Store(const Id& aid, const Url& content) const {
        const FileAsset file = FileAsset::Create(content).GetValue();
        return repository->StoreAsset(aid, Asset(file), nullptr).GetValue();
    }

    const MemoryVolumeRef volume = MemoryVolume::Create().GetValue();
    const UpdatableAssetRepositoryRef repository =
        MemoryAssetRepository::Create("library"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE).GetValue();
};

const Library& GetLibrary() {
    static const Library& library = *new Library;
    return library;
}

void CheckPlace(const Url& url) {
    const Result<ResolvedUrl> result = ResolveUrl(url, GetLibrary().repository);
    if (result.IsError() || result.GetValue().target.IsEmpty()) return;
    const ResolvedUrl& resolved = result.GetValue();
    FUZZ_EXPECT(resolved.description, url.GetUrl());
    const std::string path(resolved.target.GetPath());
    FUZZ_EXPECT(("/" + path + "/").find("/../") == std::string::npos, path);
    const std::string content(resolved.description->GetUrl().GetValue().GetPath());
    const Bool isMeta = url.GetScheme() == URLSCHEME_META;
    FUZZ_EXPECT(isMeta || path == content || path.starts_with(content + "/"), path);
    FUZZ_EXPECT(!isMeta || resolved.target.GetDirectory() == resolved.description->GetUrl().GetValue().GetDirectory(), path);
}

void CheckId(const Id& aid, std::string_view suffix) {
    const Url url = Url::Create(URLSCHEME_ASSET, {}, MakeAssetPath(aid, suffix));
    const Url again = Url::Parse(url.GetUrl()).GetValue();
    const Result<AssetUrlParts> parts = ParseAssetUrl(again);
    FUZZ_EXPECT(parts.IsOk(), url.GetUrl());
    FUZZ_EXPECT(parts.GetValue().ids.front() == aid && !parts.GetValue().hasInner, url.GetUrl());
}

}  // namespace

FUZZ_TARGET(asset_url, bytes) {
    const Result<Url> url = Url::Parse(bytes);
    if (url.IsOk()) {
        CheckPlace(url.GetValue());
        for (const Id& scheme : {Id(URLSCHEME_ASSET), Id(URLSCHEME_META)}) {
            Url other = url.GetValue();
            other.SetScheme(scheme);
            CheckPlace(other);
        }
        ConvertAssetUrlToUiName(url.GetValue(), UI_NAME::VERSION, GetLibrary().repository).Ignore("some ids are none");
    }
    const Result<Id> aid = Id::Create(bytes);
    if (aid.IsError() || aid.GetValue().IsEmpty()) return;
    CheckId(aid.GetValue(), {});
    const std::size_t dot = bytes.rfind('.');
    CheckId(aid.GetValue(), dot == std::string_view::npos ? "png" : bytes.substr(dot + 1));
}

}  // namespace talvo
