// The fast form: an index as a compaction of the plain form writes it, without the tree that it tells of.
#include "bench/bare_files.h"
#include "bench/library/library_values.h"
#include "bench/library/library_writer.h"
#include "bench/measure.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/index_writer.h"

#include <algorithm>
#include <thread>

namespace talvo::bench {

namespace {

/// So many are made by all threads before one thread writes them in their order.
constexpr Int ASSETS_AT_ONCE = 1 << 14;

/// What takes time to make.
struct Prepared {
    LibraryAsset asset;
    std::vector<std::string> versionIds;
    std::vector<std::vector<LibraryValue>> values;
};

Prepared Prepare(const LibraryModel& model, Int index) {
    Prepared prepared{model.MakeAsset(index), {}, {}};
    std::string payload;
    for (Int i = 0; i < Int(prepared.asset.versions.size()); i++) {
        model.FillPayload(index, prepared.asset, i, payload);
        prepared.versionIds.push_back(HashBare(payload));
        prepared.values.push_back(MakeLibraryValues(prepared.asset, i));
    }
    return prepared;
}

void Write(IndexWriter& writer, const Prepared& prepared) {
    const LibraryAsset& asset = prepared.asset;
    writer.BeginAsset(Need(MakeDirectoryName(Need(Id::Create(asset.id)))), asset.id, asset.type);
    const std::string payload = MakeLibraryPayloadName(asset);
    for (std::size_t i = 0; i < prepared.versionIds.size(); i++) {
        Need(writer.BeginVersion(i + 1, prepared.versionIds[i], payload));
        for (const LibraryValue& value : prepared.values[i]) Need(writer.AddValue(value.key, value.kind, value.value));
    }
}

}  // namespace

void WriteLibraryIndex(const LibraryModel& model, const std::string& folder) {
    WriteLibraryHead(model, folder);
    const std::string index = folder + "/" + INDEX_DIRECTORY_NAME;
    MakeBareDirectory(index);
    IndexWriter writer = Need(IndexWriter::Create(Url::FromSystemPath(index)));
    const std::vector<Int> order = model.GetOrder();
    const Int threads = Int(std::thread::hardware_concurrency());
    for (std::size_t begin = 0; begin < order.size(); begin += ASSETS_AT_ONCE) {
        std::vector<Prepared> batch(std::min(order.size() - begin, std::size_t(ASSETS_AT_ONCE)));
        Need(DoSideBySide(Int(batch.size()), threads, [&](Int i) -> Result<void> {
            batch[std::size_t(i)] = Prepare(model, order[begin + std::size_t(i)]);
            return OK;
        }));
        for (const Prepared& prepared : batch) Write(writer, prepared);
    }
    Need(writer.Finish({0, writer.GetHighestNumber()}));
    WriteBareFile(index + "/modified.dat", "[\n  {\n    \"modified\": " + std::to_string(model.GetLastTime()) + "\n  }\n]\n");
}

}  // namespace talvo::bench
