// Lists of the files of a tree: as they come, and with a checksum that is right, so that what lies behind it is reached.
#include "kernel/io/directory_tree.h"
#include "fuzz/fuzz_target.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"

namespace talvo {

namespace {

constexpr std::size_t CHECKSUM_SIZE = 8;

std::string WithChecksum(std::string_view bytes) {
    std::string result(bytes.substr(0, bytes.size() - CHECKSUM_SIZE));
    const UInt sum = GetStoredHash64(result);
    for (std::size_t i = 0; i < CHECKSUM_SIZE; ++i) result += char(sum >> (8 * i) & 0xff);
    return result;
}

void CheckEntry(const DirectoryTreeEntry& entry) {
    FUZZ_EXPECT(!entry.components.empty() && Int(entry.components.size()) <= MAX_DIRECTORY_TREE_DEPTH, "");
    for (const std::string_view name : entry.components) {
        const Bool isName =
            !name.empty() && name != "." && name != ".." && name.find('/') == name.npos && name.find('\0') == name.npos;
        FUZZ_EXPECT(isName, name);
    }
    FUZZ_EXPECT(entry.size >= 0, "");
}

/// The same entries written again; nothing if `bytes` can't be read.
Opt<std::string> Rewrite(std::string_view bytes) {
    const MemoryVolumeRef volume = MUST(MemoryVolume::Create());
    const Url file = volume->GetRoot() + "tree.dat";
    MUST(FileUtilities::WriteFileFromMemory(file, bytes));
    DirectoryTreeWriter writer;
    const Result<Bool> read = FileUtilities::ReadDirectoryTree(file, [&](const DirectoryTreeEntry& entry) -> Result<Bool> {
        CheckEntry(entry);
        MUST(writer.Add(entry));
        return true;
    });
    if (read.IsError()) {
        FUZZ_EXPECT(FileFormatError::IsClassOf(read.GetError()), read.GetError()->GetMessage());
        return {};
    }
    MUST(writer.Write(file));
    return MUST(FileUtilities::ReadFileToMemory(file, INT64_MAX));
}

/// Dictionaries have many forms, of which one is written.
void CheckTree(std::string_view bytes) {
    const Opt<std::string> written = Rewrite(bytes);
    if (written) FUZZ_EXPECT(Rewrite(*written) == written, "");
}

}  // namespace

FUZZ_TARGET(directory_tree, bytes) {
    CheckTree(bytes);
    if (bytes.size() >= CHECKSUM_SIZE) CheckTree(WithChecksum(bytes));
}

}  // namespace talvo
