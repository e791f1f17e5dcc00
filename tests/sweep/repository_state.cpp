#include "tests/sweep/repository_state.h"

#include "asset_scheme/resolve_info.h"
#include "kernel/data/base64.h"
#include "kernel/io/connection.h"
#include "kernel/io/file_utilities.h"

#include <algorithm>

namespace talvo::sweep {

namespace {

using KIND = ASSET_METADATA_KIND;

constexpr Int64 LIMIT = 1 << 20;

/// Bytes of a file, or names and bytes of all below a directory; without line ends.
Result<std::string> ReadTree(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    std::string text;
    if (connection->IoDetect() != IO_DETECT::DIRECTORY) {
        const std::string bytes = TRY(FileUtilities::ReadFileToMemory(url, LIMIT));
        return EncodeBase64(bytes);
    }
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        const std::string below = TRY(ReadTree(url + entry.name));
        text += entry.name + "(" + below + ")";
    }
    return text;
}

Result<std::string> ReadValue(const AssetMetaData& metaData, const InternedId& key) {
    const Opt<Data> value = TRY(metaData->Get(key));
    if (!value) return std::string("-");
    const Url* url = value->GetPtr<Url>();
    if (!url) return value->ToString();
    const Opt<Url> file = FindResolveTarget(*url);
    return file ? ReadTree(*file) : Result<std::string>(std::string("a url that leads nowhere"));
}

}  // namespace

Result<RepositoryState> RepositoryState::Read(const AssetRepositoryRef& repository) {
    std::vector<AssetDescription> all;
    const auto mode = ASSET_FIND_MODE::ALL_VERSIONS | ASSET_FIND_MODE::WITH_DELETED | ASSET_FIND_MODE::WITHOUT_BASES;
    TRY(FindAssets(repository, {}, Id(), Id(), mode, [&](const AssetDescription& found) -> Result<Bool> {
        all.push_back(found);
        return true;
    }));
    std::stable_sort(all.begin(), all.end(), [](const AssetDescription& first, const AssetDescription& second) {
        const auto order = first->GetIdAndVersion().first <=> second->GetIdAndVersion().first;
        return order != 0 ? order < 0 : first.GetVersionKey() < second.GetVersionKey();
    });
    RepositoryState state;
    for (const AssetDescription& each : all) {
        const auto& [aid, version] = each->GetIdAndVersion();
        std::string content = "deleted";
        if (!each->IsDeleted()) {
            const Url& url = TRY_REF(each->GetUrl());
            content = TRY(ReadTree(url));
        }
        const std::string id(aid.GetView());
        std::string line =
            id + " " + std::string(each->GetTypeId().GetView()) + " " + std::string(version.GetView()) + " " + content;
        state.numbers[id + "#" + std::to_string(each.GetVersionKey().counter)] = std::string(version.GetView()) + " " + content;

        BaseArray<AssetMetaDataExistingEntry> entries = TRY(each->GetMetaData()->GetExistingEntries());
        std::sort(entries.begin(), entries.end());
        for (const auto& [key, kind] : entries) {
            if (key.GetId() == ASSETMETADATA::TIMESTAMP) continue;
            const std::string value = TRY(ReadValue(each->GetMetaData(), key));
            const std::string shown = std::string(key.GetView()) + "=" + value;
            if (HasFlag(kind, KIND::DERIVED)) {
                state.derived.insert(id + " " + shown);
            } else if (HasFlag(kind, KIND::USER)) {
                state.user.insert(id + " " + std::string(version.GetView()) + " " + shown);
            } else {
                // What is fixed and what isn't differ in memory only.
                line += " " + std::to_string(UInt32(WithoutFlag(kind, KIND::READ_ONLY))) + ":" + shown;
            }
        }
        state.versions.push_back(std::move(line));
    }
    return state;
}

std::vector<std::string> RepositoryState::ToLines() const {
    std::vector<std::string> lines;
    for (const std::string& line : versions) lines.push_back("V" + line);
    for (const std::string& line : user) lines.push_back("U" + line);
    for (const std::string& line : derived) lines.push_back("D" + line);
    for (const auto& [number, content] : numbers) lines.push_back("N" + number + " " + content);
    return lines;
}

RepositoryState RepositoryState::FromLines(const std::vector<std::string>& lines) {
    RepositoryState state;
    for (const std::string& line : lines) {
        const std::string rest = line.substr(1);
        if (line[0] == 'V') state.versions.push_back(rest);
        if (line[0] == 'U') state.user.insert(rest);
        if (line[0] == 'D') state.derived.insert(rest);
        if (line[0] == 'N') state.numbers[rest.substr(0, rest.find(' '))] = rest.substr(rest.find(' ') + 1);
    }
    return state;
}

}  // namespace talvo::sweep
