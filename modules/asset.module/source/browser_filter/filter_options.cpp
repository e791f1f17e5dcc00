#include "browser_filter/filter_options.h"

#include <array>
#include <span>

namespace talvo {

namespace {

struct Word {
    std::string_view text;
    Int32 value;
};
struct Option {
    std::string_view name;
    std::span<const Word> words;
};

// The first word that the text behind the option begins with wins.
constexpr Word GROUP_WORDS[] = {{"CATEGORY", 1}, {"USEDATE", 3},  {"USECOUNT", 4}, {"CREATIONDATE", 2},
                                {"TYPE", 5},     {"DATABASE", 6}, {"NONE", 7}};
constexpr Word SORT_WORDS[] = {{"NAME", 1}, {"MODIFICATIONDATE", 2}, {"CREATIONDATE", 3}, {"USEDATE", 4}, {"USECOUNT", 5},
                               {"SIZE", 6}, {"RELEVANCE", 7}};
constexpr Word CONTEXT_WORDS[] = {{"OTHER", 9},    {"OBJECTOM", 1}, {"OBJECTVP", 2}, {"MESH", 3}, {"SPLINE", 4},
                                  {"MATERIAL", 5}, {"UVEDITOR", 6}, {"UVVP", 7},     {"NODE", 8}};
constexpr Word FIRST_WORDS[] = {{"NONE", 1}, {"FAVORITES", 2}, {"RELEVANT", 3}};
constexpr Word RELEVANT_WORDS[] = {{"OBJECTS", 1},    {"MATERIALS", 2}, {"MEDIA", 3},  {"NODES", 4},
                                   {"SCENENODES", 5}, {"SCENES", 6},    {"PRESETS", 7}};
constexpr Word BOOL_WORDS[] = {{"YES", 1}, {"TRUE", 1}, {"1", 1}, {"NO", 0}, {"FALSE", 0}, {"0", 0}};
constexpr Word MISSING_WORDS[] = {{"YES", 1}};
constexpr Word NO_WORD[] = {{"", 1}};

constexpr Option MISSING_ASSETS{"MISSINGASSETS:", MISSING_WORDS};
// It is looked for with its word: "missingassets:no" is a term, and one behind it still counts.
constexpr Option MISSING_ASSETS_YES{"MISSINGASSETS:YES", NO_WORD};
constexpr Option GROUP_BY{"GROUPBY:", GROUP_WORDS};
constexpr Option SORT_BY{"SORTBY:", SORT_WORDS};
constexpr Option CONTEXT{"CONTEXT:", CONTEXT_WORDS};
constexpr Option SHOW_SUB_CONTENT{"SHOWSUBCONTENT:", BOOL_WORDS};
constexpr Option REVERSE_ORDER{"REVERSEORDER:", BOOL_WORDS};
constexpr Option FIRST_ITEMS{"FIRSTITEMS:", FIRST_WORDS};
constexpr Option RELEVANT_ITEMS{"RELEVANTITEMS:", RELEVANT_WORDS};
constexpr const Option* ALL_OPTIONS[] = {&GROUP_BY,       &SORT_BY,       &CONTEXT,          &FIRST_ITEMS,
                                         &RELEVANT_ITEMS, &REVERSE_ORDER, &SHOW_SUB_CONTENT, &MISSING_ASSETS};

const Word* FindWord(const Option& option, std::string_view text) {
    for (const Word& word : option.words) {
        if (text.starts_with(word.text)) return &word;
    }
    return nullptr;
}

enum class READ { ONCE, TO_THE_LAST };

/// What was read so far and what was not, between which tokens were erased.
class SeamedText {
public:
    explicit SeamedText(std::string_view text) : _rest(text) {}

