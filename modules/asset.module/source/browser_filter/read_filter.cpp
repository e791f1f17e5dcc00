#include "asset_filter.h"
#include "browser_filter/filter_options.h"
#include "browser_filter/filter_terms.h"
#include "browser_filter/smart_search_text.h"

namespace talvo {

Result<FilterReading> ReadFilter(const FilterPieces& pieces, ASSET_BROWSE_MODE mode) {
    return CatchOutOfMemory([&]() -> Result<FilterReading> {
        FilterReading reading;
        std::string text(JoinFilterPieces(pieces).ToUpper().GetView());
        reading.options = TakeFilterOptions(text, mode);
        FilterTerms terms = ParseFilterTerms(text);
        for (const String& word : terms.unknownKeys) {
            const Opt<std::string> suggestion = SuggestFilterKeyword(word.GetView());
            TRY(reading.unknownKeys.Append({word, String(suggestion.value_or(""))}));
        }
        reading.conditions = std::move(terms.conditions);
        return reading;
    });
}

}  // namespace talvo
