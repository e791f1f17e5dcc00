// What only real file systems have: links, fifos, sockets, permissions, other processes.
#include "kernel/io/file_lock.h"
#include "kernel/io/file_system.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/inner_file.h"
#include "kernel/io/mapped_file.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>

namespace talvo {
namespace {

/// A scratch folder with all that is neither file nor folder.
class Disk : public testing::Test {
protected:
    void SetUp() override {
        _scratch.Write("canary/deep/file", "untouched");
        Link("canary", "to-folder");
        Link("canary/deep/file", "to-file");
        Link("nowhere", "dangling");
        Link("loop-b", "loop-a");
        Link("loop-a", "loop-b");
        Link(".", "to-itself");
        ASSERT_EQ(mkfifo((_scratch / "fifo").c_str(), 0666), 0);
        MakeSocket(_scratch / "socket");
    }
    void Link(const char* target, std::string_view name) { ASSERT_EQ(symlink(target, (_scratch / name).c_str()), 0); }
    void MakeSocket(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(path.size(), sizeof(address.sun_path));
        std::strcpy(address.sun_path, path.c_str());
        const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        close(descriptor);
    }
    Url At(std::string_view name) const { return Url::FromSystemPath(_scratch / name); }
    IoConnectionRef Open(std::string_view name) const { return At(name).OpenConnection().GetValue(); }

