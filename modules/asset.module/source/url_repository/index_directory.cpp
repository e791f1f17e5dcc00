#include "url_repository/index_directory.h"

#include "kernel/app/log.h"
#include "kernel/io/file_system.h"
#include "kernel/io/file_utilities.h"
#include "url_repository/tree_access.h"
#include "url_repository/version_counter.h"

#include <algorithm>
#include <charconv>

namespace talvo {

namespace {

constexpr Int64 MAX_COUNTER_SIZE = 4096;
constexpr Int64 MAX_JOURNAL_SIZE = Int64(1) << 30;
constexpr std::string_view JOURNAL_PREFIX = "journal-";
constexpr const char* MODIFIED_NAME = "modified.dat";
// The kinds of lines, each behind its tag and a TAB.
constexpr std::string_view DIRECTORY_MARK = "d\t";
constexpr std::string_view ALL_MARK = "a";
constexpr std::string_view COUNTER_MARK = "v\t";

/// Makes it where nothing is. Errors: IoError; IllegalStateError if something else has its place, which may lead anywhere.
Result<void> MakeOwnDirectory(const Url& directory) {
    const Bool isThere = TRY(IsTreeDirectory(directory));
    if (isThere) return OK;
    if (directory.IoDetect() == IO_DETECT::NOT_THERE) return MakeDirectory(directory);
    return IllegalStateError::Create(FormatMessage("@ is no directory, so no index can be written. Move it away.", directory));
}

std::string ReadGeneration(const Url& index) { return ReadTreeFile(index + MODIFIED_NAME, MAX_COUNTER_SIZE).GetValueOr({}); }

Opt<Int64> ParseInt(std::string_view digits) {
    Int64 number = 0;
    const char* end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, number);
    if (digits.empty() || read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

/// Reads `<number or ->\t<time or ->`, where a file that isn't there has neither.
Opt<VersionFileState> ParseCounter(std::string_view text) {
    const std::size_t tab = text.find('\t');
    if (tab == std::string_view::npos) return std::nullopt;
    if (text == "-\t-") return VersionFileState{};
    const Opt<Int64> number = ParseInt(text.substr(0, tab));
    const Opt<Int64> time = ParseInt(text.substr(tab + 1));
    if (!number || !time) return std::nullopt;
    return VersionFileState{true, UInt(*number), *time};
}

}  // namespace

LockClass IndexDirectory::lockClass{"index of a repository", LOCK_FLAGS::IO};

VersionFileState ReadVersionFile(const Url& root) {
    const Url file = root + "version";
    VersionFileState state;
    const IO_DETECT kind = file.IoDetect();
    if (kind == IO_DETECT::NOT_THERE) return state;
    state.exists = true;
    const Result<IoConnectionRef> connection = file.OpenConnection();
    if (connection.IsError()) return state;
    state.time = std::move(connection.GetValue()->IoGetTime()).GetValueOr(UniversalDateTime()).GetValue();
    const Result<std::string> text = ReadTreeFile(file, MAX_COUNTER_SIZE);
    if (text.IsOk()) state.number = FindVersionCounter(text.GetValue());
    return state;
}

Result<std::vector<IndexSource::Entry>> FindIndexRanges(const Url& index) {
    std::vector<IndexSource::Entry> entries;
    const BaseArray<IoEntry> names = TRY(BrowseTree(index));
    for (const IoEntry& entry : names) {
        const Opt<IndexRange> range = ParseIndexRange(entry.name);
        if (entry.kind != IO_DETECT::DIRECTORY || !range || range->first > range->last) continue;
        const Url directory = index + entry.name;
        if ((directory + "index").IoDetect() == IO_DETECT::FILE) entries.push_back({*range, directory});
    }
    std::sort(entries.begin(), entries.end(), [](const IndexSource::Entry& first, const IndexSource::Entry& second) {
        if (first.range.last != second.range.last) return first.range.last > second.range.last;
        if (first.range.first != second.range.first) return first.range.first < second.range.first;
        return first.directory.GetName() < second.directory.GetName();
    });
    return entries;
}

std::string IndexDirectory::MakeTag() {
    const Result<Uuid> uuid = Uuid::CreateId();
    return uuid.IsOk() ? uuid.GetValue().ToString() : std::string("-");
}

// --- reading

Result<Opt<IndexSource>> IndexDirectory::Find() const {
    IndexSource source;
    const Bool isVisible = TRY(IsTreeDirectory(_index));
    if (isVisible) {
        source.entries = TRY(FindIndexRanges(_index));
        source.generation = ReadGeneration(_index);
        return Opt<IndexSource>(std::move(source));
    }
    if (!IsTreeDirectory(_dropped).GetValueOr(false)) return Opt<IndexSource>();
    // The journal first: what comes into it later was not changed yet when the rest is read.
    const Result<Opt<Journal>> journal = ReadJournal();
    if (journal.IsError() || !journal.GetValue() || !IsBelieved(*journal.GetValue())) return Opt<IndexSource>();
    Result<std::vector<IndexSource::Entry>> entries = FindIndexRanges(_dropped);
    if (entries.IsError() || entries.GetValue().empty()) return Opt<IndexSource>();
    source.entries = std::move(entries).GetValue();
    source.generation = ReadGeneration(_dropped);
    source.isDropped = true;
    source.changed = journal.GetValue()->changed;
    return Opt<IndexSource>(std::move(source));
}

/// There is one, unless someone else put more there.
Result<std::vector<Url>> IndexDirectory::FindJournals() const {
    const BaseArray<IoEntry> names = TRY(BrowseTreeIfThere(_dropped));
    std::vector<Url> journals;
    for (const IoEntry& entry : names) {
        if (entry.kind == IO_DETECT::FILE && entry.name.starts_with(JOURNAL_PREFIX)) journals.push_back(_dropped + entry.name);
    }
    return journals;
}

/// Nothing if there are several: nobody knows what stands in which.
Result<Opt<IndexDirectory::Journal>> IndexDirectory::ReadJournal() const {
    const std::vector<Url> files = TRY(FindJournals());
    if (files.size() != 1) return Opt<Journal>();
    const std::string text = TRY(ReadTreeFile(files.front(), MAX_JOURNAL_SIZE));
    Journal journal;
    journal.file = files.front();
    std::string_view rest = text;
    // A line without its end names a change that was never begun.
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end + 1);
        const std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos) continue;
        const Bool isOurs = line.substr(0, tab) == _tag;
        line.remove_prefix(tab + 1);
        if (line.starts_with(DIRECTORY_MARK)) {
            const std::string name(line.substr(DIRECTORY_MARK.size()));
            // None of ours; it may lead anywhere.
            if (!IsAssetDirectoryName(name)) {
                journal.namesAll = true;
                continue;
            }
            TRY(journal.changed.Insert(name));
            if (!isOurs) TRY(journal.changedByOthers.Insert(name));
        } else if (line.starts_with(COUNTER_MARK)) {
            journal.counter = ParseCounter(line.substr(COUNTER_MARK.size()));
        } else if (line == ALL_MARK) {
            journal.namesAll = true;
        }
    }
    return Opt<Journal>(std::move(journal));
}

