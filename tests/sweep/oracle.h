// What must hold after a fault, whatever the fault was. It stands outside of the repository: it knows the states between the steps of a
// run without faults, and what the interrupted run acknowledged.
#pragma once

#include "tests/sweep/child.h"
#include "tests/sweep/repository_state.h"
#include "tests/sweep/workloads.h"

namespace talvo::sweep {

class Oracle {
public:
    /// Runs the workload once without faults. The world is left as the steps find it, and kept so.
    Oracle(World& world, const Workload& workload);

    Int GetStepCount() const { return Int(_workload.steps.size()); }
    const RepositoryState& GetState(Int stepsDone) const { return _states[std::size_t(stepsDone)]; }

    /// Opens the repository in a process of its own and checks it. @param acknowledged how many steps were reported as done.
    /// @return what is wrong; nothing if all is well.
    std::vector<std::string> Check(Int acknowledged) const;
    /// What is wrong with this state alone.
    std::vector<std::string> CheckState(const RepositoryState& state, Int acknowledged) const;

private:
    void Inspect(const Teller& teller, Int acknowledged) const;
    std::vector<std::string> CheckFurtherStore(const RepositoryState& before) const;
    std::vector<std::string> CheckFurtherStart() const;
    std::vector<std::string> CheckLeftovers() const;

    World& _world;
    const Workload& _workload;
    std::vector<RepositoryState> _states;  // after each number of steps
    std::string _surroundings;
};

/// The state of the repository at `world` as a fresh opening of it finds it, in this process.
Result<RepositoryState> ReadFresh(const World& world);

}  // namespace talvo::sweep
