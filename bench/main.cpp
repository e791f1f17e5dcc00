// Runs benchmarks and prints one table. `scripts/bench` builds and calls it.
#include "bench/bare_import.h"
#include "bench/benchmarks.h"
#include "bench/generator.h"
#include "bench/measure.h"
#include "bench/repositories.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace talvo::bench {

namespace {

constexpr const char* USAGE =
    "talvo_bench [--quick] [--runs N] [--scratch FOLDER] [--libraries FOLDER] --program TALVO [NAME...]   runs benchmarks\n"
    "talvo_bench --list                                                             tells their names\n"
    "talvo_bench --make-tree FOLDER COUNT            writes a repository of COUNT assets\n"
    "talvo_bench --make-files FOLDER COUNT MIN MAX   writes COUNT files of MIN to MAX bytes\n"
    "talvo_bench --open FOLDER HOME                  opens a repository and ends\n"
    "talvo_bench --bare-import SOURCE TARGET THREADS the peer of the import\n";

std::vector<const Benchmark*> Choose(const std::vector<std::string>& names) {
    std::vector<const Benchmark*> chosen;
    for (const Benchmark& benchmark : BENCHMARKS) {
        Bool wanted = names.empty();
        for (const std::string& name : names) wanted = wanted || name == benchmark.name;
        if (wanted) chosen.push_back(&benchmark);
    }
    Need(chosen.size() >= names.size(), "no such benchmark; --list tells their names");
    return chosen;
}

/// Each in a process of its own, so that none finds the memory that another left. @return whether it ran.
Bool RunOne(const Benchmark& benchmark, const Setting& setting) {
    std::filesystem::remove_all(setting.scratch);
    std::filesystem::create_directories(setting.scratch);
    const pid_t child = fork();
    Need(child >= 0, "no process");
    if (child == 0) {
        int code = 0;
        try {
            for (const Row& row : benchmark.run(setting)) std::fputs(MakeTableLine(benchmark.name, row).c_str(), stdout);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "bench: %s: %s\n", benchmark.name, error.what());
            code = 1;
        }
        std::fflush(stdout);
        _exit(code);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::filesystem::remove_all(setting.scratch);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int RunAll(const std::vector<std::string>& names, Setting setting) {
    if (setting.quick) setting.runs = 1;
    const Bool keeps = !setting.kept.empty();
    if (!keeps) setting.kept = setting.scratch + ".kept";
    std::filesystem::create_directories(setting.kept);
    const std::vector<const Benchmark*> chosen = Choose(names);
    std::fputs(MakeTableHead().c_str(), stdout);
    Bool allRan = true;
    for (const Benchmark* benchmark : chosen) {
        std::fflush(stdout);
        allRan = RunOne(*benchmark, setting) && allRan;
    }
    if (!keeps) std::filesystem::remove_all(setting.kept);
    return allRan ? 0 : 1;
}

int Main(const std::vector<std::string>& words) {
    Setting setting;
    setting.self = std::filesystem::canonical("/proc/self/exe");
    setting.scratch = std::filesystem::temp_directory_path() / ("talvo-bench." + std::to_string(getpid()));
    std::vector<std::string> names;
    const auto at = [&](std::size_t index) {
        Need(index < words.size(), USAGE);
        return words[index];
    };
    for (std::size_t i = 0; i < words.size(); i++) {
        const std::string& word = words[i];
        if (word == "--list") {
            for (const Benchmark& benchmark : BENCHMARKS) std::puts(benchmark.name);
            return 0;
        }
        if (word == "--make-tree") return MakeTree(at(i + 1), std::stoll(at(i + 2))), 0;
        if (word == "--make-files")
            return MakeFiles(at(i + 1), std::stoll(at(i + 2)), std::stoll(at(i + 3)), std::stoll(at(i + 4))), 0;
        if (word == "--bare-import") return BareImport(at(i + 1), at(i + 2), std::stoll(at(i + 3))), 0;
        if (word == "--open") return Keep(OpenOnDisk(at(i + 1), at(i + 2))), 0;
        if (word == "--quick") {
            setting.quick = true;
        } else if (word == "--runs") {
            setting.runs = std::stoll(at(++i));
        } else if (word == "--scratch") {
            setting.scratch = at(++i) + "/talvo-bench." + std::to_string(getpid());
        } else if (word == "--libraries") {
            setting.kept = at(++i);
        } else if (word == "--program") {
            setting.program = at(++i);
        } else {
            Need(!word.starts_with('-'), USAGE);
            names.push_back(word);
        }
    }
    return RunAll(names, setting);
}

}  // namespace

}  // namespace talvo::bench

int main(int count, char** words) {
    try {
        return talvo::bench::Main({words + 1, words + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
