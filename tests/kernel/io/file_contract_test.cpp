// What every scheme of files promises, run on each of them.
#include "kernel/io/file_utilities.h"
#include "kernel/io/mapped_file.h"
#include "kernel/io/memory_volume.h"
#include "support/result_matchers.h"
#include "support/scratch_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace talvo {
namespace {

class OnDisk {
public:
    Url GetRoot() const { return _scratch.GetUrl(); }

private:
    ScratchDirectory _scratch;
};

class InMemory {
public:
    Url GetRoot() const { return _volume->GetRoot(); }

private:
    MemoryVolumeRef _volume = MemoryVolume::Create().GetValue();
};

template <typename PLACE>
class Files : public testing::Test {
protected:
    Url At(std::string_view name) const { return _place.GetRoot() + name; }
    void Write(std::string_view name, std::string_view bytes) {
        EXPECT_TRUE(Succeeds(At(name).GetDirectory().IoCreateDirectory()));
        EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(At(name), bytes))) << name;
    }
    std::string Read(std::string_view name) const {
        return FileUtilities::ReadFileToMemory(At(name), 1 << 20).GetValueOr("(unreadable)");
    }
    /// Names of a folder, folders with "/", joined by blanks.
    std::string List(std::string_view name) const {
        std::string list;
        for (const IoEntry& entry : At(name).OpenConnection().GetValue()->Browse(BROWSE_MODE::NAMES).GetValue()) {
            list += (list.empty() ? "" : " ") + entry.name + (entry.kind == IO_DETECT::DIRECTORY ? "/" : "");
        }
        return list;
    }
    Result<void> WriteBy(OUTPUT_MODE mode, std::string_view name, std::string_view bytes) {
        const OutputStreamRef stream = TRY(At(name).OpenOutputStream(mode));
        TRY(stream->Write(bytes));
        return stream->Close();
    }

    PLACE _place;
};
using Places = testing::Types<OnDisk, InMemory>;
TYPED_TEST_SUITE(Files, Places);

TYPED_TEST(Files, AreSeenAsTheyWereWhenTheyWereMapped) {
    this->Write("folder/empty", "");
    this->Write("file", "first");
    const MappedFileRef first = MappedFile::Open(this->At("file")).GetValue();
    this->Write("file", "and longer");
    EXPECT_EQ(first->GetBytes(), "first");
    EXPECT_EQ(MappedFile::Open(this->At("file")).GetValue()->GetBytes(), "and longer");
    EXPECT_EQ(MappedFile::Open(this->At("folder/empty")).GetValue()->GetBytes(), "");
    for (const char* name : {"missing", "folder", "file/below"})
        EXPECT_TRUE(FailsWith<IoError>(MappedFile::Open(this->At(name)), {name})) << name;
}

TYPED_TEST(Files, EachModeTreatsWhatIsThereInItsWay) {
    EXPECT_TRUE(Succeeds(this->WriteBy(OUTPUT_MODE::CREATE_NEW, "a", "one")));
    EXPECT_TRUE(FailsWith<IoError>(this->WriteBy(OUTPUT_MODE::CREATE_NEW, "a", "two"), {"a", "exists"}));
    EXPECT_EQ(this->Read("a"), "one");
    EXPECT_TRUE(Succeeds(this->WriteBy(OUTPUT_MODE::APPEND, "a", "+")));
    EXPECT_EQ(this->Read("a"), "one+");
    EXPECT_TRUE(Succeeds(this->WriteBy(OUTPUT_MODE::OVERWRITE, "a", "2")));
    EXPECT_EQ(this->Read("a"), "2");
    EXPECT_TRUE(Succeeds(this->WriteBy(OUTPUT_MODE::REPLACE, "a", "three")));
    EXPECT_EQ(this->Read("a"), "three");
    EXPECT_EQ(this->At("a").GetContentLength().GetValue(), 5);

    this->Write("d/x", "");
    for (const OUTPUT_MODE mode : {OUTPUT_MODE::OVERWRITE, OUTPUT_MODE::APPEND, OUTPUT_MODE::REPLACE, OUTPUT_MODE::CREATE_NEW}) {
        EXPECT_TRUE(FailsWith<IoError>(this->WriteBy(mode, "d", "x"), {"d"})) << "a folder";
        EXPECT_TRUE(FailsWith<IoError>(this->WriteBy(mode, "missing/y", "x"), {"missing/y"})) << "no folder";
        EXPECT_TRUE(FailsWith<IoError>(this->WriteBy(mode, "a/y", "x"), {"a/y"})) << "below a file";
    }
    EXPECT_EQ(this->List(""), "a d/");
}

