// Several processes on one repository at once.
#include "talvo/program_test_support.h"

#include <atomic>
#include <csignal>
#include <set>
#include <thread>

namespace talvo {
namespace {

using ::testing::SizeIs;

using SeveralProcessesTest = ProgramTest;

TEST_F(SeveralProcessesTest, EightThatStoreOneIdGiveEightVersions) {
    const std::string shelf = MakeRepository("shelf");
    constexpr Int COUNT = 8;
    std::vector<std::string> files;
    for (Int i = 0; i < COUNT; i++) {
        files.push_back(_scratch / ("file" + std::to_string(i)));
        _scratch.Write("file" + std::to_string(i), "content " + std::to_string(i));
    }
    {
        std::vector<std::jthread> stores;
        for (const std::string& file : files) stores.emplace_back([&] { RunText({"store", shelf, "chair", file}); });
    }
    std::set<std::string> contents;
    for (Int number = 1; number <= COUNT; number++)
        contents.insert(RunText({"cat", shelf, "chair", "--version", "#" + std::to_string(number)}));
    EXPECT_THAT(contents, SizeIs(COUNT));
    EXPECT_THAT(List(shelf, {"--all-versions"}), SizeIs(COUNT));
    RunText({"verify", shelf});
}

TEST_F(SeveralProcessesTest, OneThatIsKilledWithTheLockHoldsNobodyUp) {
    const std::string shelf = MakeRepository("shelf");
    Store(shelf, "chair", "first");
    _scratch.Write("lost", "lost");
    Int killed = 0;
    for (Int operation = 10; operation < 60; operation += 7) {
        const std::string plan = "kill-after@" + std::to_string(operation);
        const ProgramOutcome outcome =
            Run({"store", shelf, "chair", _scratch / "lost"}, {.environment = {{"TALVO_IO_PLAN", plan}}});
        killed += outcome.exitCode == -SIGKILL;
    }
    EXPECT_GT(killed, 2) << "the plans were not met";
    Store(shelf, "chair", "last");
    EXPECT_EQ(RunText({"cat", shelf, "chair"}), "last");
}

TEST_F(SeveralProcessesTest, WhoReadsMeanwhileSeesWholeVersions) {
    const std::string shelf = MakeRepository("shelf");
    const auto makeContent = [](Int i) { return std::string(200000, char('a' + i)); };
    Store(shelf, "chair", makeContent(0));
    std::atomic<Bool> done = false;
    std::jthread writer([&] {
        for (Int i = 1; i < 12; i++) Store(shelf, "chair", makeContent(i), i % 3 == 0 ? Words{"--overwrite"} : Words{});
        done = true;
    });
    Int reads = 0;
    for (Bool last = false; !last; ++reads) {
        last = done;
        const std::string content = RunText({"cat", shelf, "chair"});
        ASSERT_FALSE(content.empty());
        EXPECT_EQ(content, makeContent(content.front() - 'a'));
    }
    EXPECT_GT(reads, 1);
}

}  // namespace
}  // namespace talvo
