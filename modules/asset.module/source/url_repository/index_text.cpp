#include "url_repository/index_text.h"

#include "assets/asset_identity.h"
#include "kernel/base/id.h"
#include "kernel/text/format.h"
#include "kernel/text/message_text.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/asset_directory_name.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstring>
#include <unordered_set>

namespace talvo {

namespace {

constexpr std::size_t LONGEST_NAME = 4096;
constexpr std::size_t MOST_NAMES = 4096;
/// Three lines with an id of one byte.
constexpr std::size_t SHORTEST_RECORD = 5;
/// Records that change threads together.
constexpr UInt BATCH = 1024;
/// A shorter text is done sooner than a thread is made.
constexpr std::size_t WORTH_A_THREAD = std::size_t(1) << 20;

Opt<UInt> ParseNumber(std::string_view digits) {
    UInt number = 0;
    const char* end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number);
    if (digits.empty() || read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

Bool IsControl(char c) { return UChar(c) < 0x20 || UChar(c) == 0x7f; }

Bool IsPrintable(std::string_view text) { return std::none_of(text.begin(), text.end(), IsControl); }

Bool IsPlainName(std::string_view name) {
    return !name.empty() && name.size() <= LONGEST_NAME && name != "." && name != ".." && IsPrintable(name) &&
           name.find('/') == std::string_view::npos;
}

/// What a record has that must be looked at line by line.
struct Tally {
    Bool isOdd = false;  ///< a control character but TAB and LF, or "/"
    UInt tabs = 0;
};

// Written so that the compiler turns it into code for many bytes at a time.
Tally CountBytes(std::string_view text) {
    constexpr std::size_t BLOCK = 128;
    Tally tally;
    UChar odd = 0;
    for (std::size_t begin = 0; begin < text.size(); begin += BLOCK) {
        const std::string_view block = text.substr(begin, BLOCK);
        UChar tabs = 0;
        for (const char c : block) {
            const UChar byte = UChar(c);
            tabs = UChar(tabs + (byte == '\t'));
            odd |= UChar((byte < 0x20) & (byte != '\t') & (byte != '\n')) | UChar(byte == 0x7f) | UChar(byte == '/');
        }
        tally.tabs += tabs;
    }
    tally.isOdd = odd != 0;
    return tally;
}

}  // namespace

Bool IsIndexableName(std::string_view name) { return IsPlainName(name); }

Bool IsAssetDirectoryName(std::string_view name) {
    return IsPlainName(name) && name.front() != '.' && name != INDEX_DIRECTORY_NAME;
}

Opt<IndexRange> ParseIndexRange(std::string_view name) {
    const std::size_t dash = name.find('-');
    if (dash == std::string_view::npos) return std::nullopt;
    const Opt<UInt> first = ParseNumber(name.substr(0, dash));
    const Opt<UInt> last = ParseNumber(name.substr(dash + 1));
    return first && last ? Opt<IndexRange>(IndexRange{*first, *last}) : std::nullopt;
}

std::string MakeIndexRangeName(const IndexRange& range) { return std::to_string(range.first) + "-" + std::to_string(range.last); }

/// Goes through the text once. Most records are found to be harmless as a whole; the others are looked at line by line.
class IndexText::Checker {
public:
    Checker(IndexText& index, const IndexRange& range, const Url& file) : _index(index), _range(range), _file(file) {}

    /// @param ready is told the number of records that may be taken.
    Result<void> Run(FunctionRef<Bool(UInt records)> ready) {
        const std::string_view text = _index._text;
        while (_position < text.size()) {
            const UInt begin = _position;
            const UInt line = _line;
            UInt tabs = 0;
            TRY(PassRecord(tabs));
            const Tally tally = CountBytes(text.substr(begin, _position - begin));
            if (tally.isOdd || tally.tabs != tabs) TRY(CheckRecord(begin, line));
            _index.AddRecord(begin);
            if (_index._recordCount % BATCH == 0 && !ready(_index._recordCount)) return OK;
        }
        return OK;
    }

private:
    ErrorRef MakeError(UInt line, std::string_view why) const {
        return FileFormatError::Create(FormatMessage("Line @ of @ is wrong: @ Remove @ and compact again.", line, _file, why,
                                                     _file.GetDirectory().GetDirectory()));
    }
    Bool IsAtTabs(UInt count) const {
        const std::string_view rest = std::string_view(_index._text).substr(_position, count);
        return rest.size() == count && rest.find_first_not_of('\t') == std::string_view::npos;
    }
    Result<std::string_view> NeedLine(const char* what) {
        if (_position >= _index._text.size()) return MakeError(_line, FormatMessage("@ is missing, the text ends here.", what));
        ++_line;
        return _index.ReadLine(_position);
    }

