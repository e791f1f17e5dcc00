// Opening from index files: against the bytes alone, against a database, and after changes that no compaction followed.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/libraries.h"
#include "bench/library/library_writer.h"
#include "bench/repositories.h"
#include "bench/sqlite_records.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace talvo::bench {

namespace {

/// The least that a reader of a text does.
Int CountLines(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Need(file >= 0, "can't open " + path);
    std::string block(std::size_t(1) << 18, '\0');
    Int lines = 0;
    for (ssize_t count = 1; count > 0;) {
        count = read(file, block.data(), block.size());
        Need(count >= 0, "can't read " + path);
        lines += Int(std::count(block.begin(), block.begin() + count, '\n'));
    }
    close(file);
    return lines;
}

/// The opening without the end, which gives a million ids back.
Cost Open(const Setting& setting, const std::string& library) {
    const std::vector<Float64> values = RunInChild([&] {
        UpdatableAssetRepositoryRef repository;
        const Cost cost = MeasureHere([&] { repository = OpenOnDisk(setting, library); });
        return std::vector<Float64>{cost.wall, cost.cpu};
    });
    return {values.at(0), values.at(1)};
}

std::string ShowCost(const Cost& cost) { return ShowSeconds(cost.wall) + " (" + ShowSeconds(cost.cpu) + " CPU)"; }

/// Stores a second version of every so manieth file, as whoever opens the repository in between does it, and ends without a compaction.
/// @return the ids.
std::vector<Id> Change(const Setting& setting, const LibraryModel& model, const std::string& folder, Int changes) {
    const Int step = std::max<Int>(1, model.GetCount() / 2 / changes);
    std::vector<Int> indices;
    for (Int i = 0; i < changes; i++) indices.push_back(model.GetCount() / 2 + i * step - 1);
    WriteLibraryAssets(model, folder, indices);
    std::vector<Id> ids;
    for (const Int index : indices) ids.push_back(Need(Id::Create(model.GetId(index))));
    MeasureInChild([&] {
        const auto repository = OpenOnDisk(setting, folder);
        for (const Id& id : ids) Need(repository->StoreAsset(id, MakeSmallAsset(), nullptr));
    });
    return ids;
}

/// What was stored is found, and all that was not is still there.
void CheckChanges(const Setting& setting, const std::string& folder, const std::vector<Id>& changed, Int count) {
    MeasureInChild([&] {
        const auto repository = OpenOnDisk(setting, folder);
        for (const Id& id : changed) {
            const AssetDescription newest = Need(repository->FindLatestAsset(Id(), id, Id(), ASSET_FIND_MODE::LATEST));
            Need(newest && newest.GetVersionKey().counter == 2, "a change was not found");
        }
        Need(LoadAll(repository) == count, "not all assets were found");
    });
}

}  // namespace

std::vector<Row> OpenIndex(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const Int fewer = setting.Choose(100000, 1000);
    const std::string library = GetLibrary(setting, count);
    const std::string small = GetLibrary(setting, fewer);
    const std::string text = GetIndexTextFile(library);
    const std::string database = setting.At("records.sqlite");
    WriteRecords(text, database);
    const auto ours = [&] { return Open(setting, library); };
    const auto lines = [&] { return MeasureInChild([&] { Keep(CountLines(text)); }); };
    const auto records = [&] {
        return MeasureInChild([&] { Need(ReadRecords(database) == count + 1, "not all records were read"); });
    };
    records();  // the first ones find nothing in memory
    ours();
    const Comparison bare = Compare(setting.runs, ours, lines);
    const Comparison sqlite = Compare(setting.runs, ours, records);
    std::vector<Float64> times;
    for (Int run = 0; run < setting.runs; run++) times.push_back(Open(setting, small).cpu);
    const std::string what = "open " + std::to_string(count) + " assets from their index; ";
    return {{what + "read its text in blocks and count lines", ShowCost(bare.ours), ShowCost(bare.peer), "x", bare.wallRatio,
             Row::GOAL::AT_MOST, 2.5},
            {what + "SQLite reads the same records from a table", ShowCost(sqlite.ours), ShowCost(sqlite.peer), "x",
             sqlite.wallRatio, Row::GOAL::AT_MOST, 1},
            {"open " + std::to_string(fewer) + " assets from their index, CPU", ShowSeconds(Median(times)), "", "ms",
             Median(times) * 1e3, Row::GOAL::AT_MOST, 100}};
}

std::vector<Row> OpenChangedIndex(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const Int changes = setting.Choose(1000, 50);
    const LibraryModel model = MakeLibraryModel(count);
    const std::string library = GetLibrary(setting, count);
    const std::string changed = setting.At("changed");
    CopyLibrary(library, changed);
    const std::vector<Id> ids = Change(setting, model, changed, changes);
    CheckChanges(setting, changed, ids, model.GetCount());
    Open(setting, library);
    Open(setting, changed);
    const Comparison comparison =
        Compare(setting.runs, [&] { return Open(setting, changed); }, [&] { return Open(setting, library); });
    return {{"open " + std::to_string(count) + " assets, " + std::to_string(changes) +
                 " of them changed since the index was written; open from the index",
             ShowCost(comparison.ours), ShowCost(comparison.peer), "x", comparison.wallRatio, Row::GOAL::AT_MOST, 1.3}};
}

}  // namespace talvo::bench
