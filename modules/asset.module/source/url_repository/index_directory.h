// The index on disk: `_index`, the hidden directory that it becomes when a change drops it, and the journal in there.
//
// A dropped index stays true of each asset that was not changed since, so it is kept under the name `.~index`, where other readers don't look for one. Each
// change first names its asset's directory in the journal, so that our own load knows what to read from the tree. The journal is believed only while the file
// `version` is as the last change that wrote here left it: someone who doesn't know the journal may have stored otherwise.
#pragma once

#include "kernel/base/hash_map.h"
#include "kernel/thread/locks.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/index_text.h"

#include <atomic>

namespace talvo {

inline constexpr const char* DROPPED_INDEX_NAME = ".~index";

/// What the file `version` says, and when it was written.
struct VersionFileState {
    Bool exists = false;
    Opt<UInt> number;  ///< nothing if it is no number
    Int64 time = 0;

    Bool operator==(const VersionFileState&) const = default;
};
/// Errors: none; what can't be read is no number.
VersionFileState ReadVersionFile(const Url& root);

/// An index that can be read.
struct IndexSource {
    struct Entry {
        IndexRange range;
        Url directory;
    };
    std::vector<Entry> entries;  ///< in the order in which they are read
    std::string generation;      ///< differs from index to index; empty: not known
    Bool isDropped = false;
    HashSet<std::string> changed;  ///< directories of assets that are read from the tree, of a dropped one
};

/// Threads:    any.
/// Lock order: below the lock between processes, which whoever calls the members for changes holds; a leaf but for file operations.
class IndexDirectory {
public:
    explicit IndexDirectory(const Url& root)
        : _root(root), _index(root + INDEX_DIRECTORY_NAME), _dropped(root + DROPPED_INDEX_NAME) {}

    // Reading.

    /// The index to read, or nothing. A dropped one whose journal isn't to be believed counts as none.
    /// Errors: IoError if `_index` is there and can't be read.
    Result<Opt<IndexSource>> Find() const;

    // Changes. Each of these is called with the lock between processes held.

    /// An asset is about to be changed in a way that the index would not tell: drops the index and writes the directory's name down, unless that was done.
    /// Errors: IoError; nothing may be changed then.
    Result<void> NoteChange(std::string_view assetDirectory);
    /// The file `version` is about to be written. Errors: IoError; it may not be written then.
    Result<void> NoteCounterChange();
    /// The file `version` was written with this number.
    void NoteCounterChanged(UInt number);
    /// Grows with each change that was noted.
    UInt GetChangeStamp() const { return _stamp.load(std::memory_order_acquire); }
    /// Whether this object noted a change of an asset in this directory ever.
    Bool WasChangedHere(std::string_view assetDirectory) const;

    // Compaction. The lock is held as well, so that no change stands between its note and its end.

    /// What a compaction must not take from memory.
    struct Start {
        UInt stamp = 0;
        VersionFileState counter;
        std::string journal;     ///< its name; all changes from now on are in it
        std::string generation;  ///< of the index that is there; empty: none, or not to be believed
        Int64 journalSize = 0;
        HashSet<std::string> changedByOthers;  ///< directories of assets
    };
    /// Makes everybody name their next changes anew.
    Result<Start> BeginCompaction();
    /// Whether nothing was changed since.
    Bool IsUnchangedSince(const Start& start) const;
    /// Places index directories and the files beside them, each a name in `work`; others that are there stay. The dropped index goes, into `work`.
    Result<void> Publish(const Url& work, const std::vector<std::string>& names);
    /// Places a further file, unless the index is another one by now than that whose `modified.dat` says this.
    Result<void> PublishBeside(const Url& work, const char* name, const std::string& modified);
    /// It came to nothing: a journal that was begun for it, and stands beside no index, goes.
    Result<void> AbandonCompaction(const Start& start);
    /// What is taken away.
    enum class REMOVE { VISIBLE, DROPPED_TOO };
    /// Takes `_index` away for good.
    Result<void> Remove(REMOVE what);

private:
    struct Journal {
        Url file;
        HashSet<std::string> changed;
        HashSet<std::string> changedByOthers;
        Bool namesAll = false;  ///< something was changed that has no name to write down
        Opt<VersionFileState> counter;
    };
    struct State {
        Url journal;  // where this object wrote last; empty: nowhere
        HashSet<std::string> noted;
        Opt<VersionFileState> counter;  // up to which that journal was believed when it was looked at last
    };
    Result<void> EnsureJournal(State& state);
    Result<void> Drop(State& state);
    Result<std::vector<Url>> FindJournals() const;
    Result<Opt<Journal>> ReadJournal() const;
    Result<void> AppendLine(const Url& journal, const std::string& line) const;
    Bool IsBelieved(const Journal& journal) const;
    std::string MakeCounterLine(const VersionFileState& counter) const;

    const Url _root;
    const Url _index;
    const Url _dropped;
    const std::string _tag = MakeTag();  // tells this object's lines from those of others
    static std::string MakeTag();
    std::atomic<UInt> _stamp{0};
    static LockClass lockClass;
    Guarded<State, ARWLock> _state{lockClass};
    Guarded<HashSet<std::string>, Spinlock> _changedHere;
};

/// The ranges in an index directory, in the order in which they are read: greater end first, then smaller beginning. Errors: IoError.
Result<std::vector<IndexSource::Entry>> FindIndexRanges(const Url& index);

}  // namespace talvo