    /// Structure and numbers.
    Result<void> PassRecord(UInt& tabs) {
        const std::string_view directory = TRY(NeedLine("the name of a directory"));
        if (directory.empty() || directory.front() == '.' || directory == INDEX_DIRECTORY_NAME)
            return MakeError(_line - 1, "no asset has a directory of that name.");
        if (directory.size() > LONGEST_NAME) return MakeError(_line - 1, "the name of a directory is too long.");
        const std::string_view id = TRY(NeedLine("an asset id"));
        const std::string_view type = TRY(NeedLine("an asset type"));
        if (id.empty() || id.size() > Id::MAX_LENGTH || type.size() > Id::MAX_LENGTH) {
            return MakeError(_line - 2, "an id is empty or too long.");
        }
        while (IsAtTabs(1)) {
            TRY(PassVersion(tabs));
            ++_index._versionCount;
        }
        return OK;
    }
    Result<void> PassVersion(UInt& tabs) {
        const std::string_view digits = TRY(NeedLine("a version number"));
        const Opt<UInt> number = ParseNumber(digits.substr(1));
        if (!number)
            return MakeError(_line - 1, FormatMessage("\"@\" is no version number.", ShortenForMessage(digits.substr(1))));
        if (!_range.Contains(*number) || *number > UInt(INT64_MAX)) {
            return MakeError(_line - 1, "Assertion failed: Condition c.range.Contains(versionNumber) not fulfilled. ");
        }
        _index._highestNumber = std::max(_index._highestNumber, *number);
        if (!IsAtTabs(1)) return MakeError(_line, "a version id behind one TAB is missing.");
        const std::string_view versionId = TRY(NeedLine("a version id"));
        if (versionId.size() < 2 || versionId.size() > Id::MAX_LENGTH)
            return MakeError(_line - 1, "the version id is empty or too long.");
        if (versionId.substr(1) == g_newVersion.GetView()) return MakeError(_line - 1, "no version has that id.");
        const Bool isMark = versionId.substr(1) == DELETED_VERSION.GetView();
        if (!IsAtTabs(2)) return MakeError(_line, "the name of a payload behind two TABs is missing.");
        tabs += 2;
        std::size_t place = 0;
        for (Bool isPayload = true; IsAtTabs(2); isPayload = false) {
            const std::string_view name = TRY(NeedLine("a name")).substr(2);
            const Bool isWrong =
                (name.empty() && !(isPayload && isMark)) || name.size() > LONGEST_NAME || name == "." || name == "..";
            if (isWrong) return MakeError(_line - 1, "no file has that name.");
            tabs += 2;
            if (!isPayload) NoteName(name, place++);
        }
        return OK;
    }
    /// Nearly always the name that stood in this place before.
    void NoteName(std::string_view name, std::size_t place) {
        if (place < _namesBefore.size() && _namesBefore[place] == name) return;
        if (place < _namesBefore.size()) _namesBefore[place] = name;
        if (_index._names.size() < MOST_NAMES && _namesMet.insert(name).second) _index._names.push_back(name);
    }

    /// The characters of each line of a record whose structure is right.
    Result<void> CheckRecord(UInt position, UInt line) const {
        const auto next = [&](Bool (*isRight)(std::string_view), UInt tabs, const char* why) -> Result<void> {
            const std::string_view text = _index.ReadLine(position).substr(tabs);
            return isRight(text) ? Result<void>(OK) : MakeError(line++, why);
        };
        const UInt end = _position;
        TRY(next(IsPlainName, 0, "that is no name of a directory."));
        ++line;
        for (int i = 0; i < 2; ++i, ++line) TRY(next(IsPrintable, 0, "an id has a control character."));
        while (position < end) {
            const std::string_view text = std::string_view(_index._text).substr(position);
            const UInt tabs = text.starts_with("\t\t") ? 2 : 1;
            const Bool isPayloadOfMark = text.starts_with("\t\t\n");
            TRY(next(tabs == 2 && !isPayloadOfMark ? IsPlainName : IsPrintable, tabs, "that is no plain name."));
            ++line;
        }
        return OK;
    }

