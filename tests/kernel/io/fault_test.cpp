// Each file operation of a routine is broken in turn: the outcome is the old state and an error, or the new one and none.
#include "kernel/io/file_system.h"
#include "kernel/io/file_utilities.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <tuple>

#ifdef TALVO_FAULTS

namespace talvo {
namespace {

constexpr Int ENOUGH = 200;

/// Counts and breaks operations below one folder, for as long as it lives.
class Faults {
public:
    Faults(const ScratchDirectory& scratch, const std::string& plan) {
        FaultPlan::SetScope(scratch.GetPath());
        EXPECT_TRUE(Succeeds(FaultPlan::Set(plan)));
    }
    ~Faults() {
        FaultPlan::Clear();
        FaultPlan::SetScope({});
    }
};

class DurabilityScope {
public:
    explicit DurabilityScope(DURABILITY durability) : _old(GetDurability()) { SetDurability(durability); }
    ~DurabilityScope() { SetDurability(_old); }

private:
    const DURABILITY _old;
};

Result<void> WriteInTwoSteps(const Url& url) {
    const OutputStreamRef stream = TRY(url.OpenOutputStream(OUTPUT_MODE::REPLACE));
    TRY(stream->Write("new "));
    TRY(stream->Flush());
    TRY(stream->Write("content"));
    return stream->Close();
}

using Fault = std::tuple<const char*, const char*, DURABILITY>;
class EveryOperation : public testing::TestWithParam<Fault> {
protected:
    std::string MakePlan(Int nth) const {
        return std::string(std::get<0>(GetParam())) + "@" + std::to_string(nth) + ":" + std::get<1>(GetParam());
    }
    Bool FailsForGood() const { return std::string_view(std::get<0>(GetParam())) == "failfrom"; }
    /// Runs `work` once for each operation until none was hit. `check` gets the result and whether the fault was hit.
    template <typename WORK, typename CHECK>
    void ForEachOperation(WORK&& work, CHECK&& check) {
        const DurabilityScope durability(std::get<2>(GetParam()));
        for (Int nth = 1; nth < ENOUGH; ++nth) {
            SCOPED_TRACE(MakePlan(nth));
            const ScratchDirectory scratch;
            scratch.Write("file", "old");
            Bool hit = false;
            const Result<void> result = [&] {
                const Faults faults(scratch, MakePlan(nth));
                const Result<void> done = work(scratch);
                hit = FaultPlan::WasHit();
                return done;
            }();
            check(scratch, result, hit);
            if (!hit || testing::Test::HasFatalFailure()) return;
        }
        FAIL() << "never ends";
    }
};

TEST_P(EveryOperation, OfReplacingAFileLeavesTheOldOrTheNewOne) {
    ForEachOperation([](const ScratchDirectory& scratch) { return WriteInTwoSteps(Url::FromSystemPath(scratch / "file")); },
                     [&](const ScratchDirectory& scratch, const Result<void>& result, Bool hit) {
                         const std::string content = scratch.Read("file");
                         EXPECT_TRUE(content == "old" || content == "new content") << content;
                         EXPECT_EQ(result.IsError(), hit);
                         if (result.IsOk()) {
                             EXPECT_EQ(content, "new content");
                         }
                         if (hit) {
                             EXPECT_TRUE(FailsWith<IoError>(result, {scratch.GetPath()}));
                         }
                         // Where even removing fails there is a hidden name left.
                         if (!FailsForGood()) {
                             EXPECT_EQ(scratch.List(), "file");
                         } else {
                             EXPECT_TRUE(scratch.List() == "file" || scratch.List().starts_with(".~"));
                         }
                     });
}

TEST_P(EveryOperation, OfCopyingAFileLeavesTheOldOrTheNewOne) {
    ForEachOperation(
        [](const ScratchDirectory& scratch) -> Result<void> {
            const IoConnectionRef source = TRY(Url::FromSystemPath(scratch / "file").OpenConnection());
            return source->IoCopyFile(Url::FromSystemPath(scratch / "copy"));
        },
        [&](const ScratchDirectory& scratch, const Result<void>& result, Bool hit) {
            const std::string copy = scratch.Read("copy");
            EXPECT_TRUE(copy == "old" || copy == "(missing)") << copy;
            EXPECT_EQ(scratch.Read("file"), "old");
            EXPECT_EQ(result.IsError(), hit);
            if (result.IsOk()) {
                EXPECT_EQ(copy, "old");
            }
        });
}

TEST_P(EveryOperation, OfDeletingATreeIsReportedAndCanBeTakenUpAgain) {
    ForEachOperation(
        [](const ScratchDirectory& scratch) -> Result<void> {
            scratch.Write("t/a/b/c", "");
            scratch.Write("t/d", "");
            return Url::FromSystemPath(scratch / "t").IoDelete();
        },
        [&](const ScratchDirectory& scratch, const Result<void>& result, Bool hit) {
            EXPECT_EQ(result.IsError(), hit);
            EXPECT_TRUE(Succeeds(Url::FromSystemPath(scratch / "t").IoDelete()));
            EXPECT_EQ(scratch.List(), "file");
        });
}

INSTANTIATE_TEST_SUITE_P(Faults, EveryOperation,
                         testing::Combine(testing::Values("fail", "failfrom"),
                                          testing::Values("ENOSPC", "EIO", "EMFILE", "EACCES"),
                                          testing::Values(DURABILITY::FAST, DURABILITY::DURABLE)));

TEST(Faults, ShortReadsAndWritesLoseNothing) {
    for (Int nth = 1; nth < ENOUGH; ++nth) {
        SCOPED_TRACE(nth);
        const ScratchDirectory scratch;
        const Url url = Url::FromSystemPath(scratch / "file");
        const Url copy = Url::FromSystemPath(scratch / "copy");
        std::string content(100001, '\0');
        for (std::size_t i = 0; i < content.size(); ++i) content[i] = char(i * 7 + i / 256);
        const Faults faults(scratch, "short@" + std::to_string(nth));
        EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(url, content)));
        EXPECT_TRUE(Succeeds(url.OpenConnection().GetValue()->IoCopyFile(copy)));
        const Bool same = FileUtilities::ReadFileToMemory(copy, 1 << 20).GetValueOr("") == content;
        EXPECT_TRUE(same);
        if (!FaultPlan::WasHit()) return;
    }
    FAIL() << "never ends";
}

