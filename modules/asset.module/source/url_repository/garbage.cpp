// The sweep: removes what work that was cut off left behind under our own hidden names.
//
// Looked at are the places where we make such names and no others: the root, the directories of assets and those of versions, there and in the side trees
// of this repository; with the user's repository those of built-in assets. The age of a leftover is that of the youngest thing in it, so that work that goes on right now is never taken for one.
#include "kernel/io/file_utilities.h"
#include "kernel/thread/job.h"
#include "url_repository/asset_info.h"
#include "url_repository/create_repository.h"
#include "url_repository/database_id.h"
#include "url_repository/repository_lock.h"
#include "url_repository/tree_access.h"
#include "url_repository/version_scan.h"
#include "urlassetrepository.h"

namespace talvo {

namespace {

using RepositoryMaintenance::GC_MODE;
using RepositoryMaintenance::Leftover;

Result<BaseArray<IoEntry>> BrowseAll(const Url& directory) {
    const IoConnectionRef connection = TRY(directory.OpenConnection());
    return connection->Browse(BROWSE_MODE::NAMES);
}

/// Time of the last change of anything at or below `url`.
Result<UniversalDateTime> GetYoungest(const Url& url) {
    const IoConnectionRef connection = TRY(url.OpenConnection());
    UniversalDateTime youngest = TRY(connection->IoGetTime());
    if (connection->IoDetect() != IO_DETECT::DIRECTORY) return youngest;
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        if (entry.isLink) continue;
        const UniversalDateTime time = TRY(GetYoungest(url + entry.name));
        youngest = std::max(youngest, time);
    }
    return youngest;
}

class Sweep {
public:
    Sweep(RepositoryLock& lock, GC_MODE mode, Int64 minimumAge, Receiver<Leftover> receiver)
        : _lock(lock), _mode(mode), _latest(UniversalDateTime::GetNow().GetValue() - minimumAge), _receiver(receiver) {}

    /// The repository itself. @return whether to go on, as each of these.
    Result<Bool> SweepRoot(const Url& root) {
        Bool goOn = TRY(SweepNames(root, root));
        const BaseArray<IoEntry> entries = TRY(BrowseTree(root));
        for (const IoEntry& entry : entries) {
            const Bool isAsset = entry.kind == IO_DETECT::DIRECTORY && ReadAssetInfo(root + entry.name).GetValueOr({});
            if (!isAsset) continue;
            if (goOn) goOn = TRY(SweepAsset(root, entry.name));
            for (const Url& tree : _sideTrees) {
                if (goOn) goOn = TRY(SweepAsset(tree, entry.name));
            }
            if (!goOn) break;
        }
        return goOn;
    }
    /// A tree of values of built-in assets, which stand in the directory of the asset.
    Result<Bool> SweepBuiltinTree(const Url& tree) {
        const BaseArray<IoEntry> entries = TRY(BrowseTreeIfThere(tree));
        for (const IoEntry& entry : entries) {
            if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
            const Bool goOn = TRY(entry.kind == IO_DETECT::DIRECTORY ? SweepNames(tree, tree + entry.name) : Result<Bool>(true));
            if (!goOn) return false;
        }
        return true;
    }
    void AddSideTree(const Url& tree) { _sideTrees.push_back(tree); }

private:
    Result<Bool> SweepAsset(const Url& tree, const std::string& name) {
        if (Job::IsCurrentCancelled()) return OperationCancelledError::Create();
        const Url directory = tree + name;
        if (directory.IoDetect() != IO_DETECT::DIRECTORY) return true;
        const std::vector<VersionDirectory> versions = TRY(ScanAssetDirectory(directory));
        Bool goOn = TRY(SweepNames(tree, directory));
        for (const VersionDirectory& version : versions) {
            if (goOn) goOn = TRY(SweepNames(tree, directory + version.name));
        }
        return goOn;
    }

    Result<Bool> SweepNames(const Url& tree, const Url& directory) {
        const BaseArray<IoEntry> entries = TRY(BrowseAll(directory));
        for (const IoEntry& entry : entries) {
            if (!IsWorkName(entry.name) || entry.isLink) continue;
            const Bool goOn = TRY(SweepLeftover(tree, directory + entry.name));
            if (!goOn) return false;
        }
        return true;
    }

    Result<Bool> SweepLeftover(const Url& tree, const Url& leftover) {
        const Result<Bool> isOld = IsOld(leftover);
        if (isOld.IsError() && leftover.IoDetect() == IO_DETECT::NOT_THERE) return true;  // its work has just ended
        if (isOld.IsError()) return isOld.GetError();
        if (!isOld.GetValue()) return true;
        const Int64 bytes = TRY(FileUtilities::GetSize(leftover));
        if (_mode == GC_MODE::REMOVE) {
            const Opt<Url> hidden = TRY(TakeAway(leftover));
            if (!hidden) return true;
            TRY(DeleteBelow(tree, *hidden));
        }
        return _receiver(Leftover{leftover, bytes});
    }
    Result<Bool> IsOld(const Url& leftover) const {
        const UniversalDateTime youngest = TRY(GetYoungest(leftover));
        return youngest.GetValue() <= _latest;
    }
    /// Gives the leftover a name that nobody knows, so that deleting it, which may take long, needs no lock. Nothing if it is used again.
    Result<Opt<Url>> TakeAway(const Url& leftover) {
        const RepositoryWriteLock lock = TRY(RepositoryWriteLock::Create(_lock));
        const Bool isOld = TRY(IsOld(leftover));
        if (!isOld) return Opt<Url>();
        Url hidden = TRY(HideDirectory(leftover));
        return Opt<Url>(std::move(hidden));
    }

    RepositoryLock& _lock;
    const GC_MODE _mode;
    const Int64 _latest;  // what changed later stays
    const Receiver<Leftover> _receiver;
    std::vector<Url> _sideTrees;
};

}  // namespace

Result<void> RepositoryMaintenance::CollectGarbage(const Url& root, GC_MODE mode, Int64 minimumAge, Receiver<Leftover> receiver) {
    return CatchOutOfMemory([&]() -> Result<void> {
        const Opt<Id> id = TRY(ReadDatabaseId(root));
        if (!id) return IllegalArgumentError::Create(FormatMessage("@ is no repository: it has no identifier.", root));
        RepositoryLock lock(root);
        Sweep sweep(lock, mode, minimumAge, receiver);
        const Url generated = TRY(GetGeneratedTree(*id));
        const Url user = TRY(GetUserTree());
        sweep.AddSideTree(generated);
        sweep.AddSideTree(user);
        Bool goOn = TRY(sweep.SweepRoot(root));
        if (*id != REPOSITORY_USERPREFS || !goOn) return OK;
        // Built-in assets have no repository on disk that could be swept; who adds values to them is the user.
        const Url builtin = TRY(GetGeneratedTree(BUILTIN_TREE));
        goOn = TRY(sweep.SweepBuiltinTree(builtin));
        if (goOn) TRY(sweep.SweepBuiltinTree(user));
        return OK;
    });
}

}  // namespace talvo
