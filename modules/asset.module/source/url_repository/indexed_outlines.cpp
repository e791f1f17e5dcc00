// What an index tells of an asset, read column by column in the order of the assets, without any version being made.
#include "url_repository/loaded_index.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

class UrlAssetRepositoryImpl::Outlines final : public AssetOutlines {
public:
    Outlines(UrlAssetRepositoryImpl& repository, Block<const InternedId> keys)
        : _repository(repository), _keys(keys.begin(), keys.end()) {
        for (Int i = 0; i < repository._index->GetCount(); ++i)
            _indexes.push_back(MakeColumns(repository._index->Get(UInt32(i))));
    }

    Result<Bool> Read(const Id& aid, const Data& adata, Block<StoredValue> values) override {
        std::fill(values.begin(), values.end(), StoredValue());
        const IndexedAssetData* place = adata.GetPtr<IndexedAssetData>();
        if (!place || !_repository._index->FindMorePlaces(aid).empty()) return false;
        const IndexText& text = _repository._index->Get(place->index).GetText();
        const IndexText::Record record = text.GetRecord(place->record);
        if (MayBeElsewhere(record.directory)) return false;
        IndexText::Version version;
        UInt position = record.versions;
        if (!text.ReadVersionHead(position, version) || version.versionId == DELETED_VERSION.GetView()) return false;
        const Bool isRead = TRY(ReadValues(record.id, version, _indexes[place->index], position, values));
        IndexText::Version older;
        return isRead && !text.ReadVersionHead(position, older);
    }

private:
    /// Where a value of one key is likely found next.
    struct Column {
        const CompactedMetaData* values = nullptr;
        UInt next = 0;
    };
    enum class NAME : Int { OF_NO_KEY = -1, NOT_IN_COLUMNS = -2 };  // or the number of a key
    struct Columns {
        const CompactedIndex* index = nullptr;
        std::vector<Column> columns;                           // one for each key
        std::vector<std::pair<std::string_view, Int>> before;  // names of the asset before, each with what FindKey says
    };

    Columns MakeColumns(const CompactedIndex& index) const {
        Columns columns;
        columns.index = &index;
        for (const InternedId& key : _keys) columns.columns.push_back({index.FindMetaData(key)});
        return columns;
    }

    /// Whether values may lie in another tree, or the index doesn't tell what there is now.
    Bool MayBeElsewhere(std::string_view directory) {
        UrlAssetRepositoryImpl& repository = _repository;
        return repository._index->scansTree || repository._indexDirectory.WasChangedHere(directory) ||
               (repository.IsOwnTree(repository._places.derived) && repository._derivedNames.MayHave(directory)) ||
               (repository.IsOwnTree(repository._places.user) && repository._userNames.MayHave(directory));
    }

    /// @param position of the names of values; set to what stands behind them if true is returned.
    Result<Bool> ReadValues(std::string_view aid, const IndexText::Version& version, Columns& columns, UInt& position,
                            Block<StoredValue> values) {
        const compacted::VersionKey key(version.versionId);
        std::string_view name;
        std::size_t place = 0;
        for (; columns.index->GetText().ReadMetaDataName(position, name); ++place) {
            // Most assets have values of the same names as the one before.
            if (place == columns.before.size()) columns.before.emplace_back();
            auto& [nameBefore, number] = columns.before[place];
            if (nameBefore != name) {
                nameBefore = name;
                number = FindKey(name, columns);
            }
            if (number == Int(NAME::OF_NO_KEY)) continue;
            if (number == Int(NAME::NOT_IN_COLUMNS)) return false;
            if (values[std::size_t(number)].type) continue;
            Column& column = columns.columns[std::size_t(number)];
            const Opt<CompactedMetaData::RawValue> value = TRY(column.values->FindNext(aid, key, column.next));
            if (!value) return false;
            values[std::size_t(number)] = {value->typeId, value->bytes};
        }
        return true;
    }

    /// Number of the key that a value's name stands for, or a NAME.
    Int FindKey(std::string_view name, const Columns& columns) const {
        Opt<IndexedMetaDataName> odd;
        const IndexedMetaDataName* meaning = columns.index->ParseName(name, odd);
        Int number = Int(NAME::OF_NO_KEY);
        if (meaning) {
            const auto key = std::find(_keys.begin(), _keys.end(), meaning->key);
            if (key != _keys.end()) number = Int(key - _keys.begin());
        }
        if (number >= 0) {
            const Bool isInColumn = columns.columns[std::size_t(number)].values && !HasFlag(meaning->kind, KIND::USER) &&
                                    meaning->form != MetaDataFileName::FORM::FILE;
            if (!isInColumn) number = Int(NAME::NOT_IN_COLUMNS);
        }
        return number;
    }

    UrlAssetRepositoryImpl& _repository;
    const std::vector<InternedId> _keys;
    std::vector<Columns> _indexes;
};

std::unique_ptr<AssetOutlines> UrlAssetRepositoryImpl::MakeOutlinesImpl(Block<const InternedId> keys) {
    if (_index->GetCount() == 0 || _index->scansTree) return nullptr;
    return std::make_unique<Outlines>(*this, keys);
}

}  // namespace talvo
