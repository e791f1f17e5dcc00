// The text of an index directory: what assets and versions there are, read where it lies.
//
// A record is three lines, directory, id and type, and for each version its number behind one TAB, its id behind one TAB, and behind two TABs each the
// name of the payload and then those of its metadata.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/result.h"
#include "kernel/io/url.h"

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

/// Version numbers, both ends included.
struct IndexRange {
    UInt first = 0;
    UInt last = 0;

    Bool Contains(UInt number) const { return first <= number && number <= last; }
    Bool operator==(const IndexRange&) const = default;
};

/// Nothing for a name that is not `<first>-<last>` in decimal digits.
Opt<IndexRange> ParseIndexRange(std::string_view name);
/// `<first>-<last>`
std::string MakeIndexRangeName(const IndexRange& range);

/// Whether an asset's directory can have that name: one that can stand in the text, and that a walk through the tree would look into.
Bool IsAssetDirectoryName(std::string_view name);
/// Whether a name can stand in the text: a plain component of a path without control characters.
Bool IsIndexableName(std::string_view name);

/// Records that were checked once, and then are read by their place in the text. Threads: any.
class IndexText {
public:
    struct Record {
        std::string_view directory;
        std::string_view id;
        std::string_view type;
        UInt versions = 0;  ///< position of its first version, or of what follows
    };
    struct Version {
        UInt number = 0;
        std::string_view versionId;
        std::string_view payload;  ///< empty for a deletion mark
        Int metaDataCount = 0;     ///< how many names of metadata there are
        UInt metaData = 0;         ///< position of the first name of its metadata, or of what follows
    };

    /// Takes records that are found to be right, from number `first` up to `end`; `expected` is about how many there will be.
    using Taker = FunctionRef<Result<void>(UInt first, UInt end, UInt expected)>;
    /// Checks all of it. @param text kept by the caller for as long as this is used, but for one with CR, of which a copy without them is kept.
    /// @param taker is called with all records, in order, on one thread, while another one checks those that follow.
    /// Errors: the taker's; FileFormatError that names `file` and the line: a missing line or TAB, a number that is none or outside of `range`, a name that is
    /// no plain component of a path. What was taken until then is wrong, too.
    Result<void> Open(std::string_view text, const IndexRange& range, const Url& file, Taker taker);
    /// The same for who takes nothing.
    Result<void> Open(std::string_view text, const IndexRange& range, const Url& file);

    UInt GetRecordCount() const { return _recordCount; }
    /// Bytes of the text.
    UInt GetSize() const { return _text.size(); }
    Record GetRecord(UInt number) const;
    /// The version at `position`, which is then that of the next one. @return false if no version stands there.
    Bool ReadVersion(UInt& position, Version& version) const;
    /// The same but for its metadata, whose names are counted by nobody and stand at `position` then.
    Bool ReadVersionHead(UInt& position, Version& version) const;
    /// The id of that version.
    std::string_view GetVersionId(UInt position) const;
    /// The version at a position that ReadVersion was at.
    Version GetVersion(UInt position) const;
    /// The same for the name of metadata at `position`.
    Bool ReadMetaDataName(UInt& position, std::string_view& name) const;
    UInt GetVersionCount() const { return _versionCount; }
    /// The highest version number in it.
    UInt GetHighestNumber() const { return _highestNumber; }
    /// The different names of metadata, the first few thousand of them, in the order of their first use.
    const std::vector<std::string_view>& GetMetaDataNames() const { return _names; }

private:
    class Checker;
    std::string_view ReadLine(UInt& position) const;

    std::string _withoutReturns;
    std::string_view _text;
    static constexpr UInt CHUNK = 4096;
    UInt GetPosition(UInt record) const { return (*_records[record / CHUNK])[record % CHUNK]; }
    void AddRecord(UInt position);

    std::vector<std::unique_ptr<std::array<UInt, CHUNK>>>
        _records;  // where each begins; as many chunks as there may be, so that one thread reads while another adds
    UInt _recordCount = 0;
    UInt _versionCount = 0;
    UInt _highestNumber = 0;
    std::vector<std::string_view> _names;
};

}  // namespace talvo
