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

Result<Bool> IsLink(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    return connection->IoIsLink();
}

/// What became of the wish for one name.
enum class PLACE { TAKEN_BY_ANOTHER, IS_OURS, MOVED_HERE };

Result<PLACE> Place(const Url& hidden, const Url& directory, const AssetInfo& info) {
    const Result<void> moved = hidden.IoRename(directory, RENAME_MODE::NO_REPLACE);
    if (moved.IsOk()) return PLACE::MOVED_HERE;
    if (directory.IoDetect() == IO_DETECT::NOT_THERE) return moved.GetError();
    // What can't be read may be this very asset: then a second directory for it would hide what it holds.
    const Bool isLink = TRY(IsLink(directory));
    if (isLink) return PLACE::TAKEN_BY_ANOTHER;
    const Opt<AssetInfo> found = TRY(ReadAssetInfo(directory));
    if (found) return found->id == info.id ? PLACE::IS_OURS : PLACE::TAKEN_BY_ANOTHER;
    if (!IsEmptyDirectory(directory)) return PLACE::TAKEN_BY_ANOTHER;
    TRY(ReplaceFile(directory + ASSET_INFO_NAME, WriteAssetInfoText(info)));
    return PLACE::IS_OURS;
}

/// Where an asset's directory is, and how it came there.
struct PlacedDirectory {
    Url url;
    PLACE place;
};

Result<PlacedDirectory> PlaceAnywhere(const Url& root, const Url& hidden, const AssetInfo& info, IndexDirectory& index) {
    // The second name costs a hash, and is hardly ever needed.
    for (const auto makeName : {MakeDirectoryName, MakeHashedDirectoryName}) {
        const std::string name = TRY(makeName(info.id));
        const Url directory = root + name;
        TRY(index.NoteChange(name));
        const PLACE place = TRY(Place(hidden, directory, info));
        if (place == PLACE::TAKEN_BY_ANOTHER) continue;
        if (place == PLACE::IS_OURS) DeleteHidden(root, hidden);
        TRY(SyncNames(root));
        return PlacedDirectory{directory, place};
    }
    const std::string first = TRY(MakeDirectoryName(info.id));
    const std::string second = TRY(MakeHashedDirectoryName(info.id));
    return IllegalStateError::Create(FormatMessage(
        "There is no directory for asset @ in @: \"@\" and \"@\" hold something else. Move them away or use another id.", info.id,
        root, first, second));
}

}  // namespace

Result<Data> UrlAssetRepositoryImpl::CreateDataForIdImpl(const Id& aid, const Id& type) {
    CHECK_STATE(IsWritable(), "_writable");
    const AssetInfo info{aid, type};
    const Url hidden = TRY(MakeHiddenDirectory(GetRoot(), info));
    Result<PlacedDirectory> placed = CatchOutOfMemory([&]() -> Result<PlacedDirectory> {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        return PlaceAnywhere(GetRoot(), hidden, info, _indexDirectory);
    });
    if (placed.IsError()) {
        DeleteHidden(GetRoot(), hidden);
        return placed.GetError();
    }
    NoteChange();
    const Data adata = TRY(MakeAssetData(aid, placed.GetValue().url.GetName()));
    if (placed.GetValue().place == PLACE::MOVED_HERE) {
        auto fresh = _freshDirectories.Write();
        TRY(fresh->Insert(adata.GetPtr<UrlAssetData>()->directory));
    }
    return adata;
}

Bool UrlAssetRepositoryImpl::TakeFresh(const Id& assetDirectory) {
    auto fresh = _freshDirectories.Write();
    return fresh->Erase(assetDirectory);
}

}  // namespace talvo
