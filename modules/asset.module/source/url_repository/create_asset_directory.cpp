// A directory for a new asset id.
//
// It appears under its name with its `asset.info` in it, or not at all. A name that another id has is never shared: then the hashed name is taken.
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

Result<Url> MakeHiddenDirectory(const Url& root, const AssetInfo& info) {
    const std::string name = TRY(MakeWorkName());
    const Url hidden = root + name;
    const Bool made = TRY(hidden.IoCreateDirectoryExclusive());
    CHECK_EXPECTED(made, "made");
    Result<void> written = WriteNewFile(hidden + ASSET_INFO_NAME, WriteAssetInfoText(info));
    if (written.IsOk()) written = SyncTree(hidden);
    if (written.IsOk()) return hidden;
    DeleteHidden(root, hidden);
    return written.GetError();
}

/// Whether there is a directory with nothing in it: left by someone who stopped before he wrote more.
Bool IsEmptyDirectory(const Url& directory) {
    const Result<IoConnectionRef> connection = directory.OpenConnection();
    if (connection.IsError() || std::move(connection.GetValue()->IoIsLink()).GetValueOr(true)) return false;
    const Result<BaseArray<IoEntry>> entries = connection.GetValue()->Browse(BROWSE_MODE::NAMES);
    return entries.IsOk() && entries.GetValue().IsEmpty();
}

Bool IsLinkedDirectory(const Url& directory) {
    const Result<IoConnectionRef> connection = directory.OpenConnection();
    return connection.IsError() || std::move(connection.GetValue()->IoIsLink()).GetValueOr(true);
}

/// What became of the wish for one name.
enum class PLACE { TAKEN_BY_ANOTHER, IS_OURS, MOVED_HERE };

Result<PLACE> Place(const Url& hidden, const Url& directory, const AssetInfo& info) {
    const Result<void> moved = hidden.IoRename(directory, RENAME_MODE::NO_REPLACE);
    if (moved.IsOk()) return PLACE::MOVED_HERE;
    if (directory.IoDetect() == IO_DETECT::NOT_THERE) return moved.GetError();
    if (IsLinkedDirectory(directory)) return PLACE::TAKEN_BY_ANOTHER;
    const Opt<AssetInfo> found = ReadAssetInfo(directory);
    if (found) return found->id == info.id ? PLACE::IS_OURS : PLACE::TAKEN_BY_ANOTHER;
    if (!IsEmptyDirectory(directory)) return PLACE::TAKEN_BY_ANOTHER;
    TRY(ReplaceFile(directory + ASSET_INFO_NAME, WriteAssetInfoText(info)));
    return PLACE::IS_OURS;
}

Result<Url> PlaceAnywhere(const Url& root, const Url& hidden, const AssetInfo& info) {
    const std::string first = TRY(MakeDirectoryName(info.id));
    const std::string second = TRY(MakeHashedDirectoryName(info.id));
    for (const std::string* name : {&first, &second}) {
        const Url directory = root + *name;
        const PLACE place = TRY(Place(hidden, directory, info));
        if (place == PLACE::TAKEN_BY_ANOTHER) continue;
        if (place == PLACE::IS_OURS) DeleteHidden(root, hidden);
        TRY(SyncNames(root));
        return directory;
    }
    return IllegalStateError::Create(FormatMessage(
        "There is no directory for asset @ in @: \"@\" and \"@\" hold something else. Move them away or use another id.", info.id,
        root, first, second));
}

}  // namespace

Result<Data> UrlAssetRepositoryImpl::CreateDataForIdImpl(const Id& aid, const Id& type) {
    CHECK_STATE(IsWritable(), "_writable");
    const AssetInfo info{aid, type};
    const Url hidden = TRY(MakeHiddenDirectory(GetRoot(), info));
    Result<Url> placed = CatchOutOfMemory([&]() -> Result<Url> {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        return PlaceAnywhere(GetRoot(), hidden, info);
    });
    if (placed.IsError()) {
        DeleteHidden(GetRoot(), hidden);
        return placed.GetError();
    }
    NoteChange();
    return MakeAssetData(aid, placed.GetValue().GetName());
}

}  // namespace talvo
