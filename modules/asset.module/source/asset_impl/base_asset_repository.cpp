// The repository class in front of the engine: each operation turns lack of memory into an error and hands over.
#include "baseassetrepository.h"

#include "asset_impl/repository_engine.h"
#include "asset_impl/repository_graph.h"
#include "asset_types/description_store.h"
#include "kernel/thread/job.h"

namespace talvo {

namespace {

constexpr const char* DESCRIPTION_DATABASE_PREFIX = "assets.";

}  // namespace

Result<Id> GetRenamedAssetId(const Id& aid) {
    if (aid.IsEmpty()) return aid;
    for (const auto& entry : GetAssetRenamings().GetEntries()) {
        Id renamed = TRY(entry->value(aid));
        if (renamed.IsPopulated()) return renamed;
    }
    return aid;
}

Result<Bool> FindAssets(const AssetRepositoryRef& repository, Block<const Id> types, const Id& aid, const Id& version,
                        ASSET_FIND_MODE findMode, AssetReceiver receiver) {
    if (!repository) return NullptrError::Create("A lookup was asked for without a repository.");
    return repository->FindAssets(types, aid, version, findMode, [&](const AssetFindItem& item) -> Result<Bool> {
        return item.GetDescription() ? receiver(*item.GetDescription()) : Result<Bool>(true);
    });
}

Result<Bool> RepositoryBase::FindAssets(Block<const Id> types, const Id& aid, const Id& version, ASSET_FIND_MODE findMode,
                                        AssetFindReceiver receiver) {
    return CatchOutOfMemory([&]() -> Result<Bool> {
        if (!types.empty() && types.front().IsEmpty()) types = {};
        CheckNoLockHeld(LOCK_USE::CALLBACK, "a walk over assets");
        VisitedRepositories visited;
        LatestAssets latest;
        TRY(visited.Insert(this));
        // A repository that stands alone delivers straight what it finds.
        const ASSET_FIND_MODE mode = _graph->HasBases() ? findMode : findMode | ASSET_FIND_MODE::WITHOUT_BASES;
        const Bool goOn = TRY(PrivateFindAssets(types, aid, version, mode, receiver, visited, latest));
        if (!goOn) return false;
        for (const LatestAssets::Candidate& candidate : latest.GetCandidates()) {
            if (HasFlag(findMode, ASSET_FIND_MODE::CANCELLABLE) && Job::IsCurrentCancelled())
                return OperationCancelledError::Create();
            const Bool more = TRY(receiver(AssetFindItem(candidate.entry->description)));
            if (!more) return false;
        }
        return true;
    });
}

Result<AssetDescription> RepositoryBase::FindLatestAsset(const Id& type, const Id& aid, const Id& version,
                                                         ASSET_FIND_MODE findMode) {
    if (aid.IsEmpty()) return IllegalArgumentError::Create("Asset ID cannot be null.");
    AssetDescription first;
    TRY(talvo::FindAssets(GetSelf(), Block<const Id>(&type, 1), aid, version, findMode | ASSET_FIND_MODE::LATEST,
                          [&](const AssetDescription& found) -> Result<Bool> {
                              if (!first) first = found;
                              return true;
                          }));
    return first;
}

BaseAssetRepository::BaseAssetRepository() : _engine(std::make_unique<RepositoryEngine>(*this)) {}

BaseAssetRepository::~BaseAssetRepository() = default;

const Id& BaseAssetRepository::GetId() const { return _engine->GetId(); }

AssetRepositoryRef BaseAssetRepository::FindRepository(const Id& repoId) {
    if (repoId == GetId()) return GetSelf();
    for (const AssetRepositoryRef& base : GetBases()) {
        if (AssetRepositoryRef found = base->FindRepository(repoId)) return found;
    }
    return nullptr;
}

Result<Bool> BaseAssetRepository::PrivateFindAssets(Block<const Id> types, const Id& aid, const Id& version,
                                                    ASSET_FIND_MODE findMode, AssetFindReceiver assets,
                                                    VisitedRepositories& visited, LatestAssets& latestMap) {
    const Id renamed = TRY(GetRenamedAssetId(aid));
    const RepositoryEngine::Walk walk{types, renamed, version, findMode, assets, visited, latestMap};
    Bool lookHere = !RepositoryGraph::Of(*this).isSkippedInSearch.load(std::memory_order_acquire);
    if (lookHere && walk.Has(ASSET_FIND_MODE::ASK_REPOSITORY)) lookHere = TRY(assets(AssetFindItem(GetSelf())));
    if (lookHere) {
        const Bool goOn = TRY(_engine->FindOwn(walk));
        if (!goOn) return false;
    }
    if (walk.Has(ASSET_FIND_MODE::WITHOUT_BASES)) return true;
    return RepositoryEngine::FindInBases(*this, walk);
}

Result<void> BaseAssetRepository::PrivatePrefetchMetaData(const InternedId& metaId, ASSET_METADATA_KIND kind,
                                                          ASSET_FIND_MODE findMode, VisitedRepositories& visited) {
    if (HasFlag(findMode, ASSET_FIND_MODE::WITHOUT_BASES)) return OK;
    for (const AssetRepositoryRef& base : GetBases()) {
        if (HasFlag(findMode, ASSET_FIND_MODE::CANCELLABLE) && Job::IsCurrentCancelled())
            return OperationCancelledError::Create();
        const Bool isNew = TRY(visited.Insert(base.GetPointer()));
        if (isNew) TRY(base->PrivatePrefetchMetaData(metaId, kind, findMode, visited));
    }
    return OK;
}

Result<AssetDescription> BaseAssetRepository::GetDescription(const AssetBase& asset) {
    return CatchOutOfMemory([&] { return _engine->GetDescription(asset); });
}

Result<COMPARERESULT> BaseAssetRepository::CompareVersions(const AssetBase& first, const AssetBase& second) {
    if (!first || !second) return NullptrError::Create("Two versions are compared, and one of them is null.");
    if (first->GetIdAndVersion().first != second->GetIdAndVersion().first) return COMPARERESULT::INCOMPARABLE;
    const auto toResult = [](std::strong_ordering order) {
        return order < 0 ? COMPARERESULT::LESS : order > 0 ? COMPARERESULT::GREATER : COMPARERESULT::EQUAL;
    };
    if (first->GetIdAndVersion().second == second->GetIdAndVersion().second) {
        const auto firstUpdate = Cast<AssetBaseWithUpdateInterface>(first);
        const auto secondUpdate = Cast<AssetBaseWithUpdateInterface>(second);
        if (!firstUpdate || !secondUpdate) return COMPARERESULT::EQUAL;
        return toResult(firstUpdate->GetUpdate() <=> secondUpdate->GetUpdate());
    }
    return toResult(_engine->GetVersionKey(first) <=> _engine->GetVersionKey(second));
}

Result<AssetDescription> BaseAssetRepository::StoreAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) {
    return CatchOutOfMemory([&] { return _engine->Store({.aid = aid, .asset = asset, .metaData = metaData}); });
}

