#include "bench/bare_files.h"

#include "bench/measure.h"
#include "kernel/io/streams.h"

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace talvo::bench {

namespace {

constexpr std::string_view TIME_DOCUMENT = R"({
  "root": "net.talvo.asset.metadata",
  "format": 1,
  "type": "net.talvo.datatype.universaldatetime",
  "value": "2026-01-02T03:04:05.678901Z"
}
)";

constexpr std::string_view NAME_HEAD = R"({
  "root": "net.talvo.asset.metadata",
  "format": 1,
  "type": "net.talvo.datatype.datadescriptiondefinition",
  "value": {
    "info": {
      "net.talvo.description.info.category": {
        "type": "net.talvo.datatype.id",
        "value": "string"
      }
    },
    "entries": [
      {
        "net.talvo.description.base.command": {
          "type": "net.talvo.datatype.string",
          "value": "exportedstring"
        },
        "net.talvo.description.base.identifier": {
          "type": "net.talvo.datatype.id",
          "value": "net.talvo.object.base.name"
        },
        "net.talvo.description.string.base.translatedstring": {
          "type": "net.talvo.datatype.string",
          "value": ")";

constexpr std::string_view NAME_TAIL = R"("
        }
      }
    ]
  }
}
)";

}  // namespace

void WriteBareFile(const std::string& path, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    Need(file >= 0, "can't make " + path);
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        Need(count > 0, "can't write " + path);
        bytes.remove_prefix(std::size_t(count));
    }
    close(file);
}

std::string ReadBareFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Need(file >= 0, "can't open " + path);
    struct stat status{};
    fstat(file, &status);
    std::string bytes(std::size_t(status.st_size), '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = read(file, bytes.data() + done, bytes.size() - done);
        Need(count > 0, "can't read " + path);
        done += std::size_t(count);
    }
    close(file);
    return bytes;
}

void MakeBareDirectory(const std::string& path) { Need(mkdir(path.c_str(), 0777) == 0, "can't make " + path); }

void SyncBare(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    Need(file >= 0 && syncfs(file) == 0, "can't sync " + path);
    close(file);
}

void SyncBareFiles(const std::string& folder) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const int file = open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
        Need(file >= 0 && fsync(file) == 0, "can't sync " + entry.path().string());
        close(file);
    }
}

BareDocuments MakeBareDocuments(std::string_view id, std::string_view digest, std::string_view name) {
    BareDocuments documents;
    documents.info = std::string(id) + "\nnet.talvo.assettype.file\n";
    documents.hash = std::string(digest) + "\n";
    documents.time = TIME_DOCUMENT;
    documents.name.append(NAME_HEAD).append(name).append(NAME_TAIL);
    return documents;
}

void WriteBareAsset(const std::string& root, const std::string& id, const BareDocuments& documents, std::string_view payload) {
    const std::string asset = root + "/" + id;
    MakeBareDirectory(asset);
    WriteBareFile(asset + "/asset.info", documents.info);
    const std::string version = asset + "/1";
    MakeBareDirectory(version);
    WriteBareFile(version + "/asset.dat", payload);
    WriteBareFile(version + "/hash", documents.hash);
    WriteBareFile(version + "/net.talvo.asset.timestamp.version", documents.time);
    WriteBareFile(version + "/strings_en.meta", documents.name);
}

std::string HashBare(std::string_view bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    static const EVP_MD* const ALGORITHM = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    Need(EVP_Digest(bytes.data(), bytes.size(), digest, &length, ALGORITHM, nullptr) == 1, "no SHA-256");
    return ToHex(std::string_view(reinterpret_cast<const char*>(digest), length));
}

}  // namespace talvo::bench
