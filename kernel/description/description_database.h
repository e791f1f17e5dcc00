// The databases that hold descriptions, and the table that routes each load and store to the one that holds the identity.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/object.h"
#include "kernel/description/description.h"
#include "kernel/text/language.h"
#include "kernel/thread/observable.h"

#include <utility>

namespace talvo {

/// What a description belongs to: an asset's id and the id of its version; an empty version means the latest.
using DescriptionIdentity = std::pair<Id, Id>;

/// How much of a description is wanted. Other values give an empty definition.
enum class DESCRIPTION_MODE : Int32 {
    WITH_INCLUDES = 0,  ///< with an entry for what it includes
    OWN_ENTRIES = 1     ///< own entries only: what is changed and stored again
};

/// One database of descriptions. A repository registers one for the assets that it holds.
///
/// Threads: called from any thread, never under a lock of the table below; one object may be called by several at once.
class DataDescriptionDefinitionDatabaseImplInterface : public ObjectInterface {
public:
    static constexpr LiteralId ID{"net.talvo.interface.datadescriptiondefinitiondatabaseimpl"};

    /// True if this database itself holds the identity; a failing look-up counts as false.
    virtual Bool Contains(const DescriptionIdentity& identity) = 0;
    /// The definition. @param mode a DESCRIPTION_MODE. @param outDatabaseId gets the database's id; may be null.
    /// Errors: IllegalArgumentError for an empty or unknown identity.
    virtual Result<DataDescriptionDefinition> LoadDescription(Int32 mode, const Id& category, LanguageRef language,
                                                              const DescriptionIdentity& identity, Id* outDatabaseId) = 0;
    /// Stores a definition. @param deferred keeps it in memory until Write. Errors: IllegalStateError for an unknown identity.
    virtual Result<Bool> StoreDescription(const Id& category, LanguageRef language, const DescriptionIdentity& identity,
                                          const DataDescriptionDefinition& description, Bool deferred) = 0;
    /// @return false if nothing was deleted.
    virtual Result<Bool> DeleteDescription(const Id& category, LanguageRef language, const DescriptionIdentity& identity) = 0;
    /// Identities of all that it holds.
    virtual Result<BaseArray<DescriptionIdentity>> GetRegisteredDescriptions() = 0;
    /// Languages that it can tell; none if it doesn't know.
    virtual Result<BaseArray<LanguageRef>> GetRegisteredLanguages() = 0;
    /// As Write.
    virtual Result<void> WriteDataBases() = 0;
    /// Gives a description another id.
    virtual Result<void> RenameId(const DescriptionIdentity& from, const DescriptionIdentity& to) = 0;
    /// Gives an entry of a description another id.
    virtual Result<void> RenameAttribute(const DescriptionIdentity& identity, const Id& from, const Id& to) = 0;
    /// True if an entry may get that name.
    virtual Result<Bool> CheckUniqueAttributeName(const DescriptionIdentity& identity, const Id& name) = 0;
    /// Loads the definition again and tells observers of it.
    virtual Result<void> UpdateDescriptions(const Id& category, LanguageRef language, const DescriptionIdentity& identity) = 0;
    virtual Bool IsWritableDatabase() = 0;
    /// How many descriptions wait for Write.
    virtual Int GetChangeCounts() = 0;
    /// As GetChangeCounts, for changes of users.
    virtual Int GetUserChangeCount() = 0;
    /// Stores what was deferred. Errors: IllegalStateError if there is any and the database isn't writable.
    virtual Result<void> Write() = 0;
    /// As Write, for changes of users.
    virtual Result<void> WriteUserChangedDataBases() = 0;
};

using DataDescriptionDefinitionDatabaseImplRef = StrongRef<DataDescriptionDefinitionDatabaseImplInterface>;

/// The table of databases, in the order of their registration.
///
/// Threads:    any. A call into a database runs without a lock, on the databases registered when it began.
/// Ownership:  keeps registered databases alive; they know their repositories only weakly.
class DataDescriptionDefinitionDatabase {
public:
    using ImplRef = DataDescriptionDefinitionDatabaseImplRef;
    /// Database, category, language (null: the default one), identity, definition.
    using ObserverUpdated =
        Observable<const Id&, const Id&, LanguageRef, const DescriptionIdentity&, const DataDescriptionDefinition&>;

    /// Errors: IllegalArgumentError if the id is empty or taken, NullptrError without a database; OutOfMemoryError.
    static Result<void> RegisterDatabase(const Id& databaseId, const ImplRef& database);
    /// As RegisterDatabase, but takes the place of one that is registered under the id, in one step: of threads that do so at once each
    /// succeeds, and the last one stays. Errors: IllegalArgumentError if the id is empty, NullptrError; OutOfMemoryError.
    static Result<void> ReplaceDatabase(const Id& databaseId, const ImplRef& database);
    /// @return false if nothing was registered under the id, which is no error.
    static Result<Bool> UnregisterDatabase(const Id& databaseId);
    /// As the other, but only if `database` is what is registered: a later repository of the same id may have taken its place.
    static Result<Bool> UnregisterDatabase(const Id& databaseId, const ImplRef& database);
    /// Null if there is none.
    static ImplRef FindDatabase(const Id& databaseId);

    /// The definition from the first database that contains `identity`. @param mode a DESCRIPTION_MODE.
    /// @param outDatabaseId gets the id of that database; may be null. @param preferredDatabaseId is asked first.
    /// Errors: IllegalArgumentError for an empty identity, or one that no database contains; those of the database.
    static Result<DataDescriptionDefinition> LoadDescription(Int32 mode, const Id& category, LanguageRef language,
                                                             const DescriptionIdentity& identity, Id* outDatabaseId = nullptr,
                                                             const Id& preferredDatabaseId = Id());
    /// Hands the definition to that database. Errors: IllegalArgumentError if there is none of that id; those of the database.
    static Result<Bool> StoreDescription(const Id& databaseId, const Id& category, LanguageRef language,
                                         const DescriptionIdentity& identity, const DataDescriptionDefinition& description,
                                         Bool deferred);
    /// Tells observers that a description has changed. @param flags none are known yet.
    static Result<void> UpdateDescription(const Id& databaseId, const Id& category, LanguageRef language,
                                          const DescriptionIdentity& identity, const DataDescriptionDefinition& description,
                                          Int32 flags = 0);
    /// Fired by UpdateDescription.
    static ObserverUpdated& ObservableUpdated();
    /// Brings a dictionary of an older format version up to date. There is one version so far: it stays as it is.
    static Result<void> FixDatabaseProps(Int version, DataDictionary& properties);
};

/// Descriptions ready for use.
class DataDescriptionDatabase {
public:
    /// The latest description of `dataType`, a data type's or an asset's id, with what it includes, in turn; an included one
    /// that can't be loaded adds nothing, and own entries count before included ones.
    /// Errors: those of DataDescriptionDefinitionDatabase::LoadDescription.
    static Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const Id& dataType);
    /// The same for one version of an asset. @param preferredDatabaseId is asked first.
    static Result<DataDescription> LoadDescription(const Id& category, LanguageRef language, const DescriptionIdentity& identity,
                                                   const Id& preferredDatabaseId = Id());
};

}  // namespace talvo
