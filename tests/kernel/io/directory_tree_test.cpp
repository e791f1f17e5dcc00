#include "kernel/io/directory_tree.h"
#include "kernel/base/hashing.h"
#include "kernel/io/file_system.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "kernel/text/string.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace talvo {
namespace {

constexpr const char* MAGIC = "TALVODIR";

std::string Number(UInt value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += char(value >> (8 * i) & 0xff);
    return text;
}
std::string Names(std::initializer_list<std::string_view> components) {
    std::string bytes = Number(components.size(), 1);
    for (const std::string_view component : components) bytes += Number(component.size(), 2) + std::string(component);
    return bytes;
}
std::string Rest(char kind, UInt size, UInt time) { return kind + Number(size, 8) + Number(time, 8) + Number(0, 4); }
std::string Framed(UInt count, std::string_view entries) {
    std::string bytes = MAGIC + Number(1, 4) + Number(count, 8) + std::string(entries);
    return bytes + Number(GetStoredHash64(bytes), 8);
}

class DirectoryTree : public testing::Test {
protected:
    Url At(std::string_view name) const { return _scratch.GetUrl() + name; }
    Result<Bool> Read(const Receiver<DirectoryTreeEntry>& receiver) const {
        return FileUtilities::ReadDirectoryTree(At("tree.dat"), receiver);
    }
    /// Each entry as "path size" or "path/", joined by blanks; the error's text if it can't be read.
    std::string List() const {
        std::string list;
        const Result<Bool> read = Read([&](const DirectoryTreeEntry& entry) -> Result<Bool> {
            list += list.empty() ? "" : " ";
            for (const std::string_view component : entry.components) (list += component) += '/';
            if (entry.kind == IO_DETECT::FILE) list.back() = ':', list += std::to_string(entry.size);
            return true;
        });
        return read.IsError() ? read.GetError()->GetMessage() : list;
    }
    Result<void> Write(const Url& root) const {
        return FileUtilities::WriteDirectoryTree(root, At("tree.dat"), [](const Url&) -> Result<Bool> { return true; });
    }

    ScratchDirectory _scratch;
};

TEST_F(DirectoryTree, FilesAndFoldersStandInTheOrderOfTheirBytes) {
    const MemoryVolumeRef volume = MemoryVolume::Create().GetValue();
    for (const char* name : {"b/z", "b/a/deep", "B", "b.c", "\xc3\xa4", ".hidden", ".~litter/x", "b/.~half"})
        _scratch.Write(std::string("root/") + name, name);
    _scratch.MakeFolder("root/empty");
    ASSERT_TRUE(Succeeds(FileUtilities::CopyFileOrDirectory(At("root"), volume->GetRoot() + "root", nullptr)));
    ASSERT_EQ(symlink("b", (_scratch / "root/link").c_str()), 0);
    ASSERT_EQ(mkfifo((_scratch / "root/fifo").c_str(), 0666), 0);
    ASSERT_EQ(symlink("root", (_scratch / "way").c_str()), 0);
    const char* const expected = ".hidden:7 B:1 b/ b/a/ b/a/deep:8 b/z:3 b.c:3 empty/ \xc3\xa4:2";
    for (const Url& root : {At("root"), At("way"), volume->GetRoot() + "root"}) {
        EXPECT_TRUE(Succeeds(Write(root)));
        EXPECT_EQ(List(), expected) << root.GetUrl();
    }
}

TEST_F(DirectoryTree, TheFilterLeavesOutFilesAndWholeFolders) {
    for (const char* name : {"root/a/in", "root/b/in", "root/c"}) _scratch.Write(name, "");
    std::string asked;
    const auto filter = [&](const Url& url) -> Result<Bool> {
        asked += url.GetPath().substr(_scratch.GetPath().size() + 5);
        return url.GetName() != "a" && url.GetName() != "c";
    };
    EXPECT_TRUE(Succeeds(FileUtilities::WriteDirectoryTree(At("root"), At("tree.dat"), filter)));
    EXPECT_EQ(List(), "b/ b/in:0");
    EXPECT_EQ(asked, "/a/b/b/in/c");
    const std::string before = _scratch.Read("tree.dat");
    const auto stop = [](const Url&) -> Result<Bool> { return OperationCancelledError::Create("stop"); };
    EXPECT_TRUE(FailsWith<OperationCancelledError>(FileUtilities::WriteDirectoryTree(At("root"), At("tree.dat"), stop)));
    EXPECT_EQ(_scratch.Read("tree.dat"), before);
}

TEST_F(DirectoryTree, BytesStayAsTheyWereOnceWritten) {
    DirectoryTreeWriter writer;
    EXPECT_TRUE(Succeeds(writer.Add({{"chair"}, IO_DETECT::DIRECTORY, 0, UniversalDateTime(5), {}})));
    EXPECT_TRUE(Succeeds(writer.Add({{"chair", "asset.png"}, IO_DETECT::FILE, 0x1234, UniversalDateTime(-1), {}})));
    EXPECT_TRUE(Succeeds(writer.Write(At("tree.dat"))));
    const std::string golden =
        Framed(2, Names({"chair"}) + Rest('d', 0, 5) + Names({"chair", "asset.png"}) + Rest('f', 0x1234, UInt(-1)));
    EXPECT_EQ(_scratch.Read("tree.dat"), golden);
}

TEST_F(DirectoryTree, EntriesKeepTimeAndDictionaryThroughManyBlocks) {
    DirectoryTreeWriter writer;
    DataDictionary dictionary;
    dictionary.Set("net.talvo.test.note"_id, String(std::string(5000, 'n')));
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) names.push_back("entry" + std::to_string(10000 + i));
    for (const std::string& name : names)
        EXPECT_TRUE(Succeeds(writer.Add({{name}, IO_DETECT::FILE, 1, UniversalDateTime(7), dictionary})));
    EXPECT_TRUE(Succeeds(writer.Write(At("tree.dat"))));
    std::size_t count = 0;
    EXPECT_TRUE(Read([&](const DirectoryTreeEntry& entry) -> Result<Bool> {
                    EXPECT_EQ(entry.components.front(), names[count++]);
                    EXPECT_EQ(entry.dictionary, dictionary);
                    EXPECT_EQ(entry.time, UniversalDateTime(7));
                    return true;
                }).GetValue());
    EXPECT_EQ(count, names.size());
    EXPECT_FALSE(Read([&](const DirectoryTreeEntry&) -> Result<Bool> { return false; }).GetValue());
    EXPECT_TRUE(FailsWith<FileFormatError>(
        Read([&](const DirectoryTreeEntry&) -> Result<Bool> { return FileFormatError::Create("mine"); }), {"mine"}));
    dictionary.Set("net.talvo.test.note"_id, String(std::string(std::size_t(MAX_DIRECTORY_TREE_DICTIONARY), 'n')));
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(writer.Add({{"more"}, IO_DETECT::FILE, 1, {}, dictionary})));
}