TYPED_TEST(Files, AReplaceStreamDroppedWithoutCloseLeavesTheOldFileAndNothingElse) {
    this->Write("a", "old");
    {
        const OutputStreamRef stream = this->At("a").OpenOutputStream(OUTPUT_MODE::REPLACE).GetValue();
        EXPECT_TRUE(Succeeds(stream->Write(std::string(200000, 'x'))));
        EXPECT_EQ(this->Read("a"), "old");
    }
    EXPECT_EQ(this->Read("a"), "old");
    EXPECT_EQ(this->List(""), "a");
}

TYPED_TEST(Files, AReplaceStreamWhoseFolderWentFailsInClose) {
    this->Write("d/a", "old");
    const OutputStreamRef stream = this->At("d/a").OpenOutputStream(OUTPUT_MODE::REPLACE).GetValue();
    EXPECT_TRUE(Succeeds(stream->Write("new")));
    EXPECT_TRUE(Succeeds(this->At("d").IoDelete()));
    EXPECT_TRUE(FailsWith<IoError>(stream->Close(), {"d/a"}));
    EXPECT_TRUE(FailsWith<IoError>(stream->Close(), {"d/a"})) << "and says so again";
    EXPECT_TRUE(FailsWith<IllegalStateError>(stream->Write("more")));
    EXPECT_EQ(this->List(""), "");
}

TYPED_TEST(Files, AnOpenStreamReadsOnAfterItsFileWasReplaced) {
    this->Write("a", "old content");
    const InputStreamRef stream = this->At("a").OpenInputStream().GetValue();
    this->Write("a", "new");
    char buffer[20];
    EXPECT_EQ(stream->ReadEOS(Block<char>(buffer, 4)).GetValue(), 4);
    EXPECT_EQ(stream->Skip(3).GetValue(), 3);
    EXPECT_EQ(stream->ReadEOS(Block<char>(buffer + 4, 16)).GetValue(), 4);
    EXPECT_EQ(std::string(buffer, 8), "old tent");
    EXPECT_EQ(stream->Skip(100).GetValue(), 0);
    EXPECT_TRUE(FailsWith<IoError>(stream->Read(Block<char>(buffer, 1)), {"Unexpected end of ", "a."}));
    EXPECT_TRUE(Succeeds(stream->Seek(1)));
    EXPECT_TRUE(Succeeds(stream->Read(Block<char>(buffer, 2))));
    EXPECT_EQ(std::string(buffer, 2), "ld");
}

TYPED_TEST(Files, FoldersAreMadeWithThoseAboveOrExclusively) {
    EXPECT_TRUE(Succeeds(this->At("a/b/c").IoCreateDirectory()));
    EXPECT_TRUE(Succeeds(this->At("a/b/c").IoCreateDirectory())) << "one that exists is fine";
    EXPECT_FALSE(this->At("a/b").IoCreateDirectoryExclusive().GetValue());
    EXPECT_TRUE(this->At("a/d").IoCreateDirectoryExclusive().GetValue());
    EXPECT_TRUE(FailsWith<IoError>(this->At("x/y").IoCreateDirectoryExclusive(), {"x/y"})) << "not with those above";
    this->Write("f", "");
    EXPECT_TRUE(FailsWith<IoError>(this->At("f").IoCreateDirectory(), {"f"}));
    EXPECT_TRUE(FailsWith<IoError>(this->At("f/g/h").IoCreateDirectory(), {"f"}));
    EXPECT_FALSE(this->At("f").IoCreateDirectoryExclusive().GetValue()) << "something is there";
    EXPECT_EQ(this->List("a"), "b/ d/");
}

