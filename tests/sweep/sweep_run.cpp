#include "tests/sweep/sweep_run.h"

#include "kernel/base/allocation_plan.h"
#include "kernel/io/file_system.h"
#include "tests/sweep/power_loss.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace talvo::sweep {

namespace fs = std::filesystem;

namespace {

constexpr std::array<const char*, 4> ERRORS{"ENOSPC", "EIO", "EMFILE", "EACCES"};

/// Without the one that locks the repository, which stays open between two locks on purpose.
std::multiset<std::string> ListOpenFiles() {
    std::multiset<std::string> open;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(entry.path(), gone);
        if (!gone && file.filename() != "databaseid" && file.is_absolute()) open.insert(file.string());
    }
    return open;
}

Int CountSteps(const ChildEnd& end) { return Int(std::count(end.lines.begin(), end.lines.end(), "done")); }

/// The lines of a child that tell of something wrong begin with "!".
std::vector<std::string> GetComplaints(const ChildEnd& end) {
    std::vector<std::string> complaints;
    for (const std::string& line : end.lines) {
        if (line.starts_with("! ")) complaints.push_back(line.substr(2));
    }
    return complaints;
}

class Sweep {
public:
    Sweep(MODE mode, const Workload& workload, const SweepOptions& options)
        : _mode(mode), _workload(workload), _options(options), _oracle(_world, workload) {}

    SweepCounts Run() {
        if (!_options.plan.empty()) {
            RunPlan(_options.plan);
        } else if (_mode == MODE::POWER) {
            RunPowerLoss();
        } else if (_mode == MODE::KILL) {
            for (const char* when : {"kill-before@", "kill-after@"}) RunAll([&](Int n) { return when + std::to_string(n); });
        } else if (_mode == MODE::SHORT) {
            RunAll([&](Int n) { return "short@" + std::to_string(n); });
        } else if (_mode == MODE::OOM) {
            for (const char* kind : {"fail@", "failfrom@"}) RunAll([&](Int n) { return kind + std::to_string(n); });
        } else {
            for (const char* kind : {"fail@", "failfrom@"}) {
                for (const char* error : ERRORS) {
                    RunAll([&](Int n) { return kind + std::to_string(n) + ":" + error; });
                }
            }
        }
        return _counts;
    }

private:
    /// Goes on until a plan isn't met.
    template <typename MAKE_PLAN>
    void RunAll(const MAKE_PLAN& makePlan) {
        for (Int n = 1;; ++n) {
            if (!RunPlan(makePlan(n))) return;
        }
    }
    Bool RunPlan(const std::string& plan) {
        const Bool met = _mode == MODE::KILL ? KillOnce(plan) : FailOnce(plan);
        if (met) ++_counts.points;
        return met;
    }

    void Report(const std::string& plan, const std::vector<std::string>& wrong) {
        for (const std::string& each : wrong) {
            ++_counts.violations;
            std::printf("%s, %s: %s\n", _workload.name.c_str(), plan.c_str(), each.c_str());
        }
        std::fflush(stdout);
    }

    Bool KillOnce(const std::string& plan) {
        _world.Reset();
        const ChildEnd end = RunChild([&](const Teller& teller) {
            Session session(_world);
            if (_workload.opening == Workload::OPENING::BEFORE_FAULTS) Need(session.Open());
            FaultPlan::SetScope(_world / "");
            Need(FaultPlan::Set(plan));
            for (const Step& step : _workload.steps) {
                Need(step(session));
                teller.Tell("done");
            }
        });
        if (!_options.damage.empty()) Damage(_world, _options.damage);
        if (!end.wasKilled && !end.hasFinished) Report(plan, {end.how});
        Report(plan, _oracle.Check(CountSteps(end)));
        return end.wasKilled;
    }

    /// The plan is met by the steps in one process, which then looks at what it has, goes on without faults, and must come to the same end.
    Bool FailOnce(const std::string& plan) {
        _world.Reset();
        const ChildEnd end = RunChild([&](const Teller& teller) { FailAndGoOn(plan, teller); });
        std::vector<std::string> wrong = GetComplaints(end);
        if (!end.hasFinished) wrong.push_back(end.how);
        const std::vector<std::string> found = _oracle.Check(CountSteps(end));
        wrong.insert(wrong.end(), found.begin(), found.end());
        Report(plan, wrong);
        return !end.hasFinished || std::find(end.lines.begin(), end.lines.end(), "met") != end.lines.end();
    }

    void FailAndGoOn(const std::string& plan, const Teller& teller) {
        Session session(_world);
        if (_workload.opening == Workload::OPENING::BEFORE_FAULTS) Need(session.Open());
        const std::multiset<std::string> openBefore = ListOpenFiles();
        std::size_t done = 0;
        Start(plan);
        Result<void> outcome;
        for (; done < _workload.steps.size() && outcome.IsOk(); done += outcome.IsOk()) {
            outcome = CatchOutOfMemory([&] { return _workload.steps[done](session); });
        }
        const Bool met = Stop();
        if (met) teller.Tell("met");
        if (outcome.IsError() && !met) teller.Tell("! a step failed without a fault: " + outcome.GetError()->GetMessage());
        if (outcome.IsError()) CheckError(*outcome.GetError(), teller);
        CheckGoesOn(session, done, outcome.IsError(), teller);
        std::multiset<std::string> left = ListOpenFiles();
        for (const std::string& file : openBefore) left.erase(left.find(file));
        for (const std::string& file : left) teller.Tell("! it was left open: " + file);
    }