TEST_F(DirectoryTree, WhatNoWriterWritesIsRefusedBeforeAnyOfItIsHandedOut) {
    const std::string folder = Names({"a"}) + Rest('d', 0, 0);
    const std::string file = Names({"f"}) + Rest('f', 0, 0);
    std::string deep, path;
    for (int i = 1; i <= MAX_DIRECTORY_TREE_DEPTH + 1; ++i) {
        path += Names({"d"}).substr(1);
        deep += Number(UInt(i), 1) + path + Rest('d', 0, 0);
    }
    const std::string sound = Framed(2, folder + file);
    const struct {
        const char* why;
        std::string bytes;
        const char* part;
    } cases[] = {
        {"nothing", "", "another kind"},
        {"another file", Framed(0, "").replace(0, 8, "TALVODOC"), "another kind"},
        {"head alone", MAGIC + Number(1, 4) + Number(0, 8), "cut short"},
        {"cut", sound.substr(0, sound.size() - 1), "checksum"},
        {"more", sound + "x", "checksum"},
        {"one entry less than told", Framed(2, Names({std::string(30, 'x')}) + Rest('f', 0, 0)), "length"},
        {"far fewer than told", Framed(UInt(-1), folder + file), "fewer entries"},
        {"one more than told", Framed(1, folder + file), "more entries"},
        {"no components", Framed(1, Number(0, 1) + Rest('f', 0, 0) + "xxxx"), "no name"},
        {"empty name", Framed(1, Names({""}) + Rest('f', 0, 0) + "xx"), "none that a file can have"},
        {"here", Framed(1, Names({"."}) + Rest('f', 0, 0)), "none that a file can have"},
        {"up", Framed(2, folder + Names({"a", ".."}) + Rest('f', 0, 0)), "\"a/..\""},
        {"slash", Framed(1, Names({"a/b"}) + Rest('f', 0, 0)), "none that a file can have"},
        {"NUL", Framed(1, Names({std::string_view("a\0b", 3)}) + Rest('f', 0, 0)), "none that a file can have"},
        {"too deep", Framed(MAX_DIRECTORY_TREE_DEPTH + 1, deep), "too deep"},
        {"name beyond the end", Framed(1, Number(1, 1) + Number(65535, 2) + "abc" + Rest('f', 0, 0)), "length"},
        {"kind", Framed(1, Names({"a"}) + Rest('l', 0, 0)), "kind"},
        {"size", Framed(1, Names({"a"}) + Rest('f', UInt(-1), 0)), "size"},
        {"twice", Framed(2, file + file), "twice"},
        {"disorder", Framed(2, file + folder), "order"},
        {"folder missing", Framed(1, Names({"a", "b"}) + Rest('f', 0, 0)), "missing"},
        {"in another folder", Framed(2, folder + Names({"b", "c"}) + Rest('f', 0, 0)), "does not stand before"},
        {"in a file", Framed(2, file + Names({"f", "c"}) + Rest('f', 0, 0)), "lies in a file"},
        {"dictionary that is none", Framed(1, Names({"a"}) + Rest('f', 0, 0).substr(0, 17) + Number(3, 4) + "abc"), "dictionary"},
        {"endless dictionary", Framed(1, Names({"a"}) + Rest('f', 0, 0).substr(0, 17) + Number(UInt(-1), 4)), "dictionary"},
        {"another version",
         [] {
             std::string bytes = MAGIC + Number(2, 4) + Number(0, 8);
             return bytes + Number(GetStoredHash64(bytes), 8);
         }(),
         "version 2"},
    };
    for (const auto& c : cases) {
        _scratch.Write("tree.dat", c.bytes);
        const auto receiver = [](const DirectoryTreeEntry&) -> Result<Bool> { return UnexpectedError::Create("handed out"); };
        EXPECT_TRUE(FailsWith<FileFormatError>(Read(receiver), {"tree.dat", c.part})) << c.why;
    }
    _scratch.Write("tree.dat", sound);
    EXPECT_EQ(List(), "a/ f:0");
    for (std::size_t at = 0; at < sound.size(); ++at) {
        std::string flipped = sound;
        flipped[at] = char(flipped[at] ^ 4);
        _scratch.Write("tree.dat", flipped);
        EXPECT_TRUE(FailsWith<FileFormatError>(Read([](const DirectoryTreeEntry&) -> Result<Bool> { return true; }))) << at;
    }
}

