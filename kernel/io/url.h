// Urls: a name of something that a registered handler can open, with side data that travels along.
#pragma once

#include "kernel/base/object.h"
#include "kernel/data/data.h"
#include "kernel/text/format.h"
#include "kernel/text/string.h"

#include <string>
#include <string_view>

namespace talvo {

class IoConnection;
using IoConnectionRef = StrongRef<IoConnection>;
class InputStream;
using InputStreamRef = StrongRef<InputStream>;
class OutputStream;
using OutputStreamRef = StrongRef<OutputStream>;

/// What is at a url. The values are the ones that callers store and compare.
enum class IO_DETECT : Int32 {
    FAILED = 0,  ///< it could not be told
    NOT_THERE = 1,
    FILE = 3,
    OTHER = 4,  ///< fifo, socket, device, dangling link
    DIRECTORY = 5
};

/// How an output stream treats what is at the url.
enum class OUTPUT_MODE : Int32 {
    CREATE_NEW = 1,  ///< fails if something is there
    OVERWRITE = 2,   ///< in place
    APPEND = 4,
    REPLACE = 16  ///< written beside under a hidden name and renamed by Close; dropped without Close the old stays
};

enum class RENAME_MODE : Int32 {
    NO_REPLACE,  ///< fails if the target exists
    REPLACE,     ///< a file takes the place of a file
    EXCHANGE     ///< both exist and change places in one step
};

/// What to look for behind a url that stands for another place; a flag word.
enum class NORMALIZE : UInt32 {
    NONE = 0,
    REAL = 0x80,         ///< one step towards the real place
    REAL_WHOLLY = 0x100  ///< on until nothing changes any more
};
constexpr NORMALIZE operator|(NORMALIZE first, NORMALIZE second) { return NORMALIZE(UInt32(first) | UInt32(second)); }
/// Whether any bit of `flag` is set.
constexpr Bool HasFlag(NORMALIZE flags, NORMALIZE flag) { return (UInt32(flags) & UInt32(flag)) != 0; }

/// How a url is told to people; a flag word. Schemes without names of their own ignore it.
enum class UI_NAME : UInt32 {
    NONE = 0,
    PLAIN = 1,           ///< the name alone, without the way to it
    ID = 2,              ///< the id in place of the name
    VERSION = 4,         ///< with the version
    WITHOUT_SUFFIX = 8,  ///< without what follows the last dot
    QUERY_NAME = 16      ///< of what isn't there only the name that the query tells
};
constexpr UI_NAME operator|(UI_NAME first, UI_NAME second) { return UI_NAME(UInt32(first) | UInt32(second)); }
/// Whether any bit of `flag` is set.
constexpr Bool HasFlag(UI_NAME flags, UI_NAME flag) { return (UInt32(flags) & UInt32(flag)) != 0; }

namespace URLFLAGS {
inline constexpr LiteralId QUERY{"net.talvo.url.query"};
inline constexpr LiteralId ORIGINURL{"net.talvo.url.originurl"};
inline constexpr LiteralId ASSETREPOSITORY{"net.talvo.url.assetrepository"};
inline constexpr LiteralId ASSETDATABASETYPE{"net.talvo.url.assetdatabasetype"};
inline constexpr LiteralId REPOSITORYCATEGORY{"net.talvo.url.repositorycategory"};
inline constexpr LiteralId WATCHFOLDERSTRING{"net.talvo.url.watchfolderstring"};
inline constexpr LiteralId NO_PROXY_CACHING{"net.talvo.url.http_no_proxy_caching"};
}  // namespace URLFLAGS

/// Scheme, authority (text or a whole url), path as raw bytes, and side data by id. Copy on write.
///
/// The query (side data `net.talvo.url.query`, a String) counts in text, equality and hash; other side data count in none.
/// Path components are joined by "/". A file url's path begins with "/" and has no doubled or last one; other schemes keep
/// their path byte for byte. File names that are not UTF-8 keep their bytes here. An empty query counts as none.
/// Threads: as a plain value; copies may go to other threads.
class Url {
public:
    Url();
    Url(const Url& other);
    Url(Url&& other) noexcept;
    ~Url();
    Url& operator=(Url other) noexcept;

    /// A file url of a path of the system; relative paths stand on the working directory. "." components are dropped, ".."
    /// stay, since what they lead to depends on links. The empty path gives the empty url.
    static Url FromSystemPath(std::string_view path);
    static Url Create(const Id& scheme, std::string_view authority, std::string_view path);
    /// Reads "scheme:///path?query", percent-decoded; a url as authority stands encoded in "[...]". "scheme:path" is read too.
    /// Errors: IllegalArgumentError for text without a scheme, also the empty one, and for urls within urls beyond 8.
    static Result<Url> Parse(std::string_view text);