    void Start(const std::string& plan) {
        if (_mode == MODE::OOM) {
            if (!AllocationPlan::Set(plan)) GiveUp("no plan: " + plan);
            return;
        }
        FaultPlan::SetScope(_world / "");
        Need(FaultPlan::Set(plan));
    }
    Bool Stop() {
        AllocationPlan::Clear();
        const Bool met = _mode == MODE::OOM ? AllocationPlan::WasHit() : FaultPlan::WasHit();
        FaultPlan::Clear();
        return met;
    }
    void CheckError(const Error& error, const Teller& teller) const {
        if (_mode == MODE::SHORT) teller.Tell("! a short transfer became an error: " + error.GetMessage());
        if (error.GetMessage().empty()) teller.Tell("! the error says nothing");
    }

    static void CheckNothingNew(const RepositoryState& found, const RepositoryState& expected, const Teller& teller) {
        for (const std::string& line : found.versions) {
            const Bool isKnown = std::find(expected.versions.begin(), expected.versions.end(), line) != expected.versions.end();
            if (!isKnown) teller.Tell("! in memory: it came from nowhere: " + line);
        }
    }

    void CheckGoesOn(Session& session, std::size_t done, Bool failed, const Teller& teller) {
        const Result<AssetRepositoryRef> repository = session.Open();
        if (repository.IsError()) {
            teller.Tell("! it doesn't open any more: " + repository.GetError()->GetMessage());
            return;
        }
        const Result<RepositoryState> inMemory = RepositoryState::Read(repository.GetValue());
        if (inMemory.IsError()) {
            teller.Tell("! it doesn't read any more: " + inMemory.GetError()->GetMessage());
            return;
        }
        if (_workload.assetsMayBeLeftOut && _mode == MODE::FAIL && !failed) {
            CheckNothingNew(inMemory.GetValue(), _oracle.GetState(Int(done)), teller);
            for (std::size_t i = 0; i < done; ++i) teller.Tell("done");
            return;
        }
        for (const std::string& wrong : _oracle.CheckState(inMemory.GetValue(), Int(done))) teller.Tell("! in memory: " + wrong);
        const Result<RepositoryState> onDisk = ReadFresh(_world);
        const Bool isSame =
            onDisk.IsOk() && (_workload.usersValuesMayStay ? onDisk.GetValue().HasSameVersions(inMemory.GetValue())
                                                           : onDisk.GetValue().HasSameValues(inMemory.GetValue()));
        if (!isSame) teller.Tell("! memory and disk differ");
        // A step that is done though it reported an error isn't asked for again.
        if (failed && done < _workload.steps.size() && !inMemory.GetValue().HasSameValues(_oracle.GetState(Int(done)))) ++done;
        for (std::size_t i = 0; i < done; ++i) teller.Tell("done");
        for (; done < _workload.steps.size(); ++done) {
            const Result<void> again = _workload.steps[done](session);
            if (again.IsError()) {
                teller.Tell("! it doesn't work after the fault: " + again.GetError()->GetMessage());
                return;
            }
            teller.Tell("done");
        }
    }

    void RunPowerLoss() {
        const std::string trace = _world.GetBeside("trace");
        _world.Reset();
        const ChildEnd end = RunChild([&](const Teller& teller) {
            SetDurability(DURABILITY::DURABLE);
            Session session(_world);
            if (_workload.opening == Workload::OPENING::BEFORE_FAULTS) Need(session.Open());
            FaultPlan::SetScope(_world / "");
            Need(FaultPlan::Set("trace:" + trace));
            for (const Step& step : _workload.steps) {
                Need(step(session));
                teller.Tell(std::to_string(FaultPlan::GetOperationCount()));
            }
        });
        if (!end.hasFinished) GiveUp("the run that is traced failed: " + end.how);
        const PowerLoss powerLoss(trace);
        for (const PowerLoss::Point& point : powerLoss.GetPoints()) {
            for (Int damage = 0; damage < PowerLoss::DAMAGES; ++damage) {
                _world.Reset();
                powerLoss.Replay(point, damage);
                const auto isDone = [&](const std::string& line) { return std::stoll(line) <= point.operation; };
                const Int acknowledged = Int(std::count_if(end.lines.begin(), end.lines.end(), isDone));
                Report("power lost after operation " + std::to_string(point.operation) + ", damage " + std::to_string(damage),
                       _oracle.Check(acknowledged));
                ++_counts.points;
            }
        }
    }

    const MODE _mode;
    const Workload& _workload;
    const SweepOptions& _options;
    World _world;
    Oracle _oracle;
    SweepCounts _counts;
};

}  // namespace

SweepCounts RunSweep(MODE mode, const Workload& workload, const SweepOptions& options) {
    return Sweep(mode, workload, options).Run();
}

void Damage(const World& world, const std::string& kind) {
    if (kind == "touched") std::ofstream(world / "canary/tree/file") << "other";
    if (kind == "extra") std::ofstream(world / "repo/.foreign") << "?";
    if (!fs::exists(world / "repo/other")) return;
    if (kind == "bytes") std::ofstream(world / "repo/other/1/asset.txt") << "other bytes";
    if (kind == "lost") fs::remove_all(world / "repo/other/1");
}

}  // namespace talvo::sweep
