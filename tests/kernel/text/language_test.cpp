#include "kernel/text/language.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace talvo {
namespace {

std::vector<std::string> Chain(const char* code) {
    std::vector<std::string> codes;
    for (LanguageRef language = MUST(Resource::GetLanguage(MUST(Id::Create(code)))); language && codes.size() < 10;
         language = language->GetFallbackLanguage()) {
        codes.emplace_back(language->GetIdentifier().GetView());
    }
    return codes;
}

TEST(Language, chainsOfFallbacksEnd) {
    using testing::ElementsAre;
    EXPECT_THAT(Chain("de-CH-1901"), ElementsAre("de-CH-1901", "de-CH", "de", "en-US", "en"));
    EXPECT_THAT(Chain("en-GB"), ElementsAre("en-GB", "en"));
    EXPECT_THAT(Chain("en-US"), ElementsAre("en-US", "en"));
    EXPECT_THAT(Chain("en"), ElementsAre("en"));
}

TEST(Language, oneObjectForEachCode) {
    const LanguageRef language = MUST(Resource::GetLanguage("de-DE"_id));
    EXPECT_EQ(language, MUST(Resource::GetLanguage(MUST(Id::Create("de-DE")))));
    EXPECT_EQ(language->GetName(), String("Deutsch (Deutschland)"));
    EXPECT_EQ(MUST(Resource::GetLanguage("xx-unknown"_id))->GetIdentifier(), Id("xx-unknown"_id));
    Bool found = false;
    for (const LanguageRef each : Resource::GetAllLanguages()) found |= each == language;
    EXPECT_TRUE(found);
}

TEST(Language, refusesWhatIsNoCode) {
    for (const char* text : {"", "de_DE", "-de", "de-", "../de", "d\u00e9", "1de"}) {
        const auto result = Resource::GetLanguage(MUST(Id::Create(text)));
        ASSERT_TRUE(result.IsError()) << text;
        EXPECT_TRUE(IllegalArgumentError::IsClassOf(result.GetError()));
        EXPECT_THAT(result.GetError()->GetMessage(), testing::HasSubstr("\"" + std::string(text) + "\""));
    }
}

TEST(Language, currentOneComesFromTheEnvironmentUnlessSet) {
    struct Row {
        const char *all, *messages, *lang;
        const char* code;
    };
    const Row rows[] = {{"", "", "de_DE.UTF-8", "de-DE"}, {"", "fr", "de", "fr"}, {"C", "fr", "de", "en-US"},
                        {"", "", "C.UTF-8", "en-US"},     {"", "", "", "en-US"},  {"sr_RS@latin", "", "", "sr-RS"},
                        {"../x", "", "de", "en-US"}};
    for (const Row& row : rows) {
        setenv("LC_ALL", row.all, 1);
        setenv("LC_MESSAGES", row.messages, 1);
        setenv("LANG", row.lang, 1);
        Resource::SetCurrentLanguage(nullptr);
        EXPECT_EQ(Resource::GetCurrentLanguage()->GetIdentifier().GetView(), row.code);
    }
    Resource::SetCurrentLanguage(MUST(Resource::GetLanguage("it"_id)));
    EXPECT_EQ(Resource::GetCurrentLanguage()->GetIdentifier().GetView(), "it");
    Resource::SetCurrentLanguage(nullptr);
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) unsetenv(name);
}

}  // namespace
}  // namespace talvo
