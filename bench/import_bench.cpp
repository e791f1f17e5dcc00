// Storing files: the program as users run it, against bare programs and git.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
#include "bench/generator.h"
#include "bench/measure.h"

#include <algorithm>
#include <filesystem>
#include <thread>

namespace talvo::bench {

namespace {

/// Times one way of storing what is at `source`, each time into nothing that was there before.
class Storing {
public:
    enum class KEEP { ALL, LAST };
    Storing(const Setting& setting, std::string source, KEEP keep) : _setting(setting), _source(std::move(source)), _keep(keep) {}

    Cost Talvo(const char* command) const {
        const std::string repository = Fresh("repository");
        MeasureProgram({_setting.program, "--home", _setting.At("home"), "init", repository});
        SyncBare(_setting.scratch);
        std::vector<std::string> words = {_setting.program, "--quiet", "--home", _setting.At("home"), command, repository};
        if (std::string_view(command) == "store") words.emplace_back("large");
        words.push_back(_source);
        return MeasureProgram(words);
    }
    Cost Bare() const {
        const std::string target = Fresh("bare");
        const std::string threads = std::to_string(std::max(1U, std::thread::hardware_concurrency()));
        return MeasureProgram({_setting.self, "--bare-import", _source, target, threads});
    }
    Cost Git() const {
        const std::string directory = Fresh("git");
        MeasureProgram({"git", "init", "-q", "--bare", directory});
        SyncBare(_setting.scratch);
        const std::string git = "git --git-dir='" + directory + "' --work-tree='" + _source + "' -c core.bare=false";
        return MeasureProgram({"sh", "-ec",
                               "cd '" + _source + "'; " + git + " add -A .; " + git +
                                   " -c user.name=bench -c user.email=bench@example.org commit -qm all"});
    }
    Cost Shell(const std::string& name, const std::string& script) const {
        const std::string target = Fresh(name);
        return MeasureProgram({"sh", "-ec", "source='" + _source + "'; target='" + target + "'; " + script});
    }

private:
    /// Writing of what went before is not to be paid for by who comes next, and neither is its removal: for minutes, file systems take
    /// great care not to use again what was just deleted. Large files are few, and have to go.
    std::string Fresh(const std::string& name) const {
        if (_keep == KEEP::LAST) std::filesystem::remove_all(_last);
        _last = _setting.At(name + std::to_string(_count++));
        SyncBare(_setting.scratch);
        return _last;
    }

    const Setting& _setting;
    const std::string _source;
    const KEEP _keep;
    mutable std::string _last;
    mutable Int _count = 0;
};

Row MakeRow(const std::string& work, const Comparison& comparison, Row::GOAL goal, Float64 target) {
    const auto show = [](const Cost& cost) { return ShowSeconds(cost.wall) + " (" + ShowSeconds(cost.cpu) + " CPU)"; };
    return {work, show(comparison.ours), show(comparison.peer), "x", comparison.wallRatio, goal, target};
}

}  // namespace

std::vector<Row> ImportSmallFiles(const Setting& setting) {
    const Int count = setting.Choose(20000, 500);
    MakeFiles(setting.At("source"), count, 1000, 20000);
    const Storing storing(setting, setting.At("source"), Storing::KEEP::ALL);
    const auto ours = [&] { return storing.Talvo("import"); };
    const std::string work = "import " + std::to_string(count) + " files of 1 to 20 KB; ";
    const Comparison bare = Compare(setting.runs, ours, [&] { return storing.Bare(); });
    const Comparison git = Compare((setting.runs + 1) / 2, ours, [&] { return storing.Git(); });
    return {MakeRow(work + "a bare program makes the same files, hashes, syncs", bare, Row::GOAL::AT_MOST, 1.3),
            MakeRow(work + "git add, git commit", git, Row::GOAL::AT_MOST, 1)};
}

std::vector<Row> ImportLargerFiles(const Setting& setting) {
    const Int count = setting.Choose(1500, 30);
    MakeFiles(setting.At("source"), count, 100000, 900000);
    const Storing storing(setting, setting.At("source"), Storing::KEEP::ALL);
    const Comparison copy = Compare(
        setting.runs, [&] { return storing.Talvo("import"); },
        [&] {
            return storing.Shell("copy",
                                 "cp -r \"$source\" \"$target\"; find \"$target\" -type f -print0 | xargs -0 sha256sum; "
                                 "sync -f \"$target\"");
        });
    return {MakeRow("import " + std::to_string(count) + " files of 100 to 900 KB; cp -r, sha256sum over the copy, sync", copy,
                    Row::GOAL::AT_MOST, 1)};
}

std::vector<Row> StoreLargeFile(const Setting& setting) {
    const Int64 size = Int64(setting.Choose(2048, 32)) << 20;
    MakeLargeFile(setting.At("large.dat"), size);
    const Storing storing(setting, setting.At("large.dat"), Storing::KEEP::LAST);
    const auto ours = [&] { return storing.Talvo("store"); };
    const Comparison copy = Compare(setting.runs, ours, [&] { return storing.Shell("copy", "cp \"$source\" \"$target\""); });
    const Comparison hash =
        Compare(setting.runs, ours, [&] { return storing.Shell("copy", "openssl dgst -sha256 \"$source\""); });
    const std::string work = "store one file of " + std::to_string(size >> 20) + " MiB; slower of cp and openssl dgst -sha256: ";
    const Bool copyIsSlower = copy.peer.wall > hash.peer.wall;
    const Comparison& slower = copyIsSlower ? copy : hash;
    Row row = MakeRow(work + (copyIsSlower ? "cp" : "openssl"), slower, Row::GOAL::AT_LEAST, 85);
    row.unit = "% of its speed";
    row.measured = 100 / slower.wallRatio;
    return {row};
}

}  // namespace talvo::bench
