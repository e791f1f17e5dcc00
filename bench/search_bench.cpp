// Searches over many assets, from the typed text to the last row, beside a database that searches the same names.
#include "asset_browser.h"
#include "bench/benchmarks.h"
#include "bench/libraries.h"
#include "bench/library/row_ordering.h"
#include "bench/repositories.h"
#include "bench/sqlite_names.h"
#include "kernel/app/run_loop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <thread>

namespace talvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

Float64 GetSecondsSince(Clock::time_point begin) { return std::chrono::duration<Float64>(Clock::now() - begin).count(); }

/// A view that counts its rows.
class View {
public:
    explicit View(const AssetRepositoryRef& repository)
        : _browser(Need(AssetBrowserInterface::Create(ASSET_BROWSE_MODE::ASSET_LIST))) {
        Need(_browser->SetGraphModel(Need(CreateRepositoryGraphModel(repository))));
        Need(_browser->SetBuildEntryDelegate(
            [this](const AssetBrowserRef&, Int stage, const Data&, const Data&, const BuildEntryRecord& record) -> Result<Data> {
                if (stage == BUILD_STAGE::BEGIN) _begun = Clock::now();
                if (stage != BUILD_STAGE::ROW || !record.asset) return Data();
                if (_rows++ == 0) _firstRow = Clock::now();
                return Data();
            }));
    }
    ~View() { _browser->EnableUpdates(false); }

    Int Search(const std::string& text) {
        _rows = 0;
        _browser->DoFiltering(String(), String(), String(), String(" "), false, false);
        _browser->DoFilteringPreScan(String(), String(), String(), String(text), false, false);
        return _rows;
    }
    /// Seconds until the first row of a search.
    Float64 FindFirst(const std::string& text) {
        const auto begin = Clock::now();
        Search(text);
        return std::chrono::duration<Float64>(_firstRow - begin).count();
    }
    /// Types a text, and another one after a while. @return seconds until the second search begins.
    Float64 TypeOver(const std::string& first, std::chrono::milliseconds later, const std::string& second) {
        _browser->EnableUpdates(true);
        Type(first);
        std::this_thread::sleep_for(later);
        const auto begin = Clock::now();
        _begun = begin;
        Type(second);
        while (_begun.load() == begin) std::this_thread::yield();
        const Float64 seconds = std::chrono::duration<Float64>(_begun.load() - begin).count();
        Search("nothing has this name");  // waits for the end
        return seconds;
    }

private:
    void Type(const std::string& text) {
        _browser->DoFiltering(String(), String(), String(), String(text), false, false);
        RunLoop::RunPendingJobs();
    }

    const AssetBrowserRef _browser;
    Int _rows = 0;
    std::atomic<Clock::time_point> _begun{};
    Clock::time_point _firstRow;
};

/// Words of names by how many names have them: one that few have, one of the middle, and one that many have.
std::vector<std::string> ChooseWords(const std::vector<std::string>& names) {
    std::map<std::string, Int> counts;
    for (const std::string& name : names) {
        for (const String& word : String(name).Split(String(" "), String::SPLIT::DROP_EMPTY)) ++counts[word.GetCString()];
    }
    std::vector<std::pair<Int, std::string>> ordered;
    for (const auto& [word, count] : counts) {
        if (word.size() >= 3) ordered.emplace_back(count, word);
    }
    std::sort(ordered.begin(), ordered.end());
    Need(ordered.size() >= 3, "the library has too few words");
    return {ordered.front().second, ordered[ordered.size() / 2].second, ordered.back().second};
}

std::vector<std::string> ReadNames(const AssetRepositoryRef& repository) {
    const InternedId key(OBJECT_BASE_NAME);
    std::vector<std::string> names;
    const Id types[] = {ASSETTYPE_FILE};
    Need(FindAssets(repository, types, Id(), Id(), ASSET_FIND_MODE::LATEST, [&](const AssetDescription& asset) -> Result<Bool> {
        names.push_back(Need(asset->GetMetaString(key, nullptr, String())).GetCString());
        return true;
    }));
    return names;
}

constexpr const char* ONLY_FILES = " type:$net.talvo.assettype.file groupby:none";

}  // namespace

