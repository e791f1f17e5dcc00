// Stops, fails and starves each operation of each workload in turn, and checks what is left.
//
//   crash_sweep [--mode=kill,fail,short,oom,power] [--workload=NAME,...] [--jobs=N] [--break=bytes|lost|touched|extra] [--plan=PLAN]
//
// --break damages what is checked, which must be found. --plan takes one plan only, as a violation names it.
// Prints each violation and one line a mode at the end. Exit codes: 0 no violation, 1 violations, 2 it could not run.
#include "kernel/app/log.h"
#include "tests/sweep/sweep_run.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace talvo::sweep {

namespace {

struct ModeName {
    const char* name;
    MODE mode;
};
constexpr std::array<ModeName, 5> MODES{
    {{"kill", MODE::KILL}, {"fail", MODE::FAIL}, {"short", MODE::SHORT}, {"oom", MODE::OOM}, {"power", MODE::POWER}}};

struct Options {
    std::string modes;
    std::string workloads;
    SweepOptions sweep;
    Int jobs = 2;
};

/// Shared by the processes that sweep.
struct Progress {
    std::atomic<Int> next{0};
    std::atomic<Int> failed{0};
    std::array<std::atomic<Int>, MODES.size()> points{};
    std::array<std::atomic<Int>, MODES.size()> violations{};
};

Bool ReadOption(const std::string& argument, const std::string& name, std::string& value) {
    const std::string start = "--" + name + "=";
    if (!argument.starts_with(start)) return false;
    value = argument.substr(start.size());
    return true;
}

Options ReadOptions(int count, char** arguments) {
    Options options;
    for (int i = 1; i < count; ++i) {
        std::string jobs;
        const std::string argument = arguments[i];
        if (ReadOption(argument, "mode", options.modes) || ReadOption(argument, "workload", options.workloads) ||
            ReadOption(argument, "break", options.sweep.damage) || ReadOption(argument, "plan", options.sweep.plan)) {
            continue;
        }
        if (!ReadOption(argument, "jobs", jobs) || std::atoi(jobs.c_str()) < 1) GiveUp("can't read " + argument);
        options.jobs = std::atoi(jobs.c_str());
    }
    return options;
}

/// Whether a list with commas names it; an empty one names all.
Bool IsListed(const std::string& list, const std::string& name) {
    return list.empty() || ("," + list + ",").find("," + name + ",") != std::string::npos;
}

struct Task {
    std::size_t mode;
    const Workload* workload;
};

std::vector<Task> MakeTasks(const Options& options) {
    std::vector<Task> tasks;
    for (std::size_t mode = 0; mode < MODES.size(); ++mode) {
        if (!IsListed(options.modes, MODES[mode].name)) continue;
        for (const Workload& workload : GetWorkloads()) {
            if (IsListed(options.workloads, workload.name)) tasks.push_back({mode, &workload});
        }
    }
    const auto count = [](const std::string& list, std::size_t all) {
        return list.empty() ? all : std::size_t(std::count(list.begin(), list.end(), ',')) + 1;
    };
    const std::size_t wanted = count(options.modes, MODES.size()) * count(options.workloads, GetWorkloads().size());
    if (tasks.size() != wanted) GiveUp("there is no such mode or workload: " + options.modes + " " + options.workloads);
    std::erase_if(tasks, [](const Task& task) { return MODES[task.mode].mode == MODE::POWER && task.workload->changesNothing; });
    return tasks;
}

void Work(const std::vector<Task>& tasks, const Options& options, Progress& progress) {
    for (;;) {
        const Int number = progress.next++;
        if (number >= Int(tasks.size())) return;
        const Task& task = tasks[std::size_t(number)];
        const SweepCounts counts = RunSweep(MODES[task.mode].mode, *task.workload, options.sweep);
        progress.points[task.mode] += counts.points;
        progress.violations[task.mode] += counts.violations;
    }
}

int Main(int count, char** arguments) {
    const Options options = ReadOptions(count, arguments);
    const std::vector<Task> tasks = MakeTasks(options);
    void* memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) GiveUp("no memory to share");
    Progress& progress = *new (memory) Progress;
    // Each fault is told by the log as well; what counts here is what is left.
    SetLogSink([](LOG_LEVEL, const std::string&) {});
    const auto begin = std::chrono::steady_clock::now();
    for (Int i = 0; i < options.jobs; ++i) {
        if (fork() != 0) continue;
        Work(tasks, options, progress);
        std::exit(0);
    }
    for (int status = 0; wait(&status) > 0;) progress.failed += !WIFEXITED(status) || WEXITSTATUS(status) != 0;

    Int violations = 0;
    for (std::size_t mode = 0; mode < MODES.size(); ++mode) {
        const Bool wasAsked = std::any_of(tasks.begin(), tasks.end(), [&](const Task& task) { return task.mode == mode; });
        if (!wasAsked) continue;
        if (progress.points[mode] == 0) ++progress.failed;  // a sweep that meets nothing shows nothing
        violations += progress.violations[mode];
        std::printf("%-5s %8lld points, %lld violations\n", MODES[mode].name, static_cast<long long>(progress.points[mode]),
                    static_cast<long long>(progress.violations[mode]));
    }
    std::printf("%lld s\n",
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin).count()));
    if (progress.failed != 0) return 2;
    return violations == 0 ? 0 : 1;
}

}  // namespace

}  // namespace talvo::sweep

int main(int count, char** arguments) { return talvo::sweep::Main(count, arguments); }
