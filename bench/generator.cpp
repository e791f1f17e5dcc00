#include "bench/generator.h"

#include "bench/bare_files.h"
#include "bench/measure.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <random>

namespace talvo::bench {

namespace {

constexpr Int FILES_IN_FOLDER = 500;
constexpr std::size_t BLOCK_SIZE = std::size_t(1) << 20;

void FillRandomly(std::string& bytes, std::mt19937_64& random) {
    for (std::size_t i = 0; i + sizeof(std::uint64_t) <= bytes.size(); i += sizeof(std::uint64_t)) {
        const std::uint64_t value = random();
        std::memcpy(bytes.data() + i, &value, sizeof(value));
    }
}

}  // namespace

void MakeFiles(const std::string& folder, Int count, Int64 smallest, Int64 largest) {
    std::mt19937_64 random(1);
    std::string bytes;
    std::string sub;
    MakeBareDirectory(folder);
    for (Int i = 0; i < count; i++) {
        if (i % FILES_IN_FOLDER == 0) {
            sub = folder + "/" + std::to_string(i / FILES_IN_FOLDER);
            MakeBareDirectory(sub);
        }
        bytes.resize(std::size_t(smallest + Int64(random() % std::uint64_t(largest - smallest + 1))));
        FillRandomly(bytes, random);
        WriteBareFile(sub + "/file" + std::to_string(i) + ".dat", bytes);
    }
}

std::string MakeTreeId(Int number) {
    char text[48];
    std::snprintf(text, sizeof(text), "file_%08x%016llx", unsigned(number) * 0x9e3779b1U,
                  static_cast<unsigned long long>(number));
    return text;
}

void MakeTree(const std::string& folder, Int count) {
    MakeBareDirectory(folder);
    WriteBareFile(folder + "/databaseid", "database_bench");
    WriteBareFile(folder + "/version", "1\n");
    for (Int i = 0; i < count; i++) {
        const std::string id = MakeTreeId(i);
        const std::string payload = "payload of " + id;
        WriteBareAsset(folder, id, MakeBareDocuments(id, HashBare(payload), "asset number " + std::to_string(i)), payload);
    }
}

void MakeLargeFile(const std::string& path, Int64 size) {
    std::mt19937_64 random(2);
    std::string block(BLOCK_SIZE, '\0');
    FillRandomly(block, random);
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    Need(file >= 0, "can't make " + path);
    for (Int64 done = 0; done < size; done += Int64(block.size())) {
        std::memcpy(block.data(), &done, sizeof(done));
        Need(write(file, block.data(), block.size()) == ssize_t(block.size()), "can't write " + path);
    }
    close(file);
}

}  // namespace talvo::bench
