// Start and end of the module: what is there then, what is left, and what stands in the way.
#include "asset_module/module_fixture.h"
#include "kernel/app/log.h"
#include "kernel/app/run_loop.h"
#include "kernel/base/allocation_plan.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_system.h"

#include <sys/stat.h>
#include <unistd.h>

#include <functional>

namespace talvo {
namespace {

class Module : public ModuleTest {
protected:
    static Bool KnowsUrls() { return IoHandlers::GetHandlerForScheme("asset"_id).IsOk(); }
    static void ExpectNothingIsThere(const std::string& why) {
        EXPECT_FALSE(AssetModule::IsStarted()) << why;
        EXPECT_FALSE(AssetInterface::GetBuiltinRepository()) << why;
        EXPECT_FALSE(AssetInterface::GetApplicationRepository()) << why;
        EXPECT_FALSE(AssetInterface::GetUserPrefsRepository()) << why;
        EXPECT_FALSE(KnowsUrls()) << why;
    }
    /// Ids from the user preferences repository down the first bases.
    static std::vector<std::string> GetChain() {
        std::vector<std::string> ids;
        for (AssetRepositoryRef next = AssetInterface::GetUserPrefsRepository(); next;) {
            ids.push_back(ToText(next->GetId()));
            const auto bases = next->GetBases();
            next = bases.IsEmpty() ? AssetRepositoryRef() : bases[0];
        }
        return ids;
    }
};

/// Someone who isn't root for as long as it lives, since nothing is refused to root.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (geteuid() == 0) _changed = seteuid(NOBODY) == 0;
    }
    ~OrdinaryUser() {
        if (_changed && seteuid(0) != 0) std::abort();
    }

private:
    static constexpr uid_t NOBODY = 65534;
    Bool _changed = false;
};

TEST_F(Module, startsOnceAndStopsAndStartsAgain) {
    ExpectNothingIsThere("before");
    const std::vector<std::string> chain{"net.talvo.repository.userprefs", "net.talvo.repository.application",
                                         "net.talvo.repository.builtin"};
    const Int observers = RunLoop::ObservableExitLoop().GetObserverCount();
    for (const char* round : {"first", "second"}) {
        Need(AssetModule::Start());
        const AssetRepositoryRef first = AssetInterface::GetUserPrefsRepository();
        Need(AssetModule::Start());
        EXPECT_EQ(AssetInterface::GetUserPrefsRepository(), first) << "a second start does nothing";
        EXPECT_EQ(GetChain(), chain) << round;
        EXPECT_EQ(first->FindRepository(REPOSITORY_BUILTIN), AssetInterface::GetBuiltinRepository());
        EXPECT_TRUE(KnowsUrls());
        EXPECT_TRUE(first->IsWritable());
        EXPECT_FALSE(AssetInterface::GetApplicationRepository()->IsWritable());
        Need(first->StoreAsset(MakeId(round), MakeFileAsset(_scratch, "payload.txt", "mine"), nullptr));
        AssetModule::Stop();
        AssetModule::Stop();
        ExpectNothingIsThere(round);
        EXPECT_EQ(first->GetReferenceCount(), 1u) << "nobody else keeps it";
        EXPECT_EQ(RunLoop::ObservableExitLoop().GetObserverCount(), observers);
    }
    Need(AssetModule::Start());
    const auto found = Find(AssetInterface::GetUserPrefsRepository(), "first", "", ASSET_FIND_MODE::LATEST);
    EXPECT_EQ(found.size(), 1u) << "what the user stored is still there";
}

TEST_F(Module, endsWithTheRunLoopAfterThoseWhoStillLookThingsUp) {
    Need(AssetModule::Start());
    Bool wasThere = false;
    const ObserverToken token = RunLoop::ObservableExitLoop().AddObserver([&]() -> Result<void> {
        wasThere = AssetInterface::GetUserPrefsRepository() != nullptr;
        return OK;
    });
    RunLoop::ObservableExitLoop().Notify();
    RunLoop::ObservableExitLoop().RemoveObserver(token);
    EXPECT_TRUE(wasThere);
    ExpectNothingIsThere("after the loop");
}

TEST_F(Module, goesOnWithoutAnApplicationRepository) {
    Remove("resources");
    std::string said;
    SetLogSink([&](LOG_LEVEL level, const std::string& line) {
        if (level == LOG_LEVEL::CRITICAL) said += line;
    });
    const Result<void> started = AssetModule::Start();
    SetLogSink(nullptr);
    EXPECT_THAT(started, Succeeds());
    EXPECT_EQ(said, "applicationRepoDir not found: " + _scratch / APPLICATION);
    EXPECT_EQ(GetChain(), (std::vector<std::string>{"net.talvo.repository.userprefs", "net.talvo.repository.builtin"}));
}