std::vector<Row> SearchWords(const Setting& setting) {
    const Int count = setting.Choose(1000000, 2000);
    const std::string library = GetLibrary(setting, count);
    // Who searches has not read all names before.
    const std::vector<std::string> names = ReadNames(OpenOnDisk(setting, library));
    const auto repository = OpenOnDisk(setting, library);
    const std::vector<std::string> words = ChooseWords(names);
    SqliteNames sqlite(names);
    const Float64 prepared = MeasureHere([&] { Need(AssetBrowserInterface::PrepareSearch(repository)); }).wall;
    View view(repository);
    std::vector<Row> rows;
    const std::string all = std::to_string(count) + " assets";
    for (const std::string& word : words) {
        const Int hits = view.Search(word + ONLY_FILES);
        const auto ours = [&] { return MeasureHere([&] { Keep(view.Search(word + ONLY_FILES)); }); };
        const Comparison like = Compare(setting.runs, ours, [&] { return MeasureHere([&] { Keep(sqlite.SearchLike(word)); }); });
        const Comparison trigrams =
            Compare(setting.runs, ours, [&] { return MeasureHere([&] { Keep(sqlite.SearchTrigrams(word)); }); });
        const std::string what = "\"" + word + "\" in the names of " + all + ", " + std::to_string(hits) + " rows sorted by name";
        rows.push_back({what, ShowSeconds(like.ours.wall), ShowSeconds(like.peer.wall) + " (SQLite LIKE)", "x", like.wallRatio,
                        Row::GOAL::AT_MOST, 0.2});
        const auto goal = hits >= 1000 ? Row::GOAL::AT_MOST : Row::GOAL::NONE;
        rows.push_back({what, ShowSeconds(trigrams.ours.wall), ShowSeconds(trigrams.peer.wall) + " (SQLite trigrams)", "x",
                        trigrams.wallRatio, goal, 1});
    }
    const std::string medium = words[1];
    const auto plain = [&] { return MeasureHere([&] { Keep(view.Search(medium + " groupby:none")); }); };
    const auto grouped = [&] { return MeasureHere([&] { Keep(view.Search(medium + " type:file size:>0 groupby:category")); }); };
    const Comparison conditions = Compare(setting.runs, grouped, plain);
    rows.push_back({"three conditions, one of which reads metadata, grouped by category", ShowSeconds(conditions.ours.wall),
                    ShowSeconds(conditions.peer.wall) + " (the word alone)", "x", conditions.wallRatio, Row::GOAL::AT_MOST, 2});
    rows.push_back({"making the table of " + all, ShowSeconds(prepared), "", "s", prepared, Row::GOAL::NONE, 0});
    return rows;
}

std::vector<Row> SearchWhileTyping(const Setting& setting) {
    constexpr Int PRESSES = 12, STEP = 70;
    std::vector<Row> rows;
    const Int first = setting.Choose(100000, 2000);
    std::vector<Float64> times;
    for (Int run = 0; run < setting.runs; ++run)
        times.push_back(View(OpenOnDisk(setting, GetLibrary(setting, first))).FindFirst("bamboo groupby:none"));
    rows.push_back({"the first row over " + std::to_string(first) + " indexed assets, no search before",
                    ShowSeconds(Median(times)), "", "s", Median(times), Row::GOAL::AT_MOST, 0.05});
    const Int count = setting.Choose(1000000, 2000);
    const auto repository = OpenOnDisk(setting, GetLibrary(setting, count));
    Need(AssetBrowserInterface::PrepareSearch(repository));
    View view(repository);
    times.clear();
    for (Int press = 0; press < PRESSES; ++press) {
        const std::chrono::milliseconds later(setting.quick ? 0 : 1 + press * STEP);
        times.push_back(view.TypeOver("type:file", later, "zzz"));
    }
    const Float64 longest = *std::max_element(times.begin(), times.end());
    rows.push_back({"a key press ends an update that lists all of " + std::to_string(count) + ", the longest of " +
                        std::to_string(PRESSES) + " at different moments, the median " + ShowSeconds(Median(times)),
                    ShowSeconds(longest), "", "s", longest, Row::GOAL::AT_MOST, 0.02});
    const Comparison ordering = CompareOrdering(setting.runs, count);
    rows.push_back({"ordering " + std::to_string(count) + " rows by name", ShowSeconds(ordering.ours.wall),
                    ShowSeconds(ordering.peer.wall) + " (a pass over their ranks)", "x", ordering.wallRatio, Row::GOAL::AT_MOST,
                    2});
    return rows;
}

std::vector<Row> SearchCold(const Setting& setting) {
    const Int count = setting.Choose(100000, 2000);
    const std::string library = GetLibrary(setting, count);
    std::vector<Float64> times;
    for (Int run = 0; run < setting.runs; run++)
        times.push_back(MeasureProgram({setting.program, "search", library, "bamboo", "--group", "none"}).cpu);
    return {{"talvo search, cold, over " + std::to_string(count) + " indexed assets, processor time", ShowSeconds(Median(times)),
             "", "s", Median(times), Row::GOAL::AT_MOST, 0.3}};
}

}  // namespace talvo::bench
