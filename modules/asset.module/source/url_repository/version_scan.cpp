#include "url_repository/version_scan.h"

#include "url_repository/hash_file.h"
#include "url_repository/tree_access.h"

#include <algorithm>

namespace talvo {

namespace {

void TakeEntry(const IoEntry& entry, VersionContent& content) {
    const Bool isFile = entry.kind == IO_DETECT::FILE;
    if (!isFile && entry.kind != IO_DETECT::DIRECTORY) return;
    if (IsPayloadName(entry.name)) {
        content.payloads.push_back(entry.name);
    } else if (entry.name == HASH_FILE_NAME) {
        content.hasHash = isFile;
    } else if (Opt<MetaDataFileName> meaning = ParseMetaDataFileName(entry.name)) {
        // A document is a file; a value that is itself a file may be a directory as well.
        const Bool fits = isFile || meaning->form == MetaDataFileName::FORM::FILE;
        if (fits) content.metaData.push_back({entry.name, std::move(*meaning)});
    }
}

Bool IsBefore(const VersionDirectory& first, const VersionDirectory& second) {
    if (first.meaning.number != second.meaning.number) return first.meaning.number < second.meaning.number;
    if (IsPreferred(first.meaning, second.meaning)) return true;
    return !IsPreferred(second.meaning, first.meaning) && first.name < second.name;
}

}  // namespace

Result<VersionContent> ScanVersionDirectory(const Url& directory) {
    const BaseArray<IoEntry> entries = TRY(BrowseTreeIfThere(directory));
    VersionContent content;
    for (const IoEntry& entry : entries) TakeEntry(entry, content);
    return content;
}

Result<std::vector<VersionDirectory>> ScanAssetDirectory(const Url& directory) {
    const BaseArray<IoEntry> entries = TRY(BrowseTreeIfThere(directory));
    std::vector<VersionDirectory> versions;
    for (const IoEntry& entry : entries) {
        if (entry.kind != IO_DETECT::DIRECTORY) continue;
        if (Opt<VersionDirectoryName> meaning = ParseVersionDirectoryName(entry.name)) {
            versions.push_back({entry.name, std::move(*meaning)});
        }
    }
    std::sort(versions.begin(), versions.end(), IsBefore);
    return versions;
}

Result<std::vector<VersionDirectory>> FindVersionDirectories(const Url& assetDirectory, UInt number) {
    std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(assetDirectory));
    std::erase_if(versions, [&](const VersionDirectory& version) { return version.meaning.number != number; });
    return versions;
}

}  // namespace talvo
