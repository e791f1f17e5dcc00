// The plain form: what a reader of the whole tree finds.
#include "bench/bare_files.h"
#include "bench/library/library_values.h"
#include "bench/library/library_writer.h"
#include "bench/measure.h"
#include "kernel/thread/side_by_side.h"
#include "url_repository/asset_directory_name.h"
#include "url_repository/asset_info.h"
#include "url_repository/hash_file.h"
#include "url_repository/metadata_document.h"
#include "url_repository/metadata_file_name.h"
#include "url_repository/version_directory_name.h"

#include <filesystem>
#include <thread>

namespace talvo::bench {

namespace {

void WriteVersion(const LibraryModel& model, Int index, const LibraryAsset& asset, Int version, const std::string& directory) {
    std::string payload;
    model.FillPayload(index, asset, version, payload);
    MakeBareDirectory(directory);
    WriteBareFile(directory + "/" + MakeLibraryPayloadName(asset), payload);
    WriteBareFile(directory + "/" + HASH_FILE_NAME, WriteHashText({Need(Id::Create(HashBare(payload))), {}}));
    for (const LibraryValue& value : MakeLibraryValues(asset, version)) {
        const std::string name = MakeMetaDataFileName(value.key.GetView(), value.kind);
        WriteBareFile(directory + "/" + name, Need(MakeMetaDataDocument(value.value, value.kind)));
    }
}

void WriteAsset(const LibraryModel& model, Int index, const std::string& folder) {
    const LibraryAsset asset = model.MakeAsset(index);
    const AssetInfo info{Need(Id::Create(asset.id)), Need(Id::Create(asset.type))};
    const std::string directory = folder + "/" + Need(MakeDirectoryName(info.id));
    MakeBareDirectory(directory);
    WriteBareFile(directory + "/" + ASSET_INFO_NAME, WriteAssetInfoText(info));
    for (Int i = 0; i < Int(asset.versions.size()); i++) {
        WriteVersion(model, index, asset, i, directory + "/" + MakeVersionDirectoryName(UInt(i + 1)));
    }
}

}  // namespace

void WriteLibraryHead(const LibraryModel& model, const std::string& folder) {
    std::filesystem::create_directories(folder);
    Need(std::filesystem::is_empty(folder), folder + " is not empty. Name a new folder.");
    WriteBareFile(folder + "/databaseid", model.GetRepositoryId());
    WriteBareFile(folder + "/version", std::to_string(model.GetOptions().versions) + "\n");
}

void WriteLibraryAssets(const LibraryModel& model, const std::string& folder, const std::vector<Int>& indices) {
    const Int threads = Int(std::thread::hardware_concurrency());
    Need(DoSideBySide(Int(indices.size()), threads, [&](Int i) -> Result<void> {
        WriteAsset(model, indices[std::size_t(i)], folder);
        return OK;
    }));
}

void WriteLibrary(const LibraryModel& model, const std::string& folder) {
    WriteLibraryHead(model, folder);
    std::vector<Int> indices;
    for (Int i = 0; i < model.GetCount(); i++) indices.push_back(i);
    WriteLibraryAssets(model, folder, indices);
}

}  // namespace talvo::bench
