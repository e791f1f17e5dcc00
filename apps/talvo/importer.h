// Stores many files as assets, on all cores, and reports them in order.
#pragma once

#include "apps/talvo/import_plan.h"
#include "assets.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace talvo {

/// Stores files side by side; what comes of each is handed out one by one in the order of the items, whatever finished first.
/// After an interrupt no new store begins; those in hand are finished and handed out.
/// Threads: Run on one thread; it makes others that end with it.
class Importer {
public:
    struct Options {
        Opt<Id> id;        ///< of the asset, if there is just one item
        Opt<String> name;  ///< instead of the file's
        Int threads = 1;
    };
    /// @param items as long as the object, like the plan.
    Importer(AssetRepositoryRef repository, const std::vector<ImportItem>& items, const ImportPlan& plan, Options options);

    /// What became of a file.
    struct Outcome {
        AssetDescription description;
        IMPORT_STATE state = IMPORT_STATE::NEW;
    };
    using OutcomeReceiver = FunctionRef<void(const ImportItem& item, const Result<Outcome>& outcome)>;
    /// @param wait called after all that was ready, and now and then while nothing is.
    void Run(OutcomeReceiver receiver, FunctionRef<void()> wait);

private:
    void Work();
    Result<Outcome> Store(const ImportItem& item, const ImportPlanItem& plan) const;
    /// @return the first item that is not ready.
    std::size_t HandOut(std::size_t next, OutcomeReceiver receiver, std::unique_lock<std::mutex>& lock);

    const AssetRepositoryRef _repository;
    const std::vector<ImportItem>& _items;
    const ImportPlan& _plan;
    const Options _options;
    std::atomic<std::size_t> _next{0};
    std::mutex _lock;
    std::condition_variable _ended;
    std::vector<Opt<Result<Outcome>>> _outcomes;  // guarded by _lock
    Int _working = 0;                             // guarded by _lock
};

}  // namespace talvo