Bool IndexDirectory::IsBelieved(const Journal& journal) const {
    if (journal.namesAll || !journal.counter) return false;
    return *journal.counter == ReadVersionFile(_root);
}

// --- changes

std::string IndexDirectory::MakeCounterLine(const VersionFileState& counter) const {
    const std::string text =
        counter.exists ? std::to_string(counter.number.value_or(0)) + "\t" + std::to_string(counter.time) : std::string("-\t-");
    return _tag + "\t" + std::string(COUNTER_MARK) + text + "\n";
}

/// Whoever stopped in the midst of a line, be it for lack of space, must not have it go on with this one.
Result<void> IndexDirectory::AppendLine(const Url& journal, const std::string& line) const {
    const OutputStreamRef stream = TRY(journal.OpenOutputStream(OUTPUT_MODE::APPEND));
    TRY(stream->Write("\n" + line));
    TRY(stream->Close());
    return SyncTree(journal);
}

/// Afterwards `_index` is not there, and `state` knows the journal, if there is a dropped index.
Result<void> IndexDirectory::EnsureJournal(State& state) {
    const Bool isVisible = TRY(IsTreeDirectory(_index));
    if (!isVisible && state.journal.IsPopulated() && state.journal.IoDetect() == IO_DETECT::FILE) return OK;
    state.journal = Url();
    state.noted = {};
    state.counter = {};
    if (isVisible) return Drop(state);
    const Bool isDropped = TRY(IsTreeDirectory(_dropped));
    if (!isDropped) return OK;
    const std::vector<Url> journals = TRY(FindJournals());
    if (!journals.empty()) state.journal = journals.front();
    return OK;
}

