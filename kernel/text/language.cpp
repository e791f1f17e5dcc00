#include "kernel/text/language.h"

#include "kernel/thread/locks.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>

namespace talvo {

namespace {

constexpr LiteralId DEFAULT_CODE{"en-US"};
/// Where all chains end.
constexpr LiteralId LAST_CODE{"en"};
constexpr std::size_t LONGEST_CODE = 64;

/// Never destroyed: whoever has a language may keep it for ever.
using LanguageTable = std::map<Id, std::unique_ptr<Language>>;
Guarded<LanguageTable>& GetTable() {
    static auto* const table = new Guarded<LanguageTable>(KERNEL_TABLE_LOCK);
    return *table;
}

std::atomic<LanguageRef> currentLanguage{nullptr};

Bool IsCode(std::string_view text) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto fits = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '-'; };
    return !text.empty() && text.size() <= LONGEST_CODE && isLetter(text.front()) && text.back() != '-' &&
           std::all_of(text.begin(), text.end(), fits);
}

/// What the language calls itself, or its code if nobody knows.
String MakeName(const Id& code) {
    const std::string text(code.GetView());
    char16_t name[256];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = uloc_getDisplayName(text.c_str(), text.c_str(), name, int32_t(std::size(name)), &status);
    if (U_FAILURE(status) || length <= 0 || length > int32_t(std::size(name))) return String::FromId(code);
    BaseArray<Utf32Char> characters;
    for (int32_t i = 0; i < length; ++i) {
        Utf32Char character = name[i];
        if (character >= 0xd800 && character < 0xdc00 && i + 1 < length) {
            character = 0x10000 + ((character - 0xd800) << 10) + (name[++i] - 0xdc00u);
        }
        if (characters.Append(character).IsError()) throw std::bad_alloc();
    }
    return String::FromUtf32(characters);
}

/// The language of a code that is known to be one.
LanguageRef EnsureLanguage(const Id& code) {
    {
        const auto table = GetTable().Read();
        if (const auto found = table->find(code); found != table->end()) return found->second.get();
    }
    auto language = std::make_unique<Language>(code, MakeName(code));
    const auto table = GetTable().Write();
    return table->try_emplace(code, std::move(language)).first->second.get();
}

/// "de-DE" of "de_DE.UTF-8@euro"; empty for what names no language, such as "C".
std::string CodeOfLocale(std::string_view locale) {
    std::string code(locale.substr(0, locale.find_first_of(".@")));
    std::replace(code.begin(), code.end(), '_', '-');
    return code == "C" || code == "POSIX" || !IsCode(code) ? std::string() : code;
}

LanguageRef GetLanguageOfEnvironment() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const locale = std::getenv(name);
        if (!locale || !*locale) continue;
        // The first one that is set decides, also if it names no language.
        const std::string code = CodeOfLocale(locale);
        return code.empty() ? Resource::GetDefaultLanguage() : EnsureLanguage(MUST(Id::Create(code)));
    }
    return Resource::GetDefaultLanguage();
}

}  // namespace

const Language* Language::GetFallbackLanguage() const {
    const std::string_view code = _identifier.GetView();
    const std::size_t subtag = code.rfind('-');
    if (subtag != std::string_view::npos) return EnsureLanguage(MUST(Id::Create(code.substr(0, subtag))));
    return _identifier == LAST_CODE ? nullptr : Resource::GetDefaultLanguage();
}

Result<LanguageRef> Resource::GetLanguage(const Id& code) {
    if (!IsCode(code.GetView())) {
        return IllegalArgumentError::Create("\"" + std::string(code.GetView().substr(0, LONGEST_CODE)) +
                                            "\" is no code of a language. Write it like \"en-US\" or \"de\".");
    }
    return CatchOutOfMemory([&]() -> Result<LanguageRef> { return EnsureLanguage(code); });
}

LanguageRef Resource::GetDefaultLanguage() { return EnsureLanguage(DEFAULT_CODE); }

LanguageRef Resource::GetCurrentLanguage() {
    if (const LanguageRef language = currentLanguage.load(std::memory_order_acquire)) return language;
    LanguageRef expected = nullptr;
    const LanguageRef found = GetLanguageOfEnvironment();
    // A language that the host set meanwhile stays.
    return currentLanguage.compare_exchange_strong(expected, found, std::memory_order_acq_rel) ? found : expected;
}

void Resource::SetCurrentLanguage(LanguageRef language) { currentLanguage.store(language, std::memory_order_release); }

BaseArray<LanguageRef> Resource::GetAllLanguages() {
    std::vector<LanguageRef> languages;
    const auto table = GetTable().Read();
    for (const auto& entry : *table) languages.push_back(entry.second.get());
    return BaseArray<LanguageRef>(std::move(languages));
}

}  // namespace talvo
