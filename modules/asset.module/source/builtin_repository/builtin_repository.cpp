// What the built-in repository says of itself, and what it refuses.
#include "builtin_repository/builtin_repository.h"

namespace talvo {

namespace {

ErrorRef MakeRefusal(const char* action, SourceLocation location = SourceLocation::Current()) {
    return UnsupportedOperationError::Create(
        FormatMessage("Built-in assets belong to the program: nothing can be @ there. Use a repository of your own.", action),
        location);
}

}  // namespace

AssetRepositoryRef BuiltinRepository::FindRepository(const Id& repoId) {
    return repoId == REPOSITORY_BUILTIN ? GetSelf() : AssetRepositoryRef();
}

Result<AssetDescription> BuiltinRepository::GetDescription(const AssetBase& asset) {
    const EntryRef entry = asset ? Find(asset->GetIdAndVersion().first) : nullptr;
    return entry ? AssetDescription(entry->GetDescription()) : AssetDescription();
}

// Versions of built-in assets have no order.
Result<COMPARERESULT> BuiltinRepository::CompareVersions(const AssetBase& first, const AssetBase& second) {
    if (!first || !second) return NullptrError::Create("Two versions are compared, and one of them is null.");
    const Bool isSame = first->GetIdAndVersion().second == second->GetIdAndVersion().second;
    return isSame ? COMPARERESULT::EQUAL : COMPARERESULT::INCOMPARABLE;
}

Result<Id> BuiltinRepository::GetDescriptionDatabaseId() const { return IllegalStateError::Create("Repository is not writable"); }

Result<AssetDescription> BuiltinRepository::StoreAsset(const Id&, const Asset&, const AssetMetaData&) {
    return MakeRefusal("stored");
}

Result<AssetDescription> BuiltinRepository::OverwriteAsset(const Id&, const Asset&, const AssetMetaData&) {
    return MakeRefusal("overwritten");
}

Result<AssetDescription> BuiltinRepository::DeleteAsset(const Id&) { return MakeRefusal("deleted"); }

Result<void> BuiltinRepository::EraseAsset(const AssetDescription&) { return MakeRefusal("erased"); }

Result<AssetDescription> BuiltinRepository::CopyAsset(const Id&, const AssetDescription&, Bool, Bool) {
    return MakeRefusal("stored");
}

Result<void> BuiltinRepository::StoreUrlMetaData(const AssetDescription&, const InternedId&, const Url&, ASSET_METADATA_KIND) {
    return MakeRefusal("stored as a file");
}

Result<Data> BuiltinRepository::CreateDataForIdImpl(const Id&, const Id&) { return MakeRefusal("stored"); }

Result<AssetStoreResult> BuiltinRepository::StoreImpl(const Asset&, Bool, const Id&, const AssetDescription&, Data&,
                                                      const AssetVersionNumber&, Bool) {
    return MakeRefusal("stored");
}

Result<void> BuiltinRepository::EraseImpl(const AssetDescription&, const Data&) { return MakeRefusal("erased"); }

Result<AssetVersionNumber> BuiltinRepository::GetNextVersionImpl() { return MakeRefusal("stored"); }

}  // namespace talvo
