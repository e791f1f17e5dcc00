#include "assets/asset_type.h"

#include "kernel/app/log.h"
#include "kernel/io/memory_volume.h"
#include "support/asset_test_support.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>

namespace talvo {

using testing::HasSubstr;

namespace {

AssetHashStream MakeHasher() {
    return [](OutputStreamRef target, std::string& digest) { return CreateHashingOutputStream(std::move(target), digest); };
}

std::string Sha256(std::string_view bytes) {
    std::string digest;
    const OutputStreamRef output = Need(CreateHashingOutputStream(Need(CreateNullOutputStream()), digest));
    Need(output->Write(bytes));
    Need(output->Close());
    return ToHex(digest);
}

/// The hash as 64 digits; nothing is copied.
std::string HashTree(const Url& source) {
    std::string digest;
    Need(StoreTree(source, Url(), MakeHasher(), digest));
    return ToHex(digest);
}

/// Collects the warnings of its lifetime.
class WarningCollector {
public:
    WarningCollector() {
        SetLogSink([this](LOG_LEVEL level, const std::string& line) {
            if (level == LOG_LEVEL::WARNING) lines += line + "\n";
        });
    }
    ~WarningCollector() { SetLogSink(nullptr); }
    std::string lines;
};

}  // namespace

TEST(StoreTree, hashesAFileByItsBytesAndADirectoryByItsSortedListing) {
    const ScratchDirectory scratch;
    scratch.Write("tree/b.txt", "b");
    scratch.Write("tree/A.TXT", "");
    scratch.Write("tree/.hidden", "dot");
    scratch.Write("tree/Sub/c", "c");
    scratch.MakeFolder("tree/empty");
    EXPECT_EQ(HashTree(scratch.GetUrl() + "tree" + "A.TXT"), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");

    // The listing written out by hand: names in lower case, sorted by them.
    const std::string sub = Sha256(Sha256("c") + "  c\n");
    const std::string listing = Sha256("dot") + "  .hidden\n" + Sha256("") + "  a.txt\n" + Sha256("b") + "  b.txt\n" +
                                Sha256("") + "  empty\n" + sub + "  sub\n";
    EXPECT_EQ(HashTree(scratch.GetUrl() + "tree"), Sha256(listing));
    EXPECT_EQ(HashTree(scratch.GetUrl() + "tree" + "empty"), Sha256(""));
}

TEST(StoreTree, hashesWhateverTheOrderOfCreation) {
    const ScratchDirectory scratch;
    const std::vector<std::string> names{"z", "\xc3\x84.txt", "\xc3\xa4.txt", "m/x", "m/y", "\xff\x01", "10", "9"};
    for (const std::string& name : names) scratch.Write("one/" + name, name);
    for (auto name = names.rbegin(); name != names.rend(); ++name) scratch.Write("two/" + *name, *name);
    EXPECT_EQ(HashTree(scratch.GetUrl() + "one"), HashTree(scratch.GetUrl() + "two")) << "also with names that fold alike";
    scratch.Write("two/m/y", "other");
    EXPECT_NE(HashTree(scratch.GetUrl() + "one"), HashTree(scratch.GetUrl() + "two"));
}

TEST(StoreTree, copiesAndHashesAtOnce) {
    const ScratchDirectory scratch;
    scratch.Write("tree/Sub/B.txt", std::string(300000, 'b'));
    scratch.Write("tree/\xff", "raw");
    const auto volume = Need(MemoryVolume::Create());
    const Url target = volume->GetRoot() + "copy";
    std::string digest;
    Need(StoreTree(scratch.GetUrl() + "tree", target, MakeHasher(), digest));
    EXPECT_EQ(ToHex(digest), HashTree(scratch.GetUrl() + "tree"));
    EXPECT_EQ(HashTree(target), ToHex(digest)) << "the copy is the same tree, names as they stand";
    std::string untouched = "untouched";
    Need(StoreTree(scratch.GetUrl() + "tree", volume->GetRoot() + "plain", AssetHashStream(), untouched));
    EXPECT_EQ(untouched, "untouched") << "without a hash stream there is no digest";
    EXPECT_EQ(HashTree(volume->GetRoot() + "plain"), ToHex(digest));
}

TEST(StoreTree, passesOverWhatIsNeitherFileNorDirectory) {
    const ScratchDirectory scratch;
    scratch.Write("tree/file", "bytes");
    const std::string plain = HashTree(scratch.GetUrl() + "tree");
    ASSERT_EQ(symlink("file", (scratch / "tree/link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (scratch / "tree/dangling").c_str()), 0);
    ASSERT_EQ(symlink("..", (scratch / "tree/loop").c_str()), 0);
    ASSERT_EQ(mkfifo((scratch / "tree/fifo").c_str(), 0600), 0);
    const int socketFile = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, (scratch / "tree/socket").c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(socketFile, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);

    const WarningCollector warnings;
    EXPECT_EQ(HashTree(scratch.GetUrl() + "tree"), plain);
    for (const char* name : {"link", "dangling", "loop", "fifo", "socket"})
        EXPECT_THAT(warnings.lines, HasSubstr(std::string("tree/") + name));
    std::string digest;
    EXPECT_THAT(StoreTree(scratch.GetUrl() + "tree" + "fifo", Url(), MakeHasher(), digest), FailsWith<IoError>("tree/fifo"))
        << "as the payload itself it is an error";
    close(socketFile);
}

TEST(StoreTree, namesWhatItCanNotStore) {
    const ScratchDirectory scratch;
    scratch.Write("tree/file", "bytes");
    std::string digest;
    EXPECT_THAT(StoreTree(scratch.GetUrl() + "missing", Url(), MakeHasher(), digest), FailsWith<IoError>("missing"));
    EXPECT_THAT(StoreTree(scratch.GetUrl() + "tree", scratch.GetUrl() + "tree" + "inside", MakeHasher(), digest),
                FailsWith<IllegalArgumentError>("tree/inside"));
    EXPECT_THAT(StoreTree(scratch.GetUrl() + "tree" + "file", scratch.GetUrl() + "tree" + "file", MakeHasher(), digest),
                FailsWith<IllegalArgumentError>("tree/file"))
        << "a file copied over itself would be emptied";
    EXPECT_EQ(scratch.Read("tree/file"), "bytes");
    const AssetHashStream shortHash = [](OutputStreamRef target, std::string& out) -> Result<OutputStreamRef> {
        out = "short";
        return target;
    };
    EXPECT_THAT(StoreTree(scratch.GetUrl() + "tree", Url(), shortHash, digest),
                FailsWith<IllegalStateError>("Illegal state: Condition hash.GetLength() == HASH_LEN/2 not fulfilled. "));
}

TEST(StoreTree, refusesTreesWithoutAnEnd) {
    const auto volume = Need(MemoryVolume::Create());
    Url deep = volume->GetRoot() + "tree";
    for (Int i = 0; i < 200; ++i) deep.Append("d");
    Need(deep.IoCreateDirectory());
    std::string digest;
    EXPECT_THAT(StoreTree(volume->GetRoot() + "tree", Url(), MakeHasher(), digest), FailsWith<IoError>("d/d/d"));
    EXPECT_THAT(StoreTree(volume->GetRoot() + "tree" + "d", Url(), MakeHasher(), digest), Succeeds());
}

TEST(StoreTree, noticesAFileThatChangesWhileItIsRead) {
    const ScratchDirectory scratch;
    const std::string path = scratch / "tree/log";
    const struct {
        const char* why;
        std::function<void()> change;
        Bool isError;
    } cases[]{
        {"shorter", [&] { std::filesystem::resize_file(path, 60); }, true},
        {"longer", [&] { std::filesystem::resize_file(path, 140); }, true},
        {"written to in place",  // the time is what tells, and clocks are coarse
         [&] { std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(1)); }, true},
        {"gone: what is open stays whole", [&] { std::filesystem::remove(path); }, false},
        {"replaced: what is open stays whole",
         [&] {
             scratch.Write("other", "other");
             std::filesystem::rename(scratch / "other", path);
         },
         false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        scratch.Write("tree/log", std::string(100, 'x'));
        // The hash is asked for when the file is open.
        const AssetHashStream changer = [&](OutputStreamRef target, std::string& digest) {
            c.change();
            return CreateHashingOutputStream(std::move(target), digest);
        };
        std::string digest;
        const Result<void> stored = StoreTree(scratch.GetUrl() + "tree" + "log", Url(), changer, digest);
        if (c.isError) {
            EXPECT_THAT(stored, FailsWith<IoError>("tree/log"));
            EXPECT_EQ(digest, "") << "nobody takes the hash of a mixture for one of a file";
        } else {
            EXPECT_EQ(ToHex(digest), Sha256(std::string(100, 'x')));
        }
    }
}

}  // namespace talvo