TEST(Faults, FullDiskSaysWhatToDo) {
    const ScratchDirectory scratch;
    const Faults faults(scratch, "failfrom@1:ENOSPC");
    EXPECT_TRUE(
        FailsWith<IoError>(FileUtilities::WriteFileFromMemory(scratch.GetUrl() + "file", "x"),
                           {"Can't write " + (scratch / "file") + ": No space left on device. Free space and try again."}));
}

/// Some file systems know neither flag of a rename: they say EINVAL, and other ways must do.
TEST(Faults, RenamingFallsBackWhereTheFileSystemLacksItsFlags) {
    const ScratchDirectory scratch;
    for (const char* name : {"d/x", "e/y"}) scratch.Write(name, name);
    scratch.Write("a", "A");
    scratch.Write("b", "B");
    const auto rename = [&](const char* from, const char* to, RENAME_MODE mode) {
        const Faults faults(scratch, "fail@1:22");
        return Url::FromSystemPath(scratch / from).IoRename(Url::FromSystemPath(scratch / to), mode);
    };
    EXPECT_TRUE(FailsWith<IoError>(rename("a", "b", RENAME_MODE::NO_REPLACE), {"exists"}));
    EXPECT_TRUE(FailsWith<IoError>(rename("d", "e", RENAME_MODE::NO_REPLACE), {"exists"}));
    EXPECT_TRUE(FailsWith<IoError>(rename("a", "nowhere", RENAME_MODE::EXCHANGE), {"nowhere"}));
    EXPECT_TRUE(FailsWith<IoError>(rename("d", "d/x", RENAME_MODE::EXCHANGE), {"d/x"}));
    EXPECT_EQ(scratch.List(), "a b d/ d/x e/ e/y");
    EXPECT_TRUE(Succeeds(rename("a", "c", RENAME_MODE::NO_REPLACE)));
    EXPECT_TRUE(Succeeds(rename("d", "f", RENAME_MODE::NO_REPLACE)));
    EXPECT_TRUE(Succeeds(rename("f", "e", RENAME_MODE::EXCHANGE)));
    EXPECT_TRUE(Succeeds(rename("b", "c", RENAME_MODE::EXCHANGE)));
    EXPECT_EQ(scratch.List() + scratch.Read("b") + scratch.Read("c"), "b c e/ e/x f/ f/yAB");
}

TEST(Faults, AProcessIsKilledBeforeOrAfterTheOperation) {
    for (const bool after : {false, true}) {
        const ScratchDirectory scratch;
        const pid_t child = fork();
        if (child == 0) {
            FaultPlan::SetScope(scratch.GetPath());
            FaultPlan::Set(after ? "kill-after@1" : "kill-before@1").Ignore("the parent sees it");
            (scratch.GetUrl() + "d").IoCreateDirectoryExclusive().Ignore("the parent sees it");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        EXPECT_EQ(scratch.List(), after ? "d/" : "");
    }
}

TEST(Faults, ATraceTellsEachOperation) {
    const ScratchDirectory scratch;
    const ScratchDirectory beside;
    {
        const Faults faults(scratch, "trace:" + (beside / "trace") + ";fail@2:5");
        (scratch.GetUrl() + "a b%").IoCreateDirectory().Ignore("only the trace matters");
        FileUtilities::WriteFileFromMemory(scratch.GetUrl() + "f", "x").Ignore("only the trace matters");
        (beside.GetUrl() + "outside").IoCreateDirectory().Ignore("only the trace matters");
        const OutputStreamRef stream = (scratch.GetUrl() + "g").OpenOutputStream(OUTPUT_MODE::CREATE_NEW).GetValue();
        EXPECT_TRUE(Succeeds(stream->Write("Hi")));
        EXPECT_TRUE(Succeeds(stream->Close()));
        EXPECT_EQ(FaultPlan::GetOperationCount(), 5);
    }
    const std::string top = scratch.GetPath();
    EXPECT_EQ(beside.Read("trace"), "1 MAKE_DIRECTORY 0 " + top + "/a%20b%25 - -\n2 STAT 5 " + top + "/f - -\n3 CREATE 0 " + top +
                                        "/g - -\n4 WRITE 0 " + top + "/g - 4869\n5 CLOSE 0 " + top + "/g - -\n");
}

TEST(Faults, PlansThatCanNotBeReadAreRefused) {
    for (const char* plan :
         {"fail@1", "fail@0:EIO", "fail@x:EIO", "fail@1:EWHAT", "kill@1", "kill-after@1:EIO", "fail@1:EIO;;", "short"}) {
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(FaultPlan::Set(plan), {"kill-before@7"})) << plan;
    }
    EXPECT_TRUE(FailsWith<IoError>(FaultPlan::Set("trace:/nowhere/at/all"), {"/nowhere/at/all"}));
}

}  // namespace
}  // namespace talvo

#endif
