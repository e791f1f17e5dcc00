// The check of a whole repository: its assets side by side on several threads, then what only all of them together show.
#include "url_repository/verify.h"

#include "kernel/text/format.h"
#include "kernel/thread/job.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/database_id.h"
#include "url_repository/tree_access.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <tuple>

namespace talvo {

namespace {

using PROBLEM = RepositoryFinding::PROBLEM;

/// The assets of one repository, each checked by whoever comes first.
/// Threads: a check is written by one worker alone; all are read when the workers have ended.
class Verification {
public:
    explicit Verification(std::vector<Url> directories) : _directories(std::move(directories)), _checks(_directories.size()) {}

    Result<void> Run(Int threads, FunctionRef<Bool()> goOn) {
        std::vector<std::thread> helpers;
        const std::size_t wanted = std::min(std::size_t(threads), _directories.size());
        try {
            while (helpers.size() + 1 < wanted) helpers.emplace_back([this] { Work(); });
        } catch (const std::system_error&) {
            // With fewer threads it takes longer only.
        }
        const Bool finished = WorkUntilCancelled(goOn);
        _stop.store(true, std::memory_order_relaxed);
        for (std::thread& helper : helpers) helper.join();
        if (!finished) return OperationCancelledError::Create();
        if (_outOfMemory.load()) return OutOfMemoryError::Create("Out of memory while checking. Take fewer threads.");
        return OK;
    }
    std::vector<AssetCheck>& GetChecks() { return _checks; }

private:
    Bool CheckNext() {
        const std::size_t index = _next.fetch_add(1, std::memory_order_relaxed);
        if (index >= _directories.size()) return false;
        try {
            _checks[index] = CheckAssetDirectory(_directories[index]);
        } catch (const std::bad_alloc&) {
            _outOfMemory.store(true);
            return false;
        }
        return true;
    }
    void Work() {
        while (!_stop.load(std::memory_order_relaxed) && CheckNext()) {}
    }
    /// Jobs are cancelled by thread, so the calling one looks. The others end with what they have begun when it has no more to begin.
    Bool WorkUntilCancelled(FunctionRef<Bool()> goOn) {
        do {
            if (Job::IsCurrentCancelled()) return false;
            if (!goOn()) return true;
        } while (CheckNext());
        return true;
    }

    const std::vector<Url> _directories;
    std::vector<AssetCheck> _checks;
    std::atomic<std::size_t> _next{0};
    std::atomic<Bool> _stop{false};
    std::atomic<Bool> _outOfMemory{false};
};

Result<std::vector<Url>> FindDirectories(const Url& root) {
    const BaseArray<IoEntry> entries = TRY(BrowseTree(root));
    std::vector<Url> directories;
    for (const IoEntry& entry : entries) {
        if (entry.kind == IO_DETECT::DIRECTORY && entry.name != INDEX_DIRECTORY_NAME) directories.push_back(root + entry.name);
    }
    return directories;
}

Result<void> AddRootLeftovers(const Url& root, std::vector<RepositoryFinding>& findings) {
    const IoConnectionRef connection = TRY(root.OpenConnection());
    const BaseArray<IoEntry> entries = TRY(connection->Browse(BROWSE_MODE::NAMES));
    for (const IoEntry& entry : entries) {
        if (!IsWorkName(entry.name)) continue;
        findings.push_back({Id(), Id(), PROBLEM::LEFTOVER,
                            "Work in progress, or the rest of work that was cut off. gc removes it when it is old.",
                            root + entry.name});
    }
    return OK;
}

/// The directory that a scan meets first is the asset's; the others are not seen.
Result<void> AddDoubledIds(const std::vector<AssetCheck>& checks, std::vector<RepositoryFinding>& findings) {
    HashMap<Id, Url> first;
    for (const AssetCheck& check : checks) {
        if (!check.id) continue;
        const Url* other = first.Find(*check.id);
        if (!other) {
            TRY(first.Insert(*check.id, check.directory));
            continue;
        }
        findings.push_back(
            {*check.id, Id(), PROBLEM::ID_DOUBLED,
             FormatString("@ has the same asset id, so that the versions in here are not seen. Remove one of them.", *other),
             check.directory});
    }
    return OK;
}

void SortByPath(std::vector<RepositoryFinding>& findings) {
    const auto key = [](const RepositoryFinding& finding) {
        return std::tuple(finding.path.GetPath(), finding.problem, finding.explanation.GetView());
    };
    std::sort(findings.begin(), findings.end(), [&](const auto& first, const auto& second) { return key(first) < key(second); });
}

}  // namespace

Result<RepositoryCheckSummary> RepositoryMaintenance::Verify(const Url& root, Int threads, Receiver<RepositoryFinding> receiver) {
    return Verify(root, threads, receiver, [] { return true; });
}

Result<RepositoryCheckSummary> RepositoryMaintenance::Verify(const Url& root, Int threads, Receiver<RepositoryFinding> receiver,
                                                             FunctionRef<Bool()> goOn) {
    return CatchOutOfMemory([&]() -> Result<RepositoryCheckSummary> {
        CHECK_ARGUMENT(threads >= 1, "threads >= 1");
        const Opt<Id> id = TRY(ReadDatabaseId(root));
        if (!id) return IllegalArgumentError::Create(FormatMessage("@ is no repository: it has no identifier.", root));
        std::vector<Url> directories = TRY(FindDirectories(root));
        Verification verification(std::move(directories));
        TRY(verification.Run(threads, goOn));

        RepositoryCheckSummary summary;
        std::vector<RepositoryFinding> findings;
        TRY(AddRootLeftovers(root, findings));
        TRY(AddDoubledIds(verification.GetChecks(), findings));
        for (AssetCheck& check : verification.GetChecks()) {
            summary.unchecked += check.directory.IsEmpty() ? 1 : 0;
            summary.assets += check.id ? 1 : 0;
            summary.versions += check.versions;
            summary.bytes += check.bytes;
            std::move(check.findings.begin(), check.findings.end(), std::back_inserter(findings));
        }
        SortByPath(findings);
        summary.problems = Int(findings.size());
        for (const RepositoryFinding& finding : findings) {
            const Bool more = TRY(receiver(finding));
            if (!more) break;
        }
        return summary;
    });
}

}  // namespace talvo
