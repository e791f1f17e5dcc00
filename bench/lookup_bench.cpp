// Lookups in memory: all ids, one id through a chain, and what an id costs.
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/generator.h"
#include "bench/measure.h"
#include "bench/repositories.h"

#include <malloc.h>

#include <algorithm>
#include <unordered_map>

namespace talvo::bench {

namespace {

constexpr Float64 MILLION = 1e6;
constexpr LiteralId ID{"repository_bench"};

/// What a walk has to hand out at least.
struct PlainRecord {
    std::string id;
    UInt time = 0;
    UInt counter = 0;
};

/// Median millions of ids a second.
Float64 MeasureWalk(const Setting& setting, const AssetRepositoryRef& repository, Int count) {
    Need(LoadAll(repository) == count, "not all ids were found");
    std::vector<Float64> rates;
    for (Int run = 0; run < setting.runs; run++) {
        const Cost cost = MeasureHere([&] { Keep(LoadAll(repository)); });
        rates.push_back(Float64(count) / cost.cpu / MILLION);
    }
    return Median(rates);
}

Float64 MeasurePlainWalk(const Setting& setting, Int count) {
    std::vector<PlainRecord> records;
    for (Int i = 0; i < count; i++) records.push_back({MakeTreeId(i), UInt(i), 1});
    std::vector<Float64> rates;
    for (Int run = 0; run < setting.runs; run++) {
        UInt sum = 0;
        const auto receive = [&](const PlainRecord& record) { sum += record.time + record.id.size(); };
        const FunctionRef<void(const PlainRecord&)> receiver = receive;
        const Cost cost = MeasureHere([&] {
            for (const PlainRecord& record : records) receiver(record);
        });
        Keep(sum);
        rates.push_back(Float64(count) / std::max(cost.wall, 1e-9) / MILLION);
    }
    return Median(rates);
}

/// All keys copied, then each looked up.
Float64 MeasureMapWalk(const Setting& setting, Int count) {
    std::unordered_map<std::string, PlainRecord> records;
    for (Int i = 0; i < count; i++) records.emplace(MakeTreeId(i), PlainRecord{MakeTreeId(i), UInt(i), 1});
    std::vector<Float64> rates;
    for (Int run = 0; run < setting.runs; run++) {
        UInt sum = 0;
        const Cost cost = MeasureHere([&] {
            std::vector<std::string> keys;
            for (const auto& entry : records) keys.push_back(entry.first);
            for (const std::string& key : keys) sum += records.find(key)->second.time;
        });
        Keep(sum);
        rates.push_back(Float64(count) / cost.wall / MILLION);
    }
    return Median(rates);
}

std::string ShowRate(Float64 rate) { return ShowNumber(rate) + " M/s"; }

}  // namespace

std::vector<Row> WalkIds(const Setting& setting) {
    const Int count = setting.Choose(1000000, 10000);
    const Float64 one = RunInChild([&] {
                            const auto repository = MakeGeneratedRepository(ID, {}, 0, count);
                            return std::vector{MeasureWalk(setting, repository, count)};
                        }).at(0);
    const Float64 graph =
        RunInChild([&] {
            // Each tenth id is in two of them.
            const Int part = count * 2 / 5;
            const AssetRepositoryRef first = MakeGeneratedRepository("repository_first"_id, {}, 0, part);
            const AssetRepositoryRef second = MakeGeneratedRepository("repository_second"_id, {}, count * 3 / 10, part);
            const AssetRepositoryRef bases[] = {first, second};
            return std::vector{MeasureWalk(setting, MakeGeneratedRepository(ID, bases, count * 3 / 5, part), count)};
        }).at(0);
    const Float64 plain = RunInChild([&] { return std::vector{MeasurePlainWalk(setting, count)}; }).at(0);
    const Float64 map = RunInChild([&] { return std::vector{MeasureMapWalk(setting, count)}; }).at(0);
    const std::string ids = std::to_string(count) + " loaded ids, LATEST, ";
    return {{ids + "one repository; a vector of records", ShowRate(one), ShowRate(plain), "M/s", one, Row::GOAL::AT_LEAST, 10},
            {ids + "three repositories; keys of a hash map copied and looked up", ShowRate(graph), ShowRate(map), "M/s", graph,
             Row::GOAL::AT_LEAST, 5}};
}

std::vector<Row> MeasureMemory(const Setting& setting) {
    const Int count = setting.Choose(1000000, 10000);
    malloc_trim(0);
    const Int64 before = Memory::GetHere().own;
    const auto repository = MakeGeneratedRepository(ID, {}, 0, count);
    const Float64 ids = Float64(Memory::GetHere().own - before) / Float64(count);
    Need(LoadAll(repository) == count, "not all ids were found");
    const Float64 versions = Float64(Memory::GetHere().own - before) / Float64(count);
    const std::string what = std::to_string(count) + " assets, memory of the process for each, ";
    return {{what + "before versions are loaded", ShowNumber(ids) + " B", "", "B", ids, Row::GOAL::AT_MOST, 400},
            {what + "all newest versions loaded", ShowNumber(versions) + " B", "", "B", versions, Row::GOAL::AT_MOST, 1024}};
}

std::vector<Row> LookUpThroughChain(const Setting& setting) {
    constexpr Int LENGTH = 20;
    const Int count = setting.Choose(10000, 500);
    std::vector<AssetRepositoryRef> chain;
    for (Int i = 0; i < LENGTH; i++) {
        const Id id = Need(Id::Create("repository_" + std::to_string(i)));
        const Block<const AssetRepositoryRef> base(chain.empty() ? nullptr : &chain.back(), chain.empty() ? 0 : 1);
        AssetRepositoryRef next = MakeGeneratedRepository(id, base, i * count, count);
        chain.push_back(std::move(next));
    }
    const AssetRepositoryRef& top = chain.back();
    LoadAll(top);
    std::vector<Id> ids;
    for (Int i = 0; i < count; i++) ids.push_back(MakeGeneratedId(i));  // all of them in the last repository that is asked
    std::vector<Float64> times;
    Dice dice;
    for (Int run = 0; run < setting.runs; run++) {
        const Int lookups = setting.Choose(200000, 2000);
        const Cost cost = MeasureHere([&] {
            for (Int i = 0; i < lookups; i++) {
                const Id& id = ids[std::size_t(dice.Roll(count))];
                Need(Bool(Need(top->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST))), "an id was not found");
            }
        });
        times.push_back(cost.cpu / Float64(lookups));
    }
    const Float64 time = Median(times);
    return {{"one id of the last of 20 repositories in a chain", ShowSeconds(time), "", "us", time * 1e6, Row::GOAL::AT_MOST, 3}};
}

}  // namespace talvo::bench
