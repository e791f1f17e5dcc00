// What a url opens to, and the handlers of url schemes.
#pragma once

#include "kernel/base/date_time.h"
#include "kernel/io/streams.h"
#include "kernel/io/url.h"

namespace talvo {

/// One entry of a browsed directory.
struct IoEntry {
    std::string name;  ///< raw bytes
    IO_DETECT kind = IO_DETECT::FAILED;
    Int64 size = 0;       ///< of a file, where browsing knew it, else -1
    Bool isLink = false;  ///< the entry itself is a link; `kind` and `size` are those of what it points at
};

enum class BROWSE_MODE { NAMES, NAMES_AND_SIZES };

/// An opened url. The default of each operation fails with UnsupportedOperationError that names the url.
/// Threads: one at a time for one connection; connections of one url are independent.
class IoConnection : public ObjectInterface {
public:
    virtual Url GetUrl() const = 0;
    /// All entries, hidden ones included, sorted by name bytes. Links are told as what they point at.
    virtual Result<BaseArray<IoEntry>> Browse(BROWSE_MODE mode);
    virtual Result<InputStreamRef> OpenInputStream();
    virtual Result<OutputStreamRef> OpenOutputStream(OUTPUT_MODE mode);
    virtual Result<Int64> GetContentLength();
    virtual IO_DETECT IoDetect();
    /// True if the entry itself is a link, wherever it points.
    virtual Result<Bool> IoIsLink();
    /// Bit 0: read-only (no write permission for anyone, or a read-only file system).
    virtual Result<UInt> IoGetAttributes();
    /// Only bit 0.
    virtual Result<void> IoSetAttributes(UInt flags, UInt mask);
    /// Time of the last change.
    virtual Result<UniversalDateTime> IoGetTime();
    virtual Result<void> IoDelete();
    virtual Result<void> IoCreateDirectory();
    virtual Result<Bool> IoCreateDirectoryExclusive();
    /// Copies this file to `target` on any scheme, replacing a file there whole or not at all. By default through streams.
    virtual Result<void> IoCopyFile(const Url& target);
    /// Within one scheme. Errors: IoError that names both.
    virtual Result<void> IoRename(const Url& target, RENAME_MODE mode);
    /// Makes what was written to this file, or the names in this directory, survive a loss of power.
    virtual Result<void> IoSync();
};

/// Serves one scheme of urls. Threads: any.
class IoHandler : public ObjectInterface {
public:
    virtual Id GetUrlScheme() const = 0;
    virtual Result<IoConnectionRef> OpenConnection(const Url& url) = 0;
    /// One step towards what `url` stands for, or `url`; which steps are taken is for Url::Normalize to say, which repeats this. `flags` isn't NONE.
    virtual Result<Url> Normalize(const Url& url, NORMALIZE flags);
    /// The same where I/O may be waited for: by default it is the same.
    virtual Result<Url> IoNormalize(const Url& url, NORMALIZE flags);
    /// Adds a component (or several, split at "/").
    virtual Result<void> AppendUrl(Url& url, std::string_view component);
    /// Adds the path of `relative`.
    virtual Result<void> AppendUrl(Url& url, const Url& relative);
    /// Removes the last component; the url of the top stays.
    virtual Result<void> RemoveUrl(Url& url);
    /// Text for people.
    virtual Result<String> ConvertToUiName(const Url& url, UI_NAME flags);
};
using IoHandlerRef = StrongRef<IoHandler>;

namespace IoHandlers {

/// Schemes `file` and `ramdisk` (memory) are there from the start. Errors: IllegalStateError if the scheme is taken.
Result<void> Register(IoHandlerRef handler);
void Unregister(const Id& scheme);
/// Errors: UnsupportedArgumentError "No handler for urls of the scheme @."
Result<IoHandlerRef> GetHandlerForScheme(const Id& scheme);

}  // namespace IoHandlers

inline constexpr LiteralId URLSCHEME_FILESYSTEM{"file"};
inline constexpr LiteralId URLSCHEME_MEMORY{"ramdisk"};

}  // namespace talvo
