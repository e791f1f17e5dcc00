#include "asset_impl/repository_graph.h"

#include "database_asset.h"
#include "kernel/description/description_database.h"

namespace talvo {

RepositoryBase::RepositoryBase() : _graph(std::make_unique<RepositoryGraph>()) {}

RepositoryBase::~RepositoryBase() { _graph->LeaveBases(*this); }

Array<AssetRepositoryRef> RepositoryBase::GetBases() const {
    auto scope = _graph->bases.Read();
    return *scope;
}

Result<Bool> RepositoryBase::GetDerived(Receiver<AssetRepositoryRef> receiver) const {
    CheckNoLockHeld(LOCK_USE::CALLBACK, "a walk over derived repositories");
    const Array<WeakRef<AssetRepositoryInterface>> snapshot = [&] {
        auto scope = _graph->derived.Read();
        return *scope;
    }();
    for (const WeakRef<AssetRepositoryInterface>& entry : snapshot) {
        const AssetRepositoryRef repository = entry.Promote();
        if (!repository) continue;
        const Bool goOn = TRY(receiver(repository));
        if (!goOn) return false;
    }
    return true;
}

Result<void> RepositoryBase::InitBases(Block<const AssetRepositoryRef> bases) {
    return CatchOutOfMemory([&]() -> Result<void> {
        TRY(_graph->CheckNoEdges());
        for (const AssetRepositoryRef& base : bases) TRY(_graph->Link(*this, base));
        return OK;
    });
}

Result<void> RepositoryBase::AddBase(const AssetRepositoryRef& base) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Bool added = TRY(_graph->Link(*this, base));
        if (added) HandleBaseChanged(base, true);
        return OK;
    });
}

Result<void> RepositoryBase::RemoveBase(const AssetRepositoryRef& base) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Bool removed = TRY(_graph->Unlink(*this, base));
        if (removed) HandleBaseChanged(base, false);
        return OK;
    });
}

Result<void> RepositoryBase::PrivatePrefetchMetaData(const InternedId&, ASSET_METADATA_KIND, ASSET_FIND_MODE,
                                                     VisitedRepositories&) {
    return OK;
}

Result<Data> RepositoryBase::GetCachedData(const Data& key, FunctionRef<Result<Data>()> callback) {
    return CatchOutOfMemory([&] { return _graph->cachedData.Get(key, callback); });
}

Result<DerivedAssetRepositoryDataRef> RepositoryBase::GetCachedData(
    const Data& key, FunctionRef<Result<DerivedAssetRepositoryDataRef>()> callback) {
    return CatchOutOfMemory([&] { return _graph->derivedData.Get(key, callback); });
}

Result<DataDescription> RepositoryBase::LoadDescription(const Id& category, LanguageRef language, const AssetIdentifier& asset) {
    if (!asset) return NullptrError::Create("A description was asked for without an asset.");
    // Another repository may hold an asset of the same id, so the own database is asked first.
    const Result<Id> databaseId = GetDescriptionDatabaseId();
    return DataDescriptionDatabase::LoadDescription(category, language, asset->GetIdAndVersion(),
                                                    databaseId.IsOk() ? databaseId.GetValue() : Id());
}

Result<DataDescription> RepositoryBase::LoadDescription(const Id& category, LanguageRef language, const Id& dataType) {
    return DataDescriptionDatabase::LoadDescription(category, language, dataType);
}

Result<DataDescriptionDefinition> RepositoryBase::LoadDescriptionDefinition(Int32 mode, const Id& category, LanguageRef language,
                                                                            const AssetIdentifier& asset) {
    if (!asset) return NullptrError::Create("A description was asked for without an asset.");
    const Result<Id> databaseId = GetDescriptionDatabaseId();
    return DataDescriptionDefinitionDatabase::LoadDescription(mode, category, language, asset->GetIdAndVersion(), nullptr,
                                                              databaseId.IsOk() ? databaseId.GetValue() : Id());
}

Result<String> RepositoryBase::GetRepositoryName(LanguageRef language, Bool addDetails) {
    return DatabaseAssetInterface::GetRepositoryName(AssetRepositoryRef(this), language, String(), addDetails);
}

Result<void> RepositoryBase::SetRepositoryName(const String& name, LanguageRef language) {
    return DatabaseAssetInterface::SetRepositoryName(AssetRepositoryRef(this), name, language);
}

Data RepositoryBase::GetAttribute(const Id& key) const {
    auto scope = _graph->attributes.Read();
    const Data* value = scope->Find(key);
    return value ? *value : Data();
}

Result<void> RepositoryBase::SetAttribute(const Id& key, const Data& value) {
    return CatchOutOfMemory([&]() -> Result<void> {
        auto attributes = _graph->attributes.Write();
        attributes->Set(Data(Id(key)), value);
        const Bool* skipped = value.GetPtr<Bool>();
        if (key == REPOSITORY_SKIPINSEARCH) _graph->isSkippedInSearch.store(skipped && *skipped, std::memory_order_release);
        return OK;
    });
}

}  // namespace talvo