    Bool IsEmpty() const;
    Bool IsPopulated() const { return !IsEmpty(); }
    const Id& GetScheme() const;
    void SetScheme(const Id& scheme);
    std::string_view GetAuthority() const;
    void SetAuthority(std::string_view authority);
    /// The url that stands as authority (an archive's file, say); empty if the authority is plain text.
    Url GetEmbeddedUrl() const;
    void SetEmbeddedUrl(const Url& url);
    std::string_view GetPath() const;
    void SetPath(std::string_view path);
    /// This url without its last component.
    Url GetDirectory() const;
    /// The last component, raw bytes; empty if there is none.
    std::string_view GetName() const;
    /// Replaces the last component, or adds one where there is none.
    void SetName(std::string_view name);
    void RemoveName();
    /// Adds a component (or several, split at "/"); the empty text adds nothing.
    Url& Append(std::string_view component);
    friend Url operator+(Url url, std::string_view component) { return std::move(url.Append(component)); }
    /// What stands behind the last "." of the name, as it stands; empty if there is none or the name begins with it.
    std::string_view GetSuffix() const;
    /// Without regard to ASCII case.
    Bool CheckSuffix(std::string_view suffix) const;
    /// Replaces the suffix, or adds one; the empty text clears it. A name that is empty, "." or ".." stays.
    void SetSuffix(std::string_view suffix);
    void ClearSuffix();
    /// What stands between the slashes; empty components are left out.
    BaseArray<std::string> GetComponents() const;
    /// Whole text, percent-encoded, with the query: what Parse reads.
    std::string GetUrl() const;
    /// Path of the system for a file url. Errors: IllegalArgumentError for another scheme, an authority (another computer) and
    /// a path with a NUL byte.
    Result<std::string> GetSystemPath() const;
    /// For people and messages: a file's path, else the url's text; always UTF-8.
    String ToString() const;

    /// Side data. Null if there is none.
    const Data* FindData(const Id& key) const;
    template <typename T>
    Opt<T> GetData(const Id& key) const {
        const Data* data = FindData(key);
        const T* value = data ? data->GetPtr<T>() : nullptr;
        return value ? Opt<T>(*value) : Opt<T>();
    }
    void SetData(const Id& key, Data value);
    void EraseData(const Id& key);

    friend Bool operator==(const Url& first, const Url& second);
    std::strong_ordering Compare(const Url& other) const;
    UInt GetHashCode() const;
    template <typename H>
    friend H AbslHashValue(H state, const Url& url) {
        return H::combine(std::move(state), url.GetHashCode());
    }

    // What the handler of the scheme makes of the url; Append, RemoveName and ToString look at the text alone.
    // Errors of all: UnsupportedArgumentError if the scheme has no handler; the handler's.

    /// The place that this url stands for; the url itself where it stands for none, or `flags` is NONE.
    /// Errors: IoError if REAL_WHOLLY comes to no end within 16 steps.
    Result<Url> Normalize(NORMALIZE flags) const;
    /// The same for callers that may wait for I/O.
    Result<Url> IoNormalize(NORMALIZE flags) const;
    /// Text for people.
    Result<String> ConvertToUiName(UI_NAME flags) const;
    /// What lies below this url under the name `component`, as the scheme names it.
    Result<Url> GetChild(std::string_view component) const;
    /// The same for the path of `relative`.
    Result<Url> GetChild(const Url& relative) const;
    /// What this url lies in, as the scheme names it.
    Result<Url> GetParent() const;

    // What is at the url: short forms of opening a connection and asking it. All may do I/O.
    Result<IoConnectionRef> OpenConnection() const;
    IO_DETECT IoDetect() const;
    Result<InputStreamRef> OpenInputStream() const;
    Result<OutputStreamRef> OpenOutputStream(OUTPUT_MODE mode) const;
    Result<Int64> GetContentLength() const;
    /// With parents; an existing directory is fine.
    Result<void> IoCreateDirectory() const;
    /// Exactly this directory; one that exists is false.
    Result<Bool> IoCreateDirectoryExclusive() const;
    /// A file or a whole directory; follows no link and stays below this url. Nothing there is fine.
    Result<void> IoDelete() const;
    Result<void> IoRename(const Url& target, RENAME_MODE mode) const;

private:
    struct Body;
    struct Extras;
    template <typename STEP>
    Result<Url> RepeatNormalize(NORMALIZE flags, STEP&& step) const;
    static Result<Url> ParseNested(std::string_view text, Int depth);
    Body& MakeWritable();
    void ReplacePath(std::string path);
    StrongRef<Body> _body;
};

template <>
struct DataTraits<Url> {
    static constexpr LiteralId ID{"net.talvo.datatype.url"};
    /// Text form; weak references and the like in side data are never written, the query is.
    static Result<DocumentValue> ToDocument(const Url& value);
    static Result<Url> FromDocument(const DocumentValue& value);
};

}  // namespace talvo
