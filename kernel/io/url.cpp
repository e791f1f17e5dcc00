#include "kernel/io/url.h"

#include "kernel/io/url_text.h"

#include <absl/hash/hash.h>

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace talvo {

namespace {

constexpr LiteralId FILE_SCHEME{"file"};
constexpr Id NO_ID;
constexpr Int MAX_EMBEDDING = 8;

/// Documents may hold urls before anyone in this process made one.
[[maybe_unused]] const Bool isRegistered = [] {
    DataTypes::RegisterAll<Url>();
    return true;
}();

struct SideData {
    Id key;
    Data value;
};

/// One slash at the front, none doubled, none at the end: all of them mean the same to the system.
std::string CleanFilePath(std::string_view path) {
    std::string clean = "/";
    for (const char c : path) {
        if (c != '/' || clean.back() != '/') clean += c;
    }
    if (clean.size() > 1 && clean.back() == '/') clean.pop_back();
    return clean;
}

Bool IsCleanFilePath(std::string_view path) {
    const Bool isLong = path.size() > 1;
    return path.starts_with('/') && !(isLong && path.ends_with('/')) && path.find("//") == std::string_view::npos;
}

std::string_view WithoutLastSlashes(std::string_view path) {
    while (path.ends_with('/')) path.remove_suffix(1);
    return path;
}

/// Where the last component begins.
std::size_t FindName(std::string_view path) {
    const std::size_t slash = WithoutLastSlashes(path).rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

/// Where the dot of the suffix stands in `name`, or npos.
std::size_t FindSuffixDot(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == 0 || name == ".." ? std::string_view::npos : dot;
}

char ToLowerAscii(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

/// The working directory; where it can't be told, a path of the system's that leads to it all the same.
std::string GetWorkingDirectory() {
    char buffer[PATH_MAX];
    return getcwd(buffer, sizeof(buffer)) ? buffer : "/proc/self/cwd";
}

}  // namespace

/// What few urls have: kept apart, since there are many urls of plain files.
struct Url::Extras {
    std::string authority;
    Url embedded;
    std::vector<SideData> sideData;  // a handful at most: searched in order
};

struct Url::Body final : CountedBody<Body> {
    Body() = default;
    /// All of `other` but its path.
    Body(const Body& other, std::string newPath)
        : scheme(other.scheme),
          path(std::move(newPath)),
          extras(other.extras ? std::make_unique<Extras>(*other.extras) : nullptr) {}

    const Extras& GetExtras() const {
        static const Extras& NONE = *new Extras;
        return extras ? *extras : NONE;
    }
    Extras& MakeExtras() {
        if (!extras) extras = std::make_unique<Extras>();
        return *extras;
    }
    const SideData* Find(const Id& key) const {
        const auto& sideData = GetExtras().sideData;
        const auto found = std::find_if(sideData.begin(), sideData.end(), [&](const SideData& side) { return side.key == key; });
        return found == sideData.end() ? nullptr : &*found;
    }
    std::string_view GetQuery() const {
        const SideData* side = Find(URLFLAGS::QUERY);
        const String* query = side ? side->value.GetPtr<String>() : nullptr;
        return query ? query->GetView() : std::string_view();
    }
    std::string CleanPath(std::string newPath) const {
        return scheme == FILE_SCHEME && !IsCleanFilePath(newPath) ? CleanFilePath(newPath) : std::move(newPath);
    }

    Id scheme;
    std::string path;
    std::unique_ptr<Extras> extras;
};

Url::Url() = default;
Url::Url(const Url& other) = default;
Url::Url(Url&& other) noexcept = default;
Url::~Url() = default;

Url& Url::operator=(Url other) noexcept {
    std::swap(_body, other._body);
    return *this;
}

Url::Body& Url::MakeWritable() {
    if (!_body) {
        _body = StrongRef<Body>::Create();
    } else if (_body->GetReferenceCount() != 1) {
        _body = StrongRef<Body>::Create(*_body, _body->path);
    }
    return *_body;
}

void Url::ReplacePath(std::string path) {
    if (_body && _body->GetReferenceCount() != 1) {
        std::string clean = _body->CleanPath(std::move(path));
        _body = StrongRef<Body>::Create(*_body, std::move(clean));
    } else {
        Body& body = MakeWritable();
        body.path = body.CleanPath(std::move(path));
    }
}

Url Url::FromSystemPath(std::string_view path) {
    if (path.empty()) return Url();
    const std::string whole = path.front() == '/' ? std::string(path) : GetWorkingDirectory() + "/" + std::string(path);
    std::string clean;
    for (std::size_t start = 0; start < whole.size();) {
        const std::size_t end = std::min(whole.find('/', start), whole.size());
        const std::string_view component = std::string_view(whole).substr(start, end - start);
        if (!component.empty() && component != ".") clean.append("/").append(component);
        start = end + 1;
    }
    return Create(FILE_SCHEME, {}, clean);
}

Url Url::Create(const Id& scheme, std::string_view authority, std::string_view path) {
    Url url;
    Body& body = url.MakeWritable();
    body.scheme = scheme;
    if (!authority.empty()) body.MakeExtras().authority = authority;
    body.path = body.CleanPath(std::string(path));
    return url;
}

Result<Url> Url::ParseNested(std::string_view text, Int depth) {
    UrlText parts;
    if (!SplitUrlText(text, parts)) {
        return IllegalArgumentError::Create(
            FormatMessage("\"@\" is no url: it has no scheme. Write for instance file:///folder/file.", MakeUtf8(text)));
    }
    std::string scheme(parts.scheme);
    std::transform(scheme.begin(), scheme.end(), scheme.begin(), ToLowerAscii);
    const Id schemeId = TRY(Id::Create(scheme));
    const Bool embeds = parts.authority.starts_with('[') && parts.authority.ends_with(']');
    Url url = Create(schemeId, embeds ? std::string() : DecodeUrlPart(parts.authority), DecodeUrlPart(parts.path));
    if (embeds) {
        if (depth == MAX_EMBEDDING)
            return IllegalArgumentError::Create("The url holds too many urls, one within the other. Use at most 8.");
        const std::string inner = DecodeUrlPart(parts.authority.substr(1, parts.authority.size() - 2));
        const Url embedded = TRY(ParseNested(inner, depth + 1));
        url.SetEmbeddedUrl(embedded);
    }
    if (!parts.query.empty()) url.SetData(URLFLAGS::QUERY, Data(String(DecodeUrlPart(parts.query))));
    return url;
}

Result<Url> Url::Parse(std::string_view text) { return ParseNested(text, 0); }

Bool Url::IsEmpty() const {
    return !_body ||
           (_body->scheme.IsEmpty() && _body->path.empty() && GetAuthority().empty() && _body->GetExtras().embedded.IsEmpty());
}

const Id& Url::GetScheme() const { return _body ? _body->scheme : NO_ID; }

void Url::SetScheme(const Id& scheme) {
    Body& body = MakeWritable();
    body.scheme = scheme;
    body.path = body.CleanPath(std::move(body.path));
}

std::string_view Url::GetAuthority() const { return _body ? std::string_view(_body->GetExtras().authority) : std::string_view(); }

void Url::SetAuthority(std::string_view authority) {
    std::string copy(authority);  // may be a view of this url
    Extras& extras = MakeWritable().MakeExtras();
    extras.authority = std::move(copy);
    extras.embedded = Url();
}

Url Url::GetEmbeddedUrl() const { return _body ? _body->GetExtras().embedded : Url(); }

void Url::SetEmbeddedUrl(const Url& url) {
    Url copy = url;  // may be this url; then it now holds what this one was
    Extras& extras = MakeWritable().MakeExtras();
    extras.authority.clear();
    extras.embedded = std::move(copy);
}

std::string_view Url::GetPath() const { return _body ? std::string_view(_body->path) : std::string_view(); }

void Url::SetPath(std::string_view path) { ReplacePath(std::string(path)); }

Url Url::GetDirectory() const {
    Url directory = *this;
    directory.RemoveName();
    return directory;
}

std::string_view Url::GetName() const {
    const std::string_view path = WithoutLastSlashes(GetPath());
    return path.substr(std::min(FindName(path), path.size()));
}

void Url::SetName(std::string_view name) {
    const std::string copy(name);
    RemoveName();
    Append(copy);
}

void Url::RemoveName() {
    const std::string_view path = GetPath();
    if (path.empty()) return;
    std::string_view directory = path.substr(0, FindName(path));
    if (directory.size() > 1) directory = WithoutLastSlashes(directory);
    SetPath(directory);
}

Url& Url::Append(std::string_view component) {
    while (component.starts_with('/')) component.remove_prefix(1);
    if (component.empty()) return *this;
    const std::string_view own = GetPath();
    std::string path;
    path.reserve(own.size() + 1 + component.size());
    path = own;
    if (!path.empty() && path.back() != '/') path += '/';
    path += component;
    ReplacePath(std::move(path));
    return *this;
}

std::string_view Url::GetSuffix() const {
    const std::string_view name = GetName();
    const std::size_t dot = FindSuffixDot(name);
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

Bool Url::CheckSuffix(std::string_view suffix) const {
    const std::string_view own = GetSuffix();
    return std::equal(own.begin(), own.end(), suffix.begin(), suffix.end(),
                      [](char first, char second) { return ToLowerAscii(first) == ToLowerAscii(second); });
}

void Url::SetSuffix(std::string_view suffix) {
    const std::string_view name = GetName();
    if (name.empty() || name == "." || name == "..") return;
    std::string changed(name.substr(0, FindSuffixDot(name)));
    if (!suffix.empty()) changed.append(".").append(suffix);
    SetName(changed);
}

void Url::ClearSuffix() { SetSuffix({}); }

BaseArray<std::string> Url::GetComponents() const {
    BaseArray<std::string> components;
    std::string_view rest = GetPath();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        if (end > 0) MUST(components.Append(std::string(rest.substr(0, end))));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return components;
}

std::string Url::GetUrl() const {
    if (IsEmpty()) return {};
    std::string text(_body->scheme.GetView());
    text += "://";
    const Extras& extras = _body->GetExtras();
    if (extras.embedded.IsPopulated()) {
        text += "[" + EncodeUrlPart(extras.embedded.GetUrl(), URL_PART::AUTHORITY) + "]";
    } else {
        text += EncodeUrlPart(extras.authority, URL_PART::AUTHORITY);
    }
    if (_body->scheme != FILE_SCHEME) text += '/';  // the path of a file brings its own
    text += EncodeUrlPart(_body->path, URL_PART::PATH);
    const std::string_view query = _body->GetQuery();
    if (!query.empty()) text += "?" + EncodeUrlPart(query, URL_PART::QUERY);
    return text;
}

Result<std::string> Url::GetSystemPath() const {
    if (GetScheme() != FILE_SCHEME) {
        return IllegalArgumentError::Create(
            FormatMessage("\"@\" is no file of the system. Use a url of the scheme file.", GetUrl()));
    }
    if (!GetAuthority().empty() || GetEmbeddedUrl().IsPopulated()) {
        return IllegalArgumentError::Create(
            FormatMessage("\"@\" names another computer. Write file:/// and the path for a file of this one.", GetUrl()));
    }
    if (GetPath().find('\0') != std::string_view::npos) {
        return IllegalArgumentError::Create(FormatMessage("\"@\" can't be a path: it holds a NUL byte.", GetUrl()));
    }
    return std::string(GetPath());
}

String Url::ToString() const {
    const Bool isPath = GetScheme() == FILE_SCHEME && GetAuthority().empty() && GetEmbeddedUrl().IsEmpty();
    return isPath ? String(GetPath()) : String(GetUrl());
}

const Data* Url::FindData(const Id& key) const {
    const SideData* side = _body ? _body->Find(key) : nullptr;
    return side ? &side->value : nullptr;
}

void Url::SetData(const Id& key, Data value) {
    EraseData(key);
    if (value.IsPopulated()) MakeWritable().MakeExtras().sideData.push_back({key, std::move(value)});
}

void Url::EraseData(const Id& key) {
    if (!FindData(key)) return;
    std::erase_if(MakeWritable().MakeExtras().sideData, [&](const SideData& side) { return side.key == key; });
}

std::strong_ordering Url::Compare(const Url& other) const {
    if (_body == other._body) return std::strong_ordering::equal;
    static const StrongRef<Body> NONE = StrongRef<Body>::Create();
    const Body& first = _body ? *_body : *NONE;
    const Body& second = other._body ? *other._body : *NONE;
    if (const auto order = first.scheme <=> second.scheme; order != 0) return order;
    const Extras& firstExtras = first.GetExtras();
    const Extras& secondExtras = second.GetExtras();
    if (const auto order = firstExtras.authority <=> secondExtras.authority; order != 0) return order;
    if (const auto order = firstExtras.embedded.Compare(secondExtras.embedded); order != 0) return order;
    if (const auto order = first.path <=> second.path; order != 0) return order;
    return first.GetQuery() <=> second.GetQuery();
}

Bool operator==(const Url& first, const Url& second) { return first.Compare(second) == 0; }

UInt Url::GetHashCode() const {
    if (IsEmpty()) return 0;
    const Extras& extras = _body->GetExtras();
    const UInt embedded = extras.embedded.IsPopulated() ? extras.embedded.GetHashCode() : 0;
    return absl::HashOf(_body->scheme, extras.authority, embedded, _body->path, _body->GetQuery());
}

Result<DocumentValue> DataTraits<Url>::ToDocument(const Url& value) { return DocumentValue(value.GetUrl()); }

Result<Url> DataTraits<Url>::FromDocument(const DocumentValue& value) {
    const std::string& text = TRY_REF(value.GetText());
    if (text.empty()) return Url();
    Result<Url> url = Url::Parse(text);
    if (url.IsError()) return FileFormatError::Create(url.GetError()->GetMessage(), url.GetError());
    return url;
}

}  // namespace talvo
