// Whether a store, a deletion and an erasure cost the same however much is there.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/generator.h"
#include "bench/measure.h"
#include "bench/repositories.h"

#include <algorithm>

namespace talvo::bench {

namespace {

/// CPU time of one operation each, in seconds: what growth does to the work itself, not to the disk's queue.
struct Times {
    Float64 store = 0;
    Float64 deletion = 0;
    Float64 erasure = 0;
};

/// Stores new ids, marks them as deleted, and erases both, so that the repository is as large as before.
Times MeasureBatch(const AssetRepositoryRef& repository, const Asset& asset, Int first, Int count) {
    std::vector<Id> ids;
    for (Int i = first; i < first + count; i++) ids.push_back(Need(Id::Create("grown_" + std::to_string(i * 7919))));
    std::vector<AssetDescription> stored;
    const Cost store = MeasureHere([&] {
        for (const Id& id : ids) stored.push_back(Need(repository->StoreAsset(id, asset, nullptr)));
    });
    const Cost deletion = MeasureHere([&] {
        for (const Id& id : ids) stored.push_back(Need(repository->DeleteAsset(id)));
    });
    const Cost erasure = MeasureHere([&] {
        for (const AssetDescription& each : stored) Need(repository->EraseAsset(each));
    });
    return {store.cpu / Float64(count), deletion.cpu / Float64(count), erasure.cpu / Float64(stored.size())};
}

Times MeasureTimes(const Setting& setting, const AssetRepositoryRef& repository, const Asset& asset, Int batch) {
    std::vector<Float64> times[3];
    const Int runs = setting.Choose(9, 3);
    for (Int run = 0; run <= runs; run++) {
        const Times each = MeasureBatch(repository, asset, run * batch, batch);
        if (run == 0) continue;  // fills caches
        times[0].push_back(each.store);
        times[1].push_back(each.deletion);
        times[2].push_back(each.erasure);
    }
    return {Median(times[0]), Median(times[1]), Median(times[2])};
}

/// One row an operation: the dearest size against the first.
std::vector<Row> MakeRows(const std::string& where, const std::vector<Int>& sizes, const std::vector<Times>& times) {
    std::vector<Row> rows;
    const std::pair<const char*, Float64 Times::*> operations[] = {
        {"store", &Times::store}, {"delete", &Times::deletion}, {"erase", &Times::erasure}};
    for (const auto& [name, member] : operations) {
        Float64 worst = 0;
        std::string shown;
        for (const Times& each : times) {
            worst = std::max(worst, each.*member);
            shown += (shown.empty() ? "" : ", ") + ShowSeconds(each.*member);
        }
        std::string work = std::string(name) + " " + where + " among";
        for (const Int size : sizes) work += " " + std::to_string(size);
        rows.push_back({work + " ids, CPU", shown, ShowSeconds(times.front().*member), "x", worst / (times.front().*member),
                        Row::GOAL::AT_MOST, 1.5});
    }
    return rows;
}

}  // namespace

std::vector<Row> GrowInMemory(const Setting& setting) {
    const std::vector<Int> sizes = setting.quick ? std::vector<Int>{100, 1000} : std::vector<Int>{1000, 10000, 100000, 1000000};
    const Asset asset = MakeSmallAsset();
    const AssetRepositoryRef repository = MakeInMemory("repository_bench"_id);
    std::vector<Times> times;
    Int count = 0;
    for (const Int size : sizes) {
        for (; count < size; count++) Need(repository->StoreAsset(MakeGeneratedId(count), asset, nullptr));
        times.push_back(MeasureTimes(setting, repository, asset, setting.Choose(5000, 50)));
    }
    return MakeRows("in memory", sizes, times);
}

std::vector<Row> GrowOnDisk(const Setting& setting) {
    const std::vector<Int> sizes = setting.quick ? std::vector<Int>{50, 200} : std::vector<Int>{1000, 10000, 100000};
    const Asset asset = MakeSmallAsset();
    std::vector<Times> times;
    for (const Int size : sizes) {
        const std::string tree = setting.At("tree" + std::to_string(size));
        MakeTree(tree, size);
        SyncBare(tree);
        const auto repository = OpenOnDisk(setting, tree);
        LoadAll(repository);
        times.push_back(MeasureTimes(setting, repository, asset, setting.Choose(300, 20)));
    }
    return MakeRows("on disk", sizes, times);
}

}  // namespace talvo::bench