    ScratchDirectory _scratch;
};

TEST_F(Disk, DetectAndBrowseTellLinksAsWhatTheyPointAt) {
    const struct {
        const char* name;
        IO_DETECT kind;
    } cases[] = {{"to-folder", IO_DETECT::DIRECTORY}, {"to-file", IO_DETECT::FILE}, {"dangling", IO_DETECT::OTHER},
                 {"loop-a", IO_DETECT::OTHER},        {"fifo", IO_DETECT::OTHER},   {"socket", IO_DETECT::OTHER},
                 {"to-itself", IO_DETECT::DIRECTORY}};
    const BaseArray<IoEntry> entries = Open("")->Browse(BROWSE_MODE::NAMES).GetValue();
    for (const auto& c : cases) {
        EXPECT_EQ(At(c.name).IoDetect(), c.kind) << c.name;
        const auto entry = std::find_if(entries.begin(), entries.end(), [&](const IoEntry& e) { return e.name == c.name; });
        ASSERT_NE(entry, entries.end()) << c.name;
        EXPECT_EQ(entry->kind, c.kind) << c.name;
    }
    EXPECT_EQ(Url::FromSystemPath("/dev/null").IoDetect(), IO_DETECT::OTHER);
    EXPECT_EQ(At("loop-a/x").IoDetect(), IO_DETECT::FAILED);
    EXPECT_TRUE(Open("to-file")->IoIsLink().GetValue());
    EXPECT_FALSE(Open("canary")->IoIsLink().GetValue());
}

TEST_F(Disk, NothingWaitsForAFifoOrSocket) {
    for (const std::string name : {"fifo", "socket"}) {
        EXPECT_TRUE(FailsWith<IoError>(At(name).OpenInputStream(), {name, "fifo, socket or device"}));
        EXPECT_TRUE(FailsWith<IoError>(At(name).OpenOutputStream(OUTPUT_MODE::OVERWRITE), {name, "fifo, socket or device"}));
        EXPECT_TRUE(FailsWith<IoError>(At(name).OpenOutputStream(OUTPUT_MODE::APPEND), {name}));
        EXPECT_TRUE(FailsWith<IoError>(Open(name)->IoCopyFile(At("copy")), {name}));
        EXPECT_TRUE(FailsWith<IoError>(At(name).GetContentLength(), {name}));
        EXPECT_TRUE(FailsWith<IoError>(FileLock::Acquire(At(name), {}), {name}));
    }
    EXPECT_TRUE(FailsWith<IoError>(Url::FromSystemPath("/dev/zero").OpenInputStream(), {"/dev/zero"}));
    EXPECT_TRUE(FailsWith<IoError>(At("loop-a").OpenInputStream(), {"loop-a", "link"}));
    EXPECT_EQ(At("copy").IoDetect(), IO_DETECT::NOT_THERE);
}

TEST_F(Disk, OnlyFilesAreMapped) {
    for (const char* name : {"fifo", "socket", "to-file", "dangling", "canary"})
        EXPECT_TRUE(FailsWith<IoError>(MappedFile::Open(At(name)), {name})) << name;
    EXPECT_EQ(MappedFile::Open(At("to-folder/deep/file")).GetValue()->GetBytes(), "untouched");
}

TEST_F(Disk, DeletingATreeFollowsNoLink) {
    std::filesystem::create_directories(_scratch / "tree/sub");
    Link("../canary", "tree/a");
    Link("../../canary", "tree/sub/b");
    Link("..", "tree/sub/up");
    Link("nowhere", "tree/dangling");
    ASSERT_EQ(mkfifo((_scratch / "tree/fifo").c_str(), 0666), 0);
    EXPECT_TRUE(Succeeds(At("tree").IoDelete()));
    EXPECT_EQ(At("tree").IoDetect(), IO_DETECT::NOT_THERE);
    for (const char* link : {"to-folder", "dangling", "loop-a", "fifo", "socket"})
        EXPECT_TRUE(Succeeds(At(link).IoDelete())) << link;
    EXPECT_EQ(_scratch.Read("canary/deep/file"), "untouched");
    EXPECT_EQ(_scratch.List(), "canary/ canary/deep/ canary/deep/file loop-b@ to-file@ to-itself@");
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(Url::FromSystemPath("/").IoDelete()));
}

/// Deeper than any path can name; made by going down one step at a time, with a file at each.
TEST_F(Disk, DeletingWorksBelowTheLongestPath) {
    _scratch.MakeFolder("deep");
    const int depth = 3000;
    int directory = open((_scratch / "deep").c_str(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(mkdirat(directory, "ddddd", 0777), 0);
        close(openat(directory, "f", O_CREAT | O_WRONLY, 0666));
        const int next = openat(directory, "ddddd", O_RDONLY | O_DIRECTORY);
        close(directory);
        directory = next;
    }
    close(directory);
    EXPECT_TRUE(Succeeds(At("deep").IoDelete()));
    EXPECT_EQ(At("deep").IoDetect(), IO_DETECT::NOT_THERE);
}

TEST_F(Disk, ReplacingALinkLeavesWhatItPointsAt) {
    EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(At("to-file"), "new")));
    EXPECT_EQ(_scratch.Read("canary/deep/file"), "untouched");
    EXPECT_FALSE(Open("to-file")->IoIsLink().GetValue());
    EXPECT_TRUE(FailsWith<IoError>(At("dangling").OpenOutputStream(OUTPUT_MODE::CREATE_NEW), {"dangling", "exists"}));
    EXPECT_EQ(At("nowhere").IoDetect(), IO_DETECT::NOT_THERE);
}

TEST_F(Disk, ReplacingKeepsPermissionsAndCopyingTheRightToExecute) {
    const auto mode = [&](const char* name) {
        struct stat status{};
        stat((_scratch / name).c_str(), &status);
        return status.st_mode & 0777;
    };
    _scratch.Write("private", "x");
    chmod((_scratch / "private").c_str(), 0600);
    _scratch.Write("shared", "x");
    chmod((_scratch / "shared").c_str(), 0666);
    for (const char* name : {"private", "shared"}) EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(At(name), "y")));
    EXPECT_EQ(mode("private"), 0600u);
    EXPECT_EQ(mode("shared"), 0666u);
    chmod((_scratch / "private").c_str(), 0500);
    EXPECT_TRUE(Succeeds(Open("private")->IoCopyFile(At("copy"))));
    EXPECT_EQ(mode("copy") & 0700, 0700u);
}

