// Everything that the program writes: data to standard output, talk to standard error.
#pragma once

#include "apps/talvo/options.h"
#include "apps/talvo/progress.h"
#include "apps/talvo/text_table.h"
#include "kernel/data/document_value.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

/// Standard output is written in blocks; call Flush before the process ends.
/// Errors of all that writes data: ClosedOutputError when the reader has gone, IoError else.
/// Threads: main thread, but for QueueWarning.
class Output {
public:
    explicit Output(const CommonOptions& options);

    Bool IsJson() const { return _options.json; }
    Bool IsQuiet() const { return _options.quiet; }

    /// One JSON object as a line.
    Result<void> WriteJson(const DocumentValue& value);
    /// A line for people; what could steer a terminal is made visible.
    Result<void> WriteLine(std::string_view text);
    Result<void> WriteTable(const TextTable& table);
    /// Raw data.
    Result<void> WriteBytes(std::string_view bytes);
    Result<void> Flush();

    /// `talvo: error: MESSAGE`, or a JSON object, on standard error.
    void PrintError(const ErrorRef& error);
    /// An error as programs read it.
    static DocumentValue ToJson(const ErrorRef& error);
    void PrintWarning(std::string_view text);
    /// Keeps a warning until the main thread next writes to standard error or flushes. Threads: any.
    void QueueWarning(std::string text);
    /// What was done, for people; nothing with --quiet.
    void PrintNote(std::string_view text);
    /// Raw text for people on standard error: usage.
    void PrintText(std::string_view text);

    /// Starts a progress line; the one before it ends. It is shown only to people, on a terminal.
    Progress& StartProgress(std::string what, Int total);
    void EndProgress() { _progress.reset(); }

private:
    std::string Paint(std::string_view text, const char* color, int descriptor) const;
    std::vector<std::string> TakeQueuedWarnings();
    void PrintLine(std::string_view line);
    void WriteToStandardError(std::string_view line);

    const CommonOptions& _options;
    std::string _buffer;
    Bool _isClosed = false;
    std::unique_ptr<Progress> _progress;
    std::mutex _queueLock;
    std::vector<std::string> _queue;  // guarded by _queueLock
};

}  // namespace talvo