TYPED_TEST(Files, DetectTellsWhatIsThere) {
    this->Write("d/f", "x");
    EXPECT_EQ(this->At("d/f").IoDetect(), IO_DETECT::FILE);
    EXPECT_EQ(this->At("d").IoDetect(), IO_DETECT::DIRECTORY);
    EXPECT_EQ(this->At("x").IoDetect(), IO_DETECT::NOT_THERE);
    EXPECT_EQ(this->At("x/y").IoDetect(), IO_DETECT::NOT_THERE);
    EXPECT_EQ(this->At("d/f/y").IoDetect(), IO_DETECT::NOT_THERE) << "below a file";
    EXPECT_EQ(this->At("d/../d/./f").IoDetect(), IO_DETECT::FILE);
    EXPECT_EQ(this->At(std::string(300, 'n')).IoDetect(), IO_DETECT::FAILED);
    EXPECT_TRUE(FailsWith<IoError>(this->WriteBy(OUTPUT_MODE::REPLACE, std::string(300, 'n'), ""), {"Use a shorter name."}));
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(this->At(std::string("a\0b", 3)).OpenInputStream(), {"NUL"}));
    EXPECT_TRUE(FailsWith<IoError>(this->At("d").GetContentLength(), {"d"}));
    EXPECT_TRUE(FailsWith<IoError>(this->At("d").OpenInputStream(), {"d"}));
}

TYPED_TEST(Files, BrowseGivesAllNamesSortedByTheirBytes) {
    for (const char* name : {"b", "B", ".h", "a10", "a9", "\xff", "\xc3\xa4"}) this->Write(name, "12");
    this->Write("d/x", "");
    const auto entries = this->At("").OpenConnection().GetValue()->Browse(BROWSE_MODE::NAMES_AND_SIZES).GetValue();
    std::string names;
    for (const IoEntry& entry : entries) {
        names += entry.name + "|";
        EXPECT_EQ(entry.size, entry.kind == IO_DETECT::FILE ? 2 : -1) << entry.name;
    }
    EXPECT_EQ(names, ".h|B|a10|a9|b|d|\xc3\xa4|\xff|");
    EXPECT_TRUE(FailsWith<IoError>(this->At("b").OpenConnection().GetValue()->Browse(BROWSE_MODE::NAMES), {"b"}));
}

TYPED_TEST(Files, RenameKeepsReplacesOrExchanges) {
    this->Write("a", "A");
    this->Write("b", "B");
    this->Write("d/x", "X");
    this->Write("e/f/y", "Y");
    EXPECT_TRUE(FailsWith<IoError>(this->At("a").IoRename(this->At("b"), RENAME_MODE::NO_REPLACE), {"a to ", "b: ", "exists"}));
    EXPECT_TRUE(FailsWith<IoError>(this->At("d").IoRename(this->At("e"), RENAME_MODE::NO_REPLACE), {"exists"}));
    EXPECT_TRUE(Succeeds(this->At("a").IoRename(this->At("c"), RENAME_MODE::NO_REPLACE)));
    EXPECT_TRUE(Succeeds(this->At("c").IoRename(this->At("b"), RENAME_MODE::REPLACE)));
    EXPECT_EQ(this->Read("b"), "A");
    EXPECT_TRUE(Succeeds(this->At("d").IoRename(this->At("e"), RENAME_MODE::EXCHANGE)));
    EXPECT_EQ(this->Read("d/f/y") + this->Read("e/x"), "YX");
    EXPECT_TRUE(Succeeds(this->At("b").IoRename(this->At("e"), RENAME_MODE::EXCHANGE))) << "a file and a folder";
    EXPECT_EQ(this->Read("e") + this->Read("b/x"), "AX");
    EXPECT_EQ(this->List(""), "b/ d/ e");
}

