// The table of databases of descriptions, and descriptions put together from what they include.
#include "kernel/description/description_database.h"

#include "kernel/base/hash_map.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

using ImplRef = DataDescriptionDefinitionDatabaseImplRef;

struct Registration {
    Id id;
    ImplRef database;
};
using Registrations = Array<Registration>;

/// Never freed: repositories in static objects unregister at the very end.
Guarded<Registrations, Spinlock>& GetTable() {
    static auto* const TABLE = new Guarded<Registrations, Spinlock>(KERNEL_TABLE_LOCK);
    return *TABLE;
}

Registrations GetRegistrations() {
    const auto table = GetTable().Read();
    return *table;
}

const Registration* FindIn(const Registrations& registrations, const Id& databaseId) {
    for (const Registration& registration : registrations) {
        if (registration.id == databaseId) return &registration;
    }
    return nullptr;
}

/// Publishes a changed copy of the list. `change` runs without the lock, and again if another thread was faster; it says false
/// to leave the list as it is. Lists are released without the lock: a database may go with the last one.
Result<Bool> Change(FunctionRef<Result<Bool>(BaseArray<Registration>&)> change) {
    for (;;) {
        const Registrations old = GetRegistrations();
        BaseArray<Registration> entries = old.CopyValues();
        const Bool isChanged = TRY(change(entries));
        if (!isChanged) return false;
        const Registrations fresh(std::move(entries));
        const auto table = GetTable().Write();
        if (table->begin() != old.begin()) continue;
        *table = fresh;
        return true;
    }
}

Bool Erase(BaseArray<Registration>& entries, const Id& databaseId, const ImplRef* only) {
    for (Int i = 0; i < entries.GetCount(); ++i) {
        if (entries[i].id != databaseId || (only && entries[i].database != *only)) continue;
        entries.Erase(i);
        return true;
    }
    return false;
}

Result<Bool> Unregister(const Id& databaseId, const ImplRef* only) {
    return CatchOutOfMemory([&] {
        return Change([&](BaseArray<Registration>& entries) -> Result<Bool> { return Erase(entries, databaseId, only); });
    });
}

/// What a registration does about an id that has one already.
enum class TAKEN { IS_AN_ERROR, IS_REPLACED };

Result<void> Register(const Id& databaseId, const ImplRef& database, TAKEN taken) {
    if (databaseId.IsEmpty()) return IllegalArgumentError::Create("A description database needs an id that is not empty.");
    if (!database) return NullptrError::Create(FormatMessage("There is no description database to register as @.", databaseId));
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(Change([&](BaseArray<Registration>& entries) -> Result<Bool> {
            const Bool wasTaken = Erase(entries, databaseId, nullptr);
            if (wasTaken && taken == TAKEN::IS_AN_ERROR) {
                return IllegalArgumentError::Create(
                    FormatMessage("The description database @ is registered already.", databaseId));
            }
            TRY(entries.Append({databaseId, database}));
            return true;
        }));
        return OK;
    });
}

/// The registration that answers for `identity`, or null; valid as long as `registrations`.
const Registration* FindHolder(const Registrations& registrations, const DescriptionIdentity& identity,
                               const Id& preferredDatabaseId) {
    const Registration* preferred = FindIn(registrations, preferredDatabaseId);
    if (preferred && preferred->database->Contains(identity)) return preferred;
    for (const Registration& registration : registrations) {
        if (&registration != preferred && registration.database->Contains(identity)) return &registration;
    }
    return nullptr;
}

/// Puts a description together: each included one once, so that rings end.
class IncludeWalk {
public:
    IncludeWalk(const Id& category, LanguageRef language, const Id& preferredDatabaseId)
        : _category(category), _language(language), _preferredDatabaseId(preferredDatabaseId) {}

    Result<DataDescription> Run(const DescriptionIdentity& identity) {
        TRY(_visited.Insert(identity.first));
        DataDescriptionDefinition root = TRY(Load(identity));
        DataDictionary info = root.GetInfo();
        TRY(Take(root));
        // Grows while it runs: breadth first, so that nearer entries come first.
        for (Int i = 0; i < _includes.GetCount(); ++i) {
            const Id included = _includes[i];
            const Result<DataDescriptionDefinition> definition = Load({included, Id()});
            if (definition.IsOk()) TRY(Take(definition.GetValue()));
        }
        DataDescriptionDefinition whole = TRY(DataDescriptionDefinition::Create(std::move(info), std::move(_entries)));
        return DataDescription(std::move(whole));
    }

private:
    Result<DataDescriptionDefinition> Load(const DescriptionIdentity& identity) const {
        return DataDescriptionDefinitionDatabase::LoadDescription(Int32(DESCRIPTION_MODE::WITH_INCLUDES), _category, _language,
                                                                  identity, nullptr, _preferredDatabaseId);
    }
    Result<void> Take(const DataDescriptionDefinition& definition) {
        for (const DataDictionary& entry : definition.GetEntries()) {
            const Id included = DESCRIPTION::GetIncluded(entry);
            if (included.IsPopulated()) {
                const Bool isNew = TRY(_visited.Insert(included));
                if (isNew) TRY(_includes.Append(included));
                continue;
            }
            const Bool isNew = TRY(_taken.Insert(entry.Get<Id>(DESCRIPTION::IDENTIFIER).value_or(Id())));
            if (isNew) TRY(_entries.Append(entry));
        }
        return OK;
    }

