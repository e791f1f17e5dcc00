#include "asset_filter.h"
#include "browser_filter/filter_options.h"
#include "browser_filter/filter_terms.h"
#include "browser_filter/smart_search_text.h"
#include "browser_filter/value_forms.h"

namespace talvo {

String DescribeFilterCondition(const FilterCondition& condition, Int32 lengthUnitSystem) {
    const FilterKeyword* keyword = FindKeywordOfKey(condition.key.GetId());
    std::string text = condition.key.IsEmpty() ? "name, tags or keywords" : std::string(condition.key.GetView());
    if (keyword) text = String(keyword->word).ToLower().GetView();
    if (condition.key == InternedId(FILTERKEY::UNDEFINED)) text = "unknown key, so nothing matches";
    text += ": ";
    if (condition.values.IsEmpty()) return String(text + "no value, so nothing matches");
    for (Int i = 0; i < condition.values.GetCount(); ++i) {
        const String& value = condition.values[i];
        const Bool isLength = keyword && keyword->form == VALUE_FORM::LENGTH;
        const String shown = isLength ? DescribeLength(value, lengthUnitSystem) : value;
        ((text += i == 0 ? "\"" : " or \"") += shown.GetView()) += '"';
    }
    return String(text);
}

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
