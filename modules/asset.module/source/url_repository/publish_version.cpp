// Giving a hidden version its name, or taking it back.
//
// Invariants: 1. the step that makes a version seen is one rename of its whole directory; 2. what it needs in the side trees is in place before,
// but for the user's values where a version is overwritten: those of the old content go only after it, since a stop between the two steps would
// lose what a user did for content that is still there; 3. an error leaves all as it was, and what is no longer wanted is hidden before it is
// deleted.
#include "kernel/app/log.h"
#include "url_repository/tree_access.h"
#include "url_repository/url_asset_repository.h"

namespace talvo {

namespace {

/// The directory without the word of where it will be.
Url GetPlainUrl(const Url& versionDirectory) { return versionDirectory.GetDirectory() + versionDirectory.GetName(); }

Bool IsThere(const Url& url) { return url.IoDetect() != IO_DETECT::NOT_THERE; }

/// Puts `hidden` in the place of what is at `final`, or at `final` if nothing is. Afterwards `hidden` holds what was there.
Result<void> Exchange(const Url& hidden, const Url& final) {
    return hidden.IoRename(final, IsThere(final) ? RENAME_MODE::EXCHANGE : RENAME_MODE::NO_REPLACE);
}

Result<void> MoveIntoPlace(const Url& hidden, const StagedVersion& staged) {
    if (staged.purpose == StagedVersion::PURPOSE::OVERWRITE) return Exchange(hidden, staged.finalDirectory);
    return hidden.IoRename(staged.finalDirectory, RENAME_MODE::NO_REPLACE);
}

/// Moves each file of `from` into `to`, in the place of one with its name.
Result<void> MoveFiles(const Url& tree, const Url& from, const Url& to) {
    const BaseArray<IoEntry> entries = TRY(BrowseTree(from));
    for (const IoEntry& entry : entries) TRY((from + entry.name).IoRename(to + entry.name, RENAME_MODE::REPLACE));
    DeleteHidden(tree, from);
    return SyncNames(to);
}

}  // namespace

/// A step in a side tree that can be undone: what was at `final` lies at `hidden` now, if anything was.
struct UrlAssetRepositoryImpl::SideTreeMove {
    Url tree;
    Url hidden;
    Url final;
    enum class MOVE { PLACED, EXCHANGED, HIDDEN } move;
};

Result<void> UrlAssetRepositoryImpl::PublishVersionImpl(AssetStoreResult& stored) {
    const Url directory = TRY(GetVersionUrl(stored.vdata));
    const Opt<StagedVersion> staged = FindStaged(directory);
    if (!staged) return OK;
    const Url hidden = GetPlainUrl(directory);
    const Id assetDirectory = TRY(Id::Create(hidden.GetDirectory().GetName()));
    Data vdata = TRY(MakeVersionData(assetDirectory, staged->finalDirectory.GetName(), stored.url.GetName()));
    Url url = stored.url.IsPopulated() ? staged->finalDirectory + stored.url.GetName() : Url();
    TRY(SyncTree(hidden));
    RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
    // Once more, since an index may have been written while the version was.
    TRY(_indexDirectory.NoteChange(assetDirectory.GetView()));
    std::vector<SideTreeMove> moves;
    moves.reserve(GetSideTrees().size());  // what was done can always be noted
    const Result<void> published = CatchOutOfMemory([&] { return PublishWithSideTrees(hidden, *staged, moves); });
    if (published.IsError()) {
        TakeBack(moves);
        return published;
    }
    lock.Unlock();
    NoteChange();
    stored.url = std::move(url);
    stored.vdata = std::move(vdata);
    // What was replaced lies under hidden names now.
    if (staged->purpose == StagedVersion::PURPOSE::OVERWRITE) DeleteHidden(GetRoot(), hidden);
    for (const SideTreeMove& move : moves) {
        if (move.move != SideTreeMove::MOVE::PLACED) DeleteHidden(move.tree, move.hidden);
    }
    return OK;
}

Result<void> UrlAssetRepositoryImpl::PublishWithSideTrees(const Url& hidden, const StagedVersion& staged,
                                                          std::vector<SideTreeMove>& moves) {
    const Bool isOverwrite = staged.purpose == StagedVersion::PURPOSE::OVERWRITE;
    const std::vector<Url> trees = GetSideTrees();
    const auto publishSideTrees = [&](Bool afterwards) -> Result<void> {
        for (const Url& tree : trees) {
            const Bool comesAfterwards = isOverwrite && tree == _places.user;
            if (comesAfterwards == afterwards) TRY(PublishSideTree(tree, hidden, staged, moves));
        }
        return OK;
    };
    TRY(publishSideTrees(false));
    const Url assetDirectory = hidden.GetDirectory();
    TRY(MoveIntoPlace(hidden, staged));
    // It is seen from here on, so whatever fails is taken back.
    const Result<void> synced = CatchOutOfMemory([&] { return SyncNames(assetDirectory); });
    const Result<void> finished = synced.IsOk() ? CatchOutOfMemory([&] { return publishSideTrees(true); }) : synced;
    if (finished.IsOk()) return OK;
    const Result<void> takenBack = CatchOutOfMemory([&] { return Exchange(staged.finalDirectory, hidden); });
    if (takenBack.IsOk() || synced.IsError()) return finished;
    // It is there to stay, and whole: what the user did for the old content stands beside it still.
    Log(LOG_LEVEL::WARNING, "@ keeps the user's former values: @", staged.finalDirectory, finished.GetError()->GetMessage());
    return OK;
}

// A directory that is there already belongs to the version that is replaced, or to one that a stop left behind.
Result<void> UrlAssetRepositoryImpl::PublishSideTree(const Url& tree, const Url& hidden, const StagedVersion& staged,
                                                     std::vector<SideTreeMove>& moves) {
    SideTreeMove step{tree, GetSideDirectory(tree, hidden), GetSideDirectory(tree, staged.finalDirectory),
                      SideTreeMove::MOVE::PLACED};
    const Bool hasNew = IsThere(step.hidden);
    if (hasNew) TRY(SyncTree(step.hidden));
    // Repositories share the user tree: what is there under a fresh number may be another one's, of an asset with the same id.
    const Bool isShared = tree == _places.user && staged.purpose == StagedVersion::PURPOSE::NEW;
    if (isShared && !hasNew) return OK;
    const Bool hasOld = IsThere(step.final);
    if (isShared && hasOld) return MoveFiles(tree, step.hidden, step.final);
    if (hasNew) {
        TRY(Exchange(step.hidden, step.final));
        if (hasOld) step.move = SideTreeMove::MOVE::EXCHANGED;
    } else if (hasOld) {
        step.hidden = TRY(HideDirectory(step.final));
        step.move = SideTreeMove::MOVE::HIDDEN;
    } else {
        return OK;
    }
    moves.push_back(step);
    return SyncNames(step.final.GetDirectory());
}

void UrlAssetRepositoryImpl::TakeBack(const std::vector<SideTreeMove>& moves) {
    for (const SideTreeMove& move : moves) {
        const Bool exchanged = move.move == SideTreeMove::MOVE::EXCHANGED;
        const Bool hidden = move.move == SideTreeMove::MOVE::HIDDEN;
        const Url& from = hidden ? move.hidden : move.final;
        const Url& to = hidden ? move.final : move.hidden;
        CatchOutOfMemory([&] {
            return from.IoRename(to, exchanged ? RENAME_MODE::EXCHANGE : RENAME_MODE::NO_REPLACE);
        }).Ignore("the error that led here tells more");
    }
}

void UrlAssetRepositoryImpl::DiscardVersionImpl(const AssetStoreResult& stored) {
    CatchOutOfMemory([&]() -> Result<void> {
        const Url directory = TRY(GetVersionUrl(stored.vdata));
        if (!FindStaged(directory)) return OK;
        const Url hidden = GetPlainUrl(directory);
        for (const Url& tree : GetSideTrees()) DeleteHidden(tree, GetSideDirectory(tree, hidden));
        DeleteHidden(GetRoot(), hidden);
        return OK;
    }).Ignore("it is hidden, and the next sweep finds it");
}

}  // namespace talvo
