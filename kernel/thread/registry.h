// Named global tables from ids to values, filled when modules start.
#pragma once

#include "kernel/base/hash_map.h"
#include "kernel/base/id.h"
#include "kernel/thread/observable.h"

#include <string>
#include <vector>

namespace talvo {

/// One value of a registry. Immutable; lives on in snapshots after it was erased.
template <typename T>
struct RegistryEntry : ObjectInterface {
    RegistryEntry(Id entryId, T entryValue, Int entryPriority)
        : id(std::move(entryId)), value(std::move(entryValue)), priority(entryPriority) {}
    const Id id;
    const T value;
    const Int priority;
};

/// Table from ids to values: higher priority first, then in the order of registration.
///
///     Registry<AssetType>& GetAssetTypes() {
///         static Registry<AssetType> registry("net.talvo.registry.assettypes"_id);
///         return registry;
///     }
///
/// Threads:    any. Readers work on snapshots and never wait for each other's walks.
/// Lock order: innermost; values are made, compared and released, and observers called, without any lock.
template <typename T>
class Registry {
public:
    using Entry = StrongRef<const RegistryEntry<T>>;

    /// All entries of one moment, in order: `for (const auto& entry : registry.GetEntries()) entry->id ...`
    class Entries {
    public:
        const Entry* begin() const { return _table ? _table->entries.data() : nullptr; }
        const Entry* end() const { return begin() + GetCount(); }
        Int GetCount() const { return _table ? Int(_table->entries.size()) : 0; }

    private:
        friend Registry;
        struct Table : ObjectInterface {
            std::vector<Entry> entries;
            HashMap<Id, Entry> byId;
        };
        StrongRef<const Table> _table;
    };

    explicit Registry(LiteralId id) : _id(id) {}
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    const Id& GetId() const { return _id; }
    /// Grows with each change: who keeps something derived from the entries compares it.
    UInt GetStamp() const { return _stamp.load(std::memory_order_acquire); }

    /// Adds a new entry. Errors: IllegalArgumentError if `id` is empty or taken; OutOfMemoryError. Both change nothing.
    Result<void> Register(const Id& id, T value, Int priority = 0) {
        return Insert(id, std::move(value), priority, TAKEN::REFUSE);
    }
    /// Adds an entry, in the place of one with the same id if there is one with the same priority.
    /// Errors: IllegalArgumentError if `id` is empty; OutOfMemoryError. Both change nothing.
    Result<void> InsertEntry(const Id& id, T value, Int priority = 0) {
        return Insert(id, std::move(value), priority, TAKEN::REPLACE);
    }
    /// @return false if there was none. Errors: OutOfMemoryError, which changes nothing.
    Result<Bool> EraseEntry(const Id& id) {
        return CatchOutOfMemory([&]() -> Result<Bool> {
            Entry erased;
            TRY(Change([&](std::vector<Entry>& entries) -> Result<void> {
                erased = TakeOut(entries, id);
                return OK;
            }));
            if (erased) NoteChange(id);
            return Bool(erased);
        });
    }

    /// The entry of `id`, or null.
    Entry Find(const Id& id) const {
        const Entries entries = GetEntries();
        const Entry* found = entries._table ? entries._table->byId.Find(id) : nullptr;
        return found ? *found : Entry();
    }
    /// A copy of the value of `id`, or nothing.
    Opt<T> FindEntryValue(const Id& id) const {
        const Entry entry = Find(id);
        return entry ? Opt<T>(entry->value) : Opt<T>();
    }
    Entries GetEntries() const {
        const auto entries = _entries.Read();
        return *entries;
    }

    /// Fired after each change, with the id that came, changed or went.
    Observable<const Id&>& ObservableChanged() { return _changed; }

private:
    using Table = typename Entries::Table;
    enum class TAKEN { REFUSE, REPLACE };

    static auto FindIn(std::vector<Entry>& entries, const Id& id) {
        return std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry->id == id; });
    }
    static Entry TakeOut(std::vector<Entry>& entries, const Id& id) {
        const auto found = FindIn(entries, id);
        if (found == entries.end()) return nullptr;
        Entry entry = *found;
        entries.erase(found);
        return entry;
    }
    static void PutIn(std::vector<Entry>& entries, const Entry& entry) {
        const auto same = FindIn(entries, entry->id);
        if (same != entries.end() && (*same)->priority == entry->priority) {
            *same = entry;
            return;
        }
        TakeOut(entries, entry->id);
        const auto behind =
            std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e->priority < entry->priority; });
        entries.insert(behind, entry);
    }

    Result<void> Insert(const Id& id, T value, Int priority, TAKEN taken) {
        if (id.IsEmpty()) {
            return IllegalArgumentError::Create("An entry of " + std::string(_id.GetView()) + " needs an id that is not empty.");
        }
        return CatchOutOfMemory([&]() -> Result<void> {
            const Entry entry(new RegistryEntry<T>(id, std::move(value), priority));
            TRY(Change([&](std::vector<Entry>& entries) -> Result<void> {
                if (taken == TAKEN::REFUSE && FindIn(entries, id) != entries.end()) {
                    return IllegalArgumentError::Create("\"" + std::string(id.GetView()) + "\" is in " +
                                                        std::string(_id.GetView()) +
                                                        " already. Take another id, or erase the old entry first.");
                }
                PutIn(entries, entry);
                return OK;
            }));
            NoteChange(id);
            return OK;
        });
    }
    /// Publishes a changed copy; `change` runs again on a newer table if another thread was faster. Tables are made and
    /// released without the lock.
    template <typename CHANGE>
    Result<void> Change(const CHANGE& change) {
        for (;;) {
            const Entries old = GetEntries();
            auto fresh = StrongRef<Table>::Create();
            if (old._table) fresh->entries = old._table->entries;
            TRY(change(fresh->entries));
            for (const Entry& entry : fresh->entries) TRY(fresh->byId.Insert(entry->id, entry));
            const auto entries = _entries.Write();
            if (entries->_table != old._table) continue;
            entries->_table = std::move(fresh);  // `old` keeps the former table until the lock is given up
            return OK;
        }
    }
    void NoteChange(const Id& id) {
        _stamp.fetch_add(1, std::memory_order_acq_rel);
        _changed.Notify(id);
    }

    const Id _id;
    std::atomic<UInt> _stamp{0};
    Guarded<Entries, Spinlock> _entries{KERNEL_TABLE_LOCK};
    Observable<const Id&> _changed;
};

}  // namespace talvo