    /// Erases the first token of the option with its word. @return null if there is none, or its word is unknown.
    const Word* Take(const Option& option) {
        const std::size_t length = option.name.size();
        // What an erased token kept apart may be a token now.
        const std::size_t first = _read.size() < length ? 0 : _read.size() - length + 1;
        for (std::size_t begin = first; begin < _read.size(); ++begin) {
            const std::size_t before = _read.size() - begin;
            const Bool isToken = std::string_view(_read).substr(begin) == option.name.substr(0, before) &&
                                 _rest.starts_with(option.name.substr(before));
            if (isToken) return Erase(option, begin, length - before);
        }
        const std::size_t begin = _rest.find(option.name);
        if (begin == std::string_view::npos || !FindWord(option, _rest.substr(begin + length))) return nullptr;
        _read += _rest.substr(0, begin);
        _rest.remove_prefix(begin);
        return Erase(option, _read.size(), length);
    }
    std::string Join() const { return _read + std::string(_rest); }

private:
    const Word* Erase(const Option& option, std::size_t keep, std::size_t ofRest) {
        const Word* word = FindWord(option, _rest.substr(ofRest));
        if (!word) return nullptr;
        _read.resize(keep);
        _rest.remove_prefix(ofRest + word->text.size());
        return word;
    }
    std::string _read;
    std::string_view _rest;
};

Int32 TakeOption(std::string& text, const Option& option, READ read, Int32 value) {
    SeamedText seamed(text);
    while (const Word* word = seamed.Take(option)) {
        value = word->value;
        if (read == READ::ONCE) break;
    }
    const std::string left = seamed.Join();
    text = std::string(TrimBlanks(left));
    return value;
}

template <typename ENUM>
void TakeEnum(std::string& text, const Option& option, ENUM& value) {
    value = ENUM(TakeOption(text, option, READ::TO_THE_LAST, Int32(value)));
}

void WriteOption(std::string& text, const Option& option, Int32 value) {
    for (const Word& word : option.words) {
        if (word.value != value) continue;
        if (!text.empty()) text += ' ';
        (text += option.name) += word.text;
        return;
    }
}

Int32 GetSortOrder(ASSET_SORT_BY sortBy, Bool reverse) {
    switch (sortBy) {
        case ASSET_SORT_BY::NAME: return reverse ? 2 : 1;
        case ASSET_SORT_BY::RELEVANCE: return reverse ? 1 : 0;
        default: return reverse ? 1 : 2;
    }
}

}  // namespace

std::string_view TrimBlanks(std::string_view text) {
    const auto isBlank = [](char c) { return UChar(c) <= ' '; };
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

FilterOptions TakeFilterOptions(std::string& upperText, ASSET_BROWSE_MODE mode) {
    FilterOptions options;
    options.groupBy = mode == ASSET_BROWSE_MODE::ASSET_LIST ? ASSET_GROUP_BY::TYPE : ASSET_GROUP_BY::CATEGORY;
    options.missingAssets = TakeOption(upperText, MISSING_ASSETS_YES, READ::ONCE, 0) != 0;
    TakeEnum(upperText, GROUP_BY, options.groupBy);
    TakeEnum(upperText, SORT_BY, options.sortBy);
    TakeEnum(upperText, CONTEXT, options.context);
    options.showSubContent = TakeOption(upperText, SHOW_SUB_CONTENT, READ::ONCE, 0) != 0;
    options.reverseOrder = TakeOption(upperText, REVERSE_ORDER, READ::TO_THE_LAST, 0) != 0;
    options.sortOrder = GetSortOrder(options.sortBy, options.reverseOrder);
    TakeEnum(upperText, FIRST_ITEMS, options.firstItems);
    TakeEnum(upperText, RELEVANT_ITEMS, options.relevantItems);
    return options;
}

String WriteFilterOptions(const FilterOptions& options) {
    std::string text;
    WriteOption(text, GROUP_BY, Int32(options.groupBy));
    WriteOption(text, SORT_BY, Int32(options.sortBy));
    WriteOption(text, FIRST_ITEMS, Int32(options.firstItems));
    WriteOption(text, RELEVANT_ITEMS, Int32(options.relevantItems));
    WriteOption(text, CONTEXT, Int32(options.context));
    if (options.showSubContent) WriteOption(text, SHOW_SUB_CONTENT, 1);
    if (options.reverseOrder) WriteOption(text, REVERSE_ORDER, 1);
    if (options.missingAssets) WriteOption(text, MISSING_ASSETS, 1);
    return String(text).ToLower();
}

std::vector<std::string_view> GetOptionWords(std::string_view name) {
    std::vector<std::string_view> words;
    for (const Option* option : ALL_OPTIONS) {
        if (option->name != name) continue;
        for (const Word& word : option->words) words.push_back(word.text);
    }
    return words;
}

std::vector<std::string_view> GetOptionNames() {
    std::vector<std::string_view> names;
    for (const Option* option : ALL_OPTIONS) names.push_back(option->name);
    return names;
}

}  // namespace talvo
