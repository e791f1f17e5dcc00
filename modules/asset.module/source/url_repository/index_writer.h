// Writes an index directory, record by record.
#pragma once

#include "assets/asset_metadata.h"
#include "url_repository/buffered_file.h"
#include "url_repository/compacted_metadata.h"
#include "url_repository/index_text.h"

#include <map>

namespace talvo {

/// Assets come in ascending order of the bytes of their ids. What is written is the same for the same calls, byte by byte.
/// Threads: one at a time; Finish uses several itself.
class IndexWriter {
public:
    /// Writes into the directory `work`, which is there. Errors: IoError.
    static Result<IndexWriter> Create(const Url& work);

    /// A record is written once it has a version.
    void BeginAsset(std::string_view directory, std::string_view aid, std::string_view type);
    /// @param payload name of the payload; empty for a deletion mark. Errors: IllegalStateError for a name that no record can hold.
    Result<void> BeginVersion(UInt number, std::string_view versionId, std::string_view payload);
    /// A value of the version at hand that goes into the compacted metadata. @param kind one that can be stored.
    Result<void> AddValue(const InternedId& key, ASSET_METADATA_KIND kind, const Data& value);
    /// One that stays in its file, of this name.
    Result<void> AddFile(std::string_view name);
    /// The highest version number so far.
    UInt GetHighestNumber() const { return _highestNumber; }
    /// Writes the rest, as the directories `<first>-<last>` and `<first>-<last>.json` in `work`. Nothing comes after it.
    /// @return their names.
    Result<std::vector<std::string>> Finish(const IndexRange& range);

private:
    IndexWriter(Url work, BufferedFile text) : _work(std::move(work)), _text(std::move(text)) {}
    Result<void> WriteLine(std::string_view tabs, std::string_view line);

    Url _work;
    BufferedFile _text;
    std::string _directory;
    std::string _aid;
    std::string _type;
    std::string _versionId;
    Bool _hasRecord = false;
    UInt _highestNumber = 0;
    std::map<Id, CompactedMetaDataWriter> _values;
};

}  // namespace talvo
