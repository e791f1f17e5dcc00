// Several threads on one repository, and what an event costs that nobody listens to.
#include "bench/allocations.h"
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/generator.h"
#include "bench/measure.h"
#include "bench/repositories.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

namespace talvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

/// How long each of `count` lookups took, in seconds.
std::vector<Float64> TimeLookups(const AssetRepositoryRef& repository, const std::vector<Id>& ids, Int count) {
    std::vector<Float64> times;
    times.reserve(std::size_t(count));
    Dice dice;
    for (Int i = 0; i < count; i++) {
        const Id& id = ids[std::size_t(dice.Roll(Int(ids.size())))];
        const Clock::time_point begin = Clock::now();
        Keep(Need(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST)));
        times.push_back(std::chrono::duration<Float64>(Clock::now() - begin).count());
    }
    return times;
}

/// Ids stored a second by so many threads, each storing its own.
Float64 MeasureStores(Int threads, Int count, const Asset& asset) {
    const AssetRepositoryRef repository = MakeInMemory("repository_bench"_id);
    std::vector<std::vector<Id>> ids(static_cast<std::size_t>(threads));
    for (Int i = 0; i < threads * count; i++) ids[std::size_t(i % threads)].push_back(MakeGeneratedId(i));
    std::atomic<Int> waiting{threads};
    Clock::time_point begin;
    {
        std::vector<std::jthread> workers;
        for (const std::vector<Id>& own : ids) {
            workers.emplace_back([&] {
                if (--waiting == 0) begin = Clock::now();
                while (waiting > 0) std::this_thread::yield();
                for (const Id& id : own) Need(repository->StoreAsset(id, asset, nullptr));
            });
        }
    }
    return Float64(threads * count) / std::chrono::duration<Float64>(Clock::now() - begin).count();
}

}  // namespace

std::vector<Row> LookUpDuringStores(const Setting& setting) {
    const Int count = setting.Choose(10000, 500);
    MakeTree(setting.At("tree"), count);
    const auto repository = OpenOnDisk(setting, setting.At("tree"));
    LoadAll(repository);
    std::vector<Id> ids;
    for (Int i = 0; i < count; i++) ids.push_back(MakeGeneratedId(i));
    const Asset asset = MakeSmallAsset();

    constexpr Int READERS = 4;
    const Int lookups = setting.Choose(1000000, 5000);
    std::vector<std::vector<Float64>> times(READERS);
    std::atomic<Bool> done{false};
    Int stores = 0;
    std::jthread writer([&] {
        // Every second one is a new version of what is being looked up.
        for (; !done || stores == 0; stores++) {
            const Id id =
                stores % 2 == 0 ? ids[std::size_t(stores) % ids.size()] : Need(Id::Create("new_" + std::to_string(stores)));
            Need(repository->StoreAsset(id, asset, nullptr));
        }
    });
    {
        std::vector<std::jthread> readers;
        for (std::vector<Float64>& own : times) readers.emplace_back([&] { own = TimeLookups(repository, ids, lookups); });
    }
    done = true;
    writer.join();

    std::vector<Float64> all;
    for (const std::vector<Float64>& each : times) all.insert(all.end(), each.begin(), each.end());
    std::sort(all.begin(), all.end());
    const Float64 high = all[all.size() - all.size() / 1000 - 1];
    return {{"four threads look up while one stores to disk, 99.9th percentile",
             "median " + ShowSeconds(all[all.size() / 2]) + ", 99.9 % " + ShowSeconds(high) + ", longest " +
                 ShowSeconds(all.back()) + ", " + std::to_string(stores) + " stores",
             "", "us", high * 1e6, Row::GOAL::AT_MOST, 1000}};
}

std::vector<Row> StoreByTwoThreads(const Setting& setting) {
    const Int count = setting.Choose(100000, 1000);
    const Asset asset = MakeSmallAsset();
    std::vector<Float64> one;
    std::vector<Float64> two;
    std::vector<Float64> ratios;
    for (Int run = 0; run < setting.runs; run++) {
        one.push_back(MeasureStores(1, count, asset));
        two.push_back(MeasureStores(2, count, asset));
        ratios.push_back(two.back() / one.back());
    }
    return {{"two threads store different ids in memory; one thread", ShowNumber(Median(two) / 1e6) + " M/s",
             ShowNumber(Median(one) / 1e6) + " M/s", "x", Median(ratios), Row::GOAL::AT_LEAST, 1.7}};
}

std::vector<Row> StoreWithoutListener(const Setting& setting) {
    const Int count = setting.Choose(100000, 1000);
    const AssetRepositoryRef base = MakeInMemory("repository_base"_id);
    const AssetRepositoryRef bases[] = {base};
    const auto derived = MakeGeneratedRepository("repository_bench"_id, bases, 0, 1);
    const AssetDescription stored = Need(base->StoreAsset(MakeGeneratedId(5), MakeSmallAsset(), nullptr));
    base->HandleAssetStored(stored);
    const Int before = GetAllocationCount();
    const Cost cost = MeasureHere([&] {
        for (Int i = 0; i < count; i++) base->HandleAssetStored(stored);
    });
    const Float64 each = Float64(GetAllocationCount() - before) / Float64(count);
    return {{"the event of a store, no listener, one derived repository: allocations", ShowSeconds(cost.cpu / Float64(count)), "",
             "an event", each, Row::GOAL::AT_MOST, 0}};
}

}  // namespace talvo::bench
