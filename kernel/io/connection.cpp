#include "kernel/io/connection.h"

#include "kernel/io/file_handler.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/memory_handler.h"
#include "kernel/text/format.h"
#include "kernel/thread/registry.h"

#include <new>

namespace talvo {

namespace {

ErrorRef MakeUnsupported(const char* operation, const Url& url, SourceLocation location = SourceLocation::Current()) {
    return UnsupportedOperationError::Create(FormatMessage("Can't @ @: urls of this kind don't offer it.", operation, url),
                                             location);
}

struct HandlerTable {
    HandlerTable() {
        // The first entries of an empty registry can only fail for lack of memory; thrown, so that the next one who asks makes them.
        const Bool areKnown = handlers.Register(URLSCHEME_FILESYSTEM, CreateFileHandler()).IsOk() &&
                              handlers.Register(URLSCHEME_MEMORY, CreateMemoryHandler()).IsOk();
        if (!areKnown) throw std::bad_alloc();
    }
    Registry<IoHandlerRef> handlers{"net.talvo.registry.iohandlers"_id};
};

/// Never destroyed: urls are still opened when statics go.
Registry<IoHandlerRef>& GetHandlers() {
    static HandlerTable& table = *new HandlerTable;
    return table.handlers;
}

}  // namespace

Result<BaseArray<IoEntry>> IoConnection::Browse(BROWSE_MODE) { return MakeUnsupported("browse", GetUrl()); }
Result<InputStreamRef> IoConnection::OpenInputStream() { return MakeUnsupported("read", GetUrl()); }
Result<OutputStreamRef> IoConnection::OpenOutputStream(OUTPUT_MODE) { return MakeUnsupported("write", GetUrl()); }
Result<Int64> IoConnection::GetContentLength() { return MakeUnsupported("tell the length of", GetUrl()); }
IO_DETECT IoConnection::IoDetect() { return IO_DETECT::FAILED; }
Result<Bool> IoConnection::IoIsLink() { return MakeUnsupported("look for a link at", GetUrl()); }
Result<UInt> IoConnection::IoGetAttributes() { return MakeUnsupported("read attributes of", GetUrl()); }
Result<void> IoConnection::IoSetAttributes(UInt, UInt) { return MakeUnsupported("set attributes of", GetUrl()); }
Result<UniversalDateTime> IoConnection::IoGetTime() { return MakeUnsupported("tell the time of", GetUrl()); }
Result<void> IoConnection::IoDelete() { return MakeUnsupported("delete", GetUrl()); }
Result<void> IoConnection::IoCreateDirectory() { return MakeUnsupported("make the folder", GetUrl()); }
Result<Bool> IoConnection::IoCreateDirectoryExclusive() { return MakeUnsupported("make the folder", GetUrl()); }
Result<void> IoConnection::IoRename(const Url&, RENAME_MODE) { return MakeUnsupported("rename", GetUrl()); }
Result<void> IoConnection::IoSync() { return MakeUnsupported("sync", GetUrl()); }

Result<void> IoConnection::IoCopyFile(const Url& target) {
    const InputStreamRef input = TRY(OpenInputStream());
    const OutputStreamRef output = TRY(target.OpenOutputStream(OUTPUT_MODE::REPLACE));
    TRY(FileUtilities::CopyStream(*input, *output));
    return output->Close();
}

Result<Url> IoHandler::Normalize(const Url& url, NORMALIZE) { return url; }
Result<Url> IoHandler::IoNormalize(const Url& url, NORMALIZE flags) { return Normalize(url, flags); }
Result<String> IoHandler::ConvertToUiName(const Url& url, UI_NAME) { return url.ToString(); }

Result<void> IoHandler::AppendUrl(Url& url, std::string_view component) {
    url.Append(component);
    return OK;
}

Result<void> IoHandler::AppendUrl(Url& url, const Url& relative) { return AppendUrl(url, relative.GetPath()); }

Result<void> IoHandler::RemoveUrl(Url& url) {
    url.RemoveName();
    return OK;
}

Result<void> IoHandlers::Register(IoHandlerRef handler) {
    if (!handler) return NullptrError::Create("A handler of urls is null.");
    const Id scheme = handler->GetUrlScheme();
    if (GetHandlers().Find(scheme)) {
        return IllegalStateError::Create(
            FormatMessage("Urls of the scheme @ have a handler already. Unregister that first.", scheme));
    }
    return GetHandlers().Register(scheme, std::move(handler));
}

void IoHandlers::Unregister(const Id& scheme) {
    GetHandlers().EraseEntry(scheme).Ignore("only memory can be short, then it stays");
}

Result<IoHandlerRef> IoHandlers::GetHandlerForScheme(const Id& scheme) {
    Opt<IoHandlerRef> handler = GetHandlers().FindEntryValue(scheme);
    if (!handler) return UnsupportedArgumentError::Create(FormatMessage("No handler for urls of the scheme @.", scheme));
    return std::move(*handler);
}

// Operations of a url: the handler's and the connection's, with memory that ran out turned into an error.

Result<IoConnectionRef> Url::OpenConnection() const {
    return CatchOutOfMemory([&]() -> Result<IoConnectionRef> {
        if (IsEmpty()) return IllegalArgumentError::Create("An empty url can't be opened. Name a file or folder.");
        const IoHandlerRef handler = TRY(IoHandlers::GetHandlerForScheme(GetScheme()));
        return handler->OpenConnection(*this);
    });
}

namespace {

constexpr Int MAX_STEPS = 16;

/// Does `work` with a copy of `url` and its handler. @return the changed copy.
template <typename WORK>
Result<Url> ChangeThroughHandler(const Url& url, WORK&& work) {
    return CatchOutOfMemory([&]() -> Result<Url> {
        const IoHandlerRef handler = TRY(IoHandlers::GetHandlerForScheme(url.GetScheme()));
        Url changed = url;
        TRY(work(*handler, changed));
        return changed;
    });
}

/// Opens `url` and does `work`, which returns a Result, with its connection.
template <typename WORK>
auto WithConnection(const Url& url, WORK&& work) -> decltype(work(std::declval<IoConnection&>())) {
    return CatchOutOfMemory([&]() -> decltype(work(std::declval<IoConnection&>())) {
        const IoConnectionRef connection = TRY(url.OpenConnection());
        return work(*connection);
    });
}

}  // namespace

template <typename STEP>
Result<Url> Url::RepeatNormalize(NORMALIZE flags, STEP&& step) const {
    return CatchOutOfMemory([&]() -> Result<Url> {
        Url place = *this;
        if (flags == NORMALIZE::NONE) return place;
        // The step that finds nothing new is none.
        for (Int i = 0; i <= MAX_STEPS; ++i) {
            const IoHandlerRef handler = TRY(IoHandlers::GetHandlerForScheme(place.GetScheme()));
            Url next = TRY(step(*handler, place));
            if (next == place) return place;
            place = std::move(next);
            if (!HasFlag(flags, NORMALIZE::REAL_WHOLLY)) return place;
        }
        return IoError::Create(
            FormatMessage("@ leads from one place to the next without an end. Look where @ leads.", *this, place));
    });
}

Result<Url> Url::Normalize(NORMALIZE flags) const {
    return RepeatNormalize(flags, [&](IoHandler& handler, const Url& url) { return handler.Normalize(url, flags); });
}
Result<Url> Url::IoNormalize(NORMALIZE flags) const {
    return RepeatNormalize(flags, [&](IoHandler& handler, const Url& url) { return handler.IoNormalize(url, flags); });
}
Result<String> Url::ConvertToUiName(UI_NAME flags) const {
    return CatchOutOfMemory([&]() -> Result<String> {
        const IoHandlerRef handler = TRY(IoHandlers::GetHandlerForScheme(GetScheme()));
        return handler->ConvertToUiName(*this, flags);
    });
}
Result<Url> Url::GetChild(std::string_view component) const {
    return ChangeThroughHandler(*this, [&](IoHandler& handler, Url& url) { return handler.AppendUrl(url, component); });
}
Result<Url> Url::GetChild(const Url& relative) const {
    return ChangeThroughHandler(*this, [&](IoHandler& handler, Url& url) { return handler.AppendUrl(url, relative); });
}
Result<Url> Url::GetParent() const {
    return ChangeThroughHandler(*this, [](IoHandler& handler, Url& url) { return handler.RemoveUrl(url); });
}

IO_DETECT Url::IoDetect() const {
    return WithConnection(*this, [](IoConnection& c) -> Result<IO_DETECT> { return c.IoDetect(); }).GetValueOr(IO_DETECT::FAILED);
}
Result<InputStreamRef> Url::OpenInputStream() const {
    return WithConnection(*this, [](IoConnection& c) { return c.OpenInputStream(); });
}
Result<OutputStreamRef> Url::OpenOutputStream(OUTPUT_MODE mode) const {
    return WithConnection(*this, [&](IoConnection& c) { return c.OpenOutputStream(mode); });
}
Result<Int64> Url::GetContentLength() const {
    return WithConnection(*this, [](IoConnection& c) { return c.GetContentLength(); });
}
Result<void> Url::IoCreateDirectory() const {
    return WithConnection(*this, [](IoConnection& c) { return c.IoCreateDirectory(); });
}
Result<Bool> Url::IoCreateDirectoryExclusive() const {
    return WithConnection(*this, [](IoConnection& c) { return c.IoCreateDirectoryExclusive(); });
}
Result<void> Url::IoDelete() const {
    return WithConnection(*this, [](IoConnection& c) { return c.IoDelete(); });
}
Result<void> Url::IoRename(const Url& target, RENAME_MODE mode) const {
    return WithConnection(*this, [&](IoConnection& c) { return c.IoRename(target, mode); });
}

}  // namespace talvo