Result<AssetDescription> BaseAssetRepository::OverwriteAsset(const Id& aid, const Asset& asset, const AssetMetaData& metaData) {
    return CatchOutOfMemory([&] {
        return _engine->Store({.aid = aid, .asset = asset, .metaData = metaData, .place = StoreRequest::PLACE::NEWEST_VERSION});
    });
}

Result<AssetDescription> BaseAssetRepository::DeleteAsset(const Id& aid) {
    return CatchOutOfMemory([&] { return _engine->Store({.aid = aid, .content = StoreRequest::CONTENT::DELETION}); });
}

Result<AssetDescription> BaseAssetRepository::CopyAsset(const Id& aid, const AssetDescription& source, Bool addEncryption,
                                                        Bool overwrite) {
    return CatchOutOfMemory([&] {
        return _engine->Store({.aid = aid,
                               .source = source,
                               .content = StoreRequest::CONTENT::SOURCE,
                               .place = overwrite ? StoreRequest::PLACE::NEWEST_VERSION : StoreRequest::PLACE::NEW_VERSION,
                               .encryption = addEncryption ? StoreRequest::ENCRYPTION::ADD : StoreRequest::ENCRYPTION::KEEP});
    });
}

Result<void> BaseAssetRepository::EraseAsset(const AssetDescription& asset) {
    return CatchOutOfMemory([&] { return _engine->Erase(asset); });
}

