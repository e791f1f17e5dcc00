// All benchmarks by name.
#pragma once

#include "bench/report.h"

namespace talvo::bench {

std::vector<Row> ImportSmallFiles(const Setting& setting);
std::vector<Row> ImportLargerFiles(const Setting& setting);
std::vector<Row> StoreLargeFile(const Setting& setting);
std::vector<Row> OpenTree(const Setting& setting);
std::vector<Row> MakeLibraries(const Setting& setting);
std::vector<Row> OpenIndex(const Setting& setting);
std::vector<Row> OpenChangedIndex(const Setting& setting);
std::vector<Row> ReadIndexedNames(const Setting& setting);
std::vector<Row> MeasureIndexedMemory(const Setting& setting);
std::vector<Row> ShowOneIndexed(const Setting& setting);
std::vector<Row> CompactLoaded(const Setting& setting);
std::vector<Row> SearchWords(const Setting& setting);
std::vector<Row> SearchWhileTyping(const Setting& setting);
std::vector<Row> SearchCold(const Setting& setting);
std::vector<Row> WalkIds(const Setting& setting);
std::vector<Row> MeasureMemory(const Setting& setting);
std::vector<Row> GrowInMemory(const Setting& setting);
std::vector<Row> GrowOnDisk(const Setting& setting);
std::vector<Row> LookUpThroughChain(const Setting& setting);
std::vector<Row> LookUpDuringStores(const Setting& setting);
std::vector<Row> StoreByTwoThreads(const Setting& setting);
std::vector<Row> StoreWithoutListener(const Setting& setting);

struct Benchmark {
    const char* name;
    std::vector<Row> (*run)(const Setting& setting);
};

inline constexpr Benchmark BENCHMARKS[] = {
    {"import-small", ImportSmallFiles},
    {"import-larger", ImportLargerFiles},
    {"large-file", StoreLargeFile},
    {"open-tree", OpenTree},
    {"library", MakeLibraries},
    {"index-open", OpenIndex},
    {"index-changed", OpenChangedIndex},
    {"index-names", ReadIndexedNames},
    {"index-memory", MeasureIndexedMemory},
    {"index-show", ShowOneIndexed},
    {"compaction", CompactLoaded},
    {"search", SearchWords},
    {"search-typing", SearchWhileTyping},
    {"search-cold", SearchCold},
    {"walk", WalkIds},
    {"memory", MeasureMemory},
    {"growth-memory", GrowInMemory},
    {"growth-disk", GrowOnDisk},
    {"chain", LookUpThroughChain},
    {"readers", LookUpDuringStores},
    {"two-threads", StoreByTwoThreads},
    {"event", StoreWithoutListener},
};

}  // namespace talvo::bench
