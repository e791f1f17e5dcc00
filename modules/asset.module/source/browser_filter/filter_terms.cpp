#include "browser_filter/filter_terms.h"

#include "assets.h"
#include "browser_filter/filter_options.h"
#include "browser_filter/length_formula.h"

#include <algorithm>

namespace talvo {

namespace {

/// So many unknown keys are enough to help with.
constexpr std::size_t TOLD_KEYS = 16;
constexpr std::string_view OBJECT_COMMANDS = "NET.TALVO.ASSET.COMMAND.TYPE.OBJECT";
constexpr std::string_view COMMANDS = "NET.TALVO.ASSET.COMMAND.TYPE.COMMAND";
constexpr std::string_view MODELS = "NET.TALVO.ASSET.SUBTYPE.OBJECT";
constexpr std::string_view PRESETS = "NET.TALVO.ASSETTYPE.PRESET.";

/// Finds the next of a character from a position on, looking at each character of the text once.
class Finder {
public:
    Finder(std::string_view text, char wanted) : _text(text), _wanted(wanted), _found(text.find(wanted)) {}

    /// Positions never go back. @return the length of the text if there is none.
    std::size_t FindFrom(std::size_t position) {
        if (_found != std::string_view::npos && _found < position) _found = _text.find(_wanted, position);
        return std::min(_found, _text.size());
    }

private:
    const std::string_view _text;
    const char _wanted;
    std::size_t _found;
};

struct Term {
    std::string_view key;
    std::string_view value;
};

/// Calls `take(term)` for each term.
template <typename TAKE>
void SplitTerms(std::string_view text, TAKE&& take) {
    Finder blanks(text, ' ');
    Finder colons(text, ':');
    Finder quotes(text, '"');
    std::size_t position = 0;
    while (position < text.size()) {
        Term term;
        const std::size_t blank = blanks.FindFrom(position);
        const std::size_t colon = colons.FindFrom(position);
        std::size_t end = blank;
        if (colon < blank) {
            term.key = text.substr(position, colon - position);
            position = colon + 1;
        }
        const Bool isQuoted = position < text.size() && text[position] == '"';
        const std::size_t quote = isQuoted ? quotes.FindFrom(position + 1) : text.size();
        if (isQuoted && quote < text.size()) {
            term.value = text.substr(position + 1, quote - position - 1);
            end = quote;
        } else {
            term.value = text.substr(position, blank - position);
        }
        if (!term.key.empty() || !term.value.empty()) take(term);
        position = end + 1;
        while (position < text.size() && UChar(text[position]) <= ' ') ++position;
    }
}

String ReadType(std::string_view value, FilterTypeFlags& types) {
    const auto contains = [&](std::string_view part) { return value.find(part) != std::string_view::npos; };
    if (contains("NODETEMPLATE") || contains("OPERATOR")) {
        types.hasNodeTemplate = true;
    } else if (value.starts_with("MATERIAL")) {
        types.hasMaterial = true;
    } else if (value.starts_with("OBJECT")) {
        return String(OBJECT_COMMANDS);
    } else if (value.starts_with("MODEL")) {
        types.hasModel = true;
        return String(MODELS);
    } else if (value.starts_with("COMMAND")) {
        return String(COMMANDS);
    } else if (value.starts_with("SCENE")) {
        types.hasScene = true;
    } else if (value.starts_with(PRESETS)) {
        types.hasPreset = true;
    }
    return String(value);
}

/// "<2M" becomes "<200": an operator and a plain number.
String ReadLength(std::string_view value) {
    const auto digit = std::find_if(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (digit == value.end()) return String(value);
    auto begin = std::size_t(digit - value.begin());
    if (begin > 0 && value[begin - 1] == '.') --begin;
    const Opt<Float64> length = EvaluateLength(value.substr(begin));
    return length ? String(std::string(value.substr(0, begin)) + WriteFloat(*length)) : String(value);
}

BaseArray<String> SplitAlternatives(std::string_view value) {
    std::vector<String> parts;
    for (std::size_t begin = 0; begin <= value.size();) {
        const std::size_t end = std::min(value.find('|', begin), value.size());
        if (end > begin) parts.emplace_back(value.substr(begin, end - begin));
        begin = end + 1;
    }
    return BaseArray<String>(std::move(parts));
}

void ReadAlternatives(BaseArray<String>& values, VALUE_FORM form, FilterTypeFlags& types) {
    for (String& value : values) {
        if (form == VALUE_FORM::TYPE_ID) value = ReadType(value.GetView(), types);
        if (form == VALUE_FORM::LENGTH) value = ReadLength(value.GetView());
    }
}

}  // namespace

FilterTerms ParseFilterTerms(std::string_view upperText) {
    FilterTerms terms;
    std::vector<FilterCondition> conditions;
    std::vector<String> unknownKeys;
    Opt<std::size_t> typeTerm;
    SplitTerms(upperText, [&](const Term& term) {
        FilterCondition condition{SplitAlternatives(term.value), InternedId()};
        if (!term.key.empty()) {
            const FilterKeyword* keyword = FindFilterKeyword(term.key);
            condition.key = keyword ? InternedId(keyword->key) : InternedId(FILTERKEY::UNDEFINED);
            if (!keyword && unknownKeys.size() < TOLD_KEYS) unknownKeys.emplace_back(term.key);
            if (keyword) ReadAlternatives(condition.values, keyword->form, terms.types);
            if (keyword && keyword->form == VALUE_FORM::TYPE_ID) {
                // A view is of one choice of types: the last one.
                if (typeTerm) {
                    conditions[*typeTerm].values = std::move(condition.values);
                    return;
                }
                typeTerm = conditions.size();
            }
        }
        conditions.push_back(std::move(condition));
    });
    terms.conditions = BaseArray<FilterCondition>(std::move(conditions));
    terms.unknownKeys = BaseArray<String>(std::move(unknownKeys));
    return terms;
}

}  // namespace talvo
