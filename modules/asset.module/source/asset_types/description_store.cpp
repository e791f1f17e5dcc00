#include "asset_types/description_store.h"

#include "assets/asset_type.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

constexpr ASSET_FIND_MODE NEWEST_HERE = ASSET_FIND_MODE::LATEST | ASSET_FIND_MODE::WITHOUT_BASES;

/// Class `net.talvo.datadescription.assetimpl`. It has no files and no state of its own, so it needs no lock.
class AssetDescriptionDatabase final : public DataDescriptionDefinitionDatabaseImplInterface {
public:
    AssetDescriptionDatabase(Id databaseId, const AssetRepositoryRef& repository)
        : _databaseId(std::move(databaseId)), _repository(repository), _isWritable(repository && repository->IsWritable()) {}

    Bool Contains(const DescriptionIdentity& identity) override {
        const Result<AssetDescription> found = FindHolder(identity);
        return found.IsOk() && found.GetValue();
    }

    Result<DataDescriptionDefinition> LoadDescription(Int32 mode, const Id& category, LanguageRef language,
                                                      const DescriptionIdentity& identity, Id* outDatabaseId) override {
        if (identity.first.IsEmpty()) return IllegalArgumentError::Create("A description needs an id that is not empty.");
        const AssetDescription found = TRY(FindHolder(identity));
        if (!found) {
            return IllegalArgumentError::Create(
                FormatMessage("Description database @ holds no asset @.", _databaseId, ToIdentityText(identity)));
        }
        const AssetType type = TRY(GetTypeOf(found));
        DataDescriptionDefinition definition = TRY(type->LoadDescriptionDefinition(found, mode, category, language));
        if (outDatabaseId) *outDatabaseId = _databaseId;
        return definition;
    }

    Result<Bool> StoreDescription(const Id& category, LanguageRef language, const DescriptionIdentity& identity,
                                  const DataDescriptionDefinition& description, Bool deferred) override {
        if (deferred) {
            return UnsupportedOperationError::Create(
                FormatMessage("Description database @ can't keep the description of @ for later: deferred stores aren't part of "
                              "this version. Store it at once.",
                              _databaseId, ToIdentityText(identity)));
        }
        const AssetDescription found = TRY(FindHolder(identity));
        if (!found) {
            return IllegalStateError::Create(
                FormatMessage("Description database @ holds no asset @.", _databaseId, ToIdentityText(identity)));
        }
        const AssetType type = TRY(GetTypeOf(found));
        TRY(type->StoreDescriptionDefinition(found, category, language, description, found->GetRepository()));
        return true;
    }

    Result<Bool> DeleteDescription(const Id&, LanguageRef, const DescriptionIdentity&) override { return false; }

    Result<BaseArray<DescriptionIdentity>> GetRegisteredDescriptions() override {
        const AssetRepositoryRef repository = TRY(GetRepository());
        BaseArray<DescriptionIdentity> identities;
        TRY(FindAssets(repository, {}, Id(), Id(), NEWEST_HERE, [&](const AssetDescription& found) -> Result<Bool> {
            TRY(identities.Append(found->GetIdAndVersion()));
            return true;
        }));
        return identities;
    }

    Result<BaseArray<LanguageRef>> GetRegisteredLanguages() override { return BaseArray<LanguageRef>(); }
    Result<void> RenameId(const DescriptionIdentity&, const DescriptionIdentity&) override { return OK; }
    Result<void> RenameAttribute(const DescriptionIdentity&, const Id&, const Id&) override { return OK; }
    Result<Bool> CheckUniqueAttributeName(const DescriptionIdentity&, const Id&) override { return true; }

    Result<void> UpdateDescriptions(const Id& category, LanguageRef language, const DescriptionIdentity& identity) override {
        const DataDescriptionDefinition definition =
            TRY(LoadDescription(Int32(DESCRIPTION_MODE::WITH_INCLUDES), category, language, identity, nullptr));
        return DataDescriptionDefinitionDatabase::UpdateDescription(_databaseId, category, language, identity, definition, 0);
    }

    Bool IsWritableDatabase() override { return _isWritable; }

    // Every store is done when it returns, so nothing ever waits to be written.
    Result<void> WriteDataBases() override { return OK; }
    Int GetChangeCounts() override { return 0; }
    Int GetUserChangeCount() override { return 0; }
    Result<void> Write() override { return OK; }
    Result<void> WriteUserChangedDataBases() override { return OK; }

private:
    Result<AssetRepositoryRef> GetRepository() const {
        AssetRepositoryRef repository = _repository.Promote();
        if (!repository)
            return NullptrError::Create(FormatMessage("The repository of description database @ has gone.", _databaseId));
        return repository;
    }

    /// The version in the repository itself, or null.
    Result<AssetDescription> FindHolder(const DescriptionIdentity& identity) const {
        const AssetRepositoryRef repository = TRY(GetRepository());
        AssetDescription holder;
        if (identity.first.IsEmpty()) return holder;  // would be every asset
        TRY(FindAssets(repository, {}, identity.first, identity.second, NEWEST_HERE,
                       [&](const AssetDescription& found) -> Result<Bool> {
                           holder = found;
                           return false;
                       }));
        return holder;
    }

    static Result<AssetType> GetTypeOf(const AssetDescription& asset) {
        AssetType type = FindAssetType(asset->GetTypeId());
        if (!type)
            return IllegalArgumentError::Create(FormatMessage("Asset @ is of the unknown type @.", asset, asset->GetTypeId()));
        return type;
    }

    const Id _databaseId;
    const WeakRef<AssetRepositoryInterface> _repository;
    const Bool _isWritable;
};

}  // namespace

Result<StrongRef<DataDescriptionDefinitionDatabaseImplInterface>> CreateAssetDescriptionDatabase(
    const Id& databaseId, const AssetRepositoryRef& repository) {
    return CatchOutOfMemory([&]() -> Result<StrongRef<DataDescriptionDefinitionDatabaseImplInterface>> {
        const StrongRef<DataDescriptionDefinitionDatabaseImplInterface> database(
            new AssetDescriptionDatabase(databaseId, repository));
        TRY(DataDescriptionDefinitionDatabase::ReplaceDatabase(databaseId, database));
        return database;
    });
}

}  // namespace talvo
