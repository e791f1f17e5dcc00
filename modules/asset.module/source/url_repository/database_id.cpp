#include "url_repository/database_id.h"

#include "asset_impl/repository_engine.h"
#include "kernel/text/message_text.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/tree_access.h"

namespace talvo {

namespace {

constexpr Int64 MAX_DATABASE_ID_SIZE = 4096;
constexpr UInt READ_ONLY_ATTRIBUTE = 1;
constexpr std::string_view BLANKS = " \t\r\n";

/// Whoever wrote it with an editor has a line end behind it.
std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

/// Whether somebody may know the assets here by the id of their repository.
Result<Bool> HoldsAssets(const Url& root) {
    const BaseArray<IoEntry> entries = TRY(BrowseTree(root));
    for (const IoEntry& entry : entries) {
        if (entry.kind != IO_DETECT::DIRECTORY) continue;
        const Bool isIndex = entry.name == INDEX_DIRECTORY_NAME;
        if (isIndex || (root + entry.name + ASSET_INFO_NAME).IoDetect() == IO_DETECT::FILE) return true;
    }
    return false;
}

}  // namespace

Result<void> CheckDatabaseId(const Id& id) {
    TRY(CheckIdText(id, "repository id"));
    if (Trim(id.GetView()) == id.GetView() && Int64(id.GetLength()) <= MAX_DATABASE_ID_SIZE) return OK;
    return IllegalArgumentError::Create(
        FormatMessage("\"@\" can't be the id of a repository: it has blanks around it or more than @ bytes.",
                      ShortenForMessage(id.GetView()), MAX_DATABASE_ID_SIZE));
}

Result<Opt<Id>> ReadDatabaseId(const Url& root) {
    const Url file = root + REPOSITORY_IDENTIFIER_FILE;
    if (file.IoDetect() == IO_DETECT::NOT_THERE) return Opt<Id>();
    const std::string content = TRY(ReadTreeFile(file, MAX_DATABASE_ID_SIZE));
    const std::string_view text = Trim(content);
    if (text.empty()) {
        const Bool holdsAssets = TRY(HoldsAssets(root));
        if (!holdsAssets) return Opt<Id>();
        return FileFormatError::Create(
            FormatMessage("@ is empty, and the assets beside it are known by what stood in it. Restore the file, or write an "
                          "identifier into it.",
                          file));
    }
    Opt<Id> id = ParseIdLine(text);
    if (!id) {
        return FileFormatError::Create(FormatMessage(
            "@ holds no identifier of a repository: it has control characters or is too long. Restore the file.", file));
    }
    return id;
}

Result<Id> CreateDatabaseId(const Url& root, const Id& id) {
    const Url file = root + REPOSITORY_IDENTIFIER_FILE;
    const std::string name = TRY(MakeWorkName());
    const Url hidden = root + name;
    TRY(WriteNewFile(hidden, id.GetView()));
    // A name without its bytes would be no repository, and no place for one.
    TRY(SyncTree(hidden));
    Result<void> placed = hidden.IoRename(file, RENAME_MODE::NO_REPLACE);
    if (placed.IsOk()) {
        TRY(SyncNames(root));
        return id;
    }
    DeleteHidden(root, hidden);
    const Opt<Id> other = TRY(ReadDatabaseId(root));
    if (other) return Id(*other);
    // An empty file is no id, and nobody's.
    if (file.IoDetect() != IO_DETECT::FILE) return placed.GetError();
    TRY(ReplaceDatabaseId(root, id));
    return id;
}

Result<void> ReplaceDatabaseId(const Url& root, const Id& id) {
    return ReplaceFile(root + REPOSITORY_IDENTIFIER_FILE, id.GetView());
}

Result<Bool> IsDatabaseIdReadOnly(const Url& root) {
    const IoConnectionRef connection = TRY((root + REPOSITORY_IDENTIFIER_FILE).OpenConnection());
    const UInt attributes = TRY(connection->IoGetAttributes());
    return (attributes & READ_ONLY_ATTRIBUTE) != 0;
}

}  // namespace talvo
