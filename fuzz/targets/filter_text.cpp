// Filter texts: any bytes are understood, the same way each time, and hold against assets without an end to it.
#include "asset_filter.h"
#include "browser_filter/filter_expression.h"
#include "browser_filter/filter_options.h"
#include "fuzz/fuzz_target.h"
#include "keyword_asset.h"
#include "memoryassetrepository.h"

namespace talvo {

namespace {

/// A repository with one keyword that has all that conditions read.
struct FilteredLibrary {
    FilteredLibrary() {
        repository = MemoryAssetRepository::Create("fuzz"_id, {}, MemoryAssetRepository::ACCESS::WRITABLE).GetValue();
        const KeywordAsset keyword = KeywordAssetInterface::Create().GetValue();
        asset = repository->StoreAsset("word"_id, Asset(StrongRef<AssetInterface>(keyword)), AssetMetaData()).GetValue();
        const auto set = [&](const Id& key, Data value) {
            asset.StoreMetaData(InternedId(key), value, ASSET_METADATA_KIND::PERSISTENT).Ignore("then it has one value less");
        };
        set(ASSETMETADATA::KEYWORDS, Data(BaseArray<Id>{Id("word"_id)}));
        set(ASSETMETADATA::SUBTYPE, Data(Id("net.talvo.asset.subtype.object"_id)));
        set(ASSETMETADATA::CATEGORY, Data(Id("word"_id)));
    }
    BaseAssetRepositoryRef repository;
    AssetDescription asset;
};

}  // namespace

FUZZ_TARGET(filter_text, bytes) {
    static const FilteredLibrary& library = *new FilteredLibrary;
    FilterPieces pieces;
    pieces.filterString = String(bytes);
    const Result<FilterReading> reading = ReadFilter(pieces, ASSET_BROWSE_MODE::ASSET_LIST);
    FUZZ_EXPECT(reading.IsOk(), "");
    std::string text(pieces.filterString.ToUpper().Trim().GetView());
    TakeFilterOptions(text, ASSET_BROWSE_MODE::ASSET_LIST);
    FUZZ_EXPECT(TrimBlanks(text) == text, text);
    FilterCaches caches;
    const auto expression = FilterExpression::Create({library.repository, nullptr, 0}, text, caches);
    FUZZ_EXPECT(expression.IsOk(), text);
    FUZZ_EXPECT(expression.GetValue()->GetConditions() == reading.GetValue().conditions, text);
    String match;
    FUZZ_EXPECT(expression.GetValue()->IsFilteredOut(library.asset, match, caches, nullptr).IsOk(), text);
}

}  // namespace talvo
