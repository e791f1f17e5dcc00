// What is swept: each workload is a state to begin with and the steps that faults are met in.
#pragma once

#include "tests/sweep/world.h"

#include <functional>
#include <string>
#include <vector>

namespace talvo::sweep {

using Step = std::function<Result<void>(Session&)>;

struct Workload {
    std::string name;
    std::vector<Step> before;  ///< without faults
    std::vector<Step> steps;   ///< each is acknowledged by itself
    enum class OPENING { BEFORE_FAULTS, WITH_FAULTS } opening = OPENING::BEFORE_FAULTS;
    /// Where nothing works any more after the content was overwritten, values of the user stay that should have gone with the old content.
    Bool usersValuesMayStay = false;
    /// An asset whose info can't be read is passed over until the next opening, with a warning.
    Bool assetsMayBeLeftOut = false;
    /// There is nothing that a loss of power could take.
    Bool changesNothing = false;
    /// The steps start the module: what is left must let it start again, and its user's repository be used.
    Bool startsModule = false;
};

const std::vector<Workload>& GetWorkloads();

}  // namespace talvo::sweep