TYPED_TEST(Files, RenameRefusesWhatWouldLoseSomething) {
    this->Write("a", "A");
    this->Write("d/x", "X");
    this->Write("e/y", "Y");
    const struct {
        const char* from;
        const char* to;
        RENAME_MODE mode;
        const char* why;
    } cases[] = {
        {"d", "e", RENAME_MODE::REPLACE, "a folder that isn't empty"},
        {"a", "d", RENAME_MODE::REPLACE, "a file over a folder"},
        {"d", "a", RENAME_MODE::REPLACE, "a folder over a file"},
        {"d", "d/x/z", RENAME_MODE::REPLACE, "below a file"},
        {"d", "d/z", RENAME_MODE::NO_REPLACE, "into itself"},
        {"d", "d/x", RENAME_MODE::EXCHANGE, "with what is in it"},
        {"d/x", "d", RENAME_MODE::EXCHANGE, "with what it is in"},
        {"a", "z", RENAME_MODE::EXCHANGE, "nothing to exchange with"},
        {"z", "a", RENAME_MODE::EXCHANGE, "nothing to exchange"},
        {"z", "y", RENAME_MODE::REPLACE, "nothing there"},
        {"a", "z/y", RENAME_MODE::REPLACE, "no folder there"},
        {"a", "a", RENAME_MODE::NO_REPLACE, "itself is there"},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(FailsWith<IoError>(this->At(c.from).IoRename(this->At(c.to), c.mode), {c.from, c.to})) << c.why;
    }
    EXPECT_TRUE(Succeeds(this->At("a").IoRename(this->At("a"), RENAME_MODE::REPLACE)));
    EXPECT_TRUE(Succeeds(this->At("d").IoRename(this->At("d"), RENAME_MODE::EXCHANGE)));
    EXPECT_EQ(this->Read("a") + this->Read("d/x") + this->Read("e/y"), "AXY");
    EXPECT_TRUE(FailsWith<UnsupportedArgumentError>(
        this->At("a").IoRename(Url::Create("nobody"_id, "", "x"), RENAME_MODE::REPLACE), {"nobody:///x"}));
}

TYPED_TEST(Files, DeleteTakesAllBelowAndNothingBeside) {
    this->Write("d/e/f", "");
    this->Write("d/.h", "");
    this->Write("dd/x", "kept");
    EXPECT_TRUE(Succeeds(this->At("d").IoDelete()));
    EXPECT_TRUE(Succeeds(this->At("d").IoDelete())) << "nothing there is fine";
    EXPECT_TRUE(Succeeds(this->At("dd/x/y").IoDelete())) << "below a file is nothing, either";
    EXPECT_TRUE(FailsWith<IllegalArgumentError>(this->At("dd/..").IoDelete()));
    EXPECT_EQ(this->List("") + this->Read("dd/x"), "dd/kept");
    this->Write("f", "");
    EXPECT_TRUE(Succeeds(this->At("f").IoDelete()));
    EXPECT_EQ(this->List(""), "dd/");
}

TYPED_TEST(Files, TreesOfAnyDepthAreDeletedAndMeasured) {
    Url url = this->At("deep");
    std::string name = "deep";
    for (int i = 0; i < 300; ++i) name += "/d";
    this->Write(name + "/f", "12345");
    this->Write("deep/f", "1");
    EXPECT_EQ(FileUtilities::GetSize(url).GetValue(), 6);
    EXPECT_TRUE(Succeeds(url.IoDelete()));
    EXPECT_EQ(this->List(""), "");
}

TYPED_TEST(Files, ReadOnlyIsToldAndSet) {
    this->Write("a", "x");
    const IoConnectionRef a = this->At("a").OpenConnection().GetValue();
    EXPECT_EQ(a->IoGetAttributes().GetValue(), 0u);
    EXPECT_TRUE(Succeeds(a->IoSetAttributes(1, 1)));
    EXPECT_EQ(a->IoGetAttributes().GetValue(), 1u);
    EXPECT_TRUE(Succeeds(a->IoSetAttributes(0, 0))) << "outside the mask";
    EXPECT_EQ(a->IoGetAttributes().GetValue(), 1u);
    EXPECT_TRUE(Succeeds(a->IoSetAttributes(0, 1)));
    EXPECT_EQ(a->IoGetAttributes().GetValue(), 0u);
    EXPECT_TRUE(FailsWith<IoError>(this->At("x").OpenConnection().GetValue()->IoSetAttributes(1, 1), {"x"}));
    EXPECT_FALSE(a->IoIsLink().GetValue());
    EXPECT_TRUE(Succeeds(a->IoSync()));
    EXPECT_TRUE(Succeeds(this->At("").OpenConnection().GetValue()->IoSync()));
    EXPECT_FALSE(a->IoGetTime().GetValue().IsEmpty());
}

