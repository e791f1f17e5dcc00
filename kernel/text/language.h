// Languages of texts, with the language to try next, and the texts of resources.
#pragma once

#include "kernel/base/array.h"
#include "kernel/base/id.h"
#include "kernel/text/string.h"

namespace talvo {

/// One language. There is one object for each code, made at first need and kept for the life of the process.
/// Threads: any.
class Language {
public:
    /// Code such as "en-US" or "de".
    const Id& GetIdentifier() const { return _identifier; }
    const String& GetName() const { return _name; }
    /// The language to try next: the code without its last subtag ("de-CH" → "de"), from a code without subtags the default
    /// language ("de" → "en-US" → "en"), null at the end. Never leads back to itself.
    const Language* GetFallbackLanguage() const;

    Language(Id identifier, String name) : _identifier(std::move(identifier)), _name(std::move(name)) {}

private:
    const Id _identifier;
    const String _name;
};

/// Null stands for the current language where an operation says so.
using LanguageRef = const Language*;

namespace Resource {

/// The language of `code` (BCP 47: letters, digits, hyphens). Errors: IllegalArgumentError for another text.
Result<LanguageRef> GetLanguage(const Id& code);
/// The language that users see: set by the host, else from the environment (LC_ALL, LC_MESSAGES, LANG), else the default.
LanguageRef GetCurrentLanguage();
void SetCurrentLanguage(LanguageRef language);
/// "en-US".
LanguageRef GetDefaultLanguage();
/// All languages named so far, sorted by code.
BaseArray<LanguageRef> GetAllLanguages();

}  // namespace Resource

}  // namespace talvo