Result<void> BaseAssetRepository::StoreMetaData(const AssetDescription& asset, const InternedId& metaId, const Data& data,
                                                ASSET_METADATA_KIND kind) {
    return CatchOutOfMemory([&] {
        return _engine->WriteMetaData({asset, metaId, data, Url(), kind, RepositoryEngine::MetaDataWrite::FORM::DOCUMENT});
    });
}

Result<void> BaseAssetRepository::StoreUrlMetaData(const AssetDescription& asset, const InternedId& metaId, const Url& source,
                                                   ASSET_METADATA_KIND kind) {
    return CatchOutOfMemory([&] {
        return _engine->WriteMetaData({asset, metaId, Data(), source, kind, RepositoryEngine::MetaDataWrite::FORM::FILE});
    });
}

Result<Id> BaseAssetRepository::GetDescriptionDatabaseId() const {
    if (_engine->GetDescriptionDatabaseId().IsPopulated()) return Id(_engine->GetDescriptionDatabaseId());
    return IllegalStateError::Create(FormatMessage("Repository @ has no description database.", GetId()));
}

void BaseAssetRepository::HandleAssetStored(const AssetBase& asset) {
    _engine->NoteUpdated(asset);
    RepositoryBase::HandleAssetStored(asset);
}

void BaseAssetRepository::HandleAssetUpdated(const AssetBase& asset) {
    _engine->NoteUpdated(asset);
    RepositoryBase::HandleAssetUpdated(asset);
}

Result<BaseArray<AssetUpdateRecord>> BaseAssetRepository::GetPendingUpdates(Bool reset) {
    return CatchOutOfMemory([&] { return _engine->GetPendingUpdates(reset); });
}

Result<void> BaseAssetRepository::Update(Block<const AssetUpdateRecord> updates) {
    return CatchOutOfMemory([&]() -> Result<void> {
        for (const AssetUpdateRecord& update : updates) TRY(_engine->Update(update));
        return OK;
    });
}

Result<void> BaseAssetRepository::InitImpl(const Id& rid, Bool tempRepository) {
    return CatchOutOfMemory([&] { return _engine->Init(rid, tempRepository); });
}

Result<void> BaseAssetRepository::AssetLoadedImpl(const Asset& asset, Bool updateLinks) {
    return updateLinks ? _engine->RegisterLoadedAsset(asset) : Result<void>(OK);
}

Result<void> BaseAssetRepository::PublishVersionImpl(AssetStoreResult&) { return OK; }

void BaseAssetRepository::DiscardVersionImpl(const AssetStoreResult&) {}

Result<Url> BaseAssetRepository::GetUrlImpl(const Data&) { return Url(); }

Result<void> RepositoryEngine::Init(const Id& rid, Bool tempRepository) {
    TRY(CheckIdText(rid, "repository id"));
    _id = rid;
    TRY(_self.LoadExistingIdsImpl([&](const Id& aid, const Id& type) -> Result<Data*> {
        AssetIdData* record = TRY(_table.Ensure(aid, type));
        record->created.store(true, std::memory_order_release);
        return &record->adata;
    }));
    if (tempRepository) return OK;
    const std::string name = DESCRIPTION_DATABASE_PREFIX + std::string(rid.GetView());
    // Documents make repositories of one id side by side, so theirs get a fresh part.
    _descriptionDatabaseId = rid == REPOSITORY_SCENE ? TRY(AssetInterface::MakeUuid(name.c_str(), false)) : TRY(Id::Create(name));
    _descriptionDatabase = TRY(CreateAssetDescriptionDatabase(_descriptionDatabaseId, AssetRepositoryRef(&_self)));
    return OK;
}

RepositoryEngine::~RepositoryEngine() {
    if (!_descriptionDatabase) return;
    DataDescriptionDefinitionDatabase::UnregisterDatabase(_descriptionDatabaseId, _descriptionDatabase)
        .Ignore("another repository of this id has taken its place");
}

}  // namespace talvo