TEST_F(Module, whatStandsInTheWayIsNamedAndNothingOfTheStartStays) {
    const struct {
        const char* why;
        std::function<void()> spoil;
        std::vector<std::string> words;
        Bool isOfOrdinaryUser = false;
    } cases[] = {
        {"home is a file", [&] { _scratch.Write("home", "x"); }, {_scratch / "home" + " is no folder", "TALVO_HOME"}},
        {"a file where generated files should be",
         [&] { _scratch.Write("home/generated", "x"); },
         {_scratch / "home/generated" + " is no folder"}},
        {"a file where the user repository should be",
         [&] { _scratch.Write(USER_REPOSITORY, "x"); },
         {_scratch / USER_REPOSITORY + " is no folder"}},
        {"a file where the user's values should be", [&] { _scratch.Write(USER_TREE, "x"); }, {_scratch / USER_TREE}},
        {"a link that leads nowhere",
         [&] { std::filesystem::create_symlink("nowhere", _scratch / "home"); },
         {_scratch / "home" + " is a link that leads nowhere"}},
        {"a home that refuses writes",
         [&] {
             _scratch.MakeFolder("home");
             chmod(_scratch.GetPath().c_str(), 0755);
             chmod((_scratch / "home").c_str(), 0555);
         },
         {_scratch / "home" + (geteuid() == 0 ? " belongs to user 0, and you are user 65534" : " may not be written")},
         true},
        {"an application repository without an identifier",
         [&] { _scratch.Write(std::string(APPLICATION) + "/databaseid", ""); },
         {_scratch / APPLICATION + " has no identifier"}},
        {"a user repository that says it is another one",
         [&] {
             _scratch.Write(std::string(USER_REPOSITORY) + "/databaseid", "");
             _scratch.Write(std::string(USER_REPOSITORY) + "/a/asset.info", "a\nnet.talvo.assettype.file\n");
         },
         {_scratch / USER_REPOSITORY + "/databaseid is empty"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.why);
        Remove("home");
        _scratch.Write(std::string(APPLICATION) + "/databaseid", "net.talvo.repository.application");
        each.spoil();
        const std::string before = _scratch.List();
        Result<void> started;
        if (each.isOfOrdinaryUser) {
            const OrdinaryUser user;
            started = AssetModule::Start();
        } else {
            started = AssetModule::Start();
        }
        ASSERT_TRUE(started.IsError());
        for (const std::string& word : each.words) EXPECT_THAT(started.GetError()->GetMessage(), testing::HasSubstr(word));
        ExpectNothingIsThere(each.why);
        EXPECT_EQ(_scratch.List(), before);
    }
    Remove("home");
    _scratch.Write(std::string(APPLICATION) + "/databaseid", "net.talvo.repository.application");
    EXPECT_THAT(AssetModule::Start(), Succeeds()) << "once the way is free";
}

// Each operation on files, then each allocation, of a start fails once.
TEST_F(Module, aStartThatFailsAnywhereMayBeTriedAgain) {
    const struct {
        const char* what;
        std::function<Bool(const std::string& plan)> set;
        std::function<Bool()> wasHit;
        std::function<void()> clear;
    } plans[] = {{"operation", [](const std::string& plan) { return FaultPlan::Set(plan + ":EIO").IsOk(); }, FaultPlan::WasHit,
                  FaultPlan::Clear},
                 {"allocation", AllocationPlan::Set, AllocationPlan::WasHit, AllocationPlan::Clear}};
    FaultPlan::SetScope(_scratch.GetPath());
    SetLogSink([](LOG_LEVEL, const std::string&) {});
    for (const auto& plan : plans) {
        Bool finished = false;
        for (Int n = 1; !finished; ++n) {
            ASSERT_LT(n, 20000) << "the start never ends";
            SCOPED_TRACE(plan.what + std::to_string(n));
            Remove("home");
            if (!plan.set("fail@" + std::to_string(n))) break;  // this build can't
            const Result<void> started = AssetModule::Start();
            finished = !plan.wasHit();
            plan.clear();
            if (started.IsError()) ExpectNothingIsThere(started.GetError()->GetMessage());
            if (finished) {
                EXPECT_THAT(started, Succeeds());
            }
            EXPECT_THAT(AssetModule::Start(), Succeeds());
            EXPECT_EQ(GetChain().back(), "net.talvo.repository.builtin");
            AssetModule::Stop();
            ASSERT_FALSE(HasFailure());
        }
    }
    SetLogSink(nullptr);
}

}  // namespace
}  // namespace talvo
