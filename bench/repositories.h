// Repositories for benchmarks: in memory and on disk, and what is stored in them.
#pragma once

#include "assets.h"
#include "baseassetrepository.h"
#include "bench/report.h"

namespace talvo::bench {

/// Opens the repository `folder`, which is there, with this folder as the user's home.
UpdatableAssetRepositoryRef OpenOnDisk(const std::string& folder, const std::string& home);
/// The same with the home of the benchmark.
UpdatableAssetRepositoryRef OpenOnDisk(const Setting& setting, const std::string& folder);
BaseAssetRepositoryRef MakeInMemory(const Id& id);
/// A payload of a few bytes that lies in memory, too.
Asset MakeSmallAsset();

/// A pseudo-random sequence, the same each time.
class Dice {
public:
    Int Roll(Int sides) {
        _state = _state * 6364136223846793005U + 1442695040888963407U;
        return Int((_state >> 33) % UInt(sides));
    }

private:
    UInt _state = 42;
};

}  // namespace talvo::bench
