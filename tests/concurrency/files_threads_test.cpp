// Threads that meet at one file or folder, on disk and in memory.
#include "kernel/app/application.h"
#include "kernel/app/settings.h"
#include "kernel/io/file_lock.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"
#include "support/stress_threads.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

namespace talvo {
namespace {

constexpr int THREADS = 4;
constexpr int ROUNDS = 100;

class FileThreads : public testing::TestWithParam<bool> {
protected:
    Url GetRoot() const { return GetParam() ? _scratch.GetUrl() : _volume->GetRoot(); }

    ScratchDirectory _scratch;
    const MemoryVolumeRef _volume = MemoryVolume::Create().GetValue();
};

TEST_P(FileThreads, ReadersSeeOneWholeContentWhileOthersReplaceIt) {
    const Url url = GetRoot() + "file";
    const auto make = [](int index) { return std::string(70000, char('a' + index)); };
    EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(url, make(0))));
    RunStress(THREADS, [&](Int index) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            if (index % 2 == 0) {
                EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(url, make(index))));
                continue;
            }
            const std::string content = FileUtilities::ReadFileToMemory(url, 1 << 20).GetValueOr("");
            EXPECT_TRUE(content == make(0) || content == make(2)) << content.size();
        }
    });
    EXPECT_EQ(GetRoot().OpenConnection().GetValue()->Browse(BROWSE_MODE::NAMES).GetValue().GetCount(), 1)
        << "nothing hidden stays";
}

TEST_P(FileThreads, AFolderIsMadeByOneOnly) {
    std::atomic<int> made{0};
    RunStress(THREADS, [&](Int) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            if ((GetRoot() + std::to_string(round)).IoCreateDirectoryExclusive().GetValueOr(false)) ++made;
            EXPECT_TRUE(Succeeds((GetRoot() + "x/y" + std::to_string(round)).IoCreateDirectory()));
        }
    });
    EXPECT_EQ(made, ROUNDS);
}

TEST_P(FileThreads, WhatIsRenamedOrDeletedUnderneathIsAnErrorAtMost) {
    const Url a = GetRoot() + "a", b = GetRoot() + "b";
    for (const Url& url : {a, b}) EXPECT_TRUE(Succeeds(url.IoCreateDirectory()));
    RunStress(THREADS, [&](Int index) {
        for (int round = 0; round < ROUNDS; ++round) {
            NoteStressStep();
            switch (index) {
                case 0: a.IoRename(b, RENAME_MODE::EXCHANGE).Ignore("the other may be gone"); break;
                case 1: FileUtilities::WriteFileFromMemory(a + "d" + "f", "x").Ignore("the folder may be gone"); break;
                case 2: (a + "d").IoCreateDirectory().Ignore("what is above may be gone"); break;
                default: (b + "d").IoDelete().Ignore("others may put something in meanwhile");
            }
        }
    });
    EXPECT_TRUE(Succeeds(a.IoDelete()));
    EXPECT_TRUE(Succeeds(b.IoDelete()));
}

INSTANTIATE_TEST_SUITE_P(Places, FileThreads, testing::Bool(), [](const auto& place) { return place.param ? "Disk" : "Memory"; });

TEST(SettingsThreads, LoseNoneOfTheirWrites) {
    const ScratchDirectory scratch;
    Application::SetHome(scratch.GetUrl());
    const SettingsRef settings = SettingsInterface::GetSettings(SETTINGS_LEVEL::USER).GetValue();
    const auto makeKey = [](int index, int key) { return Id::Create(FormatMessage("t@.k@", index, key)).GetValue(); };
    RunStress(THREADS, [&](Int index) {
        for (int key = 0; key < 10; ++key) EXPECT_TRUE(Succeeds(settings->Set(makeKey(index, key), Data(Int(key)))));
    });
    for (int index = 0; index < THREADS; ++index) {
        for (int key = 0; key < 10; ++key) EXPECT_EQ(settings->Get(makeKey(index, key)).GetValueOr(Data()), Data(Int(key)));
    }
    Application::SetHome(Url());
}

}  // namespace
}  // namespace talvo
