#include "apps/talvo/output.h"

#include "apps/talvo/json_text.h"
#include "apps/talvo/terminal_text.h"
#include "kernel/text/string.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace talvo {

namespace {

constexpr std::size_t BLOCK = 1 << 16;
constexpr const char* BOLD = "\x1b[1m";
constexpr const char* RED = "\x1b[1;31m";
constexpr const char* YELLOW = "\x1b[1;33m";

Result<void> WriteAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EPIPE) return ClosedOutputError::Create("The reader of standard output has gone.");
        if (count < 0) return IoError::Create(std::string("Standard output can't be written: ") + std::strerror(errno) + ".");
        bytes.remove_prefix(std::size_t(count));
    }
    return OK;
}

}  // namespace

Output::Output(const CommonOptions& options) : _options(options) {}

Result<void> Output::WriteBytes(std::string_view bytes) {
    if (_isClosed) return ClosedOutputError::Create("The reader of standard output has gone.");
    _buffer.append(bytes);
    return _buffer.size() < BLOCK ? OK : Flush();
}

Result<void> Output::Flush() {
    if (_progress && !_buffer.empty() && isatty(STDOUT_FILENO)) _progress->Clear();
    Result<void> outcome = WriteAll(_buffer);
    _buffer.clear();
    _isClosed |= outcome.IsError();
    for (const std::string& warning : TakeQueuedWarnings()) PrintWarning(warning);
    return outcome;
}

Result<void> Output::WriteJson(const DocumentValue& value) { return WriteBytes(JsonText::Write(value) + "\n"); }

Result<void> Output::WriteLine(std::string_view text) { return WriteBytes(TerminalText::MakeSafe(text) + "\n"); }

Result<void> Output::WriteTable(const TextTable& table) {
    Bool isTitle = true;
    for (const std::string& line : table.MakeLines()) {
        TRY(WriteBytes((isTitle ? Paint(line, BOLD, STDOUT_FILENO) : line) + "\n"));
        isTitle = false;
    }
    return OK;
}

std::string Output::Paint(std::string_view text, const char* color, int descriptor) const {
    const char* refused = std::getenv("NO_COLOR");
    const Bool automatic = isatty(descriptor) && !(refused && *refused);
    const Bool use = _options.color == COLOR_USE::ALWAYS || (_options.color == COLOR_USE::AUTO && automatic);
    return use ? color + std::string(text) + "\x1b[0m" : std::string(text);
}

void Output::WriteToStandardError(std::string_view line) {
    if (_progress) _progress->Clear();
    std::fprintf(stderr, "%.*s\n", int(line.size()), line.data());
}

void Output::PrintLine(std::string_view line) {
    // Data that was made before it stands before it.
    Flush().Ignore("whoever writes data next meets the same error");
    WriteToStandardError(line);
}

void Output::QueueWarning(std::string text) {
    const std::lock_guard lock(_queueLock);
    _queue.push_back(std::move(text));
}

std::vector<std::string> Output::TakeQueuedWarnings() {
    const std::lock_guard lock(_queueLock);
    return std::exchange(_queue, {});
}

void Output::PrintError(const ErrorRef& error) {
    if (!_options.json)
        return PrintLine(Paint("talvo: error:", RED, STDERR_FILENO) + " " + TerminalText::MakeSafe(error->GetMessage()));
    PrintLine(JsonText::Write(ToJson(error)));
}

DocumentValue Output::ToJson(const ErrorRef& error) {
    DocumentValue::ObjectType object;
    object.emplace_back("error", std::string(error->GetClassId().GetView()));
    object.emplace_back("message", MakeUtf8(error->GetMessage()));
    return DocumentValue(std::move(object));
}

void Output::PrintWarning(std::string_view text) {
    WriteToStandardError(Paint("talvo: warning:", YELLOW, STDERR_FILENO) + " " + TerminalText::MakeSafe(text));
}

void Output::PrintNote(std::string_view text) {
    if (!_options.quiet) PrintLine(TerminalText::MakeSafe(text));
}

void Output::PrintText(std::string_view text) { std::fprintf(stderr, "%.*s", int(text.size()), text.data()); }

Progress& Output::StartProgress(std::string what, Int total) {
    const Bool wanted = !_options.quiet && !_options.noProgress;
    _progress.reset();
    _progress = std::make_unique<Progress>(wanted ? Progress::Detect() : Progress::USE::HIDDEN, std::move(what), total);
    return *_progress;
}

}  // namespace talvo
