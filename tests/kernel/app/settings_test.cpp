#include "kernel/app/settings.h"

#include "kernel/app/application.h"
#include "kernel/app/log.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace talvo {
namespace {

constexpr LiteralId KEY{"net.talvo.test.key"};
constexpr LiteralId OTHER_KEY{"net.talvo.test.other"};
constexpr const char* FILE_NAME = "preferences/net.talvo.application/settings.json";

class Settings : public testing::Test {
protected:
    Settings() { Application::SetHome(_scratch.GetUrl()); }
    ~Settings() override {
        SetLogSink(nullptr);
        Application::SetHome(Url());
        for (const Id& key : {Id(KEY), Id(OTHER_KEY)})
            EXPECT_TRUE(Succeeds(Level(SETTINGS_LEVEL::APPLICATION)->Set(key, Data())));
    }
    static SettingsRef Level(SETTINGS_LEVEL level) { return MUST(SettingsInterface::GetSettings(level)); }
    static std::string Get(SETTINGS_LEVEL level, const Id& key = KEY) {
        const Result<Data> value = Level(level)->Get(key);
        if (value.IsError()) return value.GetError()->GetMessage();
        return value.GetValue().IsEmpty() ? "(none)" : value.GetValue().ToString();
    }
    static void Set(SETTINGS_LEVEL level, const Id& key, const char* text) {
        EXPECT_TRUE(Succeeds(Level(level)->Set(key, Data(String(text)))));
    }

    ScratchDirectory _scratch;
};

TEST_F(Settings, OfTheUserStandOverTheDefaultsOfTheApplication) {
    EXPECT_EQ(Get(SETTINGS_LEVEL::MERGED), "(none)");
    Set(SETTINGS_LEVEL::APPLICATION, KEY, "default");
    EXPECT_EQ(Get(SETTINGS_LEVEL::MERGED), "default");
    Set(SETTINGS_LEVEL::MERGED, KEY, "mine");
    EXPECT_EQ(Get(SETTINGS_LEVEL::MERGED), "mine");
    EXPECT_EQ(Get(SETTINGS_LEVEL::USER), "mine") << "the merged view writes to the user's";
    EXPECT_EQ(Get(SETTINGS_LEVEL::APPLICATION), "default");
    EXPECT_TRUE(Succeeds(Level(SETTINGS_LEVEL::USER)->Set(KEY, Data())));
    EXPECT_EQ(Get(SETTINGS_LEVEL::MERGED), "default");
    EXPECT_NE(_scratch.Read(FILE_NAME).find("net.talvo.settings"), std::string::npos);
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(SettingsInterface::GetSettings(SETTINGS_LEVEL(4)), {"4"}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Level(SETTINGS_LEVEL::USER)->Set(Id(), Data(true))));
}

TEST_F(Settings, ThatAreDamagedAreSetAsideAndNeverOverwritten) {
    std::vector<std::string> lines;
    SetLogSink([&](LOG_LEVEL level, const std::string& line) {
        if (level == LOG_LEVEL::WARNING) lines.push_back(line);
    });
    for (const char* damaged : {"{\"root\": \"net.talvo.settings\", by hand", "", "\xff\x00"}) {
        _scratch.Write(FILE_NAME, damaged);
        EXPECT_TRUE(FailsWith<FileFormatError>(Level(SETTINGS_LEVEL::MERGED)->Get(KEY), {"settings.json"}))
            << "reading changes nothing";
        EXPECT_EQ(_scratch.Read(FILE_NAME), damaged);
        Set(SETTINGS_LEVEL::USER, KEY, "new");
        EXPECT_EQ(Get(SETTINGS_LEVEL::USER), "new");
    }
    ASSERT_EQ(lines.size(), 3u);
    const std::string list = _scratch.List("preferences");
    std::size_t count = 0;
    for (std::size_t at = list.find("settings.json.damaged-"); at != std::string::npos;
         at = list.find("settings.json.damaged-", at + 1))
        ++count;
    EXPECT_EQ(count, 3u) << list << ": each by a name of its own";
    const std::size_t start = lines.front().find(_scratch.GetPath());
    const std::string aside = lines.front().substr(start, lines.front().find(": ", start) - start);
    EXPECT_NE(_scratch.Read(aside.substr(_scratch.GetPath().size() + 1)).find("by hand"), std::string::npos) << lines.front();
}

TEST_F(Settings, ThatCanNotBeReadOrWrittenAreAnErrorAndStay) {
    _scratch.MakeFolder(FILE_NAME);
    EXPECT_TRUE(FailsWith<IoError>(Level(SETTINGS_LEVEL::USER)->Get(KEY), {"settings.json"}));
    EXPECT_TRUE(FailsWith<IoError>(Level(SETTINGS_LEVEL::USER)->Set(KEY, Data(true)), {"settings.json"}));
}

TEST_F(Settings, OfTwoProcessesAreAllKept) {
    constexpr int PROCESSES = 4;
    constexpr int KEYS = 25;
    const auto makeKey = [](int process, int key) { return MUST(Id::Create(FormatMessage("p@.k@", process, key))); };
    std::vector<pid_t> children;
    for (int process = 0; process < PROCESSES; ++process) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        for (int key = 0; key < KEYS; ++key) {
            if (Level(SETTINGS_LEVEL::USER)->Set(makeKey(process, key), Data(Int(key))).IsError()) _exit(1);
        }
        _exit(0);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    for (int process = 0; process < PROCESSES; ++process) {
        for (int key = 0; key < KEYS; ++key) EXPECT_EQ(Get(SETTINGS_LEVEL::USER, makeKey(process, key)), std::to_string(key));
    }
}

TEST(ConfigVariables, AreSetTogetherOrNotAtAll) {
    ConfigVariable first("g_testFirst", false, "help");
    ConfigVariable second("g_testSecond", true, nullptr);
    EXPECT_TRUE(Succeeds(ConfigVariable::SetFromText("g_testFirst=true,g_testSecond=false")));
    EXPECT_TRUE(first.Get() && !second.Get() && second.GetDefault());
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(ConfigVariable::SetFromText("g_testFirst=false,g_none=true"), {"g_none"}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(ConfigVariable::SetFromText("g_testFirst=1"), {"g_testFirst=1"}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(ConfigVariable::SetFromText("g_testFirst"), {"g_testFirst"}));
    EXPECT_TRUE(first.Get());
    std::vector<std::string> names;
    for (const ConfigVariable* variable : ConfigVariable::GetAll()) names.push_back(variable->GetName());
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

}  // namespace
}  // namespace talvo
