// The journal of a dropped index: whatever stands in it, it leads nowhere outside of the root, and forgets nothing that is written into it.
#include "fuzz/fuzz_target.h"
#include "kernel/app/log.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_volume.h"
#include "url_repository/index_directory.h"

namespace talvo {

namespace {

constexpr std::string_view OTHERS_LINE = "\nother\tv\t1\t";

class Repository {
public:
    explicit Repository(std::string_view journal) : _volume(MUST(MemoryVolume::Create())), root(_volume->GetRoot() + "repo") {
        MUST((root + DROPPED_INDEX_NAME + "0-1").IoCreateDirectory());
        Write(DROPPED_INDEX_NAME, "0-1/index", "a\na\nt\n\t1\n\tv\n\t\tasset.txt\n");
        Write(DROPPED_INDEX_NAME, "modified.dat", "[]");
        SetCounter(1);
        // The last line is true of the counter, so that those before it count.
        const Bool isBelieved = !journal.empty() && journal.back() != '!';
        std::string text(journal);
        if (isBelieved) text += std::string(OTHERS_LINE) + std::to_string(ReadVersionFile(root).time) + "\n";
        Write(DROPPED_INDEX_NAME, "journal-1", text);
    }
    void SetCounter(UInt number) const {
        MUST(FileUtilities::WriteFileFromMemory(root + "version", std::to_string(number) + "\n"));
    }

private:
    void Write(const char* directory, std::string_view name, std::string_view text) const {
        MUST(FileUtilities::WriteFileFromMemory(root + directory + name, text));
    }
    const MemoryVolumeRef _volume;

public:
    const Url root;
};

/// Whether it is believed, and then tells of the change.
Bool Tells(const IndexDirectory& index, const std::string& directory) {
    const Opt<IndexSource> source = MUST(index.Find());
    if (!source) return false;
    for (const std::string& name : source->changed) FUZZ_EXPECT(IsAssetDirectoryName(name), name);
    FUZZ_EXPECT(directory.empty() || source->changed.Contains(directory), directory);
    return true;
}

}  // namespace

FUZZ_TARGET(index_journal, bytes) {
    SetLogSink([](LOG_LEVEL, const std::string&) {});
    const Repository repository(bytes);
    IndexDirectory index(repository.root);
    const Bool wasBelieved = Tells(index, "");
    MUST(index.NoteChange("changed"));
    FUZZ_EXPECT(Tells(index, "changed") == wasBelieved, "");
    MUST(index.NoteCounterChange());
    repository.SetCounter(2);
    index.NoteCounterChanged(2);
    FUZZ_EXPECT(Tells(index, "changed") == wasBelieved, "what wasn't believed is never believed again, and what was still is");
    const IndexDirectory::Start start = MUST(index.BeginCompaction());
    FUZZ_EXPECT(index.IsUnchangedSince(start) && start.generation.empty() == !wasBelieved, "");
    IndexDirectory other(repository.root);
    MUST(other.NoteChange("more"));
    FUZZ_EXPECT(!index.IsUnchangedSince(start), "");
    Tells(index, "more");
}

}  // namespace talvo
