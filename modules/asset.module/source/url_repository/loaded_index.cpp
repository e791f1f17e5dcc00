#include "url_repository/loaded_index.h"

#include "assets/asset_identity.h"
#include "url_repository/version_directory_name.h"

#include <algorithm>

namespace talvo {

namespace {

/// Numbers as ranges that don't touch. Ends may be as high as there are numbers.
class NumberSet {
public:
    Bool Covers(const IndexRange& range) const {
        return std::any_of(_ranges.begin(), _ranges.end(),
                           [&](const IndexRange& each) { return each.first <= range.first && range.last <= each.last; });
    }
    void Add(IndexRange range) {
        // What touches it becomes one with it, so that a range over both is covered.
        std::erase_if(_ranges, [&](const IndexRange& each) {
            const Bool apart = (each.last < range.first && range.first - each.last > 1) ||
                               (range.last < each.first && each.first - range.last > 1);
            if (apart) return false;
            range = {std::min(range.first, each.first), std::max(range.last, each.last)};
            return true;
        });
        _ranges.push_back(range);
    }

private:
    std::vector<IndexRange> _ranges;
};

}  // namespace

Result<void> LoadedIndex::Open(IndexSource source) {
    NumberSet covered;
    _source = std::move(source);
    for (const IndexSource::Entry& entry : _source.entries) {
        if (entry.range.first > entry.range.last || covered.Covers(entry.range)) continue;
        StrongRef<CompactedIndex> index = TRY(CompactedIndex::OpenFiles(entry.directory, entry.range));
        _indexes.push_back(std::move(index));
        covered.Add(entry.range);
    }
    return OK;
}

Bool LoadedIndex::HasMoved() const {
    return std::any_of(_source.entries.begin(), _source.entries.end(),
                       [](const IndexSource::Entry& entry) { return entry.directory.IoDetect() == IO_DETECT::NOT_THERE; });
}

UInt LoadedIndex::GetHighestNumber() const {
    UInt highest = 0;
    for (const StrongRef<CompactedIndex>& index : _indexes) highest = std::max(highest, index->GetText().GetHighestNumber());
    return highest;
}

Result<void> LoadedIndex::AddPlace(const Id& aid, IndexPlace place) {
    std::vector<IndexPlace>* places = TRY(_morePlaces.InsertKey(aid));
    places->push_back(place);
    return OK;
}

Block<const IndexPlace> LoadedIndex::FindMorePlaces(const Id& aid) const {
    const std::vector<IndexPlace>* places = _morePlaces.Find(aid);
    return places ? Block<const IndexPlace>(*places) : Block<const IndexPlace>();
}

std::string MakeIndexedDirectoryName(const IndexText::Version& version) {
    const Bool isDeleted = version.versionId == DELETED_VERSION.GetView();
    return isDeleted ? MakeDeletedDirectoryName(version.number) : MakeVersionDirectoryName(version.number);
}

}  // namespace talvo
