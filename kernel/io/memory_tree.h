// The files and directories of one memory volume. Operations report the error numbers that the system's would.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/io/connection.h"
#include "kernel/thread/locks.h"

#include <map>
#include <string>
#include <string_view>

namespace talvo {

/// A file or directory. Everything in it is guarded by the lock of its tree; a node lives on while a stream is open on it.
struct MemoryNode : ObjectInterface {
    explicit MemoryNode(IO_DETECT k) : kind(k), time(UniversalDateTime::GetNow()) {}
    /// Not by recursion: the depth is the user's.
    ~MemoryNode() override;

    const IO_DETECT kind;  ///< FILE or DIRECTORY
    Bool readOnly = false;
    UniversalDateTime time;
    std::string bytes;
    std::map<std::string, StrongRef<MemoryNode>, std::less<>> entries;
};
using MemoryNodeRef = StrongRef<MemoryNode>;

/// What looking at a node tells.
struct MemoryStatus {
    IO_DETECT kind = IO_DETECT::NOT_THERE;
    Int64 size = 0;
    UniversalDateTime time;
    Bool readOnly = false;
};

inline constinit LockClass MEMORY_VOLUME_LOCK{"memory volume", LOCK_FLAGS::LEAF};

/// Paths are components joined by "/"; "." and ".." lead where they lead on disk.
/// Threads: any; one lock for the whole tree, under which nothing but this is done.
class MemoryTree {
public:
    // All give 0 or an error number.
    int Look(std::string_view path, MemoryStatus& status) const;
    int List(std::string_view path, BaseArray<IoEntry>& entries) const;
    /// An existing file.
    int OpenFile(std::string_view path, MemoryNodeRef& file) const;
    /// The file, made where it is missing; CREATE_NEW: EEXIST if anything is there; OVERWRITE: emptied.
    int OpenFileForWriting(std::string_view path, OUTPUT_MODE mode, MemoryNodeRef& file);
    /// Whether Replace could put a file here.
    int CheckReplace(std::string_view path) const;
    /// Puts a file with `bytes` in the place of the one there, if any.
    int Replace(std::string_view path, std::string bytes);
    int MakeDirectory(std::string_view path);
    /// With those above it; one that exists is fine.
    int MakeDirectories(std::string_view path);
    /// With all below it; nothing there is fine.
    int Delete(std::string_view path);
    int Rename(std::string_view from, std::string_view to, RENAME_MODE mode);
    int SetReadOnly(std::string_view path, Bool readOnly);

    // Content of an open file.
    Int64 GetSize(const MemoryNode& file) const;
    Int64 ReadAt(const MemoryNode& file, Block<char> buffer, Int64 position) const;
    void WriteAt(MemoryNode& file, std::string_view bytes, Int64 position);

private:
    struct State {
        MemoryNodeRef root = MemoryNodeRef::Create(IO_DETECT::DIRECTORY);
    };
    Guarded<State, ARWLock> _state{MEMORY_VOLUME_LOCK};
};

}  // namespace talvo
