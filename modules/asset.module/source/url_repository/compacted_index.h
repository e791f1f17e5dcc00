// One index directory as it was opened: its text and its values stay in their files.
#pragma once

#include "kernel/base/hash_map.h"
#include "kernel/io/mapped_file.h"
#include "url_repository/compacted_metadata.h"
#include "url_repository/index_text.h"
#include "url_repository/metadata_file_name.h"

#include <absl/container/flat_hash_map.h>

namespace talvo {

/// What a line of metadata says.
struct IndexedMetaDataName {
    InternedId key;
    ASSET_METADATA_KIND kind = ASSET_METADATA_KIND::NONE;
    MetaDataFileName::FORM form = MetaDataFileName::FORM::DOCUMENT;
};

/// Threads: any; it never changes once it is checked.
class CompactedIndex final : public ObjectInterface {
public:
    /// Opens its files and looks at their heads. Nothing is asked of it before Check. Errors: IoError; FileFormatError that names the file.
    static Result<StrongRef<CompactedIndex>> OpenFiles(const Url& directory, const IndexRange& range);
    /// Checks the text, once. Errors: as IndexText::Open.
    Result<void> Check(IndexText::Taker taker);
    /// Both of it. Errors: as both.
    static Result<StrongRef<CompactedIndex>> Open(const Url& directory, const IndexRange& range);

    const IndexText& GetText() const { return _text; }
    const Url& GetUrl() const { return _directory; }
    /// What the name of a line means; null if it names no value that is kept on disk. @param odd holds what names mean that are hardly used.
    const IndexedMetaDataName* ParseName(std::string_view name, Opt<IndexedMetaDataName>& odd) const;
    /// The value of `key`, empty if there is none. @param record of the asset. Errors: as CompactedMetaData.
    Result<Data> FindValue(UInt record, std::string_view aid, std::string_view version, const InternedId& key) const;
    /// Looks at the checksums of all values. Errors: FileFormatError that names the file.
    Result<void> CheckValues() const;
    /// The values of one key, or null.
    const CompactedMetaData* FindMetaData(const InternedId& key) const;
    /// About where a record stands among all, from 0 to 1.
    Float64 GetPlace(UInt record) const { return Float64(record) / Float64(std::max(_text.GetRecordCount(), UInt(1))); }

private:
    friend StrongRef<CompactedIndex>;
    CompactedIndex(Url directory, const IndexRange& range) : _directory(std::move(directory)), _range(range) {}
    Result<void> OpenAll();
    static Opt<IndexedMetaDataName> ParseAnyName(std::string_view name);

    const Url _directory;
    const IndexRange _range;
    StrongRef<MappedFile> _file;
    IndexText _text;
    absl::flat_hash_map<std::string_view, Opt<IndexedMetaDataName>> _names;
    std::vector<std::pair<InternedId, StrongRef<CompactedMetaData>>> _metaData;
};

}  // namespace talvo
