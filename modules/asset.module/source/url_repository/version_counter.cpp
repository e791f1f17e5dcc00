#include "url_repository/version_counter.h"

#include "kernel/io/file_utilities.h"
#include "url_repository/tree_access.h"

#include <charconv>

namespace talvo {

namespace {

constexpr Int64 MAX_COUNTER_SIZE = 4096;
constexpr UInt MAX_NUMBER = UInt(INT64_MAX);

UInt ReadCounter(const Url& file) {
    const Result<std::string> text = ReadTreeFile(file, MAX_COUNTER_SIZE);
    return text.IsOk() ? FindVersionCounter(text.GetValue()).value_or(0) : 0;
}

}  // namespace

LockClass VersionCounter::lockClass{"version counter", LOCK_FLAGS::IO};

Opt<UInt> FindVersionCounter(std::string_view text) {
    LineReader lines(text);
    const Opt<std::string> line = lines.ReadLine();
    if (!line || line->empty()) return std::nullopt;
    UInt number = 0;
    const char* end = line->data() + line->size();
    const auto read = std::from_chars(line->data(), end, number);
    return read.ec == std::errc() && read.ptr == end && number <= MAX_NUMBER ? Opt<UInt>(number) : std::nullopt;
}

VersionFileState VersionCounter::Load() {
    const VersionFileState file = ReadVersionFile(_root);
    auto state = _state.Write();
    state->value = std::max(state->value, file.number.value_or(0));
    return file;
}

UInt VersionCounter::GetValue() const {
    auto state = _state.Read();
    return state->value;
}

void VersionCounter::Raise(UInt number) {
    auto state = _state.Write();
    if (number <= state->value) return;
    state->value = number;
    state->written = false;
}

Result<UInt> VersionCounter::GetNext() {
    auto state = _state.Write();
    TRY(Write(*state, 0, 1));
    return UInt(state->value);
}

Result<void> VersionCounter::Update(UInt number) {
    auto state = _state.Write();
    if (state->written && number <= state->value) return OK;
    return Write(*state, number, 0);
}

// Another process may have gone further meanwhile: the file never goes back, and no step is taken twice.
Result<void> VersionCounter::Write(State& state, UInt minimum, UInt step) {
    const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    const UInt highest = std::max({ReadCounter(_file), state.value, minimum});
    if (highest > MAX_NUMBER - step) {
        return IllegalStateError::Create(FormatMessage("@ holds the greatest version number there is. Correct the file.", _file));
    }
    // A counter beyond the index would make the next one who loads read the whole tree.
    TRY(_index.NoteCounterChange());
    TRY(ReplaceFile(_file, std::to_string(highest + step) + "\n"));
    _index.NoteCounterChanged(highest + step);
    state.value = highest + step;
    state.written = true;
    return OK;
}

}  // namespace talvo
