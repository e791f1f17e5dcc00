#include "bench/generated_repository.h"

#include "bench/generator.h"
#include "bench/measure.h"
#include "kernel/base/date_time.h"

namespace talvo::bench {

namespace {

using KIND = ASSET_METADATA_KIND;
constexpr KIND KIND_STORE_TIME = KIND::PERSISTENT | KIND::VERSIONED | KIND::READ_ONLY;
constexpr LiteralId ASSET_TYPE{"net.talvo.assettype.file"};
constexpr Int64 FIRST_TIME = 1700000000000000;

Result<void> Refuse() { return UnsupportedOperationError::Create("A generated repository is not changed."); }

class GeneratedRepository final : public BaseAssetRepository {
public:
    GeneratedRepository(Int first, Int count) : _first(first), _count(count) {}

    Bool IsWritable() const override { return false; }
    Result<void> LoadExistingIdsImpl(AssetIdReceiver receiver) override {
        for (Int number = _first; number < _first + _count; number++) {
            Data* adata = TRY(receiver(MakeGeneratedId(number), ASSET_TYPE));
            *adata = Data(number);
        }
        return OK;
    }
    Result<void> LoadVersionsImpl(const Id& aid, const Id& type, const Data& adata, AssetVersionReceiver receiver) override {
        const Int number = TRY(adata.Get<Int>());
        AssetDescription::Parts parts;
        parts.type = type;
        parts.identity = {aid, _version};
        parts.key = {UInt(FIRST_TIME + number), 1, GetId().GetWord()};
        AssetMetaDataTable table;
        TRY(table.Insert(_time, AssetMetaDataEntry{Data(UniversalDateTime(FIRST_TIME + number)), KIND_STORE_TIME, true, 1}));
        TRY(table.Insert(_name, AssetMetaDataEntry{Data(), KIND::PERSISTENT, false, 1}));
        const Url directory = _root + aid.GetView() + "1";
        parts.url = directory + "asset.dat";
        const Data vdata(directory);
        parts.metaData = TRY(AssetMetaData::Create(GetSelf(), type, parts.identity, vdata, std::move(table)));
        const AssetVersionKey key = parts.key;
        const AssetDescription description = TRY(AssetDescription::Create(GetSelf(), std::move(parts)));
        TRY(receiver(key, description, vdata));
        return OK;
    }
    Result<Data> LoadMetaDataImpl(const Data&, const InternedId&, KIND) override { return Data(); }

    Result<Data> CreateDataForIdImpl(const Id&, const Id&) override { return Refuse().GetError(); }
    Result<AssetStoreResult> StoreImpl(const Asset&, Bool, const Id&, const AssetDescription&, Data&, const AssetVersionNumber&,
                                       Bool) override {
        return Refuse().GetError();
    }
    Result<void> EraseImpl(const AssetDescription&, const Data&) override { return Refuse(); }
    Result<Bool> HandleAssetErasedCompletely(const Id&, const Data&) override { return true; }
    Result<Data> StoreMetaDataImpl(const Data&, const InternedId&, const Data&, const IdAndVersion&, const Url&, KIND,
                                   Bool) override {
        return Refuse().GetError();
    }
    Bool NeedsLoadVersionsBeforeStore() const override { return true; }
    Result<AssetVersionNumber> GetNextVersionImpl() override { return Refuse().GetError(); }
    Result<void> UpdateNextVersionImpl(UInt) override { return OK; }

private:
    const Int _first;
    const Int _count;
    const Id _version = Need(Id::Create("v1"));
    const Url _root = Url::FromSystemPath("/generated");
    const InternedId _time{ASSETMETADATA::TIMESTAMP};
    const InternedId _name{Need(Id::Create("strings_en"))};
};

}  // namespace

BaseAssetRepositoryRef MakeGeneratedRepository(const Id& id, Block<const AssetRepositoryRef> bases, Int first, Int count) {
    const BaseAssetRepositoryRef repository(new GeneratedRepository(first, count));
    Need(repository->InitBases(bases));
    Need(repository->InitImpl(id, false));
    return repository;
}

Id MakeGeneratedId(Int number) { return Need(Id::Create(MakeTreeId(number))); }

Int LoadAll(const AssetRepositoryRef& repository) {
    Int count = 0;
    Need(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription&) -> Result<Bool> {
        ++count;
        return true;
    }));
    return count;
}

}  // namespace talvo::bench
