// Timing: what a piece of work costs, and two kinds of work measured in turns.
#pragma once

#include "kernel/base/delegate.h"
#include "kernel/base/result.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace talvo::bench {

/// The value; an error ends the benchmark with its text.
template <typename T>
T Need(Result<T> result) {
    if (result.IsError()) throw std::runtime_error(result.GetError()->GetMessage());
    return std::move(result).GetValue();
}
inline void Need(const Result<void>& result) {
    if (result.IsError()) throw std::runtime_error(result.GetError()->GetMessage());
}
void Need(Bool condition, const std::string& what);

struct Cost {
    Float64 wall = 0;  ///< seconds
    Float64 cpu = 0;   ///< seconds of the user and of the system, over all threads
};

/// Bytes in memory of this process.
struct Memory {
    Int64 own = 0;
    Int64 mapped = 0;  ///< of files, which the system can take away and others share

    static Memory GetHere();
};

/// Of this process.
Cost MeasureHere(FunctionRef<void()> work);
/// Of a program that is started with these words and must end well. Its output goes nowhere.
Cost MeasureProgram(const std::vector<std::string>& words);
/// Of `work` in a process of its own: memory that others left behind doesn't help or hinder it. @return what it gives back.
std::vector<Float64> RunInChild(FunctionRef<std::vector<Float64>()> work);

Float64 Median(std::vector<Float64> values);

/// Two ways to do one thing, by turns, so that whatever else the machine does hits both.
struct Comparison {
    Cost ours;  ///< medians
    Cost peer;
    Float64 wallRatio = 0;  ///< ours to peer: the median over the pairs
    Float64 cpuRatio = 0;
};
Comparison Compare(Int runs, FunctionRef<Cost()> ours, FunctionRef<Cost()> peer);

/// Keeps a result from being found unused.
template <typename T>
void Keep(const T& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

}  // namespace talvo::bench
