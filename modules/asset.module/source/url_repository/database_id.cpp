#include "url_repository/database_id.h"

#include "url_repository/asset_info.h"
#include "url_repository/tree_access.h"

namespace talvo {

namespace {

constexpr Int64 MAX_DATABASE_ID_SIZE = Int64(Id::MAX_LENGTH) + 2;
constexpr UInt READ_ONLY_ATTRIBUTE = 1;

}  // namespace

Result<Opt<Id>> ReadDatabaseId(const Url& root) {
    const Url file = root + REPOSITORY_IDENTIFIER_FILE;
    if (file.IoDetect() == IO_DETECT::NOT_THERE) return Opt<Id>();
    std::string text = TRY(ReadTreeFile(file, MAX_DATABASE_ID_SIZE));
    // Whoever wrote it with an editor has a line end behind it.
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    if (text.empty()) return Opt<Id>();
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
