// The texts of the asset system itself, one table a language. English is complete; others may lack some.
#include "asset_presentation.h"

#include <algorithm>

namespace talvo {

namespace {

struct GlobalString {
    std::string_view key;
    const char* text;
};

constexpr GlobalString TEXTS_EN[] = {
#include "asset_presentation/global_strings_en.inc"
};
constexpr GlobalString TEXTS_DE[] = {
#include "asset_presentation/global_strings_de.inc"
};

struct Table {
    LiteralId language;
    Block<const GlobalString> texts;
};
/// "en", not one of its regions: the chain of every language ends there.
constexpr Table TABLES[] = {{"en"_id, TEXTS_EN}, {"de"_id, TEXTS_DE}};

const char* FindText(const Id& language, std::string_view key) {
    for (const Table& table : TABLES) {
        if (table.language != language) continue;
        for (const GlobalString& row : table.texts) {
            if (row.key == key) return row.text;
        }
    }
    return nullptr;
}

}  // namespace

String LoadGlobalString(std::string_view key) {
    for (LanguageRef language = Resource::GetCurrentLanguage(); language; language = language->GetFallbackLanguage()) {
        if (const char* text = FindText(language->GetIdentifier(), key)) return String(text);
    }
    return String(key);
}

std::vector<std::string_view> GetGlobalStringKeys(const Id& language) {
    std::vector<std::string_view> keys;
    for (const Table& table : TABLES) {
        if (table.language != language) continue;
        for (const GlobalString& row : table.texts) keys.push_back(row.key);
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

}  // namespace talvo
