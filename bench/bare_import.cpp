#include "bench/bare_import.h"

#include "bench/bare_files.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

namespace talvo::bench {

namespace {

std::string MakeRandomId(std::mt19937_64& random) {
    char text[64];
    std::snprintf(text, sizeof(text), "file_%016llx%016llx", static_cast<unsigned long long>(random()),
                  static_cast<unsigned long long>(random()));
    return text;
}

}  // namespace

void BareImport(const std::string& source, const std::string& target, Int threads) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(source)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    MakeBareDirectory(target);
    std::atomic<std::size_t> next{0};
    const auto work = [&](Int seed) {
        std::mt19937_64 random{std::uint64_t(seed)};
        for (std::size_t i = next++; i < files.size(); i = next++) {
            const std::string payload = ReadBareFile(files[i]);
            const std::string id = MakeRandomId(random);
            WriteBareAsset(target, id, MakeBareDocuments(id, HashBare(payload), files[i].filename().string()), payload);
        }
    };
    {
        std::vector<std::jthread> workers;
        for (Int i = 0; i < threads; i++) workers.emplace_back(work, i);
    }
    SyncBare(target);
}

}  // namespace talvo::bench
