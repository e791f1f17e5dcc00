// What runs in the background, for a host to show and to cancel.
#pragma once

#include "kernel/text/string.h"
#include "kernel/thread/observable.h"

#include <vector>

namespace talvo {

/// How grave a state is that is told of an entry. Others may be added: hosts show what they don't know by its text.
enum class BACKGROUND_STATE : Int32 {
    NOTE = 2,
    WARNING = 4,
    CANCELLED = WARNING,  ///< somebody wished it so
    FAILED = 8
};

struct BackgroundState {
    BACKGROUND_STATE state;
    String text;
    Bool operator==(const BackgroundState&) const = default;
};

/// An entry as it was at one moment.
struct BackgroundEntryInfo {
    UInt number = 0;  ///< never given twice in one process
    String name;
    Float64 progress = 0;  ///< 0 to 1
    Bool isCancelled = false;
    std::vector<BackgroundState> states;  ///< in the order in which they were told
};

enum class BACKGROUND_EVENT { ADDED, CHANGED, GONE };

/// One piece of work that is shown. It is gone from the list when it is finished, or when the last reference goes: hosts keep none.
///
/// Threads:    any.
/// Lock order: delegates and observers are called without any lock, so that no call here, and no end, may come under one.
class BackgroundEntry final : public ObjectInterface {
public:
    using CancelDelegate = Delegate<void()>;

    ~BackgroundEntry() override;

    /// Shows how far the work is. Observers hear of each thousandth at most.
    /// @param progress from 0 to 1; what lies beyond counts as the end of that side.
    /// Errors: OperationCancelledError if this entry, or the job that the caller is inside of, was cancelled: the work should stop.
    Result<void> SetProgressAndCheckBreak(Float64 progress);
    /// Called once by the thread that cancels, in place of one that was set before; right now if that was already. It must not wait for
    /// the work if the work might cancel itself. Null for none.
    void SetCancelJobDelegate(CancelDelegate cancel);
    /// Asks the work to stop; for hosts, BackgroundProgress::Cancel.
    void Cancel();
    /// Errors: OutOfMemoryError.
    Result<void> AddState(BACKGROUND_STATE state, String text);
    /// Takes it from the list. What is told of it afterwards is heard by nobody.
    void Finish();
    /// Throws std::bad_alloc.
    BackgroundEntryInfo GetInfo() const;

private:
    friend class BackgroundProgress;
    struct State {
        Float64 progress = 0;
        Float64 toldProgress = 0;
        Bool isCancelled = false;
        Bool isListed = false;
        std::vector<BackgroundState> states;
        CancelDelegate cancel;
    };

    BackgroundEntry(UInt number, String name) : _number(number), _name(std::move(name)) {}
    void Tell(BACKGROUND_EVENT event) const;

    const UInt _number;
    const String _name;
    Guarded<State, Spinlock> _state{KERNEL_TABLE_LOCK};
};
using BackgroundEntryRef = StrongRef<BackgroundEntry>;

/// The list of a process. Threads: any. Lock order: as for an entry.
class BackgroundProgress {
public:
    static BackgroundProgress& GetMaster();

    /// Errors: OutOfMemoryError.
    Result<BackgroundEntryRef> AddActiveEntry(String name);
    /// All that are active now, in the order in which they came. Errors: OutOfMemoryError.
    Result<std::vector<BackgroundEntryInfo>> GetEntries() const;
    /// @return false if there is no such entry any more.
    Bool Cancel(UInt number);
    /// What happened, with the entry as it is then; a state that is told right before the end is in GONE at the latest. Events of one
    /// entry that come from several threads may come in another order.
    Observable<BACKGROUND_EVENT, const BackgroundEntryInfo&>& ObservableEntryChanged() { return _changed; }

private:
    friend class BackgroundEntry;
    struct Listed {
        UInt number;
        WeakRef<BackgroundEntry> entry;
    };
    struct List {
        UInt lastNumber = 0;
        std::vector<Listed> entries;
    };

    BackgroundProgress() = default;
    void Remove(UInt number);

    Guarded<List, Spinlock> _list{KERNEL_TABLE_LOCK};
    Observable<BACKGROUND_EVENT, const BackgroundEntryInfo&> _changed;
};

}  // namespace talvo