TEST_F(Disk, CopyingATreeNamesWhatItPassesOver) {
    BaseArray<Url> passedOver;
    const ScratchDirectory target;
    EXPECT_TRUE(Succeeds(FileUtilities::CopyFileOrDirectory(_scratch.GetUrl(), target.GetUrl(), &passedOver)));
    EXPECT_EQ(target.List(), "canary/ canary/deep/ canary/deep/file to-file");
    EXPECT_EQ(target.Read("to-file"), "untouched");
    std::string names;
    for (const Url& url : passedOver) names += std::string(url.GetName()) + " ";
    EXPECT_EQ(names, "dangling fifo loop-a loop-b socket to-folder to-itself ");
    EXPECT_EQ(FileUtilities::GetSize(_scratch.GetUrl()).GetValue(), 18) << "the file and the link to it";

    _scratch.Write("s2/f", "x");
    Link("s2", "alias");
    EXPECT_TRUE(Succeeds(FileUtilities::CopyFileOrDirectory(At("s2"), At("alias/copy"), nullptr))) << "not seen, yet it ends";
    EXPECT_EQ(_scratch.List("s2"), "copy/ copy/f f");
}

TEST_F(Disk, CopyingReadsFilesThatTellNoLength) {
    EXPECT_TRUE(Succeeds(Url::FromSystemPath("/proc/self/status").OpenConnection().GetValue()->IoCopyFile(At("status"))));
    EXPECT_NE(_scratch.Read("status").find("Name:"), std::string::npos);
    EXPECT_NE(FileUtilities::ReadFileToMemory(Url::FromSystemPath("/proc/self/status"), 1 << 20).GetValueOr("").find("Name:"),
              std::string::npos);
}

TEST_F(Disk, FilesAreReadBehindTheFirst4GiB) {
    constexpr Int64 LENGTH = (Int64(5) << 30) + 4;
    _scratch.Write("huge", "");
    std::filesystem::resize_file(_scratch / "huge", std::uintmax_t(LENGTH));  // takes no room
    const OutputStreamRef output = At("huge").OpenOutputStream(OUTPUT_MODE::APPEND).GetValue();
    EXPECT_EQ(output->GetPosition(), LENGTH);
    EXPECT_TRUE(Succeeds(output->Write("end")));
    EXPECT_TRUE(Succeeds(output->Close()));
    EXPECT_EQ(FileUtilities::GetSize(At("huge")).GetValueOr(0), LENGTH + 3);
    const InputStreamRef input = At("huge").OpenInputStream().GetValue();
    EXPECT_EQ(input->GetStreamLength(), LENGTH + 3);
    EXPECT_TRUE(Succeeds(input->Seek(1)));
    EXPECT_EQ(input->Skip(LENGTH - 2).GetValueOr(0), LENGTH - 2);
    char bytes[4] = {};
    EXPECT_TRUE(Succeeds(input->Read(Block<char>(bytes, 4))));
    EXPECT_EQ(std::string_view(bytes, 4), std::string_view("\0end", 4));
}

TEST_F(Disk, NamesThatAreNoTextKeepTheirBytes) {
    const std::string name = "\xff\x80 \n\x1b?#%";
    EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(At(name), "x")));
    EXPECT_EQ(_scratch.Read(name), "x");
    const Url parsed = Url::Parse(At(name).GetUrl()).GetValue();
    EXPECT_EQ(FileUtilities::ReadFileToMemory(parsed, 10).GetValueOr(""), "x");
    EXPECT_TRUE(FailsWith<IoError>(At(name + "/x").OpenInputStream(), {"\xef\xbf\xbd"})) << "messages are UTF-8";
}