Result<void> IndexDirectory::Drop(State& state) {
    if (_dropped.IoDetect() != IO_DETECT::NOT_THERE) {
        const Url hidden = TRY(HideDirectory(_dropped));
        DeleteHidden(_root, hidden);
    }
    // An index that lags behind says so by the counter; once dropped it must not be believed.
    const VersionFileState counter = ReadVersionFile(_root);
    const Result<std::vector<IndexSource::Entry>> entries = FindIndexRanges(_index);
    const Bool hasRanges = entries.IsOk() && !entries.GetValue().empty();
    const Bool isWhole =
        hasRanges && (!counter.exists || (counter.number && *counter.number <= entries.GetValue().front().range.last));
    // One that stopped right here left its journal, which must not be taken for the one that is kept from now on.
    const BaseArray<IoEntry> names = TRY(BrowseTree(_index));
    for (const IoEntry& entry : names) {
        if (entry.name.starts_with(JOURNAL_PREFIX)) TRY(DeleteBelow(_root, _index + entry.name));
    }
    const std::string name = std::string(JOURNAL_PREFIX) + TRY(Uuid::CreateId()).ToString();
    TRY(WriteNewFile(_index + name, isWhole ? MakeCounterLine(counter) : std::string()));
    TRY(SyncTree(_index + name));
    TRY(SyncNames(_index));
    const Result<void> renamed = _index.IoRename(_dropped, RENAME_MODE::NO_REPLACE);
    if (renamed.IsError()) {
        DeleteHidden(_root, _index + name);
        return renamed;
    }
    TRY(SyncNames(_root));
    state.journal = _dropped + name;
    return OK;
}

Result<void> IndexDirectory::NoteChange(std::string_view assetDirectory) {
    auto state = _state.Write();
    TRY(EnsureJournal(*state));
    const std::string name(assetDirectory);
    if (state->journal.IsPopulated() && !state->noted.Contains(name)) {
        const std::string what = IsAssetDirectoryName(name) ? std::string(DIRECTORY_MARK) + name : std::string(ALL_MARK);
        TRY(AppendLine(state->journal, _tag + "\t" + what + "\n"));
        TRY(state->noted.Insert(name));
    }
    {
        auto changed = _changedHere.Write();
        TRY(changed->Insert(name));
    }
    _stamp.fetch_add(1, std::memory_order_acq_rel);
    return OK;
}

Bool IndexDirectory::WasChangedHere(std::string_view assetDirectory) const {
    auto changed = _changedHere.Read();
    return changed->GetCount() != 0 && changed->Contains(std::string(assetDirectory));
}

Result<void> IndexDirectory::NoteCounterChange() {
    auto state = _state.Write();
    TRY(EnsureJournal(*state));
    if (state->journal.IsEmpty()) return OK;
    const VersionFileState counter = ReadVersionFile(_root);
    if (state->counter == counter) return OK;
    // Whoever doesn't know the journal may have stored since. It must not be believed again because of what is written after that.
    const Opt<Journal> journal = TRY(ReadJournal());
    if (journal && !journal->namesAll && !IsBelieved(*journal))
        TRY(AppendLine(state->journal, _tag + "\t" + std::string(ALL_MARK) + "\n"));
    state->counter = counter;
    return OK;
}

// A journal without this line is not believed: the next load takes longer, and nothing is lost.
void IndexDirectory::NoteCounterChanged(UInt number) {
    auto state = _state.Write();
    if (state->journal.IsEmpty()) return;
    const Result<void> noted = CatchOutOfMemory([&]() -> Result<void> {
        state->counter = ReadVersionFile(_root);
        // Someone who takes no lock was at it right behind us.
        if (state->counter->number != number) return OK;
        return AppendLine(state->journal, MakeCounterLine(*state->counter));
    });
    if (noted.IsError())
        Log(LOG_LEVEL::WARNING, "The index of @ can't be used until it is written again: @", _root,
            noted.GetError()->GetMessage());
}

// --- compaction