    IndexText& _index;
    const IndexRange _range;
    const Url& _file;
    UInt _position = 0;
    UInt _line = 1;
    std::array<std::string_view, 16> _namesBefore;
    std::unordered_set<std::string_view> _namesMet;
};

/// How far the thread that checks is ahead of the one that takes.
class Progress {
public:
    /// @return false if nobody takes any more.
    Bool Tell(UInt records) {
        _records.store(records, std::memory_order_release);
        _records.notify_one();
        return !_isAbandoned.load(std::memory_order_relaxed);
    }
    void End() { Tell(_records.load(std::memory_order_relaxed) | END); }
    void Abandon() { _isAbandoned.store(true, std::memory_order_relaxed); }
    /// Waits until there are more than `taken`. @return how many; as many as before at the end.
    UInt Wait(UInt taken) {
        UInt records = _records.load(std::memory_order_acquire);
        while (records == taken) {
            _records.wait(records, std::memory_order_acquire);
            records = _records.load(std::memory_order_acquire);
        }
        return records & ~END;
    }

private:
    static constexpr UInt END = UInt(1) << 63;
    std::atomic<UInt> _records{0};
    std::atomic<Bool> _isAbandoned{false};
};

Result<void> IndexText::Open(std::string_view text, const IndexRange& range, const Url& file) {
    return Open(text, range, file, [](UInt, UInt, UInt) -> Result<void> { return OK; });
}

Result<void> IndexText::Open(std::string_view text, const IndexRange& range, const Url& file, Taker taker) {
    return CatchOutOfMemory([&]() -> Result<void> {
        _text = text;
        if (text.find('\r') != std::string_view::npos) {
            _withoutReturns = text;
            std::erase(_withoutReturns, '\r');
            _text = _withoutReturns;
        }
        _records.resize(_text.size() / (SHORTEST_RECORD * CHUNK) + 1);
        Progress progress;
        const auto check = [&]() -> Result<void> {
            const Result<void> checked = CatchOutOfMemory(
                [&] { return Checker(*this, range, file).Run([&](UInt records) { return progress.Tell(records); }); });
            progress.End();
            return checked;
        };
        const auto take = [&]() -> Result<void> {
            for (UInt taken = 0;;) {
                const UInt records = progress.Wait(taken);
                if (records == taken) return OK;
                const Result<void> done = CatchOutOfMemory(
                    [&] { return taker(taken, records, records * _text.size() / (GetPosition(records - 1) + 1)); });
                if (done.IsError()) {
                    progress.Abandon();
                    return done;
                }
                taken = records;
            }
        };
        const Int threads = _text.size() < WORTH_A_THREAD ? 1 : 2;
        TRY(DoSideBySide(2, threads, [&](Int part) { return part == 0 ? check() : take(); }));
        const UInt told = _recordCount - _recordCount % BATCH;
        return told == _recordCount ? Result<void>(OK) : taker(told, _recordCount, _recordCount);
    });
}

void IndexText::AddRecord(UInt position) {
    auto& chunk = _records[_recordCount / CHUNK];
    if (!chunk) chunk = std::make_unique<std::array<UInt, CHUNK>>();
    (*chunk)[_recordCount % CHUNK] = position;
    ++_recordCount;
}

std::string_view IndexText::ReadLine(UInt& position) const {
    const std::string_view rest = _text.substr(position);
    const void* found = std::memchr(rest.data(), '\n', rest.size());
    const UInt length = found ? UInt(static_cast<const char*>(found) - rest.data()) : rest.size();
    position += length + (found ? 1 : 0);
    return rest.substr(0, length);
}

IndexText::Record IndexText::GetRecord(UInt number) const {
    Record record;
    UInt position = GetPosition(number);
    record.directory = ReadLine(position);
    record.id = ReadLine(position);
    record.type = ReadLine(position);
    record.versions = position;
    return record;
}

Bool IndexText::ReadVersionHead(UInt& position, Version& version) const {
    if (position >= _text.size() || _text[position] != '\t') return false;
    const std::string_view digits = ReadLine(position).substr(1);
    std::from_chars(digits.data(), digits.data() + digits.size(), version.number);
    version.versionId = ReadLine(position).substr(1);
    version.payload = ReadLine(position).substr(2);
    version.metaData = position;
    version.metaDataCount = 0;
    return true;
}

Bool IndexText::ReadVersion(UInt& position, Version& version) const {
    if (!ReadVersionHead(position, version)) return false;
    for (std::string_view name; ReadMetaDataName(position, name);) ++version.metaDataCount;
    return true;
}

std::string_view IndexText::GetVersionId(UInt position) const {
    ReadLine(position);
    return ReadLine(position).substr(1);
}

IndexText::Version IndexText::GetVersion(UInt position) const {
    Version version;
    ReadVersion(position, version);
    return version;
}

Bool IndexText::ReadMetaDataName(UInt& position, std::string_view& name) const {
    if (_text.size() < position + 2 || _text[position] != '\t' || _text[position + 1] != '\t') return false;
    name = ReadLine(position).substr(2);
    return true;
}

}  // namespace talvo
