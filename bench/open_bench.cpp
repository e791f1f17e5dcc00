// Opening a repository that is nothing but a tree of directories.
#include "bench/bare_files.h"
#include "bench/benchmarks.h"
#include "bench/generated_repository.h"
#include "bench/generator.h"
#include "bench/libraries.h"
#include "bench/measure.h"
#include "bench/repositories.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstring>

namespace talvo::bench {

namespace {

/// Walks the whole tree as `find` does and reads each asset.info it meets.
Int ReadInfos(int parent, const char* name) {
    const int directory = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Need(directory >= 0, "can't list the tree");
    DIR* const stream = fdopendir(directory);
    Int read = 0;
    while (const dirent* entry = readdir(stream)) {
        if (entry->d_name[0] == '.') continue;
        if (entry->d_type == DT_DIR) {
            read += ReadInfos(directory, entry->d_name);
        } else if (std::strcmp(entry->d_name, "asset.info") == 0) {
            char bytes[4096];
            const int file = openat(directory, entry->d_name, O_RDONLY | O_CLOEXEC);
            Need(::read(file, bytes, sizeof(bytes)) > 0, "can't read an asset.info");
            close(file);
            ++read;
        }
    }
    closedir(stream);
    return read;
}

}  // namespace

std::vector<Row> OpenTree(const Setting& setting) {
    const Int count = setting.Choose(100000, 2000);
    const std::string tree = setting.At("tree");
    MakeTree(tree, count);
    SyncBare(tree);
    const auto ours = [&] {
        return MeasureInChild([&] { Need(LoadAll(OpenOnDisk(setting, tree)) == count + 1, "not all assets were found"); });
    };
    const auto peer = [&] {
        return MeasureInChild([&] { Need(ReadInfos(AT_FDCWD, tree.c_str()) == count + 1, "not all were read"); });
    };
    // The first ones find nothing in memory, and give the repository the asset of its name.
    ours();
    peer();
    const Comparison comparison = Compare(setting.runs, ours, peer);
    return {{"open " + std::to_string(count) + " assets and load all newest versions; walk the tree and read every asset.info",
             ShowSeconds(comparison.ours.wall), ShowSeconds(comparison.peer.wall), "x", comparison.wallRatio, Row::GOAL::AT_MOST,
             2}};
}

}  // namespace talvo::bench
