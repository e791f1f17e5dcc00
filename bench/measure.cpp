#include "bench/measure.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>

namespace talvo::bench {

namespace {

using Clock = std::chrono::steady_clock;

Float64 GetSeconds(const timeval& time) { return Float64(time.tv_sec) + Float64(time.tv_usec) * 1e-6; }

Float64 GetCpu(const rusage& usage) { return GetSeconds(usage.ru_utime) + GetSeconds(usage.ru_stime); }

Float64 GetCpuHere() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return GetCpu(usage);
}

Float64 SecondsSince(Clock::time_point begin) { return std::chrono::duration<Float64>(Clock::now() - begin).count(); }

/// What the child does instead of coming back.
[[noreturn]] void Become(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

rusage WaitFor(pid_t child, const std::string& what) {
    int status = 0;
    rusage usage{};
    Need(wait4(child, &status, 0, &usage) == child, "can't wait for " + what);
    Need(WIFEXITED(status) && WEXITSTATUS(status) == 0, what + " did not end well");
    return usage;
}

}  // namespace

void Need(Bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error(what);
}

Memory Memory::GetHere() {
    Memory memory;
    std::ifstream lines("/proc/self/status");
    for (std::string line; std::getline(lines, line);) {
        // In kilobytes.
        if (line.starts_with("RssAnon:")) memory.own = std::stoll(line.substr(8)) * 1024;
        if (line.starts_with("RssFile:")) memory.mapped = std::stoll(line.substr(8)) * 1024;
    }
    return memory;
}

Cost MeasureHere(FunctionRef<void()> work) {
    const Float64 cpu = GetCpuHere();
    const Clock::time_point begin = Clock::now();
    work();
    return {SecondsSince(begin), GetCpuHere() - cpu};
}

Cost MeasureProgram(const std::vector<std::string>& words) {
    std::string what;
    for (const std::string& word : words) what += (what.empty() ? "" : " ") + word;
    const Clock::time_point begin = Clock::now();
    const pid_t child = fork();
    Need(child >= 0, "can't start " + what);
    if (child == 0) Become(words);
    const rusage usage = WaitFor(child, what);
    return {SecondsSince(begin), GetCpu(usage)};
}

std::vector<Float64> RunInChild(FunctionRef<std::vector<Float64>()> work) {
    int ends[2];
    Need(pipe(ends) == 0, "no pipe");
    const pid_t child = fork();
    Need(child >= 0, "no process");
    if (child == 0) {
        close(ends[0]);
        int code = 1;
        try {
            const std::vector<Float64> values = work();
            const std::size_t bytes = values.size() * sizeof(Float64);
            if (write(ends[1], values.data(), bytes) == ssize_t(bytes)) code = 0;
        } catch (const std::exception& error) {
            std::fprintf(stderr, "bench: %s\n", error.what());
        }
        _exit(code);
    }
    close(ends[1]);
    std::vector<Float64> values;
    Float64 value = 0;
    while (read(ends[0], &value, sizeof(value)) == ssize_t(sizeof(value))) values.push_back(value);
    close(ends[0]);
    WaitFor(child, "a part of the benchmark");
    return values;
}

Float64 Median(std::vector<Float64> values) {
    Need(!values.empty(), "nothing was measured");
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Comparison Compare(Int runs, FunctionRef<Cost()> ours, FunctionRef<Cost()> peer) {
    std::vector<Float64> walls[2];
    std::vector<Float64> cpus[2];
    std::vector<Float64> wallRatios;
    std::vector<Float64> cpuRatios;
    for (Int run = 0; run < runs; run++) {
        const Cost costs[2] = {ours(), peer()};
        for (Int side = 0; side < 2; side++) {
            walls[side].push_back(costs[side].wall);
            cpus[side].push_back(costs[side].cpu);
        }
        wallRatios.push_back(costs[0].wall / costs[1].wall);
        cpuRatios.push_back(costs[0].cpu / std::max(costs[1].cpu, 1e-6));
    }
    return {{Median(walls[0]), Median(cpus[0])}, {Median(walls[1]), Median(cpus[1])}, Median(wallRatios), Median(cpuRatios)};
}

}  // namespace talvo::bench
