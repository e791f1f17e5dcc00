// Writing of index files, and how long it holds others off; and the libraries that all of these benchmarks stand on.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/libraries.h"
#include "bench/library/library_writer.h"
#include "bench/repositories.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

namespace talvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

CompactableAssetRepositoryInterface& GetCompactable(const UpdatableAssetRepositoryRef& repository) {
    auto* const compactable = dynamic_cast<CompactableAssetRepositoryInterface*>(repository.GetPointer());
    Need(compactable != nullptr, "the repository has no index");
    return *compactable;
}

/// Writes the index of a copy anew, with all versions loaded.
Cost Compact(const Setting& setting, const std::string& library) {
    const std::string copy = setting.At("compacted");
    CopyLibrary(library, copy);
    const std::vector<Float64> values = RunInChild([&] {
        const auto repository = OpenOnDisk(setting, copy);
        LoadAll(repository);
        const Cost cost = MeasureHere([&] {
            Need(GetCompactable(repository).Compact());
            SyncBareFiles(copy);
        });
        return std::vector<Float64>{cost.wall, cost.cpu};
    });
    return {values.at(0), values.at(1)};
}

struct Stores {
    Float64 longest = 0;
    Int count = 0;
};

/// How long after one store the next one begins: who is held off for longer than this is noticed, and what is stored can be removed again soon.
constexpr std::chrono::milliseconds BETWEEN_STORES(2);

/// Stores new assets one after the other until `isOver`.
Stores StoreUntil(const AssetRepositoryRef& repository, const std::string& prefix, FunctionRef<Bool()> isOver) {
    Stores stores;
    const Asset asset = MakeSmallAsset();
    while (!isOver()) {
        const Id id = Need(Id::Create(prefix + std::to_string(stores.count++)));
        const Clock::time_point begin = Clock::now();
        Need(repository->StoreAsset(id, asset, nullptr));
        stores.longest = std::max(stores.longest, std::chrono::duration<Float64>(Clock::now() - begin).count());
        std::this_thread::sleep_for(BETWEEN_STORES);
    }
    return stores;
}

/// Stores for some seconds alone, then for as many beside compactions, of which each change makes the one at hand begin anew.
std::vector<Float64> StoreDuringCompaction(const Setting& setting, const std::string& library, Float64 seconds) {
    const std::string copy = setting.At("stored");
    CopyLibrary(library, copy);
    return RunInChild([&] {
        const auto repository = OpenOnDisk(setting, copy);
        LoadAll(repository);
        const auto storeForAWhile = [&](const std::string& prefix) {
            const Clock::time_point end =
                Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<Float64>(seconds));
            return StoreUntil(repository, prefix, [&] { return Clock::now() > end; });
        };
        const Stores alone = storeForAWhile("alone_");
        std::atomic<Bool> isOver{false};
        std::jthread compactions([&] {
            while (!isOver) GetCompactable(repository).Compact().Ignore("stores go on all the time");
        });
        const Stores beside = storeForAWhile("beside_");
        isOver = true;
        compactions.join();
        return std::vector<Float64>{beside.longest, alone.longest, Float64(beside.count), Float64(alone.count)};
    });
}

/// All bytes of the index in one file.
Int64 GatherBytes(const std::string& library, const std::string& target) {
    MeasureProgram({"sh", "-ec", "find '" + library + "/_index' -type f -exec cat {} + >'" + target + "'"});
    return Int64(std::filesystem::file_size(target));
}

}  // namespace

std::vector<Row> CompactLoaded(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const std::string library = GetLibrary(setting, count);
    const std::string bytes = setting.At("bytes");
    const Int64 size = GatherBytes(library, bytes);
    const auto ours = [&] { return Compact(setting, library); };
    const auto peer = [&] {
        std::filesystem::remove(setting.At("written"));
        return MeasureProgram({"dd", "if=" + bytes, "of=" + setting.At("written"), "bs=1M", "conv=fsync", "status=none"});
    };
    const Comparison comparison = Compare((setting.runs + 1) / 2, ours, peer);
    const std::vector<Float64> stores = StoreDuringCompaction(setting, library, comparison.ours.wall);
    return {{"compaction of " + std::to_string(count) + " loaded versions, synced; dd conv=fsync of the same " +
                 std::to_string(size >> 20) + " MiB",
             ShowSeconds(comparison.ours.wall) + " (" + ShowSeconds(comparison.ours.cpu) + " CPU)",
             ShowSeconds(comparison.peer.wall), "x", comparison.wallRatio, Row::GOAL::AT_MOST, 3},
            {"the longest of " + ShowNumber(stores.at(2)) + " stores beside such compactions; of " + ShowNumber(stores.at(3)) +
                 " without one",
             ShowSeconds(stores.at(0)), ShowSeconds(stores.at(1)), "ms", stores.at(0) * 1e3, Row::GOAL::AT_MOST, 100}};
}

/// Both forms must be one library: the index that a compaction makes of the whole has the bytes of the fast one.
std::vector<Row> MakeLibraries(const Setting& setting) {
    const LibraryModel few({.assets = 500, .versions = 3, .seed = 7});
    WriteLibrary(few, setting.At("whole"));
    WriteLibraryIndex(few, setting.At("fast"));
    MeasureProgram({setting.program, "--home", setting.At("home"), "verify", setting.At("whole")});
    MeasureInChild([&] { Need(GetCompactable(OpenOnDisk(setting, setting.At("whole"))).Compact()); });
    for (const char* range : {"0-3", "0-3.json"}) {
        MeasureProgram({"diff", "-r", setting.At("whole/_index/") + range, setting.At("fast/_index/") + range});
    }
    const Int count = setting.Choose(1000000, 2000);
    const Cost cost = MeasureInChild([&] { WriteLibraryIndex(MakeLibraryModel(count), setting.At("library")); });
    return {{"make_library --fast --assets " + std::to_string(count),
             ShowSeconds(cost.wall) + " (" + ShowSeconds(cost.cpu) + " CPU)", "", "s", cost.wall, Row::GOAL::AT_MOST, 50}};
}

}  // namespace talvo::bench