Result<IndexDirectory::Start> IndexDirectory::BeginCompaction() {
    auto state = _state.Write();
    Start start;
    start.stamp = GetChangeStamp();
    start.counter = ReadVersionFile(_root);
    const Bool isVisible = TRY(IsTreeDirectory(_index));
    if (isVisible) {
        // Nobody has changed anything since it was written: the first who does will drop it.
        start.generation = ReadGeneration(_index);
        if (!start.generation.empty()) return start;
        // It can't be told from another one.
        TRY(Drop(*state));
    }
    Opt<Journal> journal;
    const Bool isDropped = TRY(IsTreeDirectory(_dropped));
    if (isDropped) {
        Result<Opt<Journal>> read = ReadJournal();
        if (read.IsOk()) journal = std::move(read).GetValue();
        if (!journal) {
            // The one that the others write must be the one that is looked at in the end.
            const Url hidden = TRY(HideDirectory(_dropped));
            DeleteHidden(_root, hidden);
        }
    }
    const std::string name = std::string(JOURNAL_PREFIX) + TRY(Uuid::CreateId()).ToString();
    const Url file = _dropped + name;
    if (journal) {
        if (IsBelieved(*journal)) start.generation = ReadGeneration(_dropped);
        start.changedByOthers = std::move(journal->changedByOthers);
        TRY(journal->file.IoRename(file, RENAME_MODE::NO_REPLACE));
    } else {
        TRY(MakeOwnDirectory(_dropped));
        TRY(WriteNewFile(file, {}));
    }
    start.journal = name;
    start.journalSize = TRY(file.GetContentLength());
    return start;
}

Bool IndexDirectory::IsUnchangedSince(const Start& start) const {
    if (GetChangeStamp() != start.stamp) return false;
    if (start.journal.empty()) return IsTreeDirectory(_index).GetValueOr(false) && ReadGeneration(_index) == start.generation;
    const Url file = _dropped + start.journal;
    return file.IoDetect() == IO_DETECT::FILE && file.GetContentLength().GetValueOr(-1) == start.journalSize;
}

// The dropped one goes first: were it there beside `_index`, someone might go on naming changes in it that the new one doesn't tell.
Result<void> IndexDirectory::Publish(const Url& work, const std::vector<std::string>& names) {
    auto state = _state.Write();
    state->journal = Url();
    state->noted = {};
    if (_dropped.IoDetect() != IO_DETECT::NOT_THERE) {
        TRY(_dropped.IoRename(work + "dropped", RENAME_MODE::NO_REPLACE));
        TRY(SyncNames(_root));
    }
    TRY(MakeOwnDirectory(_index));
    for (const std::string& name : names) {
        const Url from = work + name;
        const Url to = _index + name;
        const Bool isFile = from.IoDetect() == IO_DETECT::FILE;
        const Bool isThere = to.IoDetect() != IO_DETECT::NOT_THERE;
        // What was in its place lies in the work directory afterwards and goes with it.
        TRY(from.IoRename(to, isFile ? RENAME_MODE::REPLACE : isThere ? RENAME_MODE::EXCHANGE : RENAME_MODE::NO_REPLACE));
    }
    TRY(SyncNames(_index));
    return SyncNames(_root);
}

Result<void> IndexDirectory::PublishBeside(const Url& work, const char* name, const std::string& modified) {
    auto state = _state.Write();
    if (!IsTreeDirectory(_index).GetValueOr(false) || ReadGeneration(_index) != modified) return OK;
    TRY((work + name).IoRename(_index + name, RENAME_MODE::REPLACE));
    return SyncNames(_index);
}

// Were it left, all later changes would be written down for nobody.
Result<void> IndexDirectory::AbandonCompaction(const Start& start) {
    auto state = _state.Write();
    if (start.journal.empty() || (_dropped + start.journal).IoDetect() != IO_DETECT::FILE) return OK;
    const std::vector<IndexSource::Entry> entries = TRY(FindIndexRanges(_dropped));
    if (!entries.empty()) return OK;
    const Url hidden = TRY(HideDirectory(_dropped));
    DeleteHidden(_root, hidden);
    return OK;
}

Result<void> IndexDirectory::Remove(REMOVE what) {
    auto state = _state.Write();
    std::vector<Url> victims = {_index};
    if (what == REMOVE::DROPPED_TOO) victims.push_back(_dropped);
    for (const Url& directory : victims) {
        const Bool isThere = TRY(IsTreeDirectory(directory));
        if (!isThere) continue;
        const Url hidden = TRY(HideDirectory(directory));
        DeleteHidden(_root, hidden);
    }
    return OK;
}

}  // namespace talvo
