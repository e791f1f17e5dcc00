#include "bench/libraries.h"

#include "bench/bare_files.h"
#include "bench/library/library_writer.h"

#include <filesystem>

namespace talvo::bench {

LibraryModel MakeLibraryModel(Int count) { return LibraryModel({.assets = count, .versions = 1, .seed = 1}); }

std::string GetLibrary(const Setting& setting, Int count) {
    const std::string library = setting.kept + "/library" + std::to_string(count);
    if (std::filesystem::exists(library)) return library;
    const std::string unfinished = library + ".new";
    std::filesystem::remove_all(unfinished);
    // Elsewhere, so that its memory doesn't help or hinder what is measured here.
    MeasureInChild([&] { WriteLibraryIndex(MakeLibraryModel(count), unfinished); });
    std::filesystem::rename(unfinished, library);
    SyncBareFiles(library);
    return library;
}

void CopyLibrary(const std::string& library, const std::string& copy) {
    namespace fs = std::filesystem;
    fs::remove_all(copy);
    fs::copy(library, copy, fs::copy_options::recursive | fs::copy_options::create_hard_links);
    // The lock between processes is taken on this one.
    fs::remove(copy + "/databaseid");
    fs::copy_file(library + "/databaseid", copy + "/databaseid");
}

std::string GetIndexTextFile(const std::string& library) { return library + "/_index/0-1/index"; }

Cost MeasureInChild(FunctionRef<void()> work) {
    const std::vector<Float64> values = RunInChild([&] {
        const Cost cost = MeasureHere(work);
        return std::vector<Float64>{cost.wall, cost.cpu};
    });
    return {values.at(0), values.at(1)};
}

}  // namespace talvo::bench
