// Opening from index files: against the bytes alone, against a database, and after changes that no compaction followed.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
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

void Open(const Setting& setting, const std::string& library) { Keep(OpenOnDisk(setting, library)); }

std::string ShowCost(const Cost& cost) { return ShowSeconds(cost.wall) + " (" + ShowSeconds(cost.cpu) + " CPU)"; }

/// Stores a second version of every so manieth file, as whoever opens the repository in between does it, and ends without a compaction.
void Change(const Setting& setting, const LibraryModel& model, const std::string& folder, Int changes) {
    const Int step = std::max<Int>(1, model.GetCount() / 2 / changes);
    std::vector<Int> indices;
    for (Int i = 0; i < changes; i++) indices.push_back(model.GetCount() / 2 + i * step - 1);
    WriteLibraryAssets(model, folder, indices);
    MeasureInChild([&] {
        const auto repository = OpenOnDisk(setting, folder);
        for (const Int index : indices) {
            Need(repository->StoreAsset(Need(Id::Create(model.GetId(index))), MakeSmallAsset(), nullptr));
        }
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
    const auto ours = [&] { return MeasureInChild([&] { Open(setting, library); }); };
    const auto lines = [&] { return MeasureInChild([&] { Keep(CountLines(text)); }); };
    const auto records = [&] {
        return MeasureInChild([&] { Need(ReadRecords(database) == count + 1, "not all records were read"); });
    };
    records();  // the first ones find nothing in memory
    ours();
    const Comparison bare = Compare(setting.runs, ours, lines);
    const Comparison sqlite = Compare(setting.runs, ours, records);
    std::vector<Float64> times;
    for (Int run = 0; run < setting.runs; run++) times.push_back(MeasureInChild([&] { Open(setting, small); }).cpu);
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
    Change(setting, model, changed, changes);
    const auto open = [&](const std::string& folder) { return MeasureInChild([&] { Open(setting, folder); }); };
    open(library);
    open(changed);
    const Comparison comparison = Compare(setting.runs, [&] { return open(changed); }, [&] { return open(library); });
    return {{"open " + std::to_string(count) + " assets, " + std::to_string(changes) +
                 " of them changed since the index was written; open from the index",
             ShowCost(comparison.ours), ShowCost(comparison.peer), "x", comparison.wallRatio, Row::GOAL::AT_MOST, 1.3}};
}

}  // namespace talvo::bench
