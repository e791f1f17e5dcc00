#include "kernel/app/application.h"

#include "kernel/app/log.h"
#include "kernel/app/run_loop.h"
#include "kernel/thread/job.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace talvo {
namespace {

constexpr LiteralId OWNER{"net.talvo.test"};

/// Sets a variable of the environment until the end of the scope; null unsets it.
class EnvironmentScope {
public:
    EnvironmentScope(const char* name, const char* value) : _name(name) {
        if (const char* old = std::getenv(name)) _old = old;
        Set(value);
    }
    ~EnvironmentScope() { Set(_old ? _old->c_str() : nullptr); }

private:
    void Set(const char* value) {
        if (value)
            setenv(_name, value, 1);
        else
            unsetenv(_name);
    }
    const char* const _name;
    Opt<std::string> _old;
};

std::string PathOf(APPLICATION_DIRECTORY kind) { return Application::PrivateGetUrl(OWNER, kind).GetValueOr(Url()).GetUrl(); }

TEST(ApplicationDirectories, LieBelowOneHomeOrInTheBaseDirectories) {
    const EnvironmentScope config("XDG_CONFIG_HOME", "/cfg"), data("XDG_DATA_HOME", "relative"), home("HOME", "/home/u");
    const EnvironmentScope temporary("TMPDIR", "/t");
    Application::SetHome(Url::FromSystemPath("/h"));
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::TEMPORARY), "file:///h/temporary/net.talvo.test");
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::GENERATED), "file:///h/generated/net.talvo.test");
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::PREFERENCES), "file:///h/preferences/net.talvo.test");
    Application::SetHome(Url());
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::PREFERENCES), "file:///cfg/talvo/net.talvo.test");
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::GENERATED), "file:///home/u/.local/share/talvo/net.talvo.test")
        << "a base directory that is not absolute is none";
    EXPECT_TRUE(PathOf(APPLICATION_DIRECTORY::TEMPORARY).starts_with("file:///t/talvo-"));
    const EnvironmentScope noHome("HOME", nullptr);
    EXPECT_TRUE(Succeeds(Application::PrivateGetUrl(OWNER, APPLICATION_DIRECTORY::GENERATED))) << "the system knows it, too";
}

TEST(ApplicationDirectories, AreRefusedToOwnersThatAreNoNames) {
    for (const std::string_view owner : {"", "..", "a/b", ".hidden"}) {
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(
            Application::PrivateGetUrl(Id::Create(owner).GetValue(), APPLICATION_DIRECTORY::PREFERENCES), {owner}));
    }
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Application::PrivateGetUrl(OWNER, APPLICATION_DIRECTORY(9)), {"9"}));
}

TEST(ApplicationDirectories, ResourcesLieBesideTheProgramUnlessToldOtherwise) {
    {
        const EnvironmentScope unset("TALVO_RESOURCES", nullptr);
        EXPECT_TRUE(PathOf(APPLICATION_DIRECTORY::APPLICATION_RESOURCES).ends_with("/share/talvo"));
    }
    const EnvironmentScope set("TALVO_RESOURCES", "/r");
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::APPLICATION_RESOURCES), "file:///r");
    EXPECT_EQ(PathOf(APPLICATION_DIRECTORY::MODULE_RESOURCES), "file:///r/net.talvo.test");
}

TEST(ApplicationDirectories, TemporaryNamesAreFreshInAFolderThatIsThere) {
    const ScratchDirectory scratch;
    const Url folder = scratch.GetUrl() + "a" + "b";
    const Url first = Application::GetTempUrl(folder).GetValue();
    const Url second = Application::GetTempUrl(folder).GetValue();
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first.GetDirectory(), folder);
    EXPECT_EQ(folder.IoDetect(), IO_DETECT::DIRECTORY);
    EXPECT_EQ(first.IoDetect(), IO_DETECT::NOT_THERE);
}

TEST(ApplicationVersion, IsReplacedByTheHost) {
    const Application::Version own = Application::GetVersion().GetValue();
    EXPECT_EQ(Application::GetVersionText(), CString("0.1.0"));
    EXPECT_EQ(own.number, 10);
    EXPECT_FALSE(own.build.IsEmpty());
    Application::SetVersion({1025, "host"});
    EXPECT_EQ(Application::GetVersion().GetValue().number, 1025);
    Application::SetVersion(own);
}

TEST(RunLoopExit, TellsItsObserversOnce) {
    std::string order;
    const auto low = RunLoop::ObservableExitLoop().AddObserver(
        [&]() -> Result<void> {
            order += "low ";
            return OK;
        },
        1);
    const auto high = RunLoop::ObservableExitLoop().AddObserver(
        [&]() -> Result<void> {
            order += "high ";
            return OK;
        },
        2);
    RunLoop::Exit();
    RunLoop::Exit();
    EXPECT_EQ(order, "high low ");
    RunLoop::ObservableExitLoop().RemoveObserver(low);
    RunLoop::ObservableExitLoop().RemoveObserver(high);

    int runs = 0;
    EXPECT_TRUE(Succeeds(JobQueue::GetMainThreadQueue().Enqueue([&]() -> Result<void> {
        ++runs;
        return OK;
    })));
    EXPECT_EQ(RunLoop::RunPendingJobs(), 1);
    EXPECT_EQ(runs, 1);
}

TEST(Logging, GoesToTheHostsSink) {
    std::string lines;
    SetLogSink([&](LOG_LEVEL level, const std::string& line) { lines += std::to_string(int(level)) + line + "\n"; });
    Log(LOG_LEVEL::DIAGNOSTIC, "a @", 1);
    Log(LOG_LEVEL::CRITICAL, "b @", "@");
    SetLogSink(nullptr);
    Log(LOG_LEVEL::MESSAGE, "to nobody");
    EXPECT_EQ(lines, "0a 1\n3b @\n");
}

}  // namespace
}  // namespace talvo