TYPED_TEST(Files, CopiesReachEveryScheme) {
    const std::string bytes(300000, 'c');
    this->Write("a", bytes);
    this->Write("b", "old");
    OnDisk disk;
    InMemory memory;
    for (const Url& target : {this->At("b"), disk.GetRoot() + "x", memory.GetRoot() + "x"}) {
        EXPECT_TRUE(Succeeds(this->At("a").OpenConnection().GetValue()->IoCopyFile(target)));
        EXPECT_EQ(FileUtilities::ReadFileToMemory(target, 1 << 20).GetValueOr(""), bytes) << target.GetUrl();
    }
    EXPECT_TRUE(Succeeds(this->At("a").OpenConnection().GetValue()->IoCopyFile(this->At("a")))) << "onto itself";
    EXPECT_EQ(this->Read("a"), bytes);
    EXPECT_TRUE(FailsWith<IoError>(this->At("z").OpenConnection().GetValue()->IoCopyFile(this->At("b")), {"z"}));
    EXPECT_EQ(this->Read("b"), bytes);
    EXPECT_EQ(this->List(""), "a b");
}

TYPED_TEST(Files, WholeTreesAreCopied) {
    this->Write("s/a", "A");
    this->Write("s/d/.h", "H");
    EXPECT_TRUE(Succeeds(this->At("s/e").IoCreateDirectory()));
    this->Write("t/old", "O");
    BaseArray<Url> passedOver;
    EXPECT_TRUE(Succeeds(FileUtilities::CopyFileOrDirectory(this->At("s"), this->At("t"), &passedOver)));
    EXPECT_EQ(this->List("t") + " " + this->List("t/d") + this->Read("t/d/.h"), "a d/ e/ old .hH");
    EXPECT_TRUE(passedOver.IsEmpty());
    for (const char* inside : {"s", "s/d/x"}) {
        EXPECT_TRUE(
            FailsWith<IllegalArgumentError>(FileUtilities::CopyFileOrDirectory(this->At("s"), this->At(inside), nullptr)));
    }
    EXPECT_TRUE(Succeeds(FileUtilities::CopyFileOrDirectory(this->At("s"), this->At("s2"), nullptr))) << "beside, not in";
    EXPECT_TRUE(FailsWith<IoError>(FileUtilities::CopyFileOrDirectory(this->At("z"), this->At("y"), nullptr), {"z"}));
}

TYPED_TEST(Files, ReadingHasALimit) {
    this->Write("a", "12345");
    EXPECT_EQ(FileUtilities::ReadFileToMemory(this->At("a"), 5).GetValueOr(""), "12345");
    EXPECT_TRUE(FailsWith<IoError>(FileUtilities::ReadFileToMemory(this->At("a"), 4), {"a", "more than 4 bytes"}));
}

TYPED_TEST(Files, DocumentsAreReplacedWholeAndNamedWhenDamaged) {
    constexpr LiteralId ROOT{"net.talvo.test"};
    const Url url = this->At("doc");
    for (const DOCUMENT_FORMAT format : {DOCUMENT_FORMAT::JSON, DOCUMENT_FORMAT::BINARY}) {
        EXPECT_TRUE(Succeeds(IoDocument::WriteDocument(url, Data(String("text")), ROOT, format)));
        EXPECT_EQ(IoDocument::ReadDocument(url, ROOT).GetValueOr(Data()), Data(String("text")));
    }
    const std::string whole = this->Read("doc");
    this->Write("doc", whole.substr(0, whole.size() / 2));
    EXPECT_TRUE(FailsWith<FileFormatError>(IoDocument::ReadDocument(url, ROOT), {"doc"}));
    EXPECT_TRUE(FailsWith<IoError>(IoDocument::ReadDocument(this->At("none"), ROOT), {"none"}));
}

TEST(MemoryVolumes, GoWithTheirOwner) {
    Url inside;
    InputStreamRef stream;
    {
        InMemory memory;
        inside = memory.GetRoot() + "a";
        EXPECT_TRUE(Succeeds(FileUtilities::WriteFileFromMemory(inside, "x")));
        stream = inside.OpenInputStream().GetValue();
        EXPECT_EQ(InMemory().GetRoot() == memory.GetRoot(), false);
    }
    char c = 0;
    EXPECT_TRUE(Succeeds(stream->Read(Block<char>(&c, 1)))) << "an open stream keeps it";
    stream = nullptr;
    EXPECT_TRUE(FailsWith<IoError>(inside.OpenInputStream(), {"no such volume"}));
    EXPECT_EQ(inside.IoDetect(), IO_DETECT::FAILED);
}

}  // namespace
}  // namespace talvo