    const Id& _category;
    const LanguageRef _language;
    const Id& _preferredDatabaseId;
    HashSet<Id> _visited;
    BaseArray<Id> _includes;
    HashSet<Id> _taken;
    BaseArray<DataDictionary> _entries;
};

}  // namespace

Result<void> DataDescriptionDefinitionDatabase::RegisterDatabase(const Id& databaseId, const ImplRef& database) {
    return Register(databaseId, database, TAKEN::IS_AN_ERROR);
}

Result<void> DataDescriptionDefinitionDatabase::ReplaceDatabase(const Id& databaseId, const ImplRef& database) {
    return Register(databaseId, database, TAKEN::IS_REPLACED);
}

Result<Bool> DataDescriptionDefinitionDatabase::UnregisterDatabase(const Id& databaseId) {
    return Unregister(databaseId, nullptr);
}

Result<Bool> DataDescriptionDefinitionDatabase::UnregisterDatabase(const Id& databaseId, const ImplRef& database) {
    return Unregister(databaseId, &database);
}

ImplRef DataDescriptionDefinitionDatabase::FindDatabase(const Id& databaseId) {
    const Registrations registrations = GetRegistrations();
    const Registration* registration = FindIn(registrations, databaseId);
    return registration ? registration->database : nullptr;
}

Result<DataDescriptionDefinition> DataDescriptionDefinitionDatabase::LoadDescription(Int32 mode, const Id& category,
                                                                                     LanguageRef language,
                                                                                     const DescriptionIdentity& identity,
                                                                                     Id* outDatabaseId,
                                                                                     const Id& preferredDatabaseId) {
    if (identity.first.IsEmpty()) return IllegalArgumentError::Create("A description needs an id that is not empty.");
    CheckNoLockHeld(LOCK_USE::CALLBACK, "a load from a description database");
    const Registrations registrations = GetRegistrations();
    const Registration* holder = FindHolder(registrations, identity, preferredDatabaseId);
    if (!holder) return IllegalArgumentError::Create(FormatMessage("No description database holds @.", identity.first));
    DataDescriptionDefinition definition =
        TRY(holder->database->LoadDescription(mode, category, language, identity, outDatabaseId));
    if (outDatabaseId) *outDatabaseId = holder->id;
    return definition;
}

Result<Bool> DataDescriptionDefinitionDatabase::StoreDescription(const Id& databaseId, const Id& category, LanguageRef language,
                                                                 const DescriptionIdentity& identity,
                                                                 const DataDescriptionDefinition& description, Bool deferred) {
    CheckNoLockHeld(LOCK_USE::CALLBACK, "a store to a description database");
    const ImplRef database = FindDatabase(databaseId);
    if (!database) return IllegalArgumentError::Create(FormatMessage("There is no description database @.", databaseId));
    return database->StoreDescription(category, language, identity, description, deferred);
}

Result<void> DataDescriptionDefinitionDatabase::UpdateDescription(const Id& databaseId, const Id& category, LanguageRef language,
                                                                  const DescriptionIdentity& identity,
                                                                  const DataDescriptionDefinition& description, Int32) {
    ObservableUpdated().Notify(databaseId, category, language, identity, description);
    return OK;
}

DataDescriptionDefinitionDatabase::ObserverUpdated& DataDescriptionDefinitionDatabase::ObservableUpdated() {
    static auto* const OBSERVABLE = new ObserverUpdated;
    return *OBSERVABLE;
}

Result<void> DataDescriptionDefinitionDatabase::FixDatabaseProps(Int, DataDictionary&) { return OK; }

Result<DataDescription> DataDescriptionDatabase::LoadDescription(const Id& category, LanguageRef language, const Id& dataType) {
    return LoadDescription(category, language, DescriptionIdentity(dataType, Id()));
}

Result<DataDescription> DataDescriptionDatabase::LoadDescription(const Id& category, LanguageRef language,
                                                                 const DescriptionIdentity& identity,
                                                                 const Id& preferredDatabaseId) {
    return CatchOutOfMemory([&] { return IncludeWalk(category, language, preferredDatabaseId).Run(identity); });
}

}  // namespace talvo
