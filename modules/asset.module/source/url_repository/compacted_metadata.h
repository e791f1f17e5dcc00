// The values of one metadata key for all versions of an index, in one file that is searched as it lies there.
//
// The file is a binary document whose payload is columns: sorted texts of asset ids, the rows of each, version ids, and values with a table of their
// types. docs/formats.md has the bytes.
#pragma once

#include "kernel/data/data.h"
#include "kernel/io/mapped_file.h"
#include "url_repository/compacted_metadata_layout.h"

#include <atomic>

namespace talvo {

/// Root and type of such a document.
inline constexpr LiteralId COMPACTED_METADATA{"net.talvo.asset.compactedmetadata"};

/// Collects the values of one key. Threads: one at a time.
class CompactedMetaDataWriter {
public:
    /// Assets come in ascending order of their bytes, the versions of one behind each other in any order, each once.
    /// Errors: UnsupportedArgumentError for a value that can't be stored; IllegalStateError out of order.
    Result<void> Add(std::string_view aid, std::string_view version, const Data& value);
    /// The same with the tagged bytes of a value.
    Result<void> AddRaw(std::string_view aid, std::string_view version, const Id& typeId, std::string_view valueBytes);
    /// Writes the document to a new file, and its twin in JSON, for people, to another one. Nothing is added after it.
    Result<void> Write(const Url& binary, const Url& json);

private:
    struct Row {
        std::string version;
        std::string value;
    };
    Result<UInt32> FindType(const Id& typeId);
    void FinishAsset();
    Result<void> WriteBinary(const Url& file) const;
    Result<void> WriteJson(const Url& file) const;
    std::string_view GetVersion(UInt row) const;
    std::string_view GetValue(UInt row) const;

    std::vector<Row> _rows;  // of the asset at hand
    std::string _asset;
    std::vector<Id> _types;
    std::vector<UInt> _assetOffsets{0};
    std::vector<UInt> _firstRows{0};
    std::vector<UInt> _versionOffsets{0};
    std::vector<UInt> _valueOffsets{0};
    std::string _assets;
    std::string _versions;
    std::string _values;
};

/// Such a document, opened.
/// Threads: any. Its checksum is looked at when the first value is asked for; a damaged one then gives errors, never values.
class CompactedMetaData final : public ObjectInterface {
public:
    /// Errors: IoError; FileFormatError that names the file.
    static Result<StrongRef<CompactedMetaData>> Open(const Url& file);

    /// The value of a version; empty if there is none. @param place about where the asset stands among all, from 0 to 1.
    /// Errors: FileFormatError that names the file.
    Result<Data> Find(std::string_view aid, std::string_view version, Float64 place) const;
    struct RawValue {
        const Id* typeId;
        std::string_view bytes;  ///< tagged value
    };
    /// The same, undecoded.
    Result<Opt<RawValue>> FindRaw(std::string_view aid, std::string_view version, Float64 place) const;
    /// The same for who goes through all assets in their order. @param next number of the asset that is likely the next one; set for the next call.
    Result<Opt<RawValue>> FindNext(std::string_view aid, const compacted::VersionKey& version, UInt& next) const;
    UInt GetRowCount() const { return _rowCount; }
    const Url& GetUrl() const { return _file; }

private:
    friend StrongRef<CompactedMetaData>;
    enum class SUM : UInt32 { UNKNOWN, RIGHT, WRONG };
    CompactedMetaData(Url file, StrongRef<MappedFile> mapped) : _file(std::move(file)), _mapped(std::move(mapped)) {}

    Result<void> ReadHead();
    Result<void> EnsureChecked() const;
    Result<std::string_view> GetAsset(UInt asset) const;
    Result<std::string_view> GetVersion(UInt row) const;
    Result<RawValue> GetValue(UInt row) const;
    Result<Opt<UInt>> FindAsset(std::string_view aid, UInt next) const;
    ErrorRef MakeError(std::string_view why) const;

    const Url _file;
    const StrongRef<MappedFile> _mapped;
    mutable std::atomic<SUM> _sum{SUM::UNKNOWN};
    UInt _assetCount = 0;
    UInt _rowCount = 0;
    Bool _hasDigests = false;
    std::vector<Id> _types;
    // Columns, views into the file.
    std::string_view _assetOffsets;
    std::string_view _firstRows;
    std::string_view _versionOffsets;
    std::string_view _valueOffsets;
    std::string_view _assets;
    std::string_view _versions;
    std::string_view _values;
};

}  // namespace talvo
