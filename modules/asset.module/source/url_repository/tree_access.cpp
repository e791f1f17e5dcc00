#include "url_repository/tree_access.h"

#include "kernel/app/log.h"
#include "kernel/io/file_system.h"
#include "kernel/io/file_utilities.h"
#include "kernel/io/posix_files.h"

#include <algorithm>

namespace talvo {

namespace {

constexpr std::string_view WORK_PREFIX = ".~";
constexpr std::size_t UUID_LENGTH = 36;

Bool IsStep(std::string_view component) { return component.empty() || component == "." || component == ".."; }

}  // namespace

Bool IsHiddenName(std::string_view name) { return name.empty() || name.front() == '.'; }

Bool IsWorkName(std::string_view name) {
    if (!name.starts_with(WORK_PREFIX)) return false;
    name.remove_prefix(WORK_PREFIX.size());
    // Other programs hide names that begin alike.
    const Bool isNumber = !name.empty() && std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    return isNumber || (name.size() == UUID_LENGTH && Uuid::Create(name).IsOk());
}

Result<std::string> MakeWorkName() {
    const Uuid uuid = TRY(Uuid::CreateId());
    return std::string(WORK_PREFIX) + uuid.ToString();
}

std::string MakeReservationName(UInt number) { return std::string(WORK_PREFIX) + std::to_string(number); }

Result<BaseArray<IoEntry>> BrowseTree(const Url& directory) {
    const IoConnectionRef connection = TRY(directory.OpenConnection());
    BaseArray<IoEntry> all = TRY(connection->Browse(BROWSE_MODE::NAMES));
    BaseArray<IoEntry> entries;
    TRY(entries.EnsureCapacity(all.GetCount()));
    for (IoEntry& entry : all) {
        if (IsHiddenName(entry.name) || entry.isLink) continue;
        TRY(entries.Append(std::move(entry)));
    }
    return entries;
}

Result<BaseArray<IoEntry>> BrowseTreeIfThere(const Url& directory) {
    Result<BaseArray<IoEntry>> entries = BrowseTree(directory);
    if (entries.IsError() && directory.IoDetect() == IO_DETECT::NOT_THERE) return BaseArray<IoEntry>();
    return entries;
}

Bool IsBelow(const Url& root, const Url& url) {
    if (url.GetScheme() != root.GetScheme() || url.GetAuthority() != root.GetAuthority()) return false;
    std::string_view top = root.GetPath();
    while (top.ends_with('/')) top.remove_suffix(1);
    std::string_view rest = url.GetPath();
    if (!rest.starts_with(top)) return false;
    rest.remove_prefix(top.size());
    if (rest.starts_with('/')) {
        rest.remove_prefix(1);
    } else if (!top.empty()) {
        return false;  // a sibling whose name begins alike
    }
    for (;;) {
        const std::size_t slash = rest.find('/');
        if (IsStep(rest.substr(0, slash))) return false;
        if (slash == std::string_view::npos) return true;
        rest.remove_prefix(slash + 1);
    }
}

Result<void> DeleteBelow(const Url& root, const Url& victim) {
    if (!IsBelow(root, victim)) {
        return IllegalStateError::Create(FormatMessage("@ is not removed, since it is not below @.", victim, root));
    }
    if (victim.IoDetect() == IO_DETECT::NOT_THERE) return OK;
    const IoConnectionRef connection = TRY(victim.OpenConnection());
    const Bool isLink = TRY(connection->IoIsLink());
    if (isLink)
        return IllegalStateError::Create(FormatMessage("@ is not removed, since it is a link. Remove it yourself.", victim));
    return connection->IoDelete();
}

void DeleteHidden(const Url& root, const Url& victim) {
    const Result<void> deleted = CatchOutOfMemory([&] { return DeleteBelow(root, victim); });
    if (deleted.IsError()) {
        Log(LOG_LEVEL::WARNING, "@ stays behind for the next sweep: @", victim, deleted.GetError()->GetMessage());
    }
}

Result<Url> HideDirectory(const Url& directory) {
    Url hidden = directory;
    const std::string name = TRY(MakeWorkName());
    hidden.SetName(name);
    TRY(directory.IoRename(hidden, RENAME_MODE::NO_REPLACE));
    return hidden;
}

Result<Bool> IsTreeDirectory(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    const IO_DETECT kind = connection->IoDetect();
    if (kind == IO_DETECT::FAILED) return IoError::Create(FormatMessage("@ can't be looked at.", url));
    if (kind != IO_DETECT::DIRECTORY) return false;
    const Bool isLink = TRY(connection->IoIsLink());
    return !isLink;
}

Result<void> CheckNoLink(const Url& root, const Url& url) {
    for (Url each = url; each != root && IsBelow(root, each); each = each.GetDirectory()) {
        const Result<IoConnectionRef> connection = each.OpenConnection();
        // Whoever opens it is told what else is wrong with it.
        if (connection.IsError() || !connection.GetValue()->IoIsLink().GetValueOr(false)) continue;
        return IoError::Create(FormatMessage("@ is not followed, since it is a link. Put there what it leads to.", each));
    }
    return OK;
}

Bool RefusesWrites(const Url& directory) {
    if (directory.GetScheme() != URLSCHEME_FILESYSTEM) return false;
    const Result<std::string> path = directory.GetSystemPath();
    return path.IsError() || PosixFiles::CheckChangeable(path.GetValue()) != 0;
}

Result<std::string> ReadTreeFile(const Url& file, Int64 limit) {
    const IoConnectionRef connection = TRY(file.OpenConnection());
    const Bool isLink = TRY(connection->IoIsLink());
    if (isLink) {
        return IoError::Create(FormatMessage(
            "@ is not read, since it is a link, and none is followed in a repository. Put the file itself there.", file));
    }
    const InputStreamRef input = TRY(connection->OpenInputStream());
    return FileUtilities::ReadStreamToMemory(*input, limit);
}

Result<void> WriteNewFile(const Url& url, std::string_view bytes) {
    const OutputStreamRef stream = TRY(url.OpenOutputStream(OUTPUT_MODE::CREATE_NEW));
    TRY(stream->Write(bytes));
    return stream->Close();
}

Result<void> ReplaceFile(const Url& url, std::string_view bytes) { return FileUtilities::WriteFileFromMemory(url, bytes); }

namespace {

Result<void> Sync(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    return connection->IoSync();
}

Result<void> SyncAll(const Url& directory) {
    const IoConnectionRef connection = TRY(directory.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        if (entry.isLink) continue;
        const Url url = directory + entry.name;
        if (entry.kind == IO_DETECT::DIRECTORY) TRY(SyncAll(url));
        if (entry.kind == IO_DETECT::FILE) TRY(Sync(url));
    }
    return connection->IoSync();
}

Bool IsDurable() { return GetDurability() == DURABILITY::DURABLE; }

}  // namespace

Result<void> MakeDirectory(const Url& directory) {
    std::vector<Url> parents;
    if (IsDurable()) {
        for (Url url = directory; url.IoDetect() == IO_DETECT::NOT_THERE; url = url.GetDirectory())
            parents.push_back(url.GetDirectory());
    }
    TRY(directory.IoCreateDirectory());
    for (const Url& parent : parents) TRY(Sync(parent));
    return OK;
}

Result<void> SyncTree(const Url& url) {
    if (!IsDurable()) return OK;
    return url.IoDetect() == IO_DETECT::FILE ? Sync(url) : SyncAll(url);
}

Result<void> SyncNames(const Url& directory) { return IsDurable() ? Sync(directory) : Result<void>(OK); }

}  // namespace talvo
