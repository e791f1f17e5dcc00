#include "asset_scheme/url_parts.h"

#include "asset_scheme/resolve_info.h"
#include "asset_utilities.h"
#include "kernel/io/url_text.h"
#include "kernel/text/format.h"

namespace talvo {

namespace {

constexpr std::string_view FILE_PREFIX = "file_";

/// Where what was put behind the id for code that looks at suffixes begins (`<id>~.png`, `file_<id>.png`), or the end.
std::size_t FindCut(std::string_view head) {
    const std::size_t dot = head.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return head.size();
    if (head[dot - 1] == '~') return dot - 1;
    return head.starts_with(FILE_PREFIX) ? dot : head.size();
}

std::string EncodeCharacters(std::string_view text, std::string_view characters) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        if (characters.find(c) == std::string_view::npos) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += DIGITS[std::size_t(c) >> 4];
            encoded += DIGITS[std::size_t(c) & 15];
        }
    }
    return encoded;
}

std::string EncodeId(const Id& aid) { return EncodeCharacters(aid.GetView(), "/?#%"); }

void AppendOnce(std::vector<Id>& ids, Id id) {
    for (const Id& other : ids) {
        if (other == id) return;
    }
    ids.push_back(std::move(id));
}

/// The version ids that a query may mean.
Result<std::vector<Id>> ParseVersions(const std::string& query) {
    std::vector<Id> versions;
    if (query.find('=') == std::string::npos) {
        const String text(query);
        Id lowered = TRY(Id::Create(text.ToLower().GetView()));
        AppendOnce(versions, std::move(lowered));
        Id asWritten = TRY(Id::Create(query));
        AppendOnce(versions, std::move(asWritten));
    } else {
        Id version = TRY(Id::Create(DecodeUrlPart(FindQueryValue(query, "rev").value_or(std::string_view()))));
        versions.push_back(std::move(version));
    }
    return versions;
}

Bool HidesSeparator(std::string_view component) {
    return component.find("%2F") != std::string_view::npos || component.find("%2f") != std::string_view::npos ||
           component.find('\0') != std::string_view::npos;
}

}  // namespace

Result<AssetUrlParts> ParseAssetUrl(const Url& url) {
    AssetUrlParts parts;
    std::string_view path = url.GetPath();
    if (path.starts_with('/')) path.remove_prefix(1);
    const std::size_t slash = path.find('/');
    const std::string_view head = path.substr(0, slash);
    parts.hasInner = slash != std::string_view::npos;
    if (parts.hasInner) parts.inner = path.substr(slash + 1);
    const std::size_t cut = url.GetScheme() == URLSCHEME_ASSET ? FindCut(head) : head.size();
    if (cut > 0 && cut < head.size()) {
        Id id = TRY(Id::Create(DecodeUrlPart(head.substr(0, cut))));
        AppendOnce(parts.ids, std::move(id));
    }
    Id whole = TRY(Id::Create(DecodeUrlPart(head)));
    AppendOnce(parts.ids, std::move(whole));
    parts.versions = TRY(ParseVersions(GetUrlQuery(url)));
    return parts;
}

std::string MakeAssetPath(const Id& aid, std::string_view suffix) {
    std::string path = EncodeId(aid);
    if (!suffix.empty()) return path + "~." + EncodeCharacters(suffix, "/?#%.");
    // An id that looks as if a suffix stood behind it.
    if (const std::size_t cut = FindCut(path); cut < path.size()) {
        const std::size_t dot = path.rfind('.');
        path.replace(dot, 1, "%2E");
        if (FindCut(path) < path.size()) path = EncodeCharacters(aid.GetView(), "/?#%.");
    }
    return path;
}

Url MakeMetaUrl(const IdAndVersion& asset, std::string_view name, const Url& file) {
    Url url = Url::Create(URLSCHEME_META, {}, EncodeId(asset.first) + "/" + std::string(name));
    url.SetData(URLFLAGS::QUERY, Data(String::FromId(asset.second)));
    return AttachResolveInfo(std::move(url), file, nullptr);
}

Result<void> CheckInnerPath(const Url& url, std::string_view inner) {
    for (std::size_t start = 0; start <= inner.size();) {
        const std::size_t end = std::min(inner.find('/', start), inner.size());
        const std::string_view component = inner.substr(start, end - start);
        if (component.empty() || component == "." || component == ".." || HidesSeparator(component)) {
            return IoError::Create(FormatMessage(
                "The url @ doesn't lead to a file in an asset: \"@\" is no name there. Write each folder and the file as they "
                "are called, with one \"/\" in between.",
                url, MakeUtf8(component)));
        }
        start = end + 1;
    }
    return OK;
}

std::string GetUrlQuery(const Url& url) {
    const Data* data = url.FindData(URLFLAGS::QUERY);
    const String* query = data ? data->GetPtr<String>() : nullptr;
    return query ? std::string(query->GetView()) : std::string();
}

Opt<std::string_view> FindQueryValue(std::string_view query, std::string_view name) {
    while (!query.empty()) {
        const std::size_t end = std::min(query.find('&'), query.size());
        const std::string_view variable = query.substr(0, end);
        if (variable.size() > name.size() && variable[name.size()] == '=' && variable.starts_with(name))
            return variable.substr(name.size() + 1);
        query.remove_prefix(std::min(end + 1, query.size()));
    }
    return std::nullopt;
}

Result<String> MaskVersion(const Id& version) {
    const String masked(EncodeCharacters(version.GetView(), "%"));
    return AssetUtilities::ReplaceUrlQueryCharacters(masked);
}

}  // namespace talvo
