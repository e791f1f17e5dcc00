// The index that a repository was loaded from.
#pragma once

#include "url_repository/compacted_index.h"
#include "url_repository/index_directory.h"

namespace talvo {

/// Where one index directory has an asset.
struct IndexPlace {
    UInt32 index = 0;
    UInt32 record = 0;
};

/// Index directories in the order in which they count. Threads: any, once it is loaded.
class LoadedIndex {
public:
    /// Opens those whose numbers aren't all in the ones before. Errors: as CompactedIndex::OpenFiles.
    Result<void> Open(IndexSource source);
    /// Checks one of them, handing out its records. Errors: as CompactedIndex::Check.
    Result<void> Check(UInt32 index, IndexText::Taker taker) { return _indexes[index]->Check(taker); }

    /// Whether a directory that was to be opened is no longer there.
    Bool HasMoved() const;

    Int GetCount() const { return Int(_indexes.size()); }
    const CompactedIndex& Get(UInt32 index) const { return *_indexes[index]; }
    const std::string& GetGeneration() const { return _source.generation; }
    /// The end of the first range; 0 if there is none.
    UInt GetLast() const { return _source.entries.empty() ? 0 : _source.entries.front().range.last; }
    UInt GetHighestNumber() const;
    const IndexSource& GetSource() const { return _source; }

    /// An asset that another index directory has as well.
    Result<void> AddPlace(const Id& aid, IndexPlace place);
    /// Those places beside the first.
    Block<const IndexPlace> FindMorePlaces(const Id& aid) const;
    /// Versions of assets in the tree count beside those of the index.
    Bool scansTree = false;

private:
    IndexSource _source;
    std::vector<StrongRef<CompactedIndex>> _indexes;
    HashMap<Id, std::vector<IndexPlace>> _morePlaces;
};

/// `<n>`, or `<n>-deleted` of a deletion mark.
std::string MakeIndexedDirectoryName(const IndexText::Version& version);

}  // namespace talvo
