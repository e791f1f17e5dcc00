#include "browser_filter/smart_search_text.h"

#include "category_asset.h"
#include "keyword_asset.h"
#include "smartsearch_asset.h"

#include <iterator>

namespace talvo {

namespace {

constexpr const char* RELEVANT_WORDS[] = {"objects", "materials", "media", "nodes", "scenenodes", "scenes", "presets"};

void AppendPiece(String& text, const String& piece) {
    if (piece.IsEmpty()) return;
    if (text.IsPopulated()) text.Append(String(" "));
    text.Append(piece);
}

Result<String> ReadSmartSearch(const AssetDescription& asset, Int32 relevantMasterFilter) {
    const Opt<String> stored = TRY(asset->GetMetaData().Get<String>(ASSETMETADATA::SMARTSEARCH));
    String text = stored.value_or(String());
    const Bool asksForRelevant = text.FindUpperIndex(String("FIRSTITEMS:RELEVANT")) != String::NOT_FOUND;
    if (asksForRelevant && relevantMasterFilter >= 1 && relevantMasterFilter <= Int32(std::size(RELEVANT_WORDS)))
        text.Append(String(std::string(" relevantitems:") + RELEVANT_WORDS[relevantMasterFilter - 1]));
    return text;
}

}  // namespace

Result<String> MakeSmartSearchText(Block<const AssetDescription> selection, Int32 relevantMasterFilter) {
    String text;
    for (const AssetDescription& asset : selection) {
        if (!asset) continue;
        const Id& type = asset->GetTypeId();
        const std::string aid(asset->GetIdAndVersion().first.GetView());
        if (type == ASSETTYPE_SMARTSEARCH) {
            const String piece = TRY(ReadSmartSearch(asset, relevantMasterFilter));
            AppendPiece(text, piece);
        } else if (type == ASSETTYPE_KEYWORD) {
            AppendPiece(text, String("keywordid:" + aid));
        } else if (type == ASSETTYPE_CATEGORY) {
            AppendPiece(text, String("categoryid:" + aid));
        }
    }
    return text;
}

String JoinFilterPieces(const FilterPieces& pieces) {
    String text;
    AppendPiece(text, pieces.groupFilter);
    AppendPiece(text, pieces.sortFilter);
    AppendPiece(text, pieces.masterFilter);
    if (pieces.filterString.IsEmpty() || pieces.localFilterMode) AppendPiece(text, pieces.smartSearch);
    AppendPiece(text, pieces.filterString);
    return text.Trim();
}

}  // namespace talvo