TEST_F(DirectoryTree, WhatCannotBeReadOrWritten) {
    EXPECT_TRUE(FailsWith<IoError>(Read([](const DirectoryTreeEntry&) -> Result<Bool> { return true; }), {"tree.dat"}));
    EXPECT_TRUE(FailsWith<IoError>(Write(At("missing")), {"missing"}));
    EXPECT_TRUE(FailsWith<IoError>(DirectoryTreeWriter().Write(At("missing/tree.dat")), {"missing"}));
    std::string path = "root";
    for (int i = 0; i < MAX_DIRECTORY_TREE_DEPTH; ++i) path += "/d";
    _scratch.MakeFolder(path);
    EXPECT_TRUE(Succeeds(Write(At("root"))));
    EXPECT_EQ(List().size(), 64u * 65 + 63);
    _scratch.Write(path + "/file", "");
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(Write(At("root")), {"64"}));
    DirectoryTreeWriter writer;
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(writer.Add({{"a", "b"}, IO_DETECT::FILE, 0, {}, {}}), {"a/b", "missing"}));
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(writer.Add({{"a"}, IO_DETECT::OTHER, 0, {}, {}}), {"neither"}));
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(writer.Add({{"a"}, IO_DETECT::FILE, -1, {}, {}}), {"size"}));
}

#ifdef TALVO_FAULTS
TEST_F(DirectoryTree, IsWrittenWholeOrNotAtAllWhicheverOperationFails) {
    for (const char* name : {"root/a/in", "root/b"}) _scratch.Write(name, "");
    for (Int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        _scratch.Write("tree.dat", "old");
        FaultPlan::SetScope(_scratch.GetPath());
        ASSERT_TRUE(Succeeds(FaultPlan::Set("fail@" + std::to_string(nth) + ":EIO")));
        const Result<void> written = Write(At("root"));
        const Bool hit = FaultPlan::WasHit();
        FaultPlan::Clear();
        FaultPlan::SetScope({});
        EXPECT_EQ(_scratch.List(), "root/ root/a/ root/a/in root/b tree.dat");
        if (!hit) break;
        EXPECT_TRUE(FailsWith<IoError>(written, {_scratch.GetPath()}));
        EXPECT_EQ(_scratch.Read("tree.dat"), "old");
        ASSERT_LT(nth, 100);
    }
    EXPECT_EQ(List(), "a/ a/in:0 b:0");
}
#endif

}  // namespace
}  // namespace talvo
