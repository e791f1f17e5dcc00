// What is read from an index after the opening: names, one and all of them, and the memory that all of it takes.
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/libraries.h"
#include "bench/repositories.h"

#include <sys/resource.h>

namespace talvo::bench {

namespace {

String ReadName(const AssetDescription& asset) {
    static const InternedId NAME{OBJECT_BASE_NAME};
    return Need(asset->GetMetaString(NAME, nullptr, String()));
}

/// Names of all newest versions. @return how many there were.
Int ReadNames(const AssetRepositoryRef& repository) {
    Int names = 0;
    Need(FindAssets(repository, {}, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& asset) -> Result<Bool> {
        names += ReadName(asset).IsPopulated() ? 1 : 0;
        return true;
    }));
    return names;
}

void ReadOneName(const AssetRepositoryRef& repository, const LibraryModel& model, Int index) {
    const Id id = Need(Id::Create(model.GetId(index)));
    const AssetDescription asset = Need(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
    Need(ReadName(asset) == String(model.MakeAsset(index).english), "a wrong name was read");
}

/// Pages that came into this process without being read from the disk, which all of the index is spared here.
Float64 CountPages(FunctionRef<void()> work) {
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    work();
    getrusage(RUSAGE_SELF, &after);
    return Float64(after.ru_minflt - before.ru_minflt + after.ru_majflt - before.ru_majflt);
}

std::string ShowMemory(Float64 own, Float64 mapped) { return ShowNumber(own) + " B, and " + ShowNumber(mapped) + " B of files"; }

}  // namespace

std::vector<Row> ReadIndexedNames(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const std::string library = GetLibrary(setting, count);
    const LibraryModel model = MakeLibraryModel(count);
    std::vector<Float64> versions;
    std::vector<Float64> first;
    std::vector<Float64> again;
    for (Int run = 0; run < setting.runs; run++) {
        const std::vector<Float64> times = RunInChild([&] {
            const auto repository = OpenOnDisk(setting, library);
            const auto walk = [&] { Need(ReadNames(repository) == count + 1, "not all names were read"); };
            const Float64 loaded = MeasureHere([&] { LoadAll(repository); }).wall;
            const Float64 read = MeasureHere(walk).wall;
            return std::vector<Float64>{loaded, read, MeasureHere(walk).wall};
        });
        versions.push_back(times.at(0));
        first.push_back(times.at(1));
        again.push_back(times.at(2));
    }
    constexpr Int LOOKUPS = 100;
    const std::vector<Float64> pages = RunInChild([&] {
        const auto repository = OpenOnDisk(setting, library);
        const Float64 one = CountPages([&] { ReadOneName(repository, model, model.GetCount() / 2); });
        Dice dice;
        const Float64 more = CountPages([&] {
            for (Int i = 0; i < LOOKUPS; i++) ReadOneName(repository, model, dice.Roll(count));
        });
        return std::vector<Float64>{one, more / LOOKUPS};
    });
    const std::string what = "names of " + std::to_string(count) + " assets in one walk, ";
    return {{what + "read for the first time", ShowSeconds(Median(first)), "", "s", Median(first), Row::GOAL::AT_MOST, 1.5},
            {what + "the one before, which loads their versions", ShowSeconds(Median(versions)), "", "s", Median(versions),
             Row::GOAL::NONE, 0},
            {what + "again", ShowSeconds(Median(again)), "", "s", Median(again), Row::GOAL::NONE, 0},
            {"one name after others, with its asset and version: pages", "", "", "pages", pages.at(1), Row::GOAL::AT_MOST, 10},
            {"the first name after the opening: pages", "", "", "pages", pages.at(0), Row::GOAL::NONE, 0}};
}

std::vector<Row> MeasureIndexedMemory(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const std::string library = GetLibrary(setting, count);
    const auto each = [&](Int64 now, Int64 before) { return Float64(now - before) / Float64(count); };
    const std::vector<Float64> bytes = RunInChild([&] {
        const Memory before = Memory::GetHere();
        const auto repository = OpenOnDisk(setting, library);
        const Memory opened = Memory::GetHere();
        Need(ReadNames(repository) == count + 1, "not all names were read");
        const Memory read = Memory::GetHere();
        return std::vector<Float64>{each(opened.own, before.own), each(opened.mapped, before.mapped), each(read.own, before.own),
                                    each(read.mapped, before.mapped)};
    });
    const std::string what = std::to_string(count) + " assets from their index, memory of the process for each, ";
    return {{what + "after opening", ShowMemory(bytes.at(0), bytes.at(1)), "", "B", bytes.at(0), Row::GOAL::AT_MOST, 400},
            {what + "every version and name read", ShowMemory(bytes.at(2), bytes.at(3)), "", "B", bytes.at(2), Row::GOAL::AT_MOST,
             1024}};
}

std::vector<Row> ShowOneIndexed(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const std::string library = GetLibrary(setting, count);
    const std::string home = setting.At("home");
    const std::string id = MakeLibraryModel(count).GetId(count - 1);
    const auto ours = [&] { return MeasureProgram({setting.program, "--home", home, "show", library, id}); };
    const auto peer = [&] { return MeasureProgram({setting.self, "--open", library, home}); };
    ours();
    const Comparison comparison = Compare(setting.runs, ours, peer);
    return {{"talvo show of one of " + std::to_string(count) + " assets; a program that opens the repository and ends",
             ShowSeconds(comparison.ours.wall), ShowSeconds(comparison.peer.wall), "x", comparison.wallRatio, Row::GOAL::AT_MOST,
             1.3}};
}

}  // namespace talvo::bench