TEST_F(Disk, TooManyOpenFilesIsAnErrorThatSaysWhatToDo) {
    EXPECT_TRUE(Succeeds(FaultPlan::Set("failfrom@1:EMFILE")));
    const Result<InputStreamRef> opened = At("canary/deep/file").OpenInputStream();
    const Result<void> written = FileUtilities::WriteFileFromMemory(At("x"), "x");
    FaultPlan::Clear();
    EXPECT_TRUE(FailsWith<IoError>(opened, {"canary/deep/file", "ulimit"}));
    EXPECT_TRUE(FailsWith<IoError>(written, {"x", "ulimit"}));
}

TEST_F(Disk, AFileThatIsLockedAgainAndAgainIsTheOneOfThatName) {
    const Url file = At("lock");
    _scratch.Write("lock", "first");
    LockFile lock(file, {});
    for (const std::string_view bytes : {"second", "third"}) {
        EXPECT_TRUE(Succeeds(lock.Lock()));
        EXPECT_TRUE(FailsWith<IoError>(FileLock::Acquire(file, {.milliseconds = 0}), {"Another process"}));
        lock.Unlock();
        EXPECT_TRUE(Succeeds(FileLock::Acquire(file, {.milliseconds = 0}))) << "open, but not locked";
        EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(file, bytes))) << "replaced by rename";
    }
    EXPECT_TRUE(Succeeds(lock.Lock()));
    EXPECT_TRUE(FailsWith<IoError>(FileLock::Acquire(file, {.milliseconds = 0}), {"Another process"}));
    lock.Unlock();
    EXPECT_TRUE(Succeeds(file.IoDelete()));
    EXPECT_TRUE(FailsWith<IoError>(lock.Lock(), {"lock"}));
}

TEST_F(Disk, ALockKeepsOthersOutUntilItsHolderEnds) {
    const Url file = At("lock");
    EXPECT_TRUE(FailsWith<IoError>(FileLock::Acquire(file, {}), {"lock"})) << "the file must exist";
    {
        const Result<FileLock> held = FileLock::Acquire(file, {.file = FileLockOptions::MAKE});
        ASSERT_TRUE(Succeeds(held));
        EXPECT_TRUE(FailsWith<IoError>(FileLock::Acquire(file, {.milliseconds = 0}), {"lock", "Another process"}));
        // Replaced while it is held: the new file is another's to lock, and who waits for the old name gets it.
        EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(file, "new")));
        EXPECT_TRUE(Succeeds(FileLock::Acquire(file, {.milliseconds = 0})));
    }
    const pid_t child = fork();
    if (child == 0) {
        const auto held = FileLock::Acquire(file, {});
        kill(getpid(), SIGKILL);
        _exit(held.IsOk());
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(Succeeds(FileLock::Acquire(file, {.milliseconds = 0})));
}

TEST_F(Disk, TheWayToAnInnerFileLeadsThroughNoLink) {
    const Url root = _scratch.GetUrl();
    Link(".", "root");
    EXPECT_EQ(
        FileUtilities::ReadStreamToMemory(*OpenInputStreamBelow(root + "root", "canary/deep/file").GetValue(), 100).GetValue(),
        "untouched")
        << "the root itself may be one";
    EXPECT_EQ(LookBelow(root, "canary/deep/file").GetValue().length, 9);
    for (const char* inner : {"to-file", "to-folder/deep/file", "to-itself/canary/deep/file", "loop-a", "fifo", "socket",
                              "canary", "canary/deep/file/more", "missing"}) {
        EXPECT_TRUE(FailsWith<IoError>(OpenInputStreamBelow(root, inner), {inner})) << inner;
        EXPECT_TRUE(FailsWith<IoError>(LookBelow(root, inner), {inner})) << inner;
        EXPECT_EQ(CheckNoLinkBelow(root, inner).IsError(), std::string_view(inner).starts_with("to") || inner[0] == 'l') << inner;
    }
    for (const char* inner : {"", ".", "..", "canary/../canary/deep/file", "canary//deep/file", "/canary", "canary/"})
        EXPECT_TRUE(FailsWith<IllegalArgumentError>(OpenInputStreamBelow(root, inner))) << inner;
}

}  // namespace
}  // namespace talvo
